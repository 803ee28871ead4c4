#include "Platforms/QtQuick/ButtonItem.h"

#include <QKeyEvent>

namespace videoanalysis::qt {

ButtonItem::ButtonItem(QQuickItem* parent) : ControlItem(std::make_shared<ui::Button>(), parent) {}

QString ButtonItem::title() const { return button() ? QString::fromStdString(button()->title()) : QString(); }

void ButtonItem::setTitle(const QString& title) { button()->setTitle(title.toStdString()); }

void ButtonItem::setGlyph(const QString& name) { button()->setImage(Image::named(name.toStdString())); }

Image ButtonItem::image() const { return button() ? button()->image() : Image(); }

QColor ButtonItem::titleColor() const { return button() ? toQColor(button()->titleColor()) : QColor(); }

bool ButtonItem::isSelected() const { return button() && button()->isSelected(); }

void ButtonItem::viewDidChange(ui::View& view, ui::Property property) {
    switch (property) {
        case ui::Property::title:
        case ui::Property::titleColor:
        case ui::Property::image:
        case ui::Property::isSelected: Q_EMIT contentChanged(); break;
        default: ControlItem::viewDidChange(view, property);
    }
}

void ButtonItem::click() {
    if (button()) button()->click();
}

void ButtonItem::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
        case Qt::Key_Space:
        case Qt::Key_Return:
        case Qt::Key_Enter:
            if (!event->isAutoRepeat()) click();
            break;
        default: event->ignore();
    }
}

}  // namespace videoanalysis::qt
