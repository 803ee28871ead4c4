#include "Sketch/RecordingContext.h"
#include "VideoAnalysis/Sketch/ArrowTool.h"
#include "VideoAnalysis/Sketch/EllipseTool.h"
#include "VideoAnalysis/Sketch/EraserTool.h"
#include "VideoAnalysis/Sketch/LineTool.h"
#include "VideoAnalysis/Sketch/PenTool.h"
#include "VideoAnalysis/Sketch/RectTool.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <string>
#include <vector>

namespace videoanalysis {
namespace {

using Commands = std::vector<std::string>;

Commands commandsOf(const SketchTool& tool) {
    RecordingContext context;
    const graphics::CurrentContextScope scope(context);
    tool.draw();
    return context.commands;
}

template <class Tool>
Tool& prepared(Tool& tool) {
    tool.setLineColor({0.25, 0.5, 0.75, 1});
    tool.setLineWidth(5);
    tool.setLineAlpha(0.5);
    return tool;
}

template <class Tool>
Tool& dragged(Tool& tool, Point first, Point last) {
    tool.setInitialPoint(first);
    tool.moveFromPoint(first, last);
    return tool;
}

TEST(SketchTool, HasInitialValues) {
    PenTool pen;
    EXPECT_EQ(pen.time(), 0);
    EXPECT_TRUE(pen.path().isEmpty());
    EXPECT_EQ(pen.lineColor(), Color::black());
    EXPECT_EQ(pen.lineAlpha(), 0);
    EXPECT_EQ(pen.drawingPenType(), PenType::normal);
    LineTool line;
    ArrowTool arrow;
    RectTool rectangle;
    EllipseTool ellipse;
    for (const TwoPointTool* tool : std::initializer_list<TwoPointTool*>{&line, &arrow, &rectangle, &ellipse}) {
        EXPECT_EQ(tool->time(), 0);
        EXPECT_EQ(tool->lineWidth(), 1);
        EXPECT_EQ(tool->lineAlpha(), 1);
        EXPECT_EQ(tool->firstPoint(), (Point{0, 0}));
        EXPECT_EQ(tool->lastPoint(), (Point{-100, -100}));
        EXPECT_TRUE(tool->path().isEmpty());
    }
    EXPECT_EQ(rectangle.lineColor(), Color::systemBlue());
    EXPECT_EQ(ellipse.lineColor(), Color::systemBlue());
    EXPECT_FALSE(rectangle.isFill());
    EXPECT_FALSE(ellipse.isFill());
    EXPECT_EQ(ellipse.eraserWidth(), 0);

    // Random ones, version 4.
    const std::string upperCaseUUID = "XXXXXXXX-XXXX-4XXX-YXXX-XXXXXXXXXXXX";
    std::set<std::string> ids;
    for (int i = 0; i < 1000; ++i) {
        const std::string id = LineTool().id();
        ASSERT_EQ(id.size(), upperCaseUUID.size());
        for (std::size_t k = 0; k < id.size(); ++k) {
            const char form = upperCaseUUID[k];
            const std::string allowed = form == 'X' ? "0123456789ABCDEF" : form == 'Y' ? "89AB" : std::string(1, form);
            EXPECT_NE(allowed.find(id[k]), std::string::npos) << id;
        }
        ids.insert(id);
    }
    EXPECT_EQ(ids.size(), 1000U);
}

TEST(SketchTool, MakesTheToolOfEachType) {
    EXPECT_TRUE(dynamic_cast<PenTool*>(SketchTool::make(SketchToolType::pen).get()));
    EXPECT_FALSE(dynamic_cast<EraserTool*>(SketchTool::make(SketchToolType::pen).get()));
    EXPECT_TRUE(dynamic_cast<EraserTool*>(SketchTool::make(SketchToolType::eraser).get()));
    EXPECT_TRUE(dynamic_cast<LineTool*>(SketchTool::make(SketchToolType::line).get()));
    EXPECT_TRUE(dynamic_cast<ArrowTool*>(SketchTool::make(SketchToolType::arrow).get()));
    for (const bool isFill : {false, true}) {
        const auto rectangle =
            SketchTool::make(isFill ? SketchToolType::rectangleFill : SketchToolType::rectangleStroke);
        const auto ellipse = SketchTool::make(isFill ? SketchToolType::ellipseFill : SketchToolType::ellipseStroke);
        EXPECT_EQ(dynamic_cast<RectTool&>(*rectangle).isFill(), isFill);
        EXPECT_EQ(dynamic_cast<EllipseTool&>(*ellipse).isFill(), isFill);
    }
}

TEST(PenTool, SmoothsTouchesIntoQuadraticCurves) {
    PenTool pen;
    pen.setLineWidth(3);
    const Rect first = pen.addSegment({0, 0}, {0, 0}, {10, 20});
    EXPECT_EQ(first, (Rect{-6, -6, 5 + 12, 10 + 12}));
    const Rect second = pen.addSegment({0, 0}, {10, 20}, {30, 0});
    EXPECT_EQ(second, (Rect{5 - 6, 10 - 6, 15 + 12, 10 + 12}));
    using Element = graphics::Path::Element;
    EXPECT_EQ(pen.path().elements(),
              (std::vector{Element::move, Element::quadCurve, Element::move, Element::quadCurve}));
    EXPECT_EQ(pen.path().points(), (std::vector<Point>{{0, 0}, {0, 0}, {5, 10}, {5, 10}, {10, 20}, {20, 10}}));
    EXPECT_EQ(pen.touchPoints(), (std::vector<Point>{{0, 0}, {10, 20}, {30, 0}}));

    // Stored touches produce the same path as live ones. A single touch is kept but draws nothing.
    PenTool rebuilt;
    rebuilt.setTouchPoints({{0, 0}, {10, 20}, {30, 0}});
    EXPECT_EQ(rebuilt.path(), pen.path());
    rebuilt.setTouchPoints({{7, 8}});
    EXPECT_EQ(rebuilt.touchPoints(), (std::vector<Point>{{7, 8}}));
    rebuilt.setTouchPoints({});
    EXPECT_TRUE(rebuilt.path().isEmpty());
}

TEST(PenTool, StylesSetTheContext) {
    PenTool pen;
    prepared(pen).setTouchPoints({{0, 0}, {10, 0}, {20, 0}});
    EXPECT_EQ(commandsOf(pen), (Commands{"save", "no antialias", "path 4", "cap 1", "width 5",
                                         "stroke color 0.25 0.5 0.75 1", "blend 0", "alpha 0.5", "stroke", "restore"}));
    pen.setDrawingPenType(PenType::blur);
    EXPECT_EQ(commandsOf(pen),
              (Commands{"save", "no antialias", "path 4", "cap 1", "width 5", "stroke color 0.25 0.5 0.75 1",
                        "shadow 0 0 4 0.25 0.5 0.75 1", "alpha 0.5", "stroke", "restore"}));
    // Neon does not change the context's alpha.
    pen.setDrawingPenType(PenType::neon);
    EXPECT_EQ(commandsOf(pen), (Commands{"save", "no antialias", "path 4", "cap 1", "width 5", "stroke color 1 1 1 1",
                                         "shadow 0 0 4 0.25 0.5 0.75 0.5", "blend 2", "stroke", "restore"}));
    EraserTool eraser;
    prepared(eraser).setTouchPoints({{0, 0}, {10, 0}});
    EXPECT_EQ(commandsOf(eraser),
              (Commands{"save", "no antialias", "path 2", "cap 1", "width 5", "blend 1", "stroke", "restore"}));
}

TEST(LineTool, DrawsOnlyToNonNegativePoints) {
    LineTool line;
    dragged(prepared(line), {10, 10}, {50, 0});
    const Commands before{"save", "stroke color 0.25 0.5 0.75 1", "cap 2", "width 5", "alpha 0.5", "move 10 10"};
    const auto with = [&](Commands further) {
        Commands all = before;
        all.insert(all.end(), further.begin(), further.end());
        all.insert(all.end(), {"stroke", "restore"});
        return all;
    };
    EXPECT_EQ(commandsOf(line), with({"line 50 0"}));
    EXPECT_EQ(commandsOf(dragged(line, {10, 10}, {0, 50})), with({"line 0 50"}));
    for (const Point outside : {Point{50, -0.01}, Point{-0.01, 50}, Point{-100, -100}})
        EXPECT_EQ(commandsOf(dragged(line, {10, 10}, outside)), with({}));

    ArrowTool arrow;
    dragged(prepared(arrow), {10, 10}, {-1, 50});
    EXPECT_EQ(commandsOf(arrow), with({}));
    // The head for width 5: barbs of length 20 at 135 degrees from the shaft, the tip 5 beyond the end.
    EXPECT_EQ(commandsOf(dragged(arrow, {10, 10}, {110, 10})),
              with({"line 110 10", "move 95.86 24.14", "line 115 10", "line 95.86 -4.142"}));
    EXPECT_EQ(commandsOf(dragged(arrow, {10, 10}, {10, 110})),
              with({"line 10 110", "move -4.142 95.86", "line 10 115", "line 24.14 95.86"}));
    EXPECT_EQ(commandsOf(dragged(arrow, {10, 10}, {10, 10})),
              with({"line 10 10", "move -4.142 24.14", "line 15 10", "line -4.142 -4.142"}));
}

TEST(RectTool, DrawsRectanglesDraggedInAnyDirection) {
    RectTool rectangle;
    dragged(prepared(rectangle), {60, 40}, {10, 15});
    EXPECT_EQ(commandsOf(rectangle), (Commands{"save", "alpha 0.5", "stroke color 0.25 0.5 0.75 1", "width 5",
                                               "stroke rect 60 40 -50 -25", "restore"}));
    rectangle.setFill(true);
    EXPECT_EQ(commandsOf(rectangle),
              (Commands{"save", "alpha 0.5", "fill color 0.25 0.5 0.75 1", "fill rect 60 40 -50 -25", "restore"}));
    EXPECT_EQ(commandsOf(dragged(rectangle, {60, 40}, {-1, 15})), Commands{});

    EllipseTool ellipse(true);
    dragged(prepared(ellipse), {0, 0}, {10, 20});
    EXPECT_EQ(commandsOf(ellipse), (Commands{"save", "alpha 0.5", "width 5", "fill color 0.25 0.5 0.75 1",
                                             "fill ellipse 0 0 10 20", "restore"}));
    ellipse.setFill(false);
    EXPECT_EQ(commandsOf(ellipse)[4], "stroke ellipse 0 0 10 20");
    // The right and bottom edges are inside.
    EXPECT_EQ(commandsOf(dragged(ellipse, {60, 40}, {0, 0})).at(4), "stroke ellipse 60 40 -60 -40");
    EXPECT_EQ(commandsOf(dragged(rectangle, {60, 40}, {0, 0})).at(3), "fill rect 60 40 -60 -40");
    EXPECT_EQ(commandsOf(dragged(ellipse, {60, 40}, {5, -1})), (Commands{"save", "alpha 0.5", "width 5", "restore"}));
}

TEST(SketchTool, DrawingWithoutAContextDoesNothing) {
    ASSERT_EQ(graphics::currentContext(), nullptr);
    for (int type = 0; type <= static_cast<int>(SketchToolType::ellipseFill); ++type) {
        const auto tool = SketchTool::make(static_cast<SketchToolType>(type));
        tool->setInitialPoint({1, 1});
        tool->moveFromPoint({1, 1}, {5, 5});
        tool->draw();
        tool->remove();
        RecordingContext context;
        const graphics::CurrentContextScope scope(context);
        tool->remove();
        EXPECT_EQ(context.commands, Commands{"flush"});
    }
}

TEST(SketchTool, RescalesWithItsView) {
    PenTool pen;
    pen.setTouchPoints({{10, 10}, {20, 30}, {50, 60}});
    pen.updatePath({0, 0, 100, 100}, {0, 0, 200, 50});
    EXPECT_EQ(pen.touchPoints(), (std::vector<Point>{{20, 5}, {40, 15}, {100, 30}}));
    ArrowTool arrow;
    dragged(arrow, {10, 10}, {20, 30}).updatePath({0, 0, 100, 100}, {0, 0, 200, 50});
    EXPECT_EQ(arrow.firstPoint(), (Point{20, 5}));
    EXPECT_EQ(arrow.lastPoint(), (Point{40, 15}));
    // Empty rectangles define no scale.
    for (const Rect& nothing : {Rect{}, Rect{0, 0, 100, 0}, Rect{0, 0, std::nan(""), 10}}) {
        arrow.updatePath(nothing, {0, 0, 10, 10});
        arrow.updatePath({0, 0, 10, 10}, nothing);
        pen.updatePath(nothing, {0, 0, 10, 10});
        pen.updatePath({0, 0, 10, 10}, nothing);
    }
    EXPECT_EQ(arrow.lastPoint(), (Point{40, 15}));
    EXPECT_EQ(pen.touchPoints().back(), (Point{100, 30}));
}

TEST(SketchTool, StampsChangeWithTheAppearance) {
    PenTool pen;
    PenTool other;
    EXPECT_NE(pen.stamp(), other.stamp());
    std::set<std::uint64_t> stamps;
    const auto isNew = [&] { return stamps.insert(pen.stamp()).second; };
    EXPECT_TRUE(isNew());
    pen.addSegment({}, {}, {1, 1});
    EXPECT_TRUE(isNew());
    pen.setLineColor(Color::white());
    EXPECT_TRUE(isNew());
    pen.setLineAlpha(0.5);
    EXPECT_TRUE(isNew());
    pen.setLineWidth(9);
    EXPECT_TRUE(isNew());
    pen.setDrawingPenType(PenType::neon);
    EXPECT_TRUE(isNew());
    pen.updatePath({0, 0, 1, 1}, {0, 0, 2, 2});
    EXPECT_TRUE(isNew());
    pen.setTime(5);
    pen.setId("A");
    pen.setLineWidth(9);
    EXPECT_FALSE(isNew());
}

TEST(SketchTool, StoredFormOfEveryTool) {
    const auto stored = [](SketchTool& tool, bool withPoints) {
        tool.setId("ID");
        tool.setTime(2.5);
        tool.setLineColor({1, 0.5, 0.0625, 0.3});
        tool.setLineWidth(3);
        tool.setLineAlpha(0.25);
        return tool.jsonValue({200, 50}, withPoints).serialized();
    };
    const std::string common = R"("alpha":0.25,"color":"#FF8010","id":"ID",)";
    PenTool pen;
    pen.setDrawingPenType(PenType::neon);
    pen.setTouchPoints({{20, 5}, {50, 25}, {200, 50}});
    EXPECT_EQ(stored(pen, true),
              R"({"configuration":{)" + common +
                  R"("ios":{"penType":2},"points":[{"x":10,"y":10},{"x":25,"y":50},{"x":100,"y":100}],)"
                  R"("time":2.5,"width":3},"type":"pen"})");
    EXPECT_EQ(stored(pen, false),
              R"({"configuration":{)" + common + R"("ios":{"penType":2},"time":2.5,"width":3},"type":"pen"})");
    // Percentages depend on the view size; cached ones are not reused for another size.
    EXPECT_EQ(pen.jsonValue({400, 100}, true)["configuration"]["points"].serialized(),
              R"([{"x":5,"y":5},{"x":12.5,"y":25},{"x":50,"y":50}])");
    pen.addSegment({50, 25}, {200, 50}, {100, 50});
    EXPECT_EQ(pen.jsonValue({400, 100}, true)["configuration"]["points"][3]["x"].number(), 25);

    EraserTool eraser;
    EXPECT_EQ(stored(eraser, true),
              R"({"configuration":{)" + common +
                  R"("ios":{"eraser":true,"penType":0},"points":[],"time":2.5,"width":3},"type":"pen"})");
    const std::string points = R"("points":[{"endX":50,"endY":40,"startX":10,"startY":10}],"time":2.5,"width":3})";
    LineTool line;
    EXPECT_EQ(stored(dragged(line, {20, 5}, {100, 20}), true),
              R"({"configuration":{)" + common + points + R"(,"type":"line"})");
    ArrowTool arrow;
    EXPECT_EQ(stored(dragged(arrow, {20, 5}, {100, 20}), true),
              R"({"configuration":{)" + common + points + R"(,"type":"arrow"})");
    RectTool rectangle(true);
    EXPECT_EQ(stored(dragged(rectangle, {20, 5}, {100, 20}), true),
              R"({"configuration":{)" + common + R"("isFill":true,)" + points + R"(,"type":"rectangle"})");
    EllipseTool ellipse;
    ellipse.setEraserWidth(7);
    EXPECT_EQ(stored(dragged(ellipse, {20, 5}, {100, 20}), true), R"({"configuration":{)" + common +
                                                                      R"("ios":{"eraserWidth":7},"isFill":false,)" +
                                                                      points + R"(,"type":"oval"})");
    EXPECT_EQ(stored(ellipse, false),
              R"({"configuration":{)" + common +
                  R"("ios":{"eraserWidth":7},"isFill":false,"time":2.5,"width":3},"type":"oval"})");
}

TEST(SketchTool, StoresNonFiniteValues) {
    const Color noColor{std::nan(""), 0, 0, 1};
    for (int type = 0; type <= static_cast<int>(SketchToolType::ellipseFill); ++type) {
        const auto tool = SketchTool::make(static_cast<SketchToolType>(type));
        tool->setLineColor(noColor);
        tool->setTime(std::nan(""));
        tool->setLineWidth(INFINITY);
        tool->moveFromPoint({}, {std::nan(""), INFINITY});
        const JSON stored = tool->jsonValue({10, 10}, true);
        EXPECT_NO_THROW(stored.serialized());
        EXPECT_EQ(*stored["configuration"]["color"].string(), type < 2 ? "#000000" : "#FF0000");
        EXPECT_EQ(tool->jsonValue({0, 10}, true)["configuration"]["points"].error(), JSONError::Kind::notExist);
    }
    EXPECT_EQ(hexadecimalColor({-1, 2, 0.5, 1}, "#000000"), "#00FF80");
}

}  // namespace
}  // namespace videoanalysis
