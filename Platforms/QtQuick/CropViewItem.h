#pragma once
// The item of the crop view: it says where picture and mask are and lets keys move and zoom the picture. The trim screen's QML
// gives it its look.

#include "Platforms/QtQuick/ViewItem.h"
#include "VideoAnalysis/Views.h"

#include <QRectF>

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
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    CropView* crop() const { return static_cast<CropView*>(view()); }
    bool isFocusVisible_ = false;
};

}  // namespace videoanalysis::qt
