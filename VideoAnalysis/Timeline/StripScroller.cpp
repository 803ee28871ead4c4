#include "VideoAnalysis/Timeline/StripScroller.h"

#include <algorithm>
#include <cmath>

namespace videoanalysis {
namespace {

constexpr double velocityWindow = 0.05;  // seconds before the release over which the throw is measured
constexpr std::size_t maxSamples = 128;  // a 1,000 Hz mouse needs less than half
constexpr double jitter = 2;             // points by which a finger may slip back without reversing
constexpr double wheelRestTime = 0.15;   // seconds
constexpr double minThrowSpeed = 60;     // points per second; slower releases do not throw

}  // namespace

void StripScroller::handle(std::span<const ui::PointerEvent> events) {
    for (const ui::PointerEvent& event : events) {
        const double position = event.windowPosition.x;
        const bool isLeft = event.button == ui::PointerButton::left;
        switch (event.phase) {
            case ui::PointerPhase::began:
                if (isLeft) press(event.pointer, position, event.time);
                break;
            case ui::PointerPhase::moved: move(event.pointer, position, event.time); break;
            case ui::PointerPhase::ended:
                if (isLeft) release(event.pointer, position, event.time);
                break;
            case ui::PointerPhase::cancelled:
                if (isDragging()) stop();
                break;
        }
    }
}

void StripScroller::press(std::int64_t pointer, double position, double seconds) {
    if (!std::isfinite(position) || !std::isfinite(seconds)) return;
    if (!isDragging()) {
        stop();
        strip_.beginDragging();
    }
    std::erase_if(pointers_, [&](const Pointer& down) { return down.id == pointer; });
    pointers_.push_back({pointer, position});
    beginSamples(seconds);
}

void StripScroller::move(std::int64_t pointer, double position, double seconds) {
    if (!isDragging() || !std::isfinite(position) || !std::isfinite(seconds)) return;
    const auto down =
        std::find_if(pointers_.begin(), pointers_.end(), [&](const Pointer& p) { return p.id == pointer; });
    if (down == pointers_.end()) return;
    const double moved = position - down->position;
    down->position = position;
    if (&*down != &pointers_.back()) return;
    samples_.push_back({position, std::max(seconds, samples_.back().seconds)});
    // Keeps one sample from before the window, to interpolate the position at its start.
    while (samples_.size() > maxSamples || (samples_.size() > 2 && seconds - samples_[1].seconds > velocityWindow)) {
        samples_.erase(samples_.begin());
    }
    scrollBy(-moved);
}

void StripScroller::release(std::int64_t pointer, double position, double seconds) {
    const bool drags = isDragging() && pointers_.back().id == pointer;
    if (drags && position != pointers_.back().position) move(pointer, position, seconds);
    const auto gone = std::erase_if(pointers_, [&](const Pointer& down) { return down.id == pointer; });
    if (!drags || gone == 0 || !strip_.isDragging()) return;
    if (pointers_.empty()) {
        endDrag(velocity(seconds));
    } else {
        beginSamples(seconds);
    }
}

void StripScroller::wheel(double points) {
    if (isDragging() || !std::isfinite(points)) return;
    if (!strip_.isDragging()) {
        stop();
        strip_.beginDragging();
    }
    scrollBy(points);
    wheelRest_.start(wheelRestTime, [this] { endWheel(); });
}

void StripScroller::endWheel() {
    if (pointers_.empty() && strip_.isDragging()) endDrag(0);
}

void StripScroller::continueThrow(double seconds) {
    if (!isThrown()) return;
    const bool isOver = !(seconds < throw_->deceleration.duration());
    const double distance = isOver ? throw_->distance : throw_->deceleration.distance(std::max(seconds, 0.0));
    const double points = distance - throw_->travelled;
    throw_->travelled = distance;
    const bool isFree = scrollBy(points);
    if (isThrown() && (isOver || !isFree)) stop();
}

void StripScroller::stop() {
    pointers_.clear();
    throw_.reset();
    strip_.stopScrolling();
}

void StripScroller::beginSamples(double seconds) { samples_ = {{pointers_.back().position, seconds}}; }

/// Average over the window before the release, including a pause at its end. After a reversal, only the motion since then.
double StripScroller::velocity(double seconds) const {
    const double begin = seconds - velocityWindow;
    const Sample& last = samples_.back();
    Sample first{last.position, seconds};
    double farthest = 0;  // max distance from the first sample, points
    for (std::size_t i = samples_.size() - 1; i > 0; --i) {
        const Sample& next = samples_[i];
        Sample sample = samples_[i - 1];
        // No event for a whole window: the pointer was at rest.
        if (next.seconds <= begin || next.seconds - sample.seconds > velocityWindow) break;
        if (sample.seconds < begin) {
            const double share = (begin - sample.seconds) / (next.seconds - sample.seconds);
            sample = {sample.position + (next.position - sample.position) * share, begin};
        }
        const double way = last.position - sample.position;
        const bool hasTurned = std::abs(farthest) > jitter && (farthest > 0 ? farthest - way : way - farthest) > jitter;
        if (hasTurned) break;
        if (std::abs(way) > std::abs(farthest)) {
            farthest = way;
            first = sample;
        }
    }
    const double passed = seconds - first.seconds;
    return passed > 0 ? -farthest / passed : 0;
}

void StripScroller::endDrag(double velocity) {
    samples_.clear();
    const double offset = strip_.contentOffset().x;
    const bool isFast = !isMotionReduced && std::abs(velocity) >= minThrowSpeed;
    const double proposed = isFast ? clamped(offset + Deceleration{velocity}.total()) : offset;
    const Point target = strip_.endDragging({velocity, 0}, {proposed, strip_.contentOffset().y}, proposed != offset);
    if (!strip_.isDecelerating()) return;
    const double distance = clamped(target.x) - strip_.contentOffset().x;
    throw_ = Throw{Deceleration::over(distance), distance};
    if (isMotionReduced || distance == 0) continueThrow(throw_->deceleration.duration());
    if (isThrown() && didBeginThrow) didBeginThrow();
}

bool StripScroller::scrollBy(double points) {
    const Point offset = strip_.contentOffset();
    const double wanted = offset.x + points;
    const double reached = clamped(wanted);
    strip_.setContentOffset({reached, offset.y});
    return reached == wanted;
}

double StripScroller::clamped(double offset) const {
    return std::clamp(offset, 0.0, std::max(0.0, strip_.contentSize().width - strip_.bounds().size.width));
}

}  // namespace videoanalysis
