#pragma once
// The item of a player's scroll view: the left mouse button or one finger draws, a touch that does not move is a tap, a
// second finger ends what the first one does.

#include "Platforms/QtQuick/ViewItem.h"
#include "VideoAnalysis/Platform/UI/GestureRecognizer.h"

#include <QPointF>

#include <optional>

namespace videoanalysis {

class GesturedScrollView;

/// "GesturedScrollView" in QML; clips its content. Main thread.
class GesturedScrollViewItem : public ViewItem {
    Q_OBJECT

public:
    explicit GesturedScrollViewItem(QQuickItem* parent = nullptr);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseUngrabEvent() override;
    void touchEvent(QTouchEvent* event) override;
    void touchUngrabEvent() override;

private:
    /// One pan in progress.
    struct Pan {
        QPointF start;
        QPointF latest;
        double slop = 0;  ///< how far it may stray before it counts as a movement, in points
        bool hasMoved = false;
        int touchId = -1;
    };

    GesturedScrollView* scrollView() const;
    void begin(QPointF position, double slop, int touchId);
    void move(QPointF position);
    void end();
    void cancel();
    void tell(ui::GestureState state, QPointF position);

    std::optional<Pan> pan_;
    /// Another finger has come: nothing counts until all have left.
    bool isSpoiled_ = false;
};

}  // namespace videoanalysis
