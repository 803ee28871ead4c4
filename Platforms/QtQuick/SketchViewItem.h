#pragma once
// The item of a sketch view: it keeps the pixels of the drawings and lets the view draw again only what has changed.

#include "Platforms/QtQuick/ViewItem.h"
#include "VideoAnalysis/Platform/Image.h"

namespace videoanalysis::qt {

/// "SketchView" in QML; the component places it over the picture. Main thread.
class SketchViewItem : public ViewItem {
    Q_OBJECT
    /// How much larger than its own size the item is shown, 1 or more.
    Q_PROPERTY(double zoom READ zoom WRITE setZoom NOTIFY zoomChanged)

public:
    explicit SketchViewItem(QQuickItem* parent = nullptr);

    double zoom() const { return zoom_; }
    void setZoom(double zoom);

    void viewDidChange(ui::View& view, ui::Property property) override;
    void viewNeedsDisplay(ui::View& view, const Rect& rect) override;

Q_SIGNALS:
    void zoomChanged();

protected:
    void updatePolish() override;
    QSGNode* updatePaintNode(QSGNode* node, UpdatePaintNodeData* data) override;
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;
    void itemChange(ItemChange change, const ItemChangeData& value) override;

private:
    void makeBitmap();

    Bitmap bitmap_;
    Rect dirty_;
    bool isTextureOld_ = true;
    double zoom_ = 1;
};

}  // namespace videoanalysis::qt
