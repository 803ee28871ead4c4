// The reference pictures: each operation of a context, and the component's own tools.

#include "Testing/GraphicsConformance.h"

#include "VideoAnalysis/Sketch/SketchView.h"

#include <cmath>
#include <numbers>
#include <vector>

namespace videoanalysis::conformance {

using namespace graphics;

namespace {

constexpr Color orange{0.9, 0.45, 0.1, 1};
constexpr Color blue{0.1, 0.35, 0.8, 1};
constexpr Color green{0.1, 0.6, 0.2, 1};

constexpr LineCap caps[] = {LineCap::butt, LineCap::round, LineCap::square};

void drawLines(Context& context) {
    double y = 8;
    for (const LineCap cap : caps) {
        double x = 8;
        for (const double width : {1.0, 3.5, 9.0}) {
            context.setLineCap(cap);
            context.setLineWidth(width);
            context.setStrokeColor(orange);
            context.move({x, y});
            context.addLine({x + 20, y + 14});
            context.strokePath();
            context.setStrokeColor(blue);
            context.move({x + 4, y + 20.5});
            context.addLine({x + 22, y + 20.5});
            context.strokePath();
            x += 38;
        }
        y += 36;
    }
}

Path wave(double y) {
    Path path;
    path.move({8, y});
    for (int i = 0; i < 4; ++i) {
        const double x = 8 + 26 * i;
        path.addQuadCurve({x + 13, y + (i % 2 == 0 ? -24 : 24)}, {x + 26, y});
    }
    return path;
}

void drawShapes(Context& context) {
    context.setFillColor(orange);
    context.fillRect({6.5, 6, 24, 18.25});
    context.fillEllipse({40, 6, 30, 18});
    context.setStrokeColor(blue);
    context.setLineWidth(3);
    context.strokeRect({8, 34, 22, 16});
    context.strokeEllipse({40, 34, 30, 16});
    context.setAlpha(0.5);
    context.setFillColor(green);
    context.fillRect({20, 14, 36, 28});
    context.setLineWidth(8);
    context.strokeEllipse({76, 10, 12, 6});
    context.strokeRect({84, 54, -12, -20});
}

TEST_P(GraphicsConformance, DrawsLinesWithCaps) { expectPicture("lines", {120, 116}, 1, drawLines); }

TEST_P(GraphicsConformance, DrawsWithoutAntialiasing) {
    expectPicture("aliased", {120, 116}, 1, [](Context& context) {
        context.setShouldAntialias(false);
        drawLines(context);
    });
}

TEST_P(GraphicsConformance, DrawsCurves) {
    expectPicture("curves", {120, 110}, 1, [](Context& context) {
        context.setStrokeColor(blue);
        context.setLineWidth(4);
        context.addPath(wave(22));
        context.strokePath();
        context.setStrokeColor(orange);
        context.setAlpha(0.5);
        strokeRound(context, wave(54), 10);
        Path crossing = wave(86);
        crossing.append(wave(90).mapped([](Point point) { return Point{point.x, 176 - point.y}; }));
        strokeRound(context, crossing, 7);
    });
}

TEST_P(GraphicsConformance, DrawsShapes) { expectPicture("shapes", {96, 64}, 1, drawShapes); }

TEST_P(GraphicsConformance, DrawsAtTheScaleOfTheBitmap) {
    expectPicture("scaled", {96, 64}, 1.5, [](Context& context) { drawShapes(context); });
}

TEST_P(GraphicsConformance, ErasesAndClears) {
    expectPicture("erased", {90, 60}, 1, [](Context& context) {
        context.setFillColor(green.withAlpha(0.8));
        context.fillRect({5, 5, 80, 50});
        context.saveState();
        context.setBlendMode(BlendMode::clear);
        strokeRound(context, polyline({{15, 45}, {45, 15}, {75, 45}}), 8);
        context.fillEllipse({58, 8, 22, 14});
        context.restoreState();
        context.clearRect({8.5, 8.5, 12, 10});
        context.setFillColor(orange);
        context.fillRect({10, 30, 10, 10});
    });
}

TEST_P(GraphicsConformance, DrawsShadowsAndScreens) {
    expectPicture("shadows", {120, 100}, 1, [](Context& context) {
        context.setFillColor(blue.withAlpha(0.6));
        context.fillRect({60, 0, 60, 100});
        for (const BlendMode mode : {BlendMode::normal, BlendMode::screen}) {
            context.setBlendMode(mode);
            const double y = mode == BlendMode::normal ? 0 : 50;
            context.setStrokeColor(Color::white());
            context.setShadow({}, 10, orange);
            strokeRound(context, polyline({{20, y + 14}, {100, y + 22}}), 5);
            context.setShadow({4, 5}, 0, green.withAlpha(0.5));
            context.setFillColor(orange);
            context.fillRect({52, y + 34, 20, 8});
        }
    });
}

TEST_P(GraphicsConformance, DrawsImagesInsideTheClip) {
    const auto bitmap = std::make_shared<Bitmap>(40, 30, 1);
    for (int y = 0; y < 30; ++y) {
        for (int x = 0; x < 40; ++x) {
            const auto level = static_cast<std::uint32_t>(40 + 4 * x);
            bitmap->pixels[static_cast<std::size_t>(y * 40 + x)] =
                0xFF000000U | level << 16 | static_cast<std::uint32_t>(40 + 6 * y) << 8 | 0x40U;
        }
    }
    expectPicture("images", {110, 80}, 1, [&](Context& context) {
        context.drawImage(Image(bitmap), {5, 5, 40, 30});
        context.setAlpha(0.4);
        context.drawImage(Image(bitmap), {30, 20, 40, 30});
        context.setAlpha(1);
        context.clipToRect({60, 10, 30, 60});
        context.clipToRect({40, 30, 45, 30});
        context.drawImage(Image(bitmap), {55, 40, 40, 30});
        context.setFillColor(green);
        context.fillEllipse({50, 20, 26, 26});
    });
}

void drag(SketchView& view, Point origin, const std::vector<Point>& points) {
    const auto at = [&](std::size_t i) { return Point{origin.x + points[i].x, origin.y + points[i].y}; };
    view.beginDrawing(at(0));
    for (std::size_t i = 1; i < points.size(); ++i) view.continueDrawing(at(i - 1), at(i));
    view.endDrawing();
}

TEST_P(GraphicsConformance, DrawsEveryTool) {
    std::vector<Point> loop;
    for (int i = 0; i <= 24; ++i) {
        const double t = i / 24.0;
        loop.push_back(
            {10 + 36 * t + 14 * std::sin(2 * std::numbers::pi * t), 22 + 14 * std::cos(2 * std::numbers::pi * t)});
    }
    SketchView view(Rect{0, 0, 240, 132});
    const auto pen = [&](Point origin, PenType type, const Color& color, double width, double alpha) {
        view.drawTool = SketchToolType::pen;
        view.drawingPenType = type;
        view.lineColor = color;
        view.lineWidth = width;
        view.lineAlpha = alpha;
        drag(view, origin, loop);
    };
    pen({0, 0}, PenType::normal, orange, 4, 1);
    pen({60, 0}, PenType::blur, blue, 4, 1);
    pen({120, 0}, PenType::neon, green, 4, 1);
    pen({180, 0}, PenType::normal, blue, 10, 0.5);
    int cell = 0;
    for (const SketchToolType type :
         {SketchToolType::line, SketchToolType::arrow, SketchToolType::rectangleStroke, SketchToolType::rectangleFill,
          SketchToolType::ellipseStroke, SketchToolType::ellipseFill}) {
        const Point origin{60.0 * (cell % 4), cell < 4 ? 44.0 : 88.0};
        view.drawTool = type;
        view.lineColor = cell % 2 == 0 ? orange : green;
        view.lineWidth = 3;
        view.lineAlpha = 1;
        drag(view, origin, {{10, 34}, {30, 20}, {50, 8}});
        ++cell;
    }
    view.drawTool = SketchToolType::rectangleFill;
    drag(view, {120, 88}, {{4, 4}, {56, 40}});
    view.drawTool = SketchToolType::eraser;
    view.lineWidth = 6;
    drag(view, {120, 88}, loop);
    expectPicture("tools", view.bounds().size, 1,
                  [&](Context& context) { context.drawImage(view.image(), view.bounds()); });
}

}  // namespace
}  // namespace videoanalysis::conformance
