#include "Platforms/QtQuick/ControlItem.h"

#include <QFocusEvent>

#include <utility>

namespace videoanalysis::qt {

ControlItem::ControlItem(std::shared_ptr<ui::Control> control, QQuickItem* parent)
    : ViewItem(std::move(control), parent) {
    setAcceptedMouseButtons(Qt::LeftButton);
    setAcceptHoverEvents(true);
    setActiveFocusOnTab(true);
}

void ControlItem::viewDidChange(ui::View& view, ui::Property property) {
    if (property == ui::Property::isEnabled) setEnabled(control()->isEnabled());
    if (property == ui::Property::isHighlighted) Q_EMIT stateChanged();
    ViewItem::viewDidChange(view, property);
}

void ControlItem::hoverEnterEvent(QHoverEvent*) {
    isHovered_ = true;
    Q_EMIT stateChanged();
}

void ControlItem::hoverLeaveEvent(QHoverEvent*) {
    isHovered_ = false;
    Q_EMIT stateChanged();
}

void ControlItem::focusInEvent(QFocusEvent* event) {
    ViewItem::focusInEvent(event);
    isFocusVisible_ = event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
    Q_EMIT stateChanged();
}

void ControlItem::focusOutEvent(QFocusEvent* event) {
    ViewItem::focusOutEvent(event);
    isFocusVisible_ = false;
    Q_EMIT stateChanged();
}

}  // namespace videoanalysis::qt
