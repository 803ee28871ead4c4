#pragma once
// The item of a player's scroll view: the left mouse button or one finger draws, a touch that does not move is a tap, two
// fingers, the wheel with Ctrl and the middle button zoom and move the picture, a double tap shows the whole of it again.

#include "Platforms/QtQuick/ViewItem.h"
#include "VideoAnalysis/Platform/UI/GestureRecognizer.h"

#include <QElapsedTimer>
#include <QPointF>
#include <QTimer>

#include <optional>

namespace videoanalysis {

class GesturedScrollView;

/// "GesturedScrollView" in QML; clips its content, which is to be shown `zoomScale` times as large and moved by the offset.
/// Main thread.
class GesturedScrollViewItem : public ViewItem {
    Q_OBJECT
    Q_PROPERTY(double zoomScale READ zoomScale NOTIFY zoomChanged)
    /// Of the enlarged content, in points.
    Q_PROPERTY(QPointF offset READ offset NOTIFY zoomChanged)

public:
    explicit GesturedScrollViewItem(QQuickItem* parent = nullptr);

    double zoomScale() const;
    QPointF offset() const;

    void viewDidChange(ui::View& view, ui::Property property) override;

Q_SIGNALS:
    void zoomChanged();

protected:
    bool event(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseUngrabEvent() override;
    void wheelEvent(QWheelEvent* event) override;
    void touchEvent(QTouchEvent* event) override;
    void touchUngrabEvent() override;

private:
    /// One finger or the left button.
    struct Pan {
        QPointF start;
        QPointF latest;
        double slop = 0;  ///< how far it may stray before it counts as a movement, in points
        bool hasMoved = false;
        int touchId = -1;
        QElapsedTimer age;
    };
    /// Two fingers.
    struct Pinch {
        int ids[2] = {-1, -1};
        QPointF centre;
        double distance = 1;
    };

    GesturedScrollView* scrollView() const;
    void begin(QPointF position, double slop, int touchId);
    void move(QPointF position);
    void end();
    /// Something else takes over: a stroke that has only just begun is taken back, one that has been drawn stays.
    void interrupt();
    void tell(ui::GestureState state, QPointF position);
    void tap();
    void zoomAt(double factor, QPointF anchor);
    void beginPinch(const QTouchEvent& event);
    void followPinch(const QTouchEvent& event);
    void endPinch();

    std::optional<Pan> pan_;
    std::optional<Pinch> pinch_;
    std::optional<QPointF> middleDrag_;
    /// Further fingers have come or gone: nothing counts until all have left.
    bool isSpoiled_ = false;
    QTimer secondTap_;  ///< runs while a second tap would make a double tap
    QTimer zoomRest_;   ///< runs until the wheel has come to rest
};

}  // namespace videoanalysis
