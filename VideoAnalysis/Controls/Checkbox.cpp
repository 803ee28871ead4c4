#include "VideoAnalysis/Controls/Checkbox.h"

namespace videoanalysis {

void Checkbox::setChecked(bool checked, bool animated) {
    if (isChecked_ == checked) return;
    isAnimated_ = animated;
    isChecked_ = checked;
    notify(ui::Property::value);
}

void Checkbox::press() {
    if (!isEnabled()) return;
    setChecked(!isChecked_, true);
    sendActions(ui::ControlEvent::valueChanged);
}

}  // namespace videoanalysis
