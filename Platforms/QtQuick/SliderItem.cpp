#include "Platforms/QtQuick/SliderItem.h"

#include <QKeyEvent>
#include <QMouseEvent>

#include <algorithm>

namespace videoanalysis {
namespace {

constexpr double keyStep = 0.01;  // of the way

}  // namespace

SliderItem::SliderItem(QQuickItem* parent) : ControlItem(std::make_shared<ui::Slider>(), parent) {
    setKeepMouseGrab(true);
}

double SliderItem::thumbPosition() const {
    if (!slider()) return 0;
    const double range = slider()->maximumValue() - slider()->minimumValue();
    return range > 0 ? (slider()->value() - slider()->minimumValue()) / range : 0;
}

void SliderItem::viewDidChange(ui::View& view, ui::Property property) {
    if (property == ui::Property::value || property == ui::Property::other) {
        Q_EMIT valueChanged();
    } else {
        ControlItem::viewDidChange(view, property);
    }
}

void SliderItem::step(double fraction) {
    if (!slider() || slider()->isTracking()) return;
    slider()->setTracking(true);
    send(ui::ControlEvent::touchDown);
    moveThumb(thumbPosition() + fraction);
    endTracking(ui::ControlEvent::touchUpInside);
}

void SliderItem::moveThumb(double position) {
    if (!slider()) return;
    const float range = slider()->maximumValue() - slider()->minimumValue();
    const float old = slider()->value();
    slider()->setValue(slider()->minimumValue() + range * static_cast<float>(std::clamp(position, 0.0, 1.0)));
    if (slider()->value() != old) send(ui::ControlEvent::valueChanged);
}

void SliderItem::endTracking(ui::ControlEvent event) {
    if (!slider() || !slider()->isTracking()) return;
    setPressed(false);
    send(event);
    if (slider()) slider()->setTracking(false);
}

void SliderItem::mousePressEvent(QMouseEvent* event) {
    if (!slider()) return;
    setPressed(true);
    slider()->setTracking(true);
    send(ui::ControlEvent::touchDown);
    mouseMoveEvent(event);
}

void SliderItem::mouseMoveEvent(QMouseEvent* event) {
    const double way = width() - 2 * inset_;
    if (slider() && slider()->isTracking() && way > 0) moveThumb((event->position().x() - inset_) / way);
}

void SliderItem::mouseReleaseEvent(QMouseEvent* event) {
    endTracking(contains(event->position()) ? ui::ControlEvent::touchUpInside : ui::ControlEvent::touchUpOutside);
}

void SliderItem::mouseUngrabEvent() { endTracking(ui::ControlEvent::touchUpOutside); }

void SliderItem::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
        case Qt::Key_Left: step(-keyStep); break;
        case Qt::Key_Right: step(keyStep); break;
        default: event->ignore();
    }
}

}  // namespace videoanalysis
