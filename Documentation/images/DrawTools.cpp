// draw-tools FILE: draws every tool and pen style with the component's own sketch view and writes the picture, a PNG.

#include "Platforms/Cairo/CairoEngine.h"
#include "Platforms/Headless/HeadlessPlatform.h"
#include "VideoAnalysis/Sketch/SketchView.h"

#include <cairo.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

using namespace videoanalysis;

namespace {

constexpr double cellWidth = 200;
constexpr double cellHeight = 150;
constexpr int columns = 4;
constexpr double scale = 2;

/// A sample in a cell; points are those of the cell.
struct Sample {
    std::string label;
    std::function<void(SketchView& view, Point origin)> draw;
};

void drag(SketchView& view, Point origin, const std::vector<Point>& points) {
    const auto at = [&](std::size_t i) { return Point{origin.x + points[i].x, origin.y + points[i].y}; };
    view.beginDrawing(at(0));
    for (std::size_t i = 1; i < points.size(); ++i) view.continueDrawing(at(i - 1), at(i));
    view.endDrawing();
}

/// A loop that crosses itself.
std::vector<Point> loop() {
    std::vector<Point> points;
    for (int i = 0; i <= 60; ++i) {
        const double t = i / 60.0;
        points.push_back({30 + 140 * t + 60 * std::sin(2 * M_PI * t), 66 + 38 * std::cos(2 * M_PI * t)});
    }
    return points;
}

void pen(SketchView& view, Point origin, PenType type, const Color& color, double width, double alpha) {
    view.drawTool = SketchToolType::pen;
    view.drawingPenType = type;
    view.lineColor = color;
    view.lineWidth = width;
    view.lineAlpha = alpha;
    drag(view, origin, loop());
}

void shape(SketchView& view, Point origin, SketchToolType type, const Color& color, double alpha = 1) {
    view.drawTool = type;
    view.lineColor = color;
    view.lineWidth = 4;
    view.lineAlpha = alpha;
    drag(view, origin, {{35, 105}, {100, 60}, {165, 30}});
}

const std::vector<Sample>& samples() {
    static const Color red = Color::rgb255(255, 69, 58), yellow = Color::rgb255(255, 214, 10);
    static const Color green = Color::rgb255(50, 215, 75), blue = Color::rgb255(64, 156, 255);
    static const std::vector<Sample> all{
        {"pen, normal", [](SketchView& v, Point o) { pen(v, o, PenType::normal, yellow, 5, 1); }},
        {"pen, normal, alpha 0.5", [](SketchView& v, Point o) { pen(v, o, PenType::normal, yellow, 14, 0.5); }},
        {"pen, blur", [](SketchView& v, Point o) { pen(v, o, PenType::blur, red, 6, 1); }},
        {"pen, neon", [](SketchView& v, Point o) { pen(v, o, PenType::neon, blue, 6, 1); }},
        {"eraser",
         [](SketchView& v, Point o) {
             shape(v, o, SketchToolType::rectangleFill, green);
             v.drawTool = SketchToolType::eraser;
             v.lineWidth = 10;
             drag(v, o, loop());
         }},
        {"line", [](SketchView& v, Point o) { shape(v, o, SketchToolType::line, green); }},
        {"arrow", [](SketchView& v, Point o) { shape(v, o, SketchToolType::arrow, red); }},
        {"pen, blur, width 14", [](SketchView& v, Point o) { pen(v, o, PenType::blur, green, 14, 0.8); }},
        {"rectangle, stroke", [](SketchView& v, Point o) { shape(v, o, SketchToolType::rectangleStroke, blue); }},
        {"rectangle, fill, alpha 0.5",
         [](SketchView& v, Point o) { shape(v, o, SketchToolType::rectangleFill, blue, 0.5); }},
        {"ellipse, stroke", [](SketchView& v, Point o) { shape(v, o, SketchToolType::ellipseStroke, yellow); }},
        {"ellipse, fill, alpha 0.5",
         [](SketchView& v, Point o) { shape(v, o, SketchToolType::ellipseFill, yellow, 0.5); }},
    };
    return all;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FILE\n", argv[0]);
        return 2;
    }
    const auto platform = std::make_shared<HeadlessPlatform>(std::make_unique<graphics::CairoEngine>());
    platform->screen.pixelsPerPoint = scale;
    installPlatform(platform);

    const int rows = (static_cast<int>(samples().size()) + columns - 1) / columns;
    SketchView view(Rect{0, 0, columns * cellWidth, rows * cellHeight});
    const auto origin = [](std::size_t i) {
        return Point{static_cast<double>(i % columns) * cellWidth, static_cast<double>(i / columns) * cellHeight};
    };
    for (std::size_t i = 0; i < samples().size(); ++i) samples()[i].draw(view, origin(i));

    const int width = static_cast<int>(view.bounds().size.width * scale);
    const int height = static_cast<int>(view.bounds().size.height * scale);
    Bitmap picture(width, height, scale);
    cairo_surface_t* surface = cairo_image_surface_create_for_data(
        reinterpret_cast<unsigned char*>(picture.pixels.data()), CAIRO_FORMAT_ARGB32, width, height, width * 4);
    cairo_t* cairo = cairo_create(surface);
    cairo_set_source_rgb(cairo, 0.11, 0.13, 0.15);
    cairo_paint(cairo);
    cairo_surface_flush(surface);
    {
        const auto context = graphics::CairoEngine().makeContext(picture);
        context->drawImage(view.image(), view.bounds());
        context->flush();
    }
    cairo_surface_mark_dirty(surface);
    cairo_scale(cairo, scale, scale);
    cairo_select_font_face(cairo, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cairo, 11);
    cairo_set_source_rgb(cairo, 0.75, 0.78, 0.8);
    for (std::size_t i = 0; i < samples().size(); ++i) {
        cairo_text_extents_t extents;
        cairo_text_extents(cairo, samples()[i].label.c_str(), &extents);
        cairo_move_to(cairo, origin(i).x + (cellWidth - extents.width) / 2, origin(i).y + cellHeight - 14);
        cairo_show_text(cairo, samples()[i].label.c_str());
    }
    cairo_destroy(cairo);
    const cairo_status_t status = cairo_surface_write_to_png(surface, argv[1]);
    cairo_surface_destroy(surface);
    if (status != CAIRO_STATUS_SUCCESS) {
        std::fprintf(stderr, "%s: %s\n", argv[1], cairo_status_to_string(status));
        return 1;
    }
    return 0;
}
