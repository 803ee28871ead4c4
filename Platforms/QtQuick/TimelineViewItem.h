#pragma once
// The item of a ruler: it paints the ticks of the cells in sight and hands fingers, mouse, wheel and the frames of the display to the
// ruler's scroller, which makes drags and throws of them.

#include "Platforms/QtQuick/ViewItem.h"
#include "VideoAnalysis/Views.h"

#include <QColor>
#include <QTimer>

#include <memory>

namespace videoanalysis {

/// "Timeline" in QML. Main thread.
class TimelineViewItem : public ViewItem {
    Q_OBJECT
    /// Of the mark in the middle.
    Q_PROPERTY(QColor markColor MEMBER markColor_ NOTIFY markColorChanged)

public:
    explicit TimelineViewItem(QQuickItem* parent = nullptr);
    ~TimelineViewItem() override;

Q_SIGNALS:
    void markColorChanged();

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseUngrabEvent() override;
    void touchEvent(QTouchEvent* event) override;
    void touchUngrabEvent() override;
    void wheelEvent(QWheelEvent* event) override;
    void itemChange(ItemChange change, const ItemChangeData& data) override;
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;
    QSGNode* updatePaintNode(QSGNode* node, UpdatePaintNodeData* data) override;

private:
    class StripObserver;
    class ThrowAnimation;

    /// Null once the view has gone before its item, like the two below.
    TimelineView* ruler() const { return static_cast<TimelineView*>(view()); }
    InfiniteCollectionView* strip() const;
    StripScroller* scroller() const;
    /// Along the ruler's axis, in a frame of reference that stays where the window is.
    double position(QPointF inScene) const;
    void release(qint64 pointer, QPointF inScene, double seconds);
    void stop();

    QColor markColor_ = Qt::white;
    std::unique_ptr<StripObserver> stripObserver_;
    std::unique_ptr<ThrowAnimation> throwAnimation_;
    QTimer wheelEnd_;
};

}  // namespace videoanalysis
