#pragma once
// The item of a ruler: it paints the ticks of the cells in sight and turns fingers, mouse and wheel into drags and throws of
// the ruler's strip.

#include "Platforms/QtQuick/ViewItem.h"
#include "VideoAnalysis/Timeline/Deceleration.h"
#include "VideoAnalysis/Timeline/TimelineView.h"

#include <QColor>
#include <QTimer>

#include <deque>
#include <functional>
#include <memory>
#include <optional>

namespace videoanalysis {

/// "Timeline" in QML. Main thread.
class TimelineViewItem : public ViewItem {
    Q_OBJECT
    /// Of the mark in the middle.
    Q_PROPERTY(QColor markColor MEMBER markColor_ NOTIFY markColorChanged)

public:
    explicit TimelineViewItem(QQuickItem* parent = nullptr);
    ~TimelineViewItem() override;

    /// Seconds on a steady clock, by which a throw runs; a test may put its own in place.
    std::function<double()> clock;
    /// One frame of a throw, as the timer does it.
    void continueThrow();
    bool isThrown() const { return throw_.has_value(); }

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
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;
    QSGNode* updatePaintNode(QSGNode* node, UpdatePaintNodeData* data) override;

private:
    struct Sample {
        double x;
        double seconds;
    };
    struct Throw {
        Deceleration deceleration;
        double start;      ///< on the clock
        double travelled;  ///< points so far
    };
    class StripObserver;

    /// Null once the view has gone before its item.
    InfiniteCollectionView* strip() const;
    void scrollBy(double points);
    void press(double x, double seconds);
    void drag(double x, double seconds);
    void release(double seconds);
    void stop();
    double velocity(double seconds) const;

    QColor markColor_ = Qt::white;
    std::unique_ptr<StripObserver> stripObserver_;
    std::deque<Sample> samples_;  ///< of the drag under way; empty without one
    int touchId_ = -1;
    std::optional<Throw> throw_;
    QTimer throwTimer_;
    QTimer wheelEnd_;
};

}  // namespace videoanalysis
