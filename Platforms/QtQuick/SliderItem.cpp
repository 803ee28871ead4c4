#include "Platforms/QtQuick/SliderItem.h"

#include <QKeyEvent>

namespace videoanalysis::qt {
namespace {

constexpr double keyStep = 0.01;  // of the way

}  // namespace

SliderItem::SliderItem(QQuickItem* parent) : ControlItem(std::make_shared<ui::Slider>(), parent) {
    setKeepMouseGrab(true);
}

void SliderItem::setInset(double inset) {
    if (inset == this->inset()) return;
    slider()->setTrackInset(inset);
    Q_EMIT insetChanged();
}

void SliderItem::viewDidChange(ui::View& view, ui::Property property) {
    if (property == ui::Property::value || property == ui::Property::other) {
        Q_EMIT valueChanged();
    } else {
        ControlItem::viewDidChange(view, property);
    }
}

void SliderItem::step(double fraction) {
    if (slider()) slider()->step(fraction);
}

void SliderItem::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
        case Qt::Key_Left: step(-keyStep); break;
        case Qt::Key_Right: step(keyStep); break;
        default: event->ignore();
    }
}

}  // namespace videoanalysis::qt
