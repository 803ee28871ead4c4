#pragma once
// A box of whole pixels, for clipping. Used by the Cairo context and its rasterizer.

#include <algorithm>

namespace videoanalysis::graphics::cairo {

/// `right` and `bottom` are exclusive.
struct PixelBox {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;

    int width() const { return right - left; }
    int height() const { return bottom - top; }
    bool isEmpty() const { return left >= right || top >= bottom; }
    PixelBox grownBy(int pixels) const { return {left - pixels, top - pixels, right + pixels, bottom + pixels}; }
    PixelBox movedBy(int dx, int dy) const { return {left + dx, top + dy, right + dx, bottom + dy}; }
    PixelBox within(const PixelBox& other) const {
        return {std::max(left, other.left), std::max(top, other.top), std::min(right, other.right),
                std::min(bottom, other.bottom)};
    }
};

}  // namespace videoanalysis::graphics::cairo
