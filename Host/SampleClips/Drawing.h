#pragma once

// Flat shapes and limbs drawn with Cairo, for the scenes.

#include <cairo.h>
#include <cstdint>
#include <numbers>

namespace videoanalysis::samples {

struct Point {
    double x = 0;
    double y = 0;
};

constexpr double degrees(double angle) { return angle * std::numbers::pi / 180; }

/// The point `length` away from `from`; `angle` in radians from straight down, positive towards the right.
Point reach(Point from, double length, double angle);

/// The knee or elbow between `root` and `end` for two bones of length `bone`. A limb that hangs down bends to the right for
/// `side` 1, to the left for -1. An end out of reach stretches the limb.
Point joint(Point root, Point end, double bone, double side);

/// Sets the colour 0xRRGGBB.
void setColor(cairo_t* cairo, std::uint32_t rgb, double alpha = 1);

void fillRectangle(cairo_t* cairo, double x, double y, double width, double height, std::uint32_t rgb);
void fillCircle(cairo_t* cairo, Point center, double radius, std::uint32_t rgb, double alpha = 1);
void fillEllipse(cairo_t* cairo, Point center, double radiusX, double radiusY, std::uint32_t rgb, double alpha = 1);
void fillRoundedRectangle(cairo_t* cairo, double x, double y, double width, double height, double radius,
                          std::uint32_t rgb);

/// A vertical gradient over the rectangle.
void fillGradient(cairo_t* cairo, double y, double height, std::uint32_t top, std::uint32_t bottom);

/// A limb with round ends that narrows from `fromWidth` to `toWidth`.
void fillLimb(cairo_t* cairo, Point from, Point to, double fromWidth, double toWidth, std::uint32_t rgb);

}  // namespace videoanalysis::samples
