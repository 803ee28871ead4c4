#include "Platforms/QtQuick/RangeSliderItem.h"

#include <utility>

namespace videoanalysis::qt {

RangeSliderItem::RangeSliderItem(QQuickItem* parent) : ControlItem(std::make_shared<RangeSlider>(), parent) {
    setKeepMouseGrab(true);
    setActiveFocusOnTab(false);  // its thumbs take the focus one by one
}

void RangeSliderItem::componentComplete() {
    ControlItem::componentComplete();
    if (!asked_.lower) asked_.lower = asked_.minimum.value_or(minimumValue());
    if (!asked_.upper) asked_.upper = asked_.maximum.value_or(maximumValue());
    apply();
}

void RangeSliderItem::apply() {
    if (!slider() || !isComponentComplete()) return;
    const Asked asked = std::exchange(asked_, {});
    if (asked.minimum || asked.maximum) {
        slider()->setRange(asked.minimum.value_or(minimumValue()), asked.maximum.value_or(maximumValue()));
    }
    if (asked.distance) slider()->setMinimumDistance(*asked.distance);
    if (asked.step) slider()->setStep(*asked.step);
    // Both: make room first, so that neither stops at where the other one was.
    if (asked.lower && asked.upper) {
        slider()->setLowerValue(minimumValue());
        slider()->setUpperValue(maximumValue());
    }
    if (asked.lower) slider()->setLowerValue(*asked.lower);
    if (asked.upper) slider()->setUpperValue(*asked.upper);
}

void RangeSliderItem::nudge(Thumb thumb, int steps) {
    if (slider()) slider()->nudge(static_cast<RangeSlider::Thumb>(thumb), steps);
}

void RangeSliderItem::viewDidChange(ui::View& view, ui::Property property) {
    switch (property) {
        case ui::Property::value: Q_EMIT valueChanged(); break;
        case ui::Property::other: Q_EMIT trackedChanged(); break;
        default: ControlItem::viewDidChange(view, property);
    }
}

void RangeSliderItem::setInset(double inset) {
    if (inset == this->inset()) return;
    slider()->setTrackInset(inset);
    Q_EMIT insetChanged();
}

}  // namespace videoanalysis::qt
