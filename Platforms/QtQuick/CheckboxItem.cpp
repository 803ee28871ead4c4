#include "Platforms/QtQuick/CheckboxItem.h"

#include <QKeyEvent>

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

void CheckboxItem::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Space && !event->isAutoRepeat()) {
        press();
    } else {
        event->ignore();
    }
}

}  // namespace videoanalysis::qt
