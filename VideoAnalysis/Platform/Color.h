#pragma once
// An RGBA colour, components in 0...1, not premultiplied. Used by the theme, the tools and every view property.

namespace videoanalysis {

struct Color {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;

    /// An opaque colour from components in 0...255.
    static constexpr Color rgb255(int red, int green, int blue) {
        return {red / 255.0, green / 255.0, blue / 255.0, 1.0};
    }
    constexpr Color withAlpha(double newAlpha) const { return {red, green, blue, newAlpha}; }

    static constexpr Color black() { return {0, 0, 0, 1}; }
    static constexpr Color white() { return {1, 1, 1, 1}; }
    static constexpr Color clear() { return {0, 0, 0, 0}; }
    static constexpr Color systemRed() { return {1, 0, 0, 1}; }
    static constexpr Color systemBlue() { return {0, 0, 1, 1}; }
    /// Grey level 1/3.
    static constexpr Color darkGray() { return {1.0 / 3, 1.0 / 3, 1.0 / 3, 1}; }

    friend constexpr bool operator==(const Color&, const Color&) = default;
};

}  // namespace videoanalysis
