#pragma once
// The item of a ruler: it paints the ticks of the cells in sight and passes input and, during a throw, the frames of the display to
// the ruler.

#include "Platforms/QtQuick/ViewItem.h"
#include "VideoAnalysis/Views.h"

#include <QColor>

#include <memory>

namespace videoanalysis::qt {

/// "Timeline" in QML. Main thread.
class TimelineViewItem : public ViewItem {
    Q_OBJECT
    /// Of the mark in the middle.
    Q_PROPERTY(QColor markColor MEMBER markColor_ NOTIFY markColorChanged)

public:
    explicit TimelineViewItem(QQuickItem* parent = nullptr);
    ~TimelineViewItem() override;

    void viewDidChange(ui::View& view, ui::Property property) override;

Q_SIGNALS:
    void markColorChanged();

protected:
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
    void followMotion();
    void stop();

    QColor markColor_ = Qt::white;
    std::unique_ptr<StripObserver> stripObserver_;
    std::unique_ptr<ThrowAnimation> throwAnimation_;
};

}  // namespace videoanalysis::qt
