// Validates stored drawings against Documentation/stored-drawings.schema.json.

#include "Platforms/Cairo/CairoEngine.h"
#include "Platforms/Headless/HeadlessPlatform.h"
#include "VideoAnalysis/Sketch/EllipseTool.h"
#include "VideoAnalysis/Sketch/SketchView.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <unistd.h>

namespace videoanalysis {
namespace {

namespace files = std::filesystem;

class StoredDrawingsSchemaTest : public testing::Test {
protected:
    StoredDrawingsSchemaTest() {
        installPlatform(platform);
        files::create_directories(folder);
    }
    ~StoredDrawingsSchemaTest() override {
        files::remove_all(folder);
        installPlatform(nullptr);
    }

    void add(const std::string& name, const JSON& value) const { std::ofstream(folder / name) << value.serialized(); }
    /// Validates all added stacks. Maps each name to the reason why it is invalid, or "" if it is valid.
    std::map<std::string, std::string> validate() const {
        const std::string command = "'" VIDEOANALYSIS_JSONSCHEMA_PYTHON "' '" VIDEOANALYSIS_SOURCE_DIR
                                    "/tools/validate-json.py' '" VIDEOANALYSIS_SOURCE_DIR
                                    "/Documentation/stored-drawings.schema.json' '" +
                                    folder.string() + "'/* 2>&1";
        FILE* pipe = popen(command.c_str(), "r");
        std::map<std::string, std::string> results;
        char line[4096];
        while (std::fgets(line, sizeof line, pipe)) {
            std::istringstream words(line);
            std::string verdict;
            std::string name;
            words >> verdict >> name;
            const std::string reason((std::istreambuf_iterator<char>(words)), {});
            if (verdict == "valid")
                results[name] = "";
            else if (verdict == "invalid")
                results[name.substr(0, name.find(':'))] = "invalid" + reason;
            else
                ADD_FAILURE() << line;
        }
        EXPECT_EQ(pclose(pipe), 0);
        return results;
    }
    static void stroke(SketchView& view, SketchToolType tool, double number = 60) {
        view.drawTool = tool;
        view.beginDrawing({1, 1});
        view.continueDrawing({1, 1}, {number, 50});
        view.continueDrawing({number, 50}, {70, number});
        view.endDrawing();
    }
    /// A valid stack with one drawing per tool, in the order of the tools.
    static JSON everyTool() {
        SketchView view(Rect{0, 0, 200, 100});
        for (int type = 0; type <= static_cast<int>(SketchToolType::ellipseFill); ++type)
            stroke(view, static_cast<SketchToolType>(type));
        return view.stackJSON();
    }
    /// A copy of `stack` with a modified drawing at `index`.
    static JSON withDrawing(const JSON& stack, std::size_t index, const std::function<void(JSON&)>& change) {
        JSON::Array drawings;
        for (const JSON& drawing : *stack["drawnStack"].array()) {
            JSON changed = drawing;
            if (drawings.size() == index) change(changed);
            drawings.push_back(std::move(changed));
        }
        JSON result = stack;
        result.set("drawnStack", JSON(std::move(drawings)));
        return result;
    }
    static JSON without(const JSON& object, const std::string& key) {
        JSON result = JSON::dictionary({});
        for (const JSON::Member& member : *object.dictionary())
            if (member.key != key) result.set(member.key, member.value);
        return result;
    }

    const std::shared_ptr<HeadlessPlatform> platform =
        std::make_shared<HeadlessPlatform>(std::make_unique<graphics::CairoEngine>());
    const files::path folder = files::temp_directory_path() / ("stored-drawings-" + std::to_string(getpid()));
};

TEST_F(StoredDrawingsSchemaTest, WrittenStacksAreValid) {
    add("fresh", SketchView(Rect{0, 0, 200, 100}).stackJSON());
    add("without-bounds", SketchView(Rect{}).stackJSON());
    add("every-tool", everyTool());
    std::size_t expected = 3;

    const double infinity = std::numeric_limits<double>::infinity();
    int variant = 0;
    for (const double number : {2.5, 20'000.0, -3.0, 1e300, infinity, -infinity, std::nan("")}) {
        SketchView view(Rect{0, 0, 200, 100});
        view.drawMode = variant % 2 == 0 ? ImageRenderingMode::original : ImageRenderingMode::scale;
        for (const PenType pen : {PenType::normal, PenType::blur, PenType::neon}) {
            for (int type = 0; type <= static_cast<int>(SketchToolType::ellipseFill); ++type) {
                view.drawingPenType = pen;
                view.lineWidth = view.lineAlpha = number;
                view.lineColor = {number, 0.5, 0.25, 1};
                stroke(view, static_cast<SketchToolType>(type), number);
                if (auto* ellipse = dynamic_cast<EllipseTool*>(view.pathArray.back().get()))
                    ellipse->setEraserWidth(number);
            }
        }
        for (int i = 0; i < 5; ++i) view.undo();
        view.beginDrawing({1, 1});  // a stroke in progress
        add("variant-" + std::to_string(variant++), view.stackJSON());
        ++expected;
    }

    // Stacks are valid when stored again, even if the loaded ones were not.
    for (const auto& entry : files::directory_iterator(VIDEOANALYSIS_SOURCE_DIR "/Fuzz/Corpus/SketchStackFuzzer")) {
        std::ifstream stream(entry.path());
        const std::string text((std::istreambuf_iterator<char>(stream)), {});
        SketchView view(text[0] % 2 == 0 ? Rect{0, 0, 1920, 1080} : Rect{});
        const JSON given = JSON::parse(text.substr(1));
        view.loadStack(given);
        add("written-" + entry.path().filename().string(), view.stackJSON());
        add("given-" + entry.path().filename().string(), given);
        expected += 2;
    }

    std::vector<std::string> validInputs;
    const auto results = validate();
    EXPECT_EQ(results.size(), expected);
    for (const auto& [name, reason] : results) {
        if (!name.starts_with("given-"))
            EXPECT_EQ(reason, "") << name;
        else if (reason.empty())
            validInputs.push_back(name);
    }
    EXPECT_EQ(validInputs, (std::vector<std::string>{"given-every-tool", "given-without-bounds"}))
        << "the others lack members or contain unreadable ones";
}

TEST_F(StoredDrawingsSchemaTest, StackWithOneErrorIsInvalid) {
    const JSON valid = everyTool();
    constexpr std::size_t pen = 0, line = 2, rectangle = 4, oval = 6;
    const auto configured = [&](std::size_t index, const std::string& key, const JSON& value) {
        return withDrawing(valid, index, [&](JSON& drawing) { drawing.set({"configuration", key}, value); });
    };
    const auto top = [&](const std::string& key, const JSON& value) {
        JSON stack = valid;
        stack.set(key, value);
        return stack;
    };
    for (const char* key : {"width", "color", "alpha", "activeTool", "drawnStack", "redoStack"})
        add(std::string("no-") + key, without(valid, key));
    add("width-negative", top("width", -1));
    add("color-short", top("color", "#12345"));
    add("color-name", top("color", "red"));
    add("alpha-large", top("alpha", 1.5));
    add("tool-unknown", top("activeTool", 8));
    add("tool-fraction", top("activeTool", 1.5));
    add("draw-mode-unknown", top("ios", JSON::dictionary({{"drawMode", 2}})));
    add("stack-object", top("drawnStack", JSON::dictionary({})));
    add("drawing-number", top("redoStack", JSON::array({3})));
    add("type-unknown", withDrawing(valid, line, [](JSON& drawing) { drawing.set("type", "star"); }));
    add("type-missing", withDrawing(valid, line, [](JSON& drawing) { drawing = without(drawing, "type"); }));
    add("configuration-missing",
        withDrawing(valid, pen, [](JSON& drawing) { drawing = without(drawing, "configuration"); }));
    for (const char* key : {"width", "color", "alpha", "time", "id"}) {
        add(std::string("drawing-without-") + key, withDrawing(valid, line, [&](JSON& drawing) {
                drawing.set("configuration", without(drawing["configuration"], key));
            }));
    }
    add("time-text", configured(line, "time", "now"));
    add("id-number", configured(line, "id", 7));
    add("pen-type-unknown", configured(pen, "ios", JSON::dictionary({{"penType", 3}})));
    add("eraser-number", configured(1, "ios", JSON::dictionary({{"eraser", 1}})));
    add("pen-points-of-a-line", configured(pen, "points", valid["drawnStack"][line]["configuration"]["points"]));
    add("line-points-of-a-pen", configured(line, "points", valid["drawnStack"][pen]["configuration"]["points"]));
    add("line-without-points", configured(line, "points", JSON::array({})));
    add("coordinate-text", configured(pen, "points", JSON::array({JSON::dictionary({{"x", "1"}, {"y", 2}})})));
    add("coordinate-far", configured(pen, "points", JSON::array({JSON::dictionary({{"x", 10'001}, {"y", 2}})})));
    add("rectangle-without-fill", withDrawing(valid, rectangle, [](JSON& drawing) {
            drawing.set("configuration", without(drawing["configuration"], "isFill"));
        }));
    add("fill-number", configured(oval, "isFill", 1));
    add("eraser-width-negative", configured(oval, "ios", JSON::dictionary({{"eraserWidth", -1}})));
    add("not-a-stack", JSON::array({}));

    const auto results = validate();
    EXPECT_EQ(results.size(), static_cast<std::size_t>(std::distance(files::directory_iterator(folder), {})));
    for (const auto& [name, reason] : results) EXPECT_NE(reason, "") << name;
}

}  // namespace
}  // namespace videoanalysis
