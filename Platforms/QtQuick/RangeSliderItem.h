#pragma once
// The item of a range slider: it says where the thumbs are and lets the arrow keys step the one in focus. `Resources/Controls/`
// gives it its look; a host's own QML can use it as well.

#include "Platforms/QtQuick/ControlItem.h"
#include "VideoAnalysis/Views.h"

#include <optional>

namespace videoanalysis::qt {

/// "RangeSlider" in QML. Main thread.
class RangeSliderItem : public ControlItem {
    Q_OBJECT
    Q_PROPERTY(double minimumValue READ minimumValue WRITE setMinimumValue NOTIFY valueChanged)
    Q_PROPERTY(double maximumValue READ maximumValue WRITE setMaximumValue NOTIFY valueChanged)
    Q_PROPERTY(double minimumDistance READ minimumDistance WRITE setMinimumDistance NOTIFY valueChanged)
    Q_PROPERTY(double step READ step WRITE setStep NOTIFY valueChanged)
    Q_PROPERTY(double lowerValue READ lowerValue WRITE setLowerValue NOTIFY valueChanged)
    Q_PROPERTY(double upperValue READ upperValue WRITE setUpperValue NOTIFY valueChanged)
    /// Where the thumbs stand, 0...1 of their way.
    Q_PROPERTY(double lowerPosition READ lowerPosition NOTIFY valueChanged)
    Q_PROPERTY(double upperPosition READ upperPosition NOTIFY valueChanged)
    /// The values as the control writes them.
    Q_PROPERTY(QString lowerText READ lowerText NOTIFY valueChanged)
    Q_PROPERTY(QString upperText READ upperText NOTIFY valueChanged)
    Q_PROPERTY(Thumb tracked READ tracked NOTIFY trackedChanged)
    /// How far from both ends the thumbs' way begins, in points.
    Q_PROPERTY(double inset READ inset WRITE setInset NOTIFY insetChanged)

public:
    /// Named as QML asks for it; numbered as the control does.
    enum class Thumb { None, Lower, Upper };
    Q_ENUM(Thumb)

    explicit RangeSliderItem(QQuickItem* parent = nullptr);

    ui::ControlEvent actionEvent() const override { return ui::ControlEvent::valueChanged; }
    double minimumValue() const { return slider() ? slider()->minimumValue() : 0; }
    double maximumValue() const { return slider() ? slider()->maximumValue() : 0; }
    double minimumDistance() const { return slider() ? slider()->minimumDistance() : 0; }
    double step() const { return slider() ? slider()->step() : 0; }
    double lowerValue() const { return slider() ? slider()->lowerValue() : 0; }
    double upperValue() const { return slider() ? slider()->upperValue() : 0; }
    // While QML makes the item, what it sets waits for the rest: one value may need another one first.
    void setMinimumValue(double value) {
        asked_.minimum = value;
        apply();
    }
    void setMaximumValue(double value) {
        asked_.maximum = value;
        apply();
    }
    void setMinimumDistance(double distance) {
        asked_.distance = distance;
        apply();
    }
    void setStep(double step) {
        asked_.step = step;
        apply();
    }
    void setLowerValue(double value) {
        asked_.lower = value;
        apply();
    }
    void setUpperValue(double value) {
        asked_.upper = value;
        apply();
    }
    double lowerPosition() const { return slider() ? slider()->lowerFraction() : 0; }
    double upperPosition() const { return slider() ? slider()->upperFraction() : 0; }
    QString lowerText() const { return slider() ? QString::fromStdString(slider()->textOf(lowerValue())) : QString(); }
    QString upperText() const { return slider() ? QString::fromStdString(slider()->textOf(upperValue())) : QString(); }
    Thumb tracked() const { return slider() ? static_cast<Thumb>(slider()->trackedThumb()) : Thumb::None; }

    double inset() const { return slider() ? slider()->trackInset() : 0; }
    void setInset(double inset);

    /// Moves a thumb by `steps`, as the keyboard and assistive technology do.
    Q_INVOKABLE void nudge(Thumb thumb, int steps);

    void viewDidChange(ui::View& view, ui::Property property) override;

Q_SIGNALS:
    void valueChanged();
    void trackedChanged();
    void insetChanged();

protected:
    void componentComplete() override;

private:
    /// What QML has set and the control does not have yet.
    struct Asked {
        std::optional<double> minimum;
        std::optional<double> maximum;
        std::optional<double> distance;
        std::optional<double> step;
        std::optional<double> lower;
        std::optional<double> upper;
    };

    void apply();
    RangeSlider* slider() const { return static_cast<RangeSlider*>(view()); }

    Asked asked_;
};

}  // namespace videoanalysis::qt
