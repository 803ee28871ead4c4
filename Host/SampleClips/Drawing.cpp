#include "Host/SampleClips/Drawing.h"

#include "Host/SampleClips/Scene.h"

#include <algorithm>
#include <cmath>

namespace videoanalysis::samples {

Point reach(Point from, double length, double angle) {
    return {from.x + length * std::sin(angle), from.y + length * std::cos(angle)};
}

Point joint(Point root, Point end, double bone, double side) {
    const double x = end.x - root.x;
    const double y = end.y - root.y;
    const double distance = std::max(1e-6, std::hypot(x, y));
    const double bend = std::sqrt(std::max(0.0, bone * bone - distance * distance / 4));
    return {root.x + x / 2 + side * bend * y / distance, root.y + y / 2 - side * bend * x / distance};
}

void setColor(cairo_t* cairo, std::uint32_t rgb, double alpha) {
    cairo_set_source_rgba(cairo, ((rgb >> 16) & 0xff) / 255.0, ((rgb >> 8) & 0xff) / 255.0, (rgb & 0xff) / 255.0,
                          alpha);
}

void fillRectangle(cairo_t* cairo, double x, double y, double width, double height, std::uint32_t rgb) {
    setColor(cairo, rgb);
    cairo_rectangle(cairo, x, y, width, height);
    cairo_fill(cairo);
}

void fillCircle(cairo_t* cairo, Point center, double radius, std::uint32_t rgb, double alpha) {
    fillEllipse(cairo, center, radius, radius, rgb, alpha);
}

void fillEllipse(cairo_t* cairo, Point center, double radiusX, double radiusY, std::uint32_t rgb, double alpha) {
    cairo_save(cairo);
    cairo_translate(cairo, center.x, center.y);
    cairo_scale(cairo, radiusX, radiusY);
    cairo_arc(cairo, 0, 0, 1, 0, 2 * std::numbers::pi);
    cairo_restore(cairo);
    setColor(cairo, rgb, alpha);
    cairo_fill(cairo);
}

void fillRoundedRectangle(cairo_t* cairo, double x, double y, double width, double height, double radius,
                          std::uint32_t rgb) {
    cairo_new_sub_path(cairo);
    cairo_arc(cairo, x + width - radius, y + radius, radius, degrees(-90), 0);
    cairo_arc(cairo, x + width - radius, y + height - radius, radius, 0, degrees(90));
    cairo_arc(cairo, x + radius, y + height - radius, radius, degrees(90), degrees(180));
    cairo_arc(cairo, x + radius, y + radius, radius, degrees(180), degrees(270));
    cairo_close_path(cairo);
    setColor(cairo, rgb);
    cairo_fill(cairo);
}

void fillGradient(cairo_t* cairo, double y, double height, std::uint32_t top, std::uint32_t bottom) {
    cairo_pattern_t* gradient = cairo_pattern_create_linear(0, y, 0, y + height);
    const auto addStop = [&](double offset, std::uint32_t rgb) {
        cairo_pattern_add_color_stop_rgb(gradient, offset, ((rgb >> 16) & 0xff) / 255.0, ((rgb >> 8) & 0xff) / 255.0,
                                         (rgb & 0xff) / 255.0);
    };
    addStop(0, top);
    addStop(1, bottom);
    cairo_set_source(cairo, gradient);
    cairo_rectangle(cairo, 0, y, Scene::width, height);
    cairo_fill(cairo);
    cairo_pattern_destroy(gradient);
}

void fillLimb(cairo_t* cairo, Point from, Point to, double fromWidth, double toWidth, std::uint32_t rgb) {
    const double length = std::hypot(to.x - from.x, to.y - from.y);
    const double across = std::atan2(to.y - from.y, to.x - from.x) + degrees(90);
    // The two edges are the outer tangents of both round ends.
    const double turn = length > 0 ? std::asin(std::clamp((fromWidth - toWidth) / 2 / length, -1.0, 1.0)) : 0;
    cairo_new_sub_path(cairo);
    cairo_arc(cairo, from.x, from.y, fromWidth / 2, across - turn, across + degrees(180) + turn);
    cairo_arc(cairo, to.x, to.y, toWidth / 2, across + degrees(180) + turn, across + degrees(360) - turn);
    cairo_close_path(cairo);
    setColor(cairo, rgb);
    cairo_fill(cairo);
}

}  // namespace videoanalysis::samples
