#pragma once
// The item of the trimmer control: it says where handles, bar and thumbnails are and passes keys on. The trim screen's QML gives it
// its look.

#include "Platforms/QtQuick/ControlItem.h"
#include "VideoAnalysis/Platform/Image.h"

namespace videoanalysis {
class TrimmerView;
}

namespace videoanalysis::qt {

/// "TrimmerView" in QML. Main thread. Places are in points from the item's left edge, times in seconds.
class TrimmerViewItem : public ControlItem {
    Q_OBJECT
    Q_PROPERTY(double startX READ startX NOTIFY changed)
    Q_PROPERTY(double endX READ endX NOTIFY changed)
    Q_PROPERTY(double positionX READ positionX NOTIFY changed)
    Q_PROPERTY(double startTime READ startTime NOTIFY changed)
    Q_PROPERTY(double endTime READ endTime NOTIFY changed)
    Q_PROPERTY(double time READ time NOTIFY changed)
    /// The row shows the surroundings of a handle.
    Q_PROPERTY(bool zoomed READ isZoomed NOTIFY changed)
    /// What is under the user's finger.
    Q_PROPERTY(Part tracked READ tracked NOTIFY trackedChanged)
    Q_PROPERTY(double handleWidth READ handleWidth CONSTANT)
    Q_PROPERTY(int thumbnailCount READ thumbnailCount NOTIFY thumbnailsChanged)
    Q_PROPERTY(double thumbnailWidth READ thumbnailWidth NOTIFY thumbnailsChanged)

public:
    /// Named as QML asks for it; numbered as the control does.
    enum class Part { None, Start, End, Position };
    Q_ENUM(Part)

    explicit TrimmerViewItem(QQuickItem* parent = nullptr);

    ui::ControlEvent actionEvent() const override { return ui::ControlEvent::valueChanged; }
    double startX() const;
    double endX() const;
    double positionX() const;
    double startTime() const;
    double endTime() const;
    double time() const;
    bool isZoomed() const;
    Part tracked() const;
    double handleWidth() const;
    int thumbnailCount() const;
    double thumbnailWidth() const;

    /// What an `Icon` shows; empty while it is not there.
    Q_INVOKABLE videoanalysis::Image thumbnail(int index) const;
    /// Moves a part by `frames`, as the keyboard and assistive technology do.
    Q_INVOKABLE void nudge(Part part, int frames);

    void viewDidChange(ui::View& view, ui::Property property) override;

Q_SIGNALS:
    void changed();
    void trackedChanged();
    void thumbnailsChanged();

protected:
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;

private:
    TrimmerView* trimmer() const;
};

}  // namespace videoanalysis::qt
