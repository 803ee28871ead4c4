#include "Platforms/QtQuick/GesturedScrollViewItem.h"

#include "VideoAnalysis/Views.h"

#include <QLineF>
#include <QMouseEvent>
#include <QNativeGestureEvent>
#include <QTouchEvent>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <utility>

namespace videoanalysis {
namespace {

constexpr double touchSlop = 8;        // points
constexpr int justBegun = 400;         // milliseconds that a stroke may be taken back by a second finger
constexpr double shortStroke = 64;     // points, likewise
constexpr int doubleTapTime = 300;     // milliseconds
constexpr int wheelRest = 150;         // milliseconds
constexpr double wheelNotch = 120;     // of a wheel's angle
constexpr double zoomPerNotch = 1.25;  // times
constexpr double leastDistance = 8;    // of two fingers, points

Point toPoint(QPointF point) { return {point.x(), point.y()}; }

}  // namespace

GesturedScrollViewItem::GesturedScrollViewItem(QQuickItem* parent)
    : ViewItem(std::make_shared<GesturedScrollView>(), parent) {
    setAcceptedMouseButtons(Qt::LeftButton | Qt::MiddleButton);
    setAcceptTouchEvents(true);
    setKeepMouseGrab(true);
    setKeepTouchGrab(true);
    setClip(true);
    secondTap_.setSingleShot(true);
    secondTap_.setInterval(doubleTapTime);
    connect(&secondTap_, &QTimer::timeout, this, [this] {
        if (scrollView()) scrollView()->tap();
    });
    zoomRest_.setSingleShot(true);
    zoomRest_.setInterval(wheelRest);
    connect(&zoomRest_, &QTimer::timeout, this, [this] {
        if (scrollView()) scrollView()->zoomDidEnd();
    });
}

GesturedScrollView* GesturedScrollViewItem::scrollView() const { return static_cast<GesturedScrollView*>(view()); }

double GesturedScrollViewItem::zoomScale() const { return scrollView() ? scrollView()->zoomScale() : 1; }

QPointF GesturedScrollViewItem::offset() const {
    if (!scrollView()) return {};
    const Point offset = scrollView()->contentOffset();
    return {offset.x, offset.y};
}

void GesturedScrollViewItem::viewDidChange(ui::View& view, ui::Property property) {
    if (property == ui::Property::zoomScale || property == ui::Property::contentOffset) {
        Q_EMIT zoomChanged();
    } else {
        ViewItem::viewDidChange(view, property);
    }
}

// ---- One finger, the left button

void GesturedScrollViewItem::tell(ui::GestureState state, QPointF position) {
    if (!scrollView()) return;
    const auto recognizer = scrollView()->customPanGestureRecognizer();
    recognizer->update(state, toPoint(position));
}

void GesturedScrollViewItem::begin(QPointF position, double slop, int touchId) {
    pan_ = Pan{position, position, slop, false, touchId, {}};
    pan_->age.start();
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
    tell(pan.hasMoved ? ui::GestureState::ended : ui::GestureState::cancelled, pan.latest);
    if (!pan.hasMoved) tap();
}

void GesturedScrollViewItem::interrupt() {
    if (!pan_) return;
    const Pan pan = *std::exchange(pan_, std::nullopt);
    const bool hasJustBegun = pan.age.elapsed() < justBegun || QLineF(pan.start, pan.latest).length() < shortStroke;
    tell(hasJustBegun ? ui::GestureState::cancelled : ui::GestureState::ended, pan.latest);
}

void GesturedScrollViewItem::tap() {
    if (!scrollView()) return;
    if (secondTap_.isActive()) {
        secondTap_.stop();
        scrollView()->resetZoom();
    } else if (zoomScale() > 1) {
        secondTap_.start();
    } else {
        scrollView()->tap();
    }
}

void GesturedScrollViewItem::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::MiddleButton) {
        interrupt();
        middleDrag_ = event->position();
    } else if (!middleDrag_) {
        begin(event->position(), 0, -1);
    }
}

void GesturedScrollViewItem::mouseMoveEvent(QMouseEvent* event) {
    if (middleDrag_) {
        const QPointF translation = event->position() - std::exchange(*middleDrag_, event->position());
        if (scrollView()) scrollView()->move(toPoint(translation));
    } else {
        move(event->position());
    }
}

void GesturedScrollViewItem::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::MiddleButton) {
        middleDrag_.reset();
    } else {
        move(event->position());
        end();
    }
}

void GesturedScrollViewItem::mouseUngrabEvent() {
    interrupt();
    middleDrag_.reset();
}

// ---- Zooming

void GesturedScrollViewItem::zoomAt(double factor, QPointF anchor) {
    if (!scrollView()) return;
    scrollView()->zoom(factor, toPoint(anchor));
    zoomRest_.start();
}

void GesturedScrollViewItem::wheelEvent(QWheelEvent* event) {
    if (!event->modifiers().testFlag(Qt::ControlModifier)) {
        event->ignore();
        return;
    }
    zoomAt(std::pow(zoomPerNotch, event->angleDelta().y() / wheelNotch), event->position());
}

bool GesturedScrollViewItem::event(QEvent* event) {
    if (event->type() == QEvent::NativeGesture) {  // of a touch pad
        const auto* gesture = static_cast<QNativeGestureEvent*>(event);
        if (gesture->gestureType() == Qt::ZoomNativeGesture) {
            zoomAt(1 + gesture->value(), gesture->position());
            return true;
        }
    }
    return ViewItem::event(event);
}

void GesturedScrollViewItem::beginPinch(const QTouchEvent& event) {
    pinch_ = Pinch{};
    int found = 0;
    QPointF positions[2];
    for (const QEventPoint& point : event.points()) {
        if (point.state() == QEventPoint::Released || found == 2) continue;
        pinch_->ids[found] = point.id();
        positions[found++] = point.position();
    }
    pinch_->centre = (positions[0] + positions[1]) / 2;
    pinch_->distance = std::max(QLineF(positions[0], positions[1]).length(), leastDistance);
    if (found < 2) pinch_.reset();
}

void GesturedScrollViewItem::followPinch(const QTouchEvent& event) {
    const QEventPoint* points[2] = {nullptr, nullptr};
    for (const QEventPoint& point : event.points()) {
        for (int finger = 0; finger < 2; ++finger) {
            if (point.id() == pinch_->ids[finger] && point.state() != QEventPoint::Released) points[finger] = &point;
        }
    }
    if (!points[0] || !points[1] || !scrollView()) {
        endPinch();
        return;
    }
    const QPointF centre = (points[0]->position() + points[1]->position()) / 2;
    const double distance = std::max(QLineF(points[0]->position(), points[1]->position()).length(), leastDistance);
    scrollView()->move(toPoint(centre - pinch_->centre));
    scrollView()->zoom(distance / pinch_->distance, toPoint(centre));
    pinch_->centre = centre;
    pinch_->distance = distance;
}

void GesturedScrollViewItem::endPinch() {
    pinch_.reset();
    isSpoiled_ = true;
    if (scrollView()) scrollView()->zoomDidEnd();
}

void GesturedScrollViewItem::touchEvent(QTouchEvent* event) {
    event->accept();
    if (event->type() == QEvent::TouchCancel) {
        touchUngrabEvent();
        return;
    }
    int remaining = 0;
    for (const QEventPoint& point : event->points()) remaining += point.state() != QEventPoint::Released ? 1 : 0;

    if (pinch_) {
        followPinch(*event);
    } else if (remaining == 2 && !isSpoiled_) {
        interrupt();
        beginPinch(*event);
    } else if (remaining > 2) {
        interrupt();
        isSpoiled_ = true;
    } else if (!isSpoiled_) {
        for (const QEventPoint& point : event->points()) {
            if (point.state() == QEventPoint::Pressed) {
                begin(point.position(), touchSlop, point.id());
            } else if (pan_ && pan_->touchId == point.id()) {
                move(point.position());
                if (point.state() == QEventPoint::Released) end();
            }
        }
    }
    if (remaining == 0) isSpoiled_ = false;
}

void GesturedScrollViewItem::touchUngrabEvent() {
    interrupt();
    if (pinch_) endPinch();
    isSpoiled_ = false;
}

}  // namespace videoanalysis
