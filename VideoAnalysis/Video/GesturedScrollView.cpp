#include "VideoAnalysis/Video/GesturedScrollView.h"

#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Platform/UI/Device.h"
#include "VideoAnalysis/Sketch/SketchView.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace videoanalysis {
namespace {

constexpr double zoomPerNotch = 1.25;  // times

}  // namespace

bool GesturedScrollView::handlePointers(std::span<const ui::PointerEvent> events) {
    gestures_.handle(events);
    return true;
}

bool GesturedScrollView::handleWheel(const ui::WheelEvent& event) {
    if (!event.isControlDown) return false;
    gestures_.zoom(std::pow(zoomPerNotch, event.notches.y), event.position);
    return true;
}

bool GesturedScrollView::handleMagnify(const ui::MagnifyEvent& event) {
    gestures_.zoom(event.factor, event.position);
    return true;
}

const std::shared_ptr<ui::PanGestureRecognizer>& GesturedScrollView::customPanGestureRecognizer() {
    if (!pan_) {
        pan_ = std::make_shared<ui::PanGestureRecognizer>(weak_from_this());
        pan_->setHandler([this](ui::GestureRecognizer& recognizer) { handlePan(recognizer); });
    }
    return pan_;
}

void GesturedScrollView::handlePan(ui::GestureRecognizer& recognizer) {
    const std::shared_ptr<SketchView> sketch = sketchView.lock();
    if (!sketch) return;
    const Point inContent{(recognizer.location().x + contentOffset().x) / zoomScale(),
                          (recognizer.location().y + contentOffset().y) / zoomScale()};
    const Point location{inContent.x - sketch->frame().origin.x, inContent.y - sketch->frame().origin.y};
    switch (recognizer.state()) {
        case ui::GestureState::began:
            if (didTouch) didTouch();
            previousLocation.reset();
            if (sketch->bounds().contains(location)) {
                if (!shouldBeginDrawing || shouldBeginDrawing()) previousLocation = location;
            } else {
                debugLog("touch point is not in sketch view location");
            }
            break;
        case ui::GestureState::changed:
            if (!previousLocation || *previousLocation == location) break;
            if (!isDrawing_) {
                isDrawing_ = true;
                if (willBeginDrawing) willBeginDrawing();
                sketch->beginDrawing(*previousLocation);
            }
            sketch->continueDrawing(*previousLocation, location);
            previousLocation = location;
            break;
        case ui::GestureState::ended:
            if (std::exchange(isDrawing_, false)) sketch->endDrawing();
            previousLocation.reset();
            break;
        case ui::GestureState::cancelled:
        case ui::GestureState::failed:
            if (std::exchange(isDrawing_, false)) {
                sketch->cancelDrawing();
                if (didCancelDrawing) didCancelDrawing();
            }
            previousLocation.reset();
            break;
        case ui::GestureState::possible: break;
    }
}

void GesturedScrollView::tap() {
    if (didTap) didTap();
}

Point GesturedScrollView::limited(Point offset) const {
    const auto limit = [this](double value, double length) {
        return std::clamp(value, 0.0, length * (zoomScale() - 1));
    };
    return {limit(offset.x, bounds().size.width), limit(offset.y, bounds().size.height)};
}

void GesturedScrollView::zoom(double factor, Point anchor) {
    const auto listener = delegate();
    if (!listener || !listener->viewForZooming(*this) || !(factor > 0)) return;
    const double before = zoomScale();
    setZoomScale(before * factor);
    const double change = zoomScale() / before;
    const Point offset = contentOffset();
    setContentOffset(limited({(offset.x + anchor.x) * change - anchor.x, (offset.y + anchor.y) * change - anchor.y}));
}

void GesturedScrollView::move(Point translation) {
    const Point offset = contentOffset();
    setContentOffset(limited({offset.x - translation.x, offset.y - translation.y}));
}

void GesturedScrollView::zoomDidEnd() {
    const std::shared_ptr<SketchView> sketch = sketchView.lock();
    if (!sketch || sketch->bounds().isEmpty()) return;
    // Each movement of a stroke paints on a bitmap of this many pixels.
    constexpr double maxPixels = 4e6;
    const double screen = platform().mainScreen().scale();
    const double pixels = sketch->bounds().size.width * sketch->bounds().size.height * screen * screen;
    sketch->setContentScale(std::max(std::min(zoomScale(), std::sqrt(maxPixels / pixels)), 1.0));
}

void GesturedScrollView::resetZoom() {
    setZoomScale(1);
    setContentOffset({});
    zoomDidEnd();
}

void GesturedScrollView::boundsDidChange(const Rect& old) {
    // The same part of the picture stays in sight.
    const Point offset = contentOffset();
    const auto scaled = [](double value, double before, double now) { return before > 0 ? value * now / before : 0; };
    setContentOffset(limited({scaled(offset.x, old.size.width, bounds().size.width),
                              scaled(offset.y, old.size.height, bounds().size.height)}));
    zoomDidEnd();
}

}  // namespace videoanalysis
