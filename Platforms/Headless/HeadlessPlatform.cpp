#include "Platforms/Headless/HeadlessPlatform.h"

#include "VideoAnalysis/Platform/FatalError.h"
#include "VideoAnalysis/Platform/UI/Appearance.h"

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

class BlankEngine final : public graphics::Engine {
public:
    std::unique_ptr<graphics::Context> makeContext(Bitmap&) override { return std::make_unique<BlankContext>(); }
};

}  // namespace

// ---- Presentation

void HeadlessPresenter::present(std::shared_ptr<ui::ViewController> presenting,
                                std::shared_ptr<ui::ViewController> presented, bool animated,
                                ui::ViewController::Completion completion) {
    presenting->setPresentedViewController(presented);
    appear(std::make_shared<ui::Appearance>(std::move(presented), animated, std::move(completion)));
}

void HeadlessPresenter::dismiss(std::shared_ptr<ui::ViewController> viewController, bool animated,
                                ui::ViewController::Completion completion) {
    const std::shared_ptr<ui::ViewController> presenting = viewController->presentingViewController();
    if (!presenting) {
        if (completion) queue_.async(std::move(completion));
        return;
    }
    if (const auto above = viewController->presentedViewController()) dismiss(above, animated, {});
    presenting->setPresentedViewController(nullptr);
    disappear(*viewController, animated, std::move(completion));
}

void HeadlessPresenter::showOverlay(std::shared_ptr<ui::ViewController> root) {
    if (std::find(overlays_.begin(), overlays_.end(), root) != overlays_.end()) return;
    overlays_.push_back(root);
    appear(std::make_shared<ui::Appearance>(std::move(root), false, ui::ViewController::Completion()));
}

void HeadlessPresenter::hideOverlay(std::shared_ptr<ui::ViewController> root) {
    if (std::erase(overlays_, root) == 0) return;
    if (const auto above = root->presentedViewController()) dismiss(above, false, {});
    disappear(*root, false, {});
}

void HeadlessPresenter::appear(const std::shared_ptr<ui::Appearance>& appearance) {
    shown_.push_back(appearance);
    queue_.async([this, appearance] {
        finishLeaving(*appearance);
        appearance->controller()->view();
        appearance->willAppear();
        queue_.async([appearance] { appearance->didAppear(); });
    });
}

void HeadlessPresenter::disappear(const ui::ViewController& controller, bool animated,
                                  ui::ViewController::Completion completion) {
    const auto found = std::find_if(shown_.begin(), shown_.end(),
                                    [&](const auto& shown) { return shown->controller().get() == &controller; });
    const std::shared_ptr<ui::Appearance> appearance = *found;
    shown_.erase(found);
    leaving_.push_back(appearance);
    queue_.async([this, appearance, animated, completion = std::move(completion)] {
        finishLeaving(*appearance);
        appearance->willDisappear(animated, completion);
        queue_.async([this, appearance] {
            std::erase(leaving_, appearance);
            appearance->didDisappear();
        });
    });
}

void HeadlessPresenter::finishLeaving(const ui::Appearance& next) {
    const Appearances leaving = leaving_;
    for (const auto& earlier : leaving) {
        if (earlier.get() != &next && earlier->controller() == next.controller()) earlier->didDisappear();
    }
}

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
