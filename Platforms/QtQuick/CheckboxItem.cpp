#include "Platforms/QtQuick/CheckboxItem.h"

#include <QKeyEvent>
#include <QMouseEvent>

namespace videoanalysis::qt {

void CheckboxItem::press() {
    if (checkbox()) checkbox()->press();
}

void CheckboxItem::viewDidChange(ui::View& view, ui::Property property) {
    switch (property) {
        case ui::Property::value: Q_EMIT checkedChanged(); break;
        case ui::Property::title: Q_EMIT titleChanged(); break;
        default: ControlItem::viewDidChange(view, property);
    }
}

void CheckboxItem::mousePressEvent(QMouseEvent*) { setPressed(true); }

void CheckboxItem::mouseMoveEvent(QMouseEvent* event) { setPressed(contains(event->position())); }

void CheckboxItem::mouseReleaseEvent(QMouseEvent* event) {
    setPressed(false);
    if (contains(event->position())) press();
}

void CheckboxItem::mouseUngrabEvent() { setPressed(false); }

void CheckboxItem::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Space && !event->isAutoRepeat()) {
        press();
    } else {
        event->ignore();
    }
}

}  // namespace videoanalysis::qt
