#pragma once
// The item of a slider: it says where the thumb is and lets the arrow keys step it. `Resources/Controls/` gives it its look.

#include "Platforms/QtQuick/ControlItem.h"

namespace videoanalysis::qt {

/// "Slider" in QML. Main thread.
class SliderItem : public ControlItem {
    Q_OBJECT
    /// Where the thumb is, 0...1 of its way.
    Q_PROPERTY(double position READ thumbPosition NOTIFY valueChanged)
    Q_PROPERTY(double value READ value NOTIFY valueChanged)
    /// How far from both ends the thumb's way begins, in points.
    Q_PROPERTY(double inset READ inset WRITE setInset NOTIFY insetChanged)

public:
    explicit SliderItem(QQuickItem* parent = nullptr);

    ui::ControlEvent actionEvent() const override { return ui::ControlEvent::valueChanged; }
    double thumbPosition() const { return slider() ? slider()->thumbPosition() : 0; }
    double inset() const { return slider() ? slider()->trackInset() : 0; }
    void setInset(double inset);
    double value() const { return slider() ? static_cast<double>(slider()->value()) : 0; }

    void viewDidChange(ui::View& view, ui::Property property) override;

    /// Moves the thumb by `fraction` of its way, as the user's doing.
    Q_INVOKABLE void step(double fraction);

Q_SIGNALS:
    void valueChanged();
    void insetChanged();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    ui::Slider* slider() const { return static_cast<ui::Slider*>(view()); }
};

}  // namespace videoanalysis::qt
