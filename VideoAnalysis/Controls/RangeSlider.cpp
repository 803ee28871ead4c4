#include "VideoAnalysis/Controls/RangeSlider.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <tuple>
#include <utility>

namespace videoanalysis {

void RangeSlider::setRange(double minimum, double maximum) {
    if (!std::isfinite(minimum) || !std::isfinite(maximum)) return;
    std::tie(minimum_, maximum_) = std::minmax({minimum, maximum});
    settle();
}

double RangeSlider::minimumDistance() const { return std::min(distance_, maximum_ - minimum_); }

void RangeSlider::setMinimumDistance(double distance) {
    if (!(distance >= 0)) return;
    distance_ = distance;
    settle();
}

void RangeSlider::setStep(double step) {
    if (!(step >= 0) || !std::isfinite(step)) return;
    step_ = step;
    settle();
}

void RangeSlider::setLowerValue(double value) {
    if (move(Thumb::lower, value)) notify(ui::Property::value);
}

void RangeSlider::setUpperValue(double value) {
    if (move(Thumb::upper, value)) notify(ui::Property::value);
}

/// Applies the range, the step and the distance to both values.
void RangeSlider::settle() {
    const double distance = minimumDistance();
    lower_ =
        std::clamp(onStep(std::clamp(lower_, minimum_, maximum_)), minimum_, std::max(maximum_ - distance, minimum_));
    upper_ =
        std::clamp(onStep(std::clamp(upper_, minimum_, maximum_)), std::min(lower_ + distance, maximum_), maximum_);
    notify(ui::Property::value);
}

double RangeSlider::onStep(double value) const {
    if (step_ <= 0) return value;
    const double rounded = minimum_ + std::round((value - minimum_) / step_) * step_;
    // The maximum counts as a step even where it lies between two.
    if (rounded > maximum_ || maximum_ - value < std::abs(rounded - value)) return maximum_;
    return rounded;
}

bool RangeSlider::move(Thumb thumb, double value) {
    if (!std::isfinite(value)) return false;
    const double distance = minimumDistance();
    const double wanted = onStep(std::clamp(value, minimum_, maximum_));
    if (thumb == Thumb::lower) {
        double limit = upper_ - distance;
        if (wanted > limit && step_ > 0) {
            limit = minimum_ + std::floor((limit - minimum_) / step_ + 1e-9) * step_;
        }
        const double lower = std::max(std::min(wanted, limit), minimum_);
        return std::exchange(lower_, lower) != lower;
    }
    if (thumb == Thumb::upper) {
        double limit = lower_ + distance;
        if (wanted < limit && step_ > 0) {
            limit = minimum_ + std::ceil((limit - minimum_) / step_ - 1e-9) * step_;
        }
        const double upper = std::min(std::max(wanted, limit), maximum_);
        return std::exchange(upper_, upper) != upper;
    }
    return false;
}

std::string RangeSlider::textOf(double value) const {
    if (textOfValue) return textOfValue(value);
    char text[48];
    std::snprintf(text, sizeof text, "%.2f", value);
    std::string result = text;
    result.erase(result.find_last_not_of('0') + 1);
    if (result.back() == '.') result.pop_back();
    return result == "-0" ? "0" : result;
}

double RangeSlider::fractionOf(double value) const {
    return maximum_ > minimum_ ? (value - minimum_) / (maximum_ - minimum_) : 0;
}

double RangeSlider::fractionAt(Point position) const {
    const double way = bounds().size.width - 2 * trackInset_;
    return way > 0 ? (position.x - trackInset_) / way : 0;
}

void RangeSlider::beginTracking(double fraction) {
    if (!std::isfinite(fraction)) return;
    const double toLower = std::abs(fraction - lowerFraction());
    const double toUpper = std::abs(fraction - upperFraction());
    const bool isLower =
        toLower < toUpper || (toLower == toUpper && (fraction < lowerFraction() || upper_ >= maximum_));
    tracked_ = isLower ? Thumb::lower : Thumb::upper;
    // On a thumb, the finger takes it where it is; beside it, the thumb comes.
    constexpr double onThumb = 0.04;
    const double offset = (isLower ? lowerFraction() : upperFraction()) - fraction;
    grip_ = std::abs(offset) < onThumb ? offset : 0;
    notify(ui::Property::other);
    sendActions(ui::ControlEvent::touchDown);
    track(fraction);
}

void RangeSlider::track(double fraction) {
    if (tracked_ == Thumb::none) return;
    if (!move(tracked_, minimum_ + (fraction + grip_) * (maximum_ - minimum_))) return;
    notify(ui::Property::value);
    sendActions(ui::ControlEvent::valueChanged);
}

void RangeSlider::endTracking() {
    if (tracked_ == Thumb::none) return;
    tracked_ = Thumb::none;
    notify(ui::Property::other);
    sendActions(ui::ControlEvent::touchUpInside);
}

void RangeSlider::nudge(Thumb thumb, int steps) {
    if (!isEnabled() || tracked_ != Thumb::none || thumb == Thumb::none) return;
    const double unit = step_ > 0 ? step_ : (maximum_ - minimum_) / 100;
    const double value = thumb == Thumb::lower ? lower_ : upper_;
    // From a maximum between two steps, back to the step before it.
    double goal = value + unit * steps;
    if (steps < 0 && step_ > 0 && value == maximum_) {
        const double last = std::ceil((value - minimum_) / step_ - 1e-9) * step_;
        goal = minimum_ + last + unit * steps;
    }
    tracked_ = thumb;
    sendActions(ui::ControlEvent::touchDown);
    if (move(thumb, goal)) {
        notify(ui::Property::value);
        sendActions(ui::ControlEvent::valueChanged);
    }
    endTracking();
}

}  // namespace videoanalysis
