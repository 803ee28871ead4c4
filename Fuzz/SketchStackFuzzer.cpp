// Stored drawings: any JSON value may be handed over as a stack. The first byte sets up the view, the rest is the text of
// the stack. What has been read is drawn, rescaled and written, and reading that again must change nothing.

#include "Platforms/Cairo/CairoEngine.h"
#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Platform/UI/Device.h"
#include "VideoAnalysis/Sketch/SketchView.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>

using namespace videoanalysis;

namespace {

/// Only what a sketch view asks for.
class FuzzPlatform final : public Platform {
public:
    std::size_t logLines = 0;

    dispatch::MainQueue& mainQueue() override { std::abort(); }
    std::shared_ptr<dispatch::Timer> scheduleTimer(double, bool, std::function<void()>) override { std::abort(); }
    double wallClock() const override { return 700'000'000; }
    const ui::Device& device() const override { std::abort(); }
    const ui::Screen& mainScreen() const override { return screen_; }
    ui::Bundle& bundle() override { std::abort(); }
    ui::Presenter& presenter() override { std::abort(); }
    media::Engine& media() override { std::abort(); }
    graphics::Engine& graphics() override { return engine_; }
    recording::ScreenRecorder& screenRecorder() override { std::abort(); }
    std::string temporaryDirectory() const override { return {}; }
    void debugLog(std::string_view) override { ++logLines; }

private:
    class OneToOneScreen final : public ui::Screen {
        Size size() const override { return {64, 48}; }
        double scale() const override { return 1; }
    };
    OneToOneScreen screen_;
    graphics::CairoEngine engine_;
};

/// A value without a text, as a host may build one: "NaN" and "inf" in the text become the numbers.
JSON withStrangeNumbers(const JSON& value) {
    if (const std::string* text = value.string()) {
        if (*text == "NaN") return std::nan("");
        if (*text == "inf") return std::numeric_limits<double>::infinity();
    } else if (const JSON::Array* elements = value.array()) {
        JSON::Array result;
        for (const JSON& element : *elements) result.push_back(withStrangeNumbers(element));
        return result;
    } else if (const JSON::Dictionary* members = value.dictionary()) {
        JSON::Dictionary result;
        for (const JSON::Member& member : *members) result.push_back({member.key, withStrangeNumbers(member.value)});
        return result;
    }
    return value;
}

void require(bool condition) {
    if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::shared_ptr<FuzzPlatform> platform = [] {
        auto made = std::make_shared<FuzzPlatform>();
        installPlatform(made);
        return made;
    }();
    if (size == 0) return 0;
    JSON stack;
    try {
        stack = withStrangeNumbers(JSON::parse({reinterpret_cast<const char*>(data) + 1, size - 1}));
    } catch (const JSONError&) {
        return 0;
    }
    platform->logLines = 0;
    // Without bounds of its own a view keeps the drawings until it has some.
    SketchView view(data[0] % 2 == 0 ? Rect{0, 0, 64, 48} : Rect{});
    view.loadStack(stack);
    require(platform->logLines <= 101);
    view.setFrame({0, 0, 48, 64});
    require(!view.image().isEmpty());
    for (int i = 0; i < 3; ++i) view.undo();
    for (int i = 0; i < 2; ++i) view.redo();

    const JSON written = view.stackJSON();
    const std::string text = written.serialized();
    SketchView again(Rect{0, 0, 48, 64});
    platform->logLines = 0;
    again.loadStack(JSON::parse(text));
    require(platform->logLines == 0);
    require(again.pathArray.size() == view.pathArray.size() && again.bufferArray.size() == view.bufferArray.size());
    require(again.stackJSON()["activeTool"] == written["activeTool"]);
    return 0;
}
