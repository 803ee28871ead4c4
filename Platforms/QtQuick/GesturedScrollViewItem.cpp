#include "Platforms/QtQuick/GesturedScrollViewItem.h"

#include "VideoAnalysis/Player/GesturedScrollView.h"

#include <QLineF>
#include <QMouseEvent>
#include <QTouchEvent>

#include <utility>

namespace videoanalysis {
namespace {

constexpr double touchSlop = 8;  // points

}  // namespace

GesturedScrollViewItem::GesturedScrollViewItem(QQuickItem* parent)
    : ViewItem(std::make_shared<GesturedScrollView>(), parent) {
    setAcceptedMouseButtons(Qt::LeftButton);
    setAcceptTouchEvents(true);
    setKeepMouseGrab(true);
    setKeepTouchGrab(true);
    setClip(true);
}

GesturedScrollView* GesturedScrollViewItem::scrollView() const { return static_cast<GesturedScrollView*>(view()); }

void GesturedScrollViewItem::tell(ui::GestureState state, QPointF position) {
    if (!scrollView()) return;
    const auto recognizer = scrollView()->customPanGestureRecognizer();
    recognizer->update(state, {position.x(), position.y()});
}

void GesturedScrollViewItem::begin(QPointF position, double slop, int touchId) {
    pan_ = Pan{position, position, slop, false, touchId};
    tell(ui::GestureState::began, position);
}

void GesturedScrollViewItem::move(QPointF position) {
    if (!pan_ || position == pan_->latest) return;
    pan_->latest = position;
    if (!pan_->hasMoved && QLineF(pan_->start, position).length() < pan_->slop) return;
    pan_->hasMoved = true;
    tell(ui::GestureState::changed, position);
}

void GesturedScrollViewItem::end() {
    if (!pan_) return;
    const Pan pan = *std::exchange(pan_, std::nullopt);
    if (pan.hasMoved) {
        tell(ui::GestureState::ended, pan.latest);
    } else {
        tell(ui::GestureState::cancelled, pan.latest);
        if (scrollView()) scrollView()->tap();
    }
}

void GesturedScrollViewItem::cancel() {
    if (pan_) tell(ui::GestureState::cancelled, std::exchange(pan_, std::nullopt)->latest);
}

void GesturedScrollViewItem::mousePressEvent(QMouseEvent* event) { begin(event->position(), 0, -1); }

void GesturedScrollViewItem::mouseMoveEvent(QMouseEvent* event) { move(event->position()); }

void GesturedScrollViewItem::mouseReleaseEvent(QMouseEvent* event) {
    move(event->position());
    end();
}

void GesturedScrollViewItem::mouseUngrabEvent() { cancel(); }

void GesturedScrollViewItem::touchEvent(QTouchEvent* event) {
    if (event->type() == QEvent::TouchCancel) {
        cancel();
        isSpoiled_ = false;
        return;
    }
    bool someRemain = false;
    for (const QEventPoint& point : event->points()) {
        switch (point.state()) {
            case QEventPoint::Pressed:
                someRemain = true;
                if (pan_) {
                    cancel();
                    isSpoiled_ = true;
                } else if (!isSpoiled_) {
                    begin(point.position(), touchSlop, point.id());
                }
                break;
            case QEventPoint::Released:
                if (pan_ && pan_->touchId == point.id()) {
                    move(point.position());
                    end();
                }
                break;
            default:
                someRemain = true;
                if (pan_ && pan_->touchId == point.id()) move(point.position());
        }
    }
    if (!someRemain) isSpoiled_ = false;
    event->accept();
}

void GesturedScrollViewItem::touchUngrabEvent() {
    cancel();
    isSpoiled_ = false;
}

}  // namespace videoanalysis
