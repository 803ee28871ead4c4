#include "VideoAnalysis/Trimming/TrimmerView.h"

#include "VideoAnalysis/Platform/Dispatch.h"
#include "VideoAnalysis/Platform/Platform.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace videoanalysis {
namespace {

constexpr double reach = 24;      // points on either side of a handle that still take it
constexpr double stillness = 4;   // points that a finger may move and still be held still
constexpr double zoomedPart = 8;  // the row shows this part of the clip, but not less than the next
constexpr double minZoomed = 2;   // seconds
constexpr std::size_t maxThumbnails = 200;

}  // namespace

TrimmerView::~TrimmerView() {
    if (holdTimer_) holdTimer_->invalidate();
}

void TrimmerView::setClip(double duration, double step, FrameTimes frameTimes) {
    duration_ = std::isfinite(duration) ? std::max(duration, 0.0) : 0;
    step_ = std::clamp(step, 0.0, duration_);
    frameTimes_ = std::move(frameTimes);
    start_ = 0;
    end_ = duration_;
    position_ = 0;
    visibleStart_ = 0;
    visibleEnd_ = duration_;
    thumbnails_.clear();
    notify(ui::Property::value);
}

double TrimmerView::minimumDuration() const { return std::min(std::max(minimum_, step_), duration_); }

void TrimmerView::setMinimumDuration(double seconds) {
    minimum_ = std::max(seconds, 0.0);
    setEnd(end_);
}

/// A time that is meant to be where a frame begins may have come out a little before it.
double TrimmerView::frameTime(double time, int count) const {
    const double safe = time + step_ * 0.01;
    if (frameTimes_) return std::clamp(frameTimes_(safe, count), 0.0, duration_);
    // The clip's end need not be a whole number of frames after its beginning.
    const double last = std::ceil(duration_ / step_ - 0.01);
    const double frame = time >= duration_ ? last : std::floor(safe / step_);
    return frame + count >= last ? duration_ : std::max(frame + count, 0.0) * step_;
}

double TrimmerView::rounded(double time) const {
    if (step_ <= 0) return time;
    const double before = frameTime(std::max(time, 0.0), 0);
    const double after = frameTime(std::max(time, 0.0), 1);
    return time - before < after - time ? before : after;
}

bool TrimmerView::move(Part part, double time) {
    if (!std::isfinite(time)) return false;
    const double least = minimumDuration();
    switch (part) {
        case Part::start: {
            const double latest = std::max(end_ - least, 0.0);
            double start = std::max(rounded(time), 0.0);
            if (start > latest) start = step_ > 0 ? frameTime(latest, 0) : latest;
            return std::exchange(start_, start) != start;
        }
        case Part::end: {
            const double earliest = std::min(start_ + least, duration_);
            double end = std::min(rounded(time), duration_);
            if (end < earliest) {
                const double frame = step_ > 0 ? frameTime(earliest, 0) : earliest;
                end = frame < earliest - step_ * 0.01 ? frameTime(earliest, 1) : frame;
            }
            return std::exchange(end_, end) != end;
        }
        case Part::position: {
            // The frame that begins at the end handle is the first one that is not kept.
            const double last = step_ > 0 ? std::max(frameTime(end_, -1), start_) : end_;
            const double position = std::clamp(rounded(time), start_, last);
            return std::exchange(position_, position) != position;
        }
        case Part::none: break;
    }
    return false;
}

void TrimmerView::setStart(double time) {
    if (move(Part::start, time)) notify(ui::Property::value);
}

void TrimmerView::setEnd(double time) {
    if (move(Part::end, time)) notify(ui::Property::value);
}

void TrimmerView::setPosition(double time) {
    const double position = std::clamp(time, 0.0, duration_);
    if (std::exchange(position_, position) != position) notify(ui::Property::value);
}

// Geometry

Rect TrimmerView::rowRect() const {
    const Rect whole = bounds();
    return {handleWidth, 0, std::max(whole.size.width - 2 * handleWidth, 0.0), whole.size.height};
}

double TrimmerView::xOf(double time) const {
    const Rect row = rowRect();
    const double span = visibleEnd_ - visibleStart_;
    return row.minX() + (span > 0 ? (time - visibleStart_) / span * row.size.width : 0);
}

double TrimmerView::timeAt(double x) const {
    const Rect row = rowRect();
    if (row.size.width <= 0) return visibleStart_;
    return visibleStart_ + (x - row.minX()) / row.size.width * (visibleEnd_ - visibleStart_);
}

void TrimmerView::boundsDidChange(const Rect&) {
    if (rowObserver) rowObserver();
}

// Thumbnails

void TrimmerView::layOutThumbnails(double aspect) {
    const Rect row = rowRect();
    const double span = visibleEnd_ - visibleStart_;
    if (row.isEmpty() || span <= 0 || !(aspect > 0)) return;
    const double width = std::max(row.size.height * aspect, row.size.width / maxThumbnails);
    const auto count = static_cast<std::size_t>(std::ceil(row.size.width / width));
    std::vector<Thumbnail> laidOut(std::max<std::size_t>(count, 1));
    for (std::size_t i = 0; i < laidOut.size(); ++i) {
        const double middle = (static_cast<double>(i) + 0.5) * width / row.size.width;
        laidOut[i].time = std::min(visibleStart_ + middle * span, visibleEnd_);
        const Thumbnail* nearest = nullptr;
        for (const Thumbnail& known : thumbnails_) {
            if (known.image.isEmpty()) continue;
            const double distance = std::abs(known.time - laidOut[i].time);
            if (!nearest || distance < std::abs(nearest->time - laidOut[i].time)) nearest = &known;
        }
        if (nearest) laidOut[i].image = nearest->image;
    }
    thumbnails_ = std::move(laidOut);
    thumbnailWidth_ = width;
    notify(ui::Property::image);
}

void TrimmerView::setThumbnail(std::size_t index, const Image& image) {
    if (index >= thumbnails_.size()) return;
    thumbnails_[index].image = image;
    notify(ui::Property::image);
}

// Tracking

void TrimmerView::beginTracking(double x) {
    if (duration_ <= 0) return;
    // The start handle lies left of its moment, the end handle right of it.
    const double startX = xOf(start_) - handleWidth * 0.5;
    const double endX = xOf(end_) + handleWidth * 0.5;
    const double toStart = std::abs(x - startX);
    const double toEnd = std::abs(x - endX);
    if (std::min(toStart, toEnd) <= reach) {
        tracked_ = toStart < toEnd || (toStart == toEnd && x < startX) ? Part::start : Part::end;
        grip_ = xOf(tracked_ == Part::start ? start_ : end_) - x;
    } else {
        tracked_ = Part::position;
        grip_ = 0;
    }
    heldX_ = x;
    notify(ui::Property::other);
    sendActions(ui::ControlEvent::touchDown);
    if (tracked_ == Part::position) track(x);
    waitForHold();
}

void TrimmerView::track(double x) {
    if (tracked_ == Part::none || !isEnabled()) return;
    if (std::abs(x - heldX_) > stillness) {
        heldX_ = x;
        waitForHold();
    }
    const double time = std::clamp(timeAt(x + grip_), visibleStart_, visibleEnd_);
    if (!move(tracked_, time)) return;
    notify(ui::Property::value);
    sendActions(ui::ControlEvent::valueChanged);
}

void TrimmerView::endTracking() {
    if (tracked_ == Part::none) return;
    if (holdTimer_) holdTimer_->invalidate();
    holdTimer_ = nullptr;
    zoomOut();
    sendActions(ui::ControlEvent::touchUpInside);
    tracked_ = Part::none;
    notify(ui::Property::other);
}

void TrimmerView::nudge(Part part, int steps) {
    if (!isEnabled() || tracked_ != Part::none || part == Part::none) return;
    const double time = part == Part::start ? start_ : part == Part::end ? end_ : position_;
    tracked_ = part;
    sendActions(ui::ControlEvent::touchDown);
    if (move(part, step_ > 0 ? frameTime(time, steps) : time + duration_ / 100 * steps)) {
        notify(ui::Property::value);
        sendActions(ui::ControlEvent::valueChanged);
    }
    sendActions(ui::ControlEvent::touchUpInside);
    tracked_ = Part::none;
}

void TrimmerView::waitForHold() {
    if (holdTimer_) holdTimer_->invalidate();
    holdTimer_ = nullptr;
    if (isZoomed() || tracked_ == Part::position) return;
    const std::weak_ptr<ui::View> weak = weak_from_this();
    holdTimer_ = platform().scheduleTimer(holdDelay, false, [this, weak] {
        if (const auto alive = weak.lock()) zoomIn();
    });
}

void TrimmerView::zoomIn() {
    const double span = std::max(duration_ / zoomedPart, minZoomed);
    if (span >= duration_ || tracked_ == Part::none) return;
    // The handle stays under the finger.
    const double time = tracked_ == Part::start ? start_ : end_;
    const double share = (time - visibleStart_) / (visibleEnd_ - visibleStart_);
    visibleStart_ = std::clamp(time - share * span, 0.0, duration_ - span);
    visibleEnd_ = visibleStart_ + span;
    notify(ui::Property::value);
    if (rowObserver) rowObserver();
}

void TrimmerView::zoomOut() {
    if (!isZoomed()) return;
    visibleStart_ = 0;
    visibleEnd_ = duration_;
    notify(ui::Property::value);
    if (rowObserver) rowObserver();
}

}  // namespace videoanalysis
