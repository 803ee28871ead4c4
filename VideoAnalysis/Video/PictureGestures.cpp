#include "VideoAnalysis/Video/PictureGestures.h"

#include "VideoAnalysis/Video/GesturedScrollView.h"

#include <algorithm>
#include <cmath>

namespace videoanalysis {
namespace {

using ui::PointerButton;
using ui::PointerEvent;
using ui::PointerKind;
using ui::PointerPhase;

constexpr double touchSlop = 8;          // points; a finger is never quite still
constexpr double freshTime = 0.4;        // seconds in which a second finger takes a stroke back
constexpr double shortStroke = 64;       // points, likewise
constexpr double doubleTapTime = 0.3;    // seconds
constexpr double zoomRestTime = 0.15;    // seconds
constexpr double minFingerDistance = 8;  // points

Point operator-(Point a, Point b) { return {a.x - b.x, a.y - b.y}; }
double distance(Point a, Point b) { return std::hypot(a.x - b.x, a.y - b.y); }
double fingerDistance(Point a, Point b) { return std::max(distance(a, b), minFingerDistance); }
Point middle(Point a, Point b) { return {(a.x + b.x) / 2, (a.y + b.y) / 2}; }

bool isFinger(const PointerEvent& event) { return event.kind == PointerKind::touch; }

}  // namespace

void PictureGestures::handle(std::span<const PointerEvent> events) {
    if (std::any_of(events.begin(), events.end(), [](const auto& e) { return e.phase == PointerPhase::cancelled; })) {
        cancel();
    } else if (std::any_of(events.begin(), events.end(), isFinger)) {
        handleFingers(events);
    } else {
        for (const PointerEvent& event : events) handleOne(event);
    }
}

void PictureGestures::handleFingers(std::span<const PointerEvent> events) {
    for (const PointerEvent& event : events) note(event);
    if (phase_ == Phase::pinch) {
        followPinch();
    } else if (phase_ != Phase::ignored && fingers_.size() == 2) {
        interruptStroke();
        beginPinch();
    } else if (fingers_.size() > 2) {
        interruptStroke();
        phase_ = Phase::ignored;
    } else {
        for (const PointerEvent& event : events) handleOne(event);
    }
    if (phase_ == Phase::ignored && fingers_.empty()) phase_ = Phase::idle;
}

void PictureGestures::handleOne(const PointerEvent& event) {
    const bool draws = phase_ == Phase::stroke && stroke_.pointer == event.pointer;
    const bool drags = phase_ == Phase::drag && drag_.pointer == event.pointer;
    switch (event.phase) {
        case PointerPhase::began:
            if (event.button == PointerButton::middle && (phase_ == Phase::idle || phase_ == Phase::stroke)) {
                interruptStroke();
                phase_ = Phase::drag;
                drag_ = {event.pointer, event.position};
            } else if (event.button == PointerButton::left && phase_ == Phase::idle) {
                beginStroke(event);
            }
            break;
        case PointerPhase::moved:
            if (draws) {
                moveStroke(event.position);
            } else if (drags) {
                view_.move(event.position - drag_.latest);
                drag_.latest = event.position;
            }
            break;
        case PointerPhase::ended:
            if (draws && event.button == PointerButton::left) {
                moveStroke(event.position);
                endStroke();
            } else if (drags && event.button == PointerButton::middle) {
                phase_ = Phase::idle;
            }
            break;
        case PointerPhase::cancelled: break;  // see `handle`
    }
}

void PictureGestures::note(const PointerEvent& event) {
    if (!isFinger(event)) return;
    const auto finger = std::find_if(fingers_.begin(), fingers_.end(),
                                     [&](const Finger& other) { return other.pointer == event.pointer; });
    if (event.phase == PointerPhase::began && finger == fingers_.end()) {
        fingers_.push_back({event.pointer, event.position});
    } else if (finger == fingers_.end()) {
        return;
    } else if (event.phase == PointerPhase::ended) {
        fingers_.erase(finger);
    } else {
        finger->position = event.position;
    }
}

void PictureGestures::cancel() {
    interruptStroke();
    if (phase_ == Phase::pinch) endPinch();
    fingers_.clear();
    phase_ = Phase::idle;
}

// ---- One pointer

void PictureGestures::pan(ui::GestureState state, Point position) {
    view_.customPanGestureRecognizer()->update(state, position);
}

void PictureGestures::beginStroke(const PointerEvent& event) {
    phase_ = Phase::stroke;
    stroke_ = {event.pointer, event.position, event.position, isFinger(event) ? touchSlop : 0};
    freshness_.start(freshTime, [] {});
    pan(ui::GestureState::began, event.position);
}

void PictureGestures::moveStroke(Point position) {
    if (position == stroke_.latest) return;
    stroke_.latest = position;
    if (!stroke_.hasMoved && distance(stroke_.start, position) < stroke_.slop) return;
    stroke_.hasMoved = true;
    pan(ui::GestureState::changed, position);
}

void PictureGestures::endStroke() {
    phase_ = Phase::idle;
    freshness_.cancel();
    pan(stroke_.hasMoved ? ui::GestureState::ended : ui::GestureState::cancelled, stroke_.latest);
    if (!stroke_.hasMoved) tap();
}

void PictureGestures::interruptStroke() {
    if (phase_ != Phase::stroke) return;
    phase_ = Phase::idle;
    const bool isFresh = freshness_.isPending();
    freshness_.cancel();
    const bool isTakenBack = isFresh || distance(stroke_.start, stroke_.latest) < shortStroke;
    pan(isTakenBack ? ui::GestureState::cancelled : ui::GestureState::ended, stroke_.latest);
}

void PictureGestures::tap() {
    if (secondTap_.isPending()) {
        secondTap_.cancel();
        view_.resetZoom();
    } else if (view_.zoomScale() > 1) {
        secondTap_.start(doubleTapTime, [this] { view_.tap(); });
    } else {
        view_.tap();
    }
}

// ---- Zooming

void PictureGestures::zoom(double factor, Point anchor) {
    view_.zoom(factor, anchor);
    zoomRest_.start(zoomRestTime, [this] { view_.zoomDidEnd(); });
}

void PictureGestures::beginPinch() {
    phase_ = Phase::pinch;
    const Finger& first = fingers_[0];
    const Finger& second = fingers_[1];
    pinch_ = {{first.pointer, second.pointer},
              middle(first.position, second.position),
              fingerDistance(first.position, second.position)};
}

void PictureGestures::followPinch() {
    const Finger* fingers[2] = {nullptr, nullptr};
    for (const Finger& finger : fingers_) {
        if (finger.pointer == pinch_.pointers[0]) fingers[0] = &finger;
        if (finger.pointer == pinch_.pointers[1]) fingers[1] = &finger;
    }
    if (!fingers[0] || !fingers[1]) {
        endPinch();
        return;
    }
    const Point centre = middle(fingers[0]->position, fingers[1]->position);
    const double distance = fingerDistance(fingers[0]->position, fingers[1]->position);
    view_.move(centre - pinch_.centre);
    view_.zoom(distance / pinch_.distance, centre);
    pinch_.centre = centre;
    pinch_.distance = distance;
}

void PictureGestures::endPinch() {
    phase_ = Phase::ignored;
    view_.zoomDidEnd();
}

}  // namespace videoanalysis
