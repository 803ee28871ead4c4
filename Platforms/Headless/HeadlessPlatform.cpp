#include "Platforms/Headless/HeadlessPlatform.h"

#include "VideoAnalysis/Platform/FatalError.h"

#include <algorithm>
#include <utility>

namespace videoanalysis {
namespace {

/// Takes every drawing command and leaves the bitmap alone.
class BlankContext final : public graphics::Context {
public:
    void saveState() override {}
    void restoreState() override {}
    void setStrokeColor(const Color&) override {}
    void setFillColor(const Color&) override {}
    void setLineWidth(double) override {}
    void setLineCap(graphics::LineCap) override {}
    void setAlpha(double) override {}
    void setBlendMode(graphics::BlendMode) override {}
    void setShouldAntialias(bool) override {}
    void setShadow(Size, double, const Color&) override {}
    void move(Point) override {}
    void addLine(Point) override {}
    void addPath(const graphics::Path&) override {}
    void strokePath() override {}
    void fillRect(const Rect&) override {}
    void strokeRect(const Rect&) override {}
    void fillEllipse(const Rect&) override {}
    void strokeEllipse(const Rect&) override {}
    void clearRect(const Rect&) override {}
    void clipToRect(const Rect&) override {}
    void drawImage(const Image&, const Rect&) override {}
    void flush() override {}
};

/// Its controller outlives it.
class RootViewPeer final : public ui::ScreenPeer {
public:
    explicit RootViewPeer(ui::ViewController& controller) : controller_(controller) {}

    void load() override { controller_.view(); }
    void place(const ui::Placement& placement) override { controller_.view()->setFrame(placement.frame); }

private:
    ui::ViewController& controller_;
};

class BlankEngine final : public graphics::Engine {
public:
    std::unique_ptr<graphics::Context> makeContext(Bitmap&) override { return std::make_unique<BlankContext>(); }
};

}  // namespace

// ---- Presentation

std::vector<std::shared_ptr<ui::ViewController>> HeadlessPresenter::overlays() const {
    std::vector<std::shared_ptr<ui::ViewController>> overlays;
    for (const auto& presentation : presentations()) {
        if (presentation->isOverlay) overlays.push_back(presentation->controller);
    }
    return overlays;
}

std::unique_ptr<ui::ScreenPeer> HeadlessPresenter::makePeer(const ui::Presentation& presentation) {
    return std::make_unique<RootViewPeer>(*presentation.controller);
}

Size HeadlessPresenter::windowSize() const { return platform().mainScreen().size(); }

// ---- Recording

void HeadlessRecorder::startRecording(std::function<void(recording::Error)> handler) {
    if (isPending()) return;
    ++starts;
    startHandler_ = std::move(handler);
}

void HeadlessRecorder::stopRecording(const URL& url, std::function<void(recording::Error)> handler) {
    if (isPending()) return;
    ++stops;
    recording = false;
    output = url;
    stopHandler_ = std::move(handler);
}

void HeadlessRecorder::stopRecording(PreviewHandler handler) {
    if (isPending()) return;
    ++stops;
    recording = false;
    output = URL();
    previewHandler_ = std::move(handler);
}

void HeadlessRecorder::breakOff(const std::string& reason) {
    if (!recording) fatalError("No recording is running");
    if (breakOffHandler_) breakOffHandler_(reason);
}

void HeadlessRecorder::answerStart(const recording::Error& error) {
    if (!startHandler_) fatalError("No start of a recording is pending");
    recording = !error;
    std::exchange(startHandler_, nullptr)(error);
}

void HeadlessRecorder::answerStop(const recording::Error& error) {
    if (!stopHandler_ && !previewHandler_) fatalError("No stop of a recording is pending");
    if (stopHandler_) {
        std::exchange(stopHandler_, nullptr)(error);
    } else {
        std::exchange(previewHandler_, nullptr)(nullptr, error);
    }
}

void HeadlessRecorder::answerStop(const std::shared_ptr<recording::PreviewViewController>& preview) {
    if (!previewHandler_) fatalError("No stop that ends in a preview is pending");
    std::exchange(previewHandler_, nullptr)(preview, {});
}

// ---- Platform

HeadlessPlatform::HeadlessPlatform(std::unique_ptr<graphics::Engine> graphics)
    : graphics_(graphics ? std::move(graphics) : std::make_unique<BlankEngine>()) {}

HeadlessPlatform::~HeadlessPlatform() = default;

std::shared_ptr<dispatch::Timer> HeadlessPlatform::scheduleTimer(double interval, bool repeats,
                                                                 std::function<void()> fire) {
    return queue.scheduleTimer(interval, repeats, std::move(fire));
}

double HeadlessPlatform::wallClock() const {
    constexpr double start = 800000000;  // some day in 2026
    return start + queue.now();
}

}  // namespace videoanalysis
