#include "Platforms/QtQuick/ButtonItem.h"

#include <QKeyEvent>
#include <QMouseEvent>

#include <utility>

namespace videoanalysis {
namespace {

constexpr int longPressMilliseconds = 500;

}  // namespace

ButtonItem::ButtonItem(QQuickItem* parent) : ControlItem(std::make_shared<ui::Button>(), parent) {
    longPressTimer_.setSingleShot(true);
    longPressTimer_.setInterval(longPressMilliseconds);
    longPressTimer_.callOnTimeout(this, [this] {
        const auto recognizer = button() ? button()->longPressGestureRecognizer : nullptr;
        if (!recognizer || !button()->isEnabled()) return;
        isLongPress_ = true;
        recognizer->update(ui::GestureState::began, {pressPosition_.x(), pressPosition_.y()});
    });
}

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
    if (isDown_) return;
    send(ui::ControlEvent::touchDown);
    send(ui::ControlEvent::touchUpInside);
}

void ButtonItem::mousePressEvent(QMouseEvent* event) {
    isDown_ = true;
    isLongPress_ = false;
    pressPosition_ = event->position();
    setPressed(true);
    send(ui::ControlEvent::touchDown);
    if (button() && button()->longPressGestureRecognizer) longPressTimer_.start();
}

void ButtonItem::mouseMoveEvent(QMouseEvent* event) { setPressed(isDown_ && contains(event->position())); }

void ButtonItem::mouseReleaseEvent(QMouseEvent* event) {
    endPress(contains(event->position()) ? ui::ControlEvent::touchUpInside : ui::ControlEvent::touchUpOutside);
}

void ButtonItem::mouseUngrabEvent() { endPress(ui::ControlEvent::touchUpOutside); }

void ButtonItem::endPress(ui::ControlEvent event) {
    if (!std::exchange(isDown_, false)) return;
    longPressTimer_.stop();
    setPressed(false);
    if (std::exchange(isLongPress_, false)) {
        const auto recognizer = button() ? button()->longPressGestureRecognizer : nullptr;
        if (recognizer) recognizer->update(ui::GestureState::ended, {pressPosition_.x(), pressPosition_.y()});
    } else {
        send(event);
    }
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

}  // namespace videoanalysis
