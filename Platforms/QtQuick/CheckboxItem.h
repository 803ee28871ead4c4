#pragma once
// The item of a checkbox: it lets the space bar press it. `Resources/Controls/` gives it its look; a host's own QML can use it as
// well.

#include "Platforms/QtQuick/ControlItem.h"
#include "VideoAnalysis/Views.h"

namespace videoanalysis::qt {

/// "Checkbox" in QML. Main thread.
class CheckboxItem : public ControlItem {
    Q_OBJECT
    Q_PROPERTY(bool checked READ isChecked WRITE setChecked NOTIFY checkedChanged)
    /// Whether the last change is drawn stroke by stroke.
    Q_PROPERTY(bool animated READ isAnimated NOTIFY checkedChanged)
    Q_PROPERTY(QString title READ title WRITE setTitle NOTIFY titleChanged)

public:
    explicit CheckboxItem(QQuickItem* parent = nullptr) : ControlItem(std::make_shared<Checkbox>(), parent) {}

    ui::ControlEvent actionEvent() const override { return ui::ControlEvent::valueChanged; }
    bool isChecked() const { return checkbox() && checkbox()->isChecked(); }
    void setChecked(bool checked) { checkbox()->setChecked(checked); }
    bool isAnimated() const { return checkbox() && checkbox()->isAnimated(); }
    QString title() const { return checkbox() ? QString::fromStdString(checkbox()->title()) : QString(); }
    void setTitle(const QString& title) { checkbox()->setTitle(title.toStdString()); }

    /// For the keyboard and assistive technology: a press and its release inside.
    Q_INVOKABLE void press();

    void viewDidChange(ui::View& view, ui::Property property) override;

Q_SIGNALS:
    void checkedChanged();
    void titleChanged();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    Checkbox* checkbox() const { return static_cast<Checkbox*>(view()); }
};

}  // namespace videoanalysis::qt
