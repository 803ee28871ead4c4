#pragma once
// What buttons and sliders share: the selector that an outlet table binds, and the states that the QML look shows
// (pressed, hovered, focused by the keyboard). `ButtonItem` and `SliderItem` derive from it.

#include "Platforms/QtQuick/ViewItem.h"
#include "VideoAnalysis/Platform/UI/Control.h"

namespace videoanalysis::qt {

/// Main thread. `enabled` follows the view.
class ControlItem : public ViewItem {
    Q_OBJECT
    /// The selector text, such as "tapOnPen:"; empty when the controller adds its actions by itself.
    Q_PROPERTY(QString action MEMBER selector_)
    Q_PROPERTY(bool pressed READ isPressed NOTIFY stateChanged)
    Q_PROPERTY(bool hovered READ isHovered NOTIFY stateChanged)
    /// The keyboard has brought the focus here.
    Q_PROPERTY(bool focusVisible READ isFocusVisible NOTIFY stateChanged)

public:
    const QString& selector() const { return selector_; }
    /// The event on which the selector's action runs.
    virtual ui::ControlEvent actionEvent() const = 0;
    /// Null once the view is destroyed before its item.
    ui::Control* control() const { return static_cast<ui::Control*>(view()); }

    bool isPressed() const { return control() && control()->isHighlighted(); }
    bool isHovered() const { return isHovered_; }
    bool isFocusVisible() const { return isFocusVisible_; }

    void viewDidChange(ui::View& view, ui::Property property) override;

Q_SIGNALS:
    void stateChanged();

protected:
    ControlItem(std::shared_ptr<ui::Control> control, QQuickItem* parent);

    void hoverEnterEvent(QHoverEvent* event) override;
    void hoverLeaveEvent(QHoverEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    QString selector_;
    bool isHovered_ = false;
    bool isFocusVisible_ = false;
};

}  // namespace videoanalysis::qt
