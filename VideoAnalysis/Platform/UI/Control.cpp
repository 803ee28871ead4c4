#include "VideoAnalysis/Platform/UI/Control.h"

#include <algorithm>

namespace videoanalysis::ui {

void Control::sendActions(ControlEvent event) {
    if (!isEnabled_) return;
    const std::shared_ptr<View> keepAlive = shared_from_this();
    const auto actions = actions_;  // an action may add or remove some
    for (const auto& [actionEvent, action] : actions) {
        if (actionEvent == event) action(*this);
    }
}

void Slider::setValue(float value) {
    if (value == value) set(value_, std::clamp(value, minimum_, maximum_), Property::value);
}

void Slider::setRange(float minimum, float maximum) {
    if (!(minimum <= maximum)) return;
    set(minimum_, minimum, Property::other);
    set(maximum_, maximum, Property::other);
    setValue(value_);
}

}  // namespace videoanalysis::ui
