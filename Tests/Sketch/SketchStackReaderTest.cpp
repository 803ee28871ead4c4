#include "VideoAnalysis/Sketch/SketchStackReader.h"

#include "Platforms/Cairo/CairoEngine.h"
#include "Platforms/Headless/HeadlessPlatform.h"
#include "VideoAnalysis/Sketch/EllipseTool.h"
#include "VideoAnalysis/Sketch/EraserTool.h"
#include "VideoAnalysis/Sketch/PenTool.h"
#include "VideoAnalysis/Sketch/RectTool.h"
#include "VideoAnalysis/Sketch/SketchView.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace videoanalysis {
namespace {

/// Compares two stored forms, numbers within 1e-9.
testing::AssertionResult areSame(const JSON& a, const JSON& b, const std::string& place = "stack") {
    const auto differ = [&] {
        return testing::AssertionFailure() << place << ": " << a.serialized() << " / " << b.serialized();
    };
    if (a.type() != b.type() || a.size() != b.size()) return differ();
    if (a.number() && std::abs(*a.number() - *b.number()) > 1e-9) return differ();
    if (a.string() && *a.string() != *b.string()) return differ();
    if (a.boolean() != b.boolean()) return differ();
    for (std::size_t i = 0; a.array() && i < a.size(); ++i)
        if (const auto same = areSame(a[i], b[i], place + "[" + std::to_string(i) + "]"); !same) return same;
    for (std::size_t i = 0; a.dictionary() && i < a.size(); ++i) {
        const JSON::Member& member = (*a.dictionary())[i];
        if (const auto same = areSame(member.value, b[member.key], place + "." + member.key); !same) return same;
    }
    return testing::AssertionSuccess();
}

class Clock final : public SketchViewDelegate {
public:
    double time = 0;
    bool isTimeBased = true;

    double currentTime() const override { return time; }
    bool isTimeBasedDrawingsEnabled() const override { return isTimeBased; }
};

class SketchStackReaderTest : public testing::Test {
protected:
    SketchStackReaderTest() { installPlatform(platform); }
    ~SketchStackReaderTest() override { installPlatform(nullptr); }

    std::shared_ptr<HeadlessPlatform> platform =
        std::make_shared<HeadlessPlatform>(std::make_unique<graphics::CairoEngine>());
    std::shared_ptr<SketchView> view = std::make_shared<SketchView>(Rect{0, 0, 200, 100});
};

const char* const everyTool = R"({
    "activeTool": 3, "alpha": 0.5, "color": "#12AB9F", "ios": {"drawMode": 1}, "width": 7.5,
    "drawnStack": [
        {"type": "pen", "configuration": {"width": 2, "color": "#FF0000", "alpha": 0.25, "time": 1.5, "id": "a",
            "ios": {"penType": 1}, "points": [{"x": 10, "y": 20}, {"x": 30, "y": 47.3}, {"x": 12.25, "y": 99}]}},
        {"type": "pen", "configuration": {"width": 20, "color": "#000000", "alpha": 1, "time": 2, "id": "b",
            "ios": {"eraser": true, "penType": 0}, "points": [{"x": -5, "y": 20}, {"x": 130, "y": 47.3}]}},
        {"type": "line", "configuration": {"width": 3, "color": "#00FF00", "alpha": 1, "time": 0, "id": "c",
            "points": [{"startX": 1, "startY": 2, "endX": 33.3, "endY": 100}]}},
        {"type": "arrow", "configuration": {"width": 3, "color": "#00FF00", "alpha": 1, "time": 0, "id": "d",
            "points": [{"startX": 1, "startY": 2, "endX": -50, "endY": -100}]}},
        {"type": "rectangle", "configuration": {"width": 3, "color": "#0000FF", "alpha": 1, "time": 0, "id": "e",
            "isFill": false, "points": [{"startX": 80, "startY": 20, "endX": 10, "endY": 10}]}},
        {"type": "rectangle", "configuration": {"width": 3, "color": "#0000FF", "alpha": 1, "time": 0, "id": "f",
            "isFill": true}}],
    "redoStack": [
        {"type": "oval", "configuration": {"width": 3, "color": "#0000FF", "alpha": 1, "time": -4, "id": "g",
            "isFill": false, "ios": {"eraserWidth": 4}, "points": [{"startX": 80, "startY": 20, "endX": 10, "endY": 10}]}},
        {"type": "oval", "configuration": {"width": 3, "color": "#0000FF", "alpha": 1, "time": 1e9, "id": "",
            "isFill": true, "ios": {"eraserWidth": 0}, "points": [{"startX": 80, "startY": 20, "endX": 10, "endY": 10}]}}]
})";

TEST_F(SketchStackReaderTest, ReadsWhatItWrites) {
    JSON stack = JSON::parse(everyTool);
    view->loadStack(stack);
    EXPECT_EQ(platform->log, std::vector<std::string>{});
    ASSERT_EQ(view->pathArray.size(), 6U);
    ASSERT_EQ(view->bufferArray.size(), 2U);
    EXPECT_EQ(view->drawTool, SketchToolType::arrow);
    EXPECT_EQ(view->drawMode, ImageRenderingMode::original);
    EXPECT_EQ(view->lineWidth, 7.5);
    EXPECT_EQ(view->lineAlpha, 0.5);
    EXPECT_EQ(view->lineColor, Color::rgb255(0x12, 0xAB, 0x9F));
    const auto& pen = dynamic_cast<PenTool&>(*view->pathArray[0]);
    EXPECT_EQ(pen.drawingPenType(), PenType::blur);
    EXPECT_EQ(pen.id(), "a");
    EXPECT_EQ(pen.time(), 1.5);
    EXPECT_EQ(pen.lineWidth(), 2);
    EXPECT_EQ(pen.lineAlpha(), 0.25);
    EXPECT_EQ(pen.path().points()[3], (Point{(20 + 60) / 2.0, (20 + 47.3) / 2}));
    EXPECT_TRUE(dynamic_cast<EraserTool*>(view->pathArray[1].get()));
    EXPECT_EQ(dynamic_cast<RectTool&>(*view->pathArray[4]).firstPoint(), (Point{160, 20}));
    EXPECT_TRUE(dynamic_cast<RectTool&>(*view->pathArray[5]).isFill());
    EXPECT_FALSE(view->image().isEmpty());

    // Stable across repeated saves at any size. A drawing stored without points gets those of one that was not dragged.
    JSON written = view->stackJSON();
    EXPECT_EQ(written["drawnStack"][5]["configuration"]["points"].size(), 1U);
    for (int i = 0; i < 6; ++i) {
        if (i % 2 == 1) view->setFrame({0, 0, 77.7 * (i + 1), 3000.0 / (i + 1)});
        view->loadStack(JSON::parse(view->stackJSON().serialized()));
        // Any change of the appearance invalidates the stroke's cached points.
        view->pathArray[0]->setLineWidth(9);
        view->pathArray[0]->setLineWidth(2);
        EXPECT_TRUE(areSame(view->stackJSON(), written));
    }
    EXPECT_EQ(platform->log, std::vector<std::string>{});
    // The same applies to drawings without points.
    for (const auto& list : {"drawnStack", "redoStack"}) {
        const auto& tools = list[0] == 'd' ? view->pathArray : view->bufferArray;
        for (std::size_t i = 0; i < tools.size(); ++i) {
            JSON expected = stack[list][i];
            JSON configuration;
            for (const JSON::Member& member : *expected["configuration"].dictionary())
                if (member.key != "points") configuration.set(member.key, member.value);
            expected.set("configuration", configuration);
            EXPECT_TRUE(areSame(tools[i]->jsonValue({1, 1}, false), expected));
        }
    }
}

TEST_F(SketchStackReaderTest, LoadedStackDrawsTheSamePixels) {
    for (int type = 0; type <= static_cast<int>(SketchToolType::ellipseFill); ++type) {
        view->drawTool = static_cast<SketchToolType>(type);
        view->lineColor = Color::rgb255(30 * type, 255 - 30 * type, 9);
        view->beginDrawing({10.0 + type, 20});
        view->continueDrawing({10.0 + type, 20}, {60.1, 71.3});
        view->continueDrawing({60.1, 71.3}, {150.7, 33});
        view->endDrawing();
    }
    view->undo();
    auto other = std::make_shared<SketchView>(Rect{0, 0, 200, 100});
    other->loadStack(JSON::parse(view->stackJSON().serialized()));
    EXPECT_EQ(other->stackJSON(), view->stackJSON());
    other->updateCacheImage(true);
    EXPECT_EQ(other->image().bitmap()->pixels, view->image().bitmap()->pixels);
    view->redo();
    other->redo();
    EXPECT_EQ(other->image().bitmap()->pixels, view->image().bitmap()->pixels);
    // Loading replaces all drawings, including the one in progress.
    other->beginDrawing({1, 1});
    other->loadStack(view->stackJSON());
    EXPECT_FALSE(other->currentTool);
    EXPECT_EQ(other->pathArray.size(), 8U);
}

TEST_F(SketchStackReaderTest, ViewWithoutBoundsScalesLoadedDrawingsWhenItGetsSome) {
    SketchView early;
    early.loadStack(JSON::parse(everyTool));
    view->loadStack(JSON::parse(everyTool));
    // Excludes the last one: it was not dragged, which is marked by a position in points, not percentages.
    early.pathArray.pop_back();
    view->pathArray.pop_back();
    const JSON before = early.stackJSON();
    early.setFrame({0, 0, 320, 180});
    EXPECT_TRUE(areSame(early.stackJSON(), view->stackJSON()));
    EXPECT_TRUE(areSame(before, view->stackJSON()));
    EXPECT_EQ(dynamic_cast<RectTool&>(*early.pathArray[4]).firstPoint(), (Point{256, 36}));
}

TEST_F(SketchStackReaderTest, ParsesToolNames) {
    using Type = SketchToolType;
    const auto type = &SketchStackReader::toolType;
    EXPECT_EQ(type("pen"), Type::pen);
    EXPECT_EQ(type("Line"), Type::line);
    EXPECT_EQ(type("ARROW"), Type::arrow);
    EXPECT_EQ(type("rectangle"), Type::rectangleStroke);
    EXPECT_EQ(type("oval"), Type::ellipseStroke);
    EXPECT_EQ(type("Ellipse"), Type::ellipseStroke);
    for (const char* word : {"", "eraser", "rectangleStroke", "rectangleFill", "ellipseStroke", "ellipseFill", "rect",
                             "pen ", "rectanglestroke", "PEN\xC3\x96"})
        EXPECT_EQ(type(word), std::nullopt) << word;
    EXPECT_EQ(type(std::string(1'000'000, 'p')), std::nullopt);
}

/// Members of wrong types, out of range or missing.
const char* const unreadableMembers =
    R"({"width": "4", "color": "#GG0000", "alpha": 1.5, "activeTool": 2.5, "ios": {"drawMode": 7},
        "drawnStack": [
            5,
            {"type": "star", "configuration": {}},
            {"configuration": {}},
            {"type": "pen", "configuration": {"width": -1, "color": "red", "alpha": true, "time": [], "id": 4,
                "ios": {"penType": 3}, "points": [{"x": 1, "y": 1}, {"x": 1}, 7, {"x": 20000, "y": 0}, {"x": 9, "y": 9}]}},
            {"type": "pen"},
            {"type": "line", "configuration": {"width": 1, "color": "#010203", "alpha": 1, "time": 1, "id": "l",
                "points": [{"startX": 1, "startY": 1, "endX": 5}]}},
            {"type": "oval", "configuration": {"width": 1, "color": "#010203", "alpha": 1, "time": 1, "id": "o",
                "points": {}}}]})";

TEST_F(SketchStackReaderTest, SkipsAndLogsUnreadableMembers) {
    view->lineWidth = 6;
    view->lineColor = {0, 1, 0, 1};
    view->loadStack(JSON::parse(unreadableMembers));
    const std::string drawn = "Stored drawings: drawnStack";
    EXPECT_EQ(platform->log, (std::vector<std::string>{"Stored drawings: width: cannot be read",
                                                       "Stored drawings: color: cannot be read",
                                                       "Stored drawings: alpha: cannot be read",
                                                       "Stored drawings: activeTool: cannot be read",
                                                       "Stored drawings: ios.drawMode: cannot be read",
                                                       drawn + "[0]: cannot be read",
                                                       drawn + "[1].type: cannot be read",
                                                       drawn + "[2].type: is missing",
                                                       drawn + "[3].configuration.width: cannot be read",
                                                       drawn + "[3].configuration.color: cannot be read",
                                                       drawn + "[3].configuration.alpha: cannot be read",
                                                       drawn + "[3].configuration.time: cannot be read",
                                                       drawn + "[3].configuration.id: cannot be read",
                                                       drawn + "[3].configuration.ios.penType: cannot be read",
                                                       drawn + "[3].configuration.points: 3 of 5 cannot be read",
                                                       drawn + "[4].configuration: is missing",
                                                       drawn + "[5].configuration.points: start and end cannot be read",
                                                       drawn + "[6].configuration.isFill: is missing",
                                                       drawn + "[6].configuration.points: cannot be read",
                                                       "Stored drawings: redoStack: is missing"}));
    ASSERT_EQ(view->pathArray.size(), 3U);
    // Missing members have the values of a new touch.
    const auto& pen = dynamic_cast<PenTool&>(*view->pathArray[0]);
    EXPECT_EQ(pen.lineWidth(), 6);
    EXPECT_EQ(pen.lineColor(), (Color{0, 1, 0, 1}));
    EXPECT_EQ(pen.lineAlpha(), 1);
    EXPECT_EQ(pen.touchPoints(), (std::vector<Point>{{2, 1}, {18, 9}}));
    EXPECT_EQ(pen.id().size(), 36U);
    // Skipped members are not written.
    EXPECT_EQ(view->stackJSON()["drawnStack"][0]["configuration"]["points"].size(), 2U);
    EXPECT_EQ(dynamic_cast<TwoPointTool&>(*view->pathArray[1]).lastPoint(), (Point{-100, -100}));
    EXPECT_EQ(view->drawTool, SketchToolType::pen);
}

TEST_F(SketchStackReaderTest, LogsUnreadableNestedMembers) {
    JSON stack = JSON::parse(everyTool);
    stack.set("ios", 7);
    JSON oval = stack["redoStack"][0];
    oval.set({"configuration", "ios"}, JSON::dictionary({{"eraserWidth", -1}}));
    stack.set("redoStack", JSON::array({oval}));
    view->loadStack(stack);
    EXPECT_EQ(platform->log, (std::vector<std::string>{
                                 "Stored drawings: ios.drawMode: cannot be read",
                                 "Stored drawings: redoStack[0].configuration.ios.eraserWidth: cannot be read"}));
}

TEST_F(SketchStackReaderTest, AcceptsOnlySixHexadecimalDigitsAsAColor) {
    view->lineColor = {0, 1, 0, 1};
    const auto read = [&](const std::string& text) {
        JSON stack = JSON::parse(everyTool);
        stack.set("color", text);
        platform->log.clear();
        view->lineColor = {0, 1, 0, 1};
        view->loadStack(stack);
        const bool isNoted = platform->log == std::vector<std::string>{"Stored drawings: color: cannot be read"};
        EXPECT_EQ(isNoted, view->lineColor == (Color{0, 1, 0, 1})) << text;
        return !isNoted;
    };
    EXPECT_TRUE(read("#a0B9fF"));
    EXPECT_EQ(view->lineColor, Color::rgb255(0xA0, 0xB9, 0xFF));
    EXPECT_TRUE(read("#000000"));
    for (const char* text : {"#-00000", "#+00000", "# 00000", "#00000 ", "#0x0000", "#0X1234", "#00000", "#0000000",
                             "000000#", "0000000", "#00000G", "#00000\xC2\xB2", "", "#", "red", "#1e+005"})
        EXPECT_FALSE(read(text)) << text;
}

TEST_F(SketchStackReaderTest, DrawingWithoutAReadableTimeIsHidden) {
    const auto owner = std::make_shared<Clock>();
    view->sketchViewDelegate = owner;
    JSON drawings;
    for (const JSON& time : {JSON(std::nan("")), JSON("1"), JSON(), JSON(true),
                             JSON(-std::numeric_limits<double>::infinity()), JSON(2e15)}) {
        JSON drawing = JSON::parse(everyTool)["drawnStack"][2];
        drawing.set({"configuration", "time"}, time);
        drawings.append(drawing);
    }
    JSON missing =
        JSON::parse(R"({"type": "line", "configuration": {"width": 3, "color": "#00FF00", "alpha": 1, "id": "m",
        "points": [{"startX": 1, "startY": 2, "endX": 33.3, "endY": 100}]}})");
    drawings.append(missing);
    JSON stack = JSON::parse(everyTool);
    stack.set("drawnStack", drawings);
    stack.set("redoStack", JSON::array({}));
    view->loadStack(stack);
    ASSERT_EQ(platform->log.size(), 7U);
    EXPECT_EQ(platform->log.back(), "Stored drawings: drawnStack[6].configuration.time: is missing");
    for (int visit = 0; visit < 2; ++visit) {
        ASSERT_EQ(view->pathArray.size(), 7U) << "no drawing is lost";
        for (const double time : {0.0, 3600.0}) {
            owner->time = time;
            EXPECT_FALSE(view->canUndo()) << "the clip does not reach its time";
        }
        owner->isTimeBased = false;
        EXPECT_TRUE(view->canUndo());
        owner->isTimeBased = true;
        // Survives being stored and loaded again.
        platform->log.clear();
        view->loadStack(JSON::parse(view->stackJSON().serialized()));
        EXPECT_EQ(platform->log, std::vector<std::string>{});
    }
}

TEST_F(SketchStackReaderTest, WrittenStacksAreAlwaysReadable) {
    platform = std::make_shared<HeadlessPlatform>();  // no rasterization: it does not affect the stored form
    installPlatform(platform);
    const double infinity = std::numeric_limits<double>::infinity();
    const auto owner = std::make_shared<Clock>();
    view->sketchViewDelegate = owner;
    int strokes = 0;
    for (const double number : {20'000.0, -3.0, 1.5, 1e300, infinity, -infinity, std::nan("")}) {
        for (int type = 0; type <= static_cast<int>(SketchToolType::ellipseFill); ++type) {
            view->lineWidth = view->lineAlpha = owner->time = number;
            view->drawTool = static_cast<SketchToolType>(type);
            view->beginDrawing({1, 1});
            view->continueDrawing({1, 1}, {number, 50});
            view->continueDrawing({number, 50}, {60, number});
            view->endDrawing();
            if (auto* ellipse = dynamic_cast<EllipseTool*>(view->pathArray.back().get()))
                ellipse->setEraserWidth(number);
            ++strokes;
        }
        for (const Size size : {Size{200, 100}, Size{1e-3, 1e-3}, Size{1600, 900}}) {
            view->setFrame({{}, size});
            const JSON written = view->stackJSON();
            SketchView again(view->frame());
            platform->log.clear();
            again.loadStack(JSON::parse(written.serialized()));
            EXPECT_EQ(platform->log, std::vector<std::string>{}) << number;
            EXPECT_EQ(again.pathArray.size(), static_cast<std::size_t>(strokes));
        }
        view->setFrame({0, 0, 200, 100});
    }
    // Settings are clamped when drawing, not only when storing.
    view->clear();
    view->lineWidth = 20'000;
    view->lineAlpha = 1.5;
    view->beginDrawing({1, 1});
    EXPECT_EQ(view->currentTool->lineWidth(), *view->stackJSON()["drawnStack"][0]["configuration"]["width"].number());
    EXPECT_EQ(view->currentTool->lineAlpha(), 1);

    // Unserializable unknown members of a point are not written.
    JSON stack = JSON::parse(everyTool);
    JSON drawing = stack["drawnStack"][0];
    JSON deep;
    for (int i = 0; i < 1000; ++i) deep = JSON::array({deep});
    for (const JSON& foreign : {JSON(std::nan("")), deep, JSON()["unknown"]}) {
        drawing.set({"configuration", "points"}, JSON::array({JSON::dictionary({{"x", 1}, {"y", 2}, {"z", foreign}})}));
        stack.set("drawnStack", JSON::array({drawing}));
        view->loadStack(stack);
        EXPECT_NO_THROW(view->stackJSON().serialized());
        EXPECT_EQ(view->stackJSON()["drawnStack"][0]["configuration"]["points"][0]["y"].number(), 2);
    }
}

TEST_F(SketchStackReaderTest, LoadingAnythingButAStackClearsTheView) {
    for (const char* text : {"null", "[]", "7", "\"stack\"", "{}", R"({"drawnStack":{},"redoStack":null})"}) {
        view->drawTool = SketchToolType::line;
        view->beginDrawing({1, 1});
        view->endDrawing();
        platform->log.clear();
        view->loadStack(JSON::parse(text));
        EXPECT_TRUE(view->pathArray.empty());
        EXPECT_FALSE(platform->log.empty());
    }
    view->loadStack(JSON()["unknown"]);
    EXPECT_TRUE(view->pathArray.empty());
}

TEST_F(SketchStackReaderTest, AcceptsNonFiniteAndHugeStacks) {
    const double infinity = std::numeric_limits<double>::infinity();
    JSON::Array points;
    for (int i = 0; i < 1'000'000; ++i)
        points.push_back(JSON::dictionary({{"x", i % 977 * 0.1}, {"y", i % 1009 * 0.1}}));
    JSON configuration = JSON::dictionary(
        {{"width", 2}, {"color", "#FF00FF"}, {"alpha", 0.5}, {"time", 0}, {"id", "million"}, {"points", points}});
    JSON drawings = JSON::array({JSON::dictionary({{"type", "pen"}, {"configuration", configuration}})});
    configuration.set("points", JSON::array({JSON::dictionary({{"x", std::nan("")}, {"y", infinity}})}));
    configuration.set("time", -infinity);
    configuration.set("id", "not UTF-8: \xff\xfe");
    drawings.append(JSON::dictionary({{"type", "pen"}, {"configuration", configuration}}));
    for (int i = 0; i < 5000; ++i) drawings.append(JSON::dictionary({{"type", i}}));
    view->loadStack(JSON::dictionary({{"drawnStack", drawings}, {"redoStack", JSON::array({})}}));
    ASSERT_EQ(view->pathArray.size(), 2U);
    EXPECT_EQ(dynamic_cast<PenTool&>(*view->pathArray[0]).touchPoints().size(), 1'000'000U);
    EXPECT_EQ(platform->log.size(), 101U);
    EXPECT_EQ(platform->log.back(), "Stored drawings: 4906 more places");
    EXPECT_NO_THROW(view->stackJSON().serialized());
}

}  // namespace
}  // namespace videoanalysis
