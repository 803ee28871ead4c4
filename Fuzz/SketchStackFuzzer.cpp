// Stored drawings: any JSON value may be loaded as a stack. The first byte configures the view, the rest is the text of the
// stack. The drawings are drawn on a view of the size of a large screen, rescaled and stored, and must survive loading again.
// No step may block the main thread.

#include "Platforms/Cairo/CairoEngine.h"
#include "VideoAnalysis/Platform/Dispatch.h"
#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Platform/UI/Device.h"
#include "VideoAnalysis/Sketch/SketchView.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <memory>
#include <thread>

using namespace videoanalysis;

namespace {

constexpr Size screenSize{1920, 1080};
/// Max seconds of one step on the main thread. A step takes at most 0.1 s, but many times that with sanitizers.
constexpr double maxStepSeconds = 2;

class FuzzMainQueue final : public dispatch::MainQueue {
public:
    void asyncAfter(double, dispatch::Block) override { std::abort(); }

private:
    void wake() override {}
};

/// Implements only what a sketch view needs.
class FuzzPlatform final : public Platform {
public:
    std::size_t logLines = 0;

    dispatch::MainQueue& mainQueue() override { return queue_; }
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
        Size size() const override { return screenSize; }
        double scale() const override { return 1; }
    };
    FuzzMainQueue queue_;
    OneToOneScreen screen_;
    graphics::CairoEngine engine_;
};

/// A value that cannot be parsed from text but that a host may build: replaces "NaN" and "inf" by the numbers.
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

/// Runs a step of the main thread.
template <class Step>
void perform(Step&& step) {
    const auto processorTime = [] {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
    };
    const double start = processorTime();
    step();
    require(processorTime() - start < maxStepSeconds);
}

void finishRebuild(const SketchView& view) {
    while (view.isRebuilding())
        if (!dispatch::mainQueue().runTurn()) std::this_thread::yield();
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
    // A view without bounds keeps the drawings until it gets some.
    SketchView view(data[0] % 2 == 0 ? Rect{{}, screenSize} : Rect{});
    perform([&] { view.loadStack(stack); });
    require(platform->logLines <= 101);
    // Cancels some of the background rebuilds.
    if (data[0] & 2) finishRebuild(view);
    perform([&] { view.setFrame({0, 0, 1080, 1920}); });
    perform([&] {
        view.beginDrawing({10, 10});
        view.continueDrawing({10, 10}, {900, 900});
        view.endDrawing();
    });
    if (data[0] & 4) finishRebuild(view);
    require(!view.image().isEmpty() || view.isRebuilding());
    for (int i = 0; i < 3; ++i) perform([&] { view.undo(); });
    for (int i = 0; i < 2; ++i) perform([&] { view.redo(); });
    finishRebuild(view);
    require(view.image().size() == view.bounds().size);

    const JSON written = view.stackJSON();
    const std::string text = written.serialized();
    SketchView again(Rect{0, 0, 1080, 1920});
    platform->logLines = 0;
    again.loadStack(JSON::parse(text));
    require(platform->logLines == 0);
    require(again.pathArray.size() == view.pathArray.size() && again.bufferArray.size() == view.bufferArray.size());
    require(again.stackJSON()["activeTool"] == written["activeTool"]);
    return 0;
}
