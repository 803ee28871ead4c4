#pragma once
// The item of the crop view: it says where picture and mask stand; one finger or the mouse moves the picture or a corner of the
// mask, two fingers or the wheel zoom. The trim screen's QML gives it its look.

#include "Platforms/QtQuick/ViewItem.h"
#include "VideoAnalysis/Views.h"

#include <QPointF>
#include <QRectF>

#include <optional>

namespace videoanalysis::qt {

/// "CropView" in QML. Main thread.
class CropViewItem : public ViewItem {
    Q_OBJECT
    Q_PROPERTY(QRectF pictureRect READ pictureRect NOTIFY changed)
    Q_PROPERTY(QRectF maskRect READ maskRect NOTIFY changed)
    Q_PROPERTY(bool cropping READ isCropping NOTIFY changed)
    /// The mask's corners can be moved.
    Q_PROPERTY(bool free READ isFree NOTIFY changed)
    /// Nothing can be moved.
    Q_PROPERTY(bool locked READ isLocked NOTIFY changed)
    Q_PROPERTY(bool focusVisible READ isFocusVisible NOTIFY focusVisibleChanged)

public:
    explicit CropViewItem(QQuickItem* parent = nullptr);

    QRectF pictureRect() const;
    QRectF maskRect() const;
    bool isCropping() const { return crop() && crop()->isCropping(); }
    bool isFree() const { return crop() && crop()->aspect() == CropView::Aspect::free; }
    bool isLocked() const { return crop() && crop()->isLocked(); }
    bool isFocusVisible() const { return isFocusVisible_; }

    void viewDidChange(ui::View& view, ui::Property property) override;

Q_SIGNALS:
    void changed();
    void focusVisibleChanged();

protected:
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseUngrabEvent() override;
    void touchEvent(QTouchEvent* event) override;
    void touchUngrabEvent() override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    CropView* crop() const { return static_cast<CropView*>(view()); }
    void begin(QPointF position);
    void move(QPointF position);
    void end();

    std::optional<QPointF> latest_;  // of the finger or mouse that moves something
    std::optional<CropView::Corner> corner_;
    double spread_ = 0;  // between two fingers
    bool isFocusVisible_ = false;
};

}  // namespace videoanalysis::qt
