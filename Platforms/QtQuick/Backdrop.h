#pragma once
// What lies under a card: it darkens the screen below or, where it does not, edges the card, and it takes the presses beside the
// card. `QtScreen` puts it there.

#include <QQuickItem>
#include <QRectF>

#include <functional>

namespace videoanalysis::qt {

/// Main thread.
class Backdrop : public QQuickItem {
public:
    /// Called for a press beside the card. May be empty.
    std::function<void()> pressed;

    Backdrop();
    /// `card` in the item's points; `dimming` 0...1.
    void show(const QRectF& card, double dimming);

protected:
    QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData* data) override;
    void mousePressEvent(QMouseEvent* event) override;
    void touchEvent(QTouchEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    QRectF card_;
    double dimming_ = 0;
};

}  // namespace videoanalysis::qt
