#include "VideoAnalysis/Platform/UI/Control.h"

#include <algorithm>
#include <utility>

namespace videoanalysis::ui {
namespace {

constexpr double longPressTime = 0.5;  // seconds

}  // namespace

bool Control::covers(Point point) const {
    return point.x >= 0 && point.x <= bounds().size.width && point.y >= 0 && point.y <= bounds().size.height;
}

void Control::sendActions(ControlEvent event) {
    if (!isEnabled_) return;
    const std::shared_ptr<View> keepAlive = shared_from_this();
    const auto actions = actions_;  // an action may add or remove some
    for (const auto& [actionEvent, action] : actions) {
        if (actionEvent == event) action(*this);
    }
}

bool Control::handlePointers(std::span<const PointerEvent> events) {
    for (const PointerEvent& event : events) {
        const bool isOurs = pointer_ == event.pointer;
        const bool isLeft = event.button == PointerButton::left;
        switch (event.phase) {
            case PointerPhase::began:
                if (pointer_ || !isLeft || !isEnabled_) break;
                pointer_ = event.pointer;
                setHighlighted(true);
                pressBegan(event.position);
                break;
            case PointerPhase::moved:
                if (isOurs) pressMoved(event.position);
                break;
            case PointerPhase::ended:
                if (isOurs && isLeft && releasePointer()) pressEnded(event.position);
                break;
            case PointerPhase::cancelled: cancelPress(); break;
        }
    }
    return true;
}

void Control::cancelPress() {
    if (releasePointer()) pressCancelled();
}

bool Control::releasePointer() {
    if (!std::exchange(pointer_, std::nullopt)) return false;
    setHighlighted(false);
    return true;
}

// ---- Button

void Button::pressBegan(Point position) {
    isLongPress_ = false;
    pressPosition_ = position;
    sendActions(ControlEvent::touchDown);
    if (!longPressGestureRecognizer) return;
    longPress_.start(longPressTime, [this] {
        if (!longPressGestureRecognizer || !isEnabled()) return;
        isLongPress_ = true;
        longPressGestureRecognizer->update(GestureState::began, pressPosition_);
    });
}

void Button::pressEnded(Point position) {
    endPress(covers(position) ? ControlEvent::touchUpInside : ControlEvent::touchUpOutside);
}

void Button::endPress(ControlEvent event) {
    longPress_.cancel();
    if (!std::exchange(isLongPress_, false)) {
        sendActions(event);
    } else if (longPressGestureRecognizer) {
        longPressGestureRecognizer->update(GestureState::ended, pressPosition_);
    }
}

void Button::click() {
    if (isPressed()) return;
    sendActions(ControlEvent::touchDown);
    sendActions(ControlEvent::touchUpInside);
}

// ---- Slider

void Slider::setValue(float value) {
    if (value == value) set(value_, std::clamp(value, minimum_, maximum_), Property::value);
}

void Slider::setRange(float minimum, float maximum) {
    if (!(minimum <= maximum)) return;
    set(minimum_, minimum, Property::other);
    set(maximum_, maximum, Property::other);
    setValue(value_);
}

double Slider::thumbPosition() const {
    const double range = maximum_ - minimum_;
    return range > 0 ? (value_ - minimum_) / range : 0;
}

void Slider::pressBegan(Point position) {
    isTracking_ = true;
    sendActions(ControlEvent::touchDown);
    dragThumb(position);
}

void Slider::pressEnded(Point position) {
    endTracking(covers(position) ? ControlEvent::touchUpInside : ControlEvent::touchUpOutside);
}

void Slider::step(double fraction) {
    if (isTracking_) return;
    isTracking_ = true;
    sendActions(ControlEvent::touchDown);
    moveThumb(thumbPosition() + fraction);
    endTracking(ControlEvent::touchUpInside);
}

void Slider::dragThumb(Point position) {
    const double way = bounds().size.width - 2 * trackInset_;
    if (isTracking_ && way > 0) moveThumb((position.x - trackInset_) / way);
}

void Slider::moveThumb(double position) {
    const float old = value_;
    setValue(minimum_ + (maximum_ - minimum_) * static_cast<float>(std::clamp(position, 0.0, 1.0)));
    if (value_ != old) sendActions(ControlEvent::valueChanged);
}

void Slider::endTracking(ControlEvent event) {
    sendActions(event);
    isTracking_ = false;
}

}  // namespace videoanalysis::ui
