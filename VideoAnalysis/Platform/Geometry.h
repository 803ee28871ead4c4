#pragma once
// Points, sizes, rectangles and insets in view points (64-bit floats, y downwards), used by every view, path and layout.
// Plain values.

#include <algorithm>
#include <cmath>

namespace videoanalysis {

struct Point {
    double x = 0;
    double y = 0;
    friend bool operator==(const Point&, const Point&) = default;
};

struct Size {
    double width = 0;
    double height = 0;
    /// True if a side is zero, negative or NaN.
    bool isEmpty() const { return !(width > 0 && height > 0); }
    friend bool operator==(const Size&, const Size&) = default;
};

struct EdgeInsets {
    double top = 0;
    double left = 0;
    double bottom = 0;
    double right = 0;
    friend bool operator==(const EdgeInsets&, const EdgeInsets&) = default;
};

struct Rect {
    Point origin;
    Size size;

    Rect() = default;
    Rect(Point origin, Size size) : origin(origin), size(size) {}
    Rect(double x, double y, double width, double height) : origin{x, y}, size{width, height} {}

    double minX() const { return std::min(origin.x, origin.x + size.width); }
    double minY() const { return std::min(origin.y, origin.y + size.height); }
    double maxX() const { return std::max(origin.x, origin.x + size.width); }
    double maxY() const { return std::max(origin.y, origin.y + size.height); }
    double midX() const { return origin.x + size.width * 0.5; }
    double midY() const { return origin.y + size.height * 0.5; }
    Point center() const { return {midX(), midY()}; }
    bool isEmpty() const { return size.isEmpty(); }

    /// The same rectangle with non-negative width and height.
    Rect normalized() const { return {minX(), minY(), maxX() - minX(), maxY() - minY()}; }
    /// Includes the left and top edges, excludes the right and bottom ones.
    bool contains(Point p) const { return p.x >= minX() && p.x < maxX() && p.y >= minY() && p.y < maxY(); }
    /// Shrunk by `dx` on the left and right and by `dy` on the top and bottom; negative values expand.
    Rect insetBy(double dx, double dy) const {
        return {origin.x + dx, origin.y + dy, size.width - 2 * dx, size.height - 2 * dy};
    }
    bool intersects(const Rect& other) const {
        return minX() < other.maxX() && other.minX() < maxX() && minY() < other.maxY() && other.minY() < maxY();
    }
    /// The bounding rectangle of both; ignores an empty one.
    Rect unionWith(const Rect& other) const {
        if (isEmpty()) return other;
        if (other.isEmpty()) return *this;
        const double x = std::min(minX(), other.minX());
        const double y = std::min(minY(), other.minY());
        return {x, y, std::max(maxX(), other.maxX()) - x, std::max(maxY(), other.maxY()) - y};
    }
    friend bool operator==(const Rect&, const Rect&) = default;
};

}  // namespace videoanalysis
