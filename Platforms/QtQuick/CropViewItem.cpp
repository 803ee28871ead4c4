#include "Platforms/QtQuick/CropViewItem.h"

#include <QKeyEvent>
#include <QLineF>
#include <QMouseEvent>
#include <QTouchEvent>
#include <QWheelEvent>

#include <array>
#include <cmath>

namespace videoanalysis::qt {
namespace {

constexpr double cornerReach = 28;  // points
constexpr double keyMove = 8;       // points
constexpr double keyZoom = 1.1;
constexpr double wheelZoom = 1.001;  // for each of the wheel's units, 120 a notch

QRectF toQRectF(const Rect& rect) { return {rect.origin.x, rect.origin.y, rect.size.width, rect.size.height}; }

}  // namespace

CropViewItem::CropViewItem(QQuickItem* parent) : ViewItem(std::make_shared<CropView>(), parent) {
    setAcceptedMouseButtons(Qt::LeftButton);
    setAcceptTouchEvents(true);
    setKeepMouseGrab(true);
    setKeepTouchGrab(true);
    setClip(true);
}

QRectF CropViewItem::pictureRect() const { return crop() ? toQRectF(crop()->pictureRect()) : QRectF(); }

QRectF CropViewItem::maskRect() const { return crop() ? toQRectF(crop()->maskRect()) : QRectF(); }

void CropViewItem::viewDidChange(ui::View& view, ui::Property property) {
    if (property != ui::Property::other) {
        ViewItem::viewDidChange(view, property);
        return;
    }
    setActiveFocusOnTab(isCropping() && !isLocked());
    Q_EMIT changed();
}

void CropViewItem::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
    ViewItem::geometryChange(newGeometry, oldGeometry);
    Q_EMIT changed();
}

void CropViewItem::begin(QPointF position) {
    latest_ = position;
    corner_.reset();
    if (!isFree()) return;
    const QRectF mask = maskRect();
    const std::array corners = {std::pair(CropView::Corner::topLeft, mask.topLeft()),
                                std::pair(CropView::Corner::topRight, mask.topRight()),
                                std::pair(CropView::Corner::bottomLeft, mask.bottomLeft()),
                                std::pair(CropView::Corner::bottomRight, mask.bottomRight())};
    double nearest = cornerReach;
    for (const auto& [corner, point] : corners) {
        const double distance = QLineF(point, position).length();
        if (distance >= nearest) continue;
        nearest = distance;
        corner_ = corner;
    }
}

void CropViewItem::move(QPointF position) {
    if (!crop() || !latest_) return;
    if (corner_) {
        crop()->moveCorner(*corner_, {position.x(), position.y()});
    } else {
        crop()->pan(position.x() - latest_->x(), position.y() - latest_->y());
    }
    latest_ = position;
}

void CropViewItem::end() {
    latest_.reset();
    corner_.reset();
    if (crop()) crop()->endMovingCorner();
}

void CropViewItem::mousePressEvent(QMouseEvent* event) {
    event->setAccepted(isCropping());
    if (isCropping()) begin(event->position());
}

void CropViewItem::mouseMoveEvent(QMouseEvent* event) { move(event->position()); }

void CropViewItem::mouseReleaseEvent(QMouseEvent*) { end(); }

void CropViewItem::mouseUngrabEvent() { end(); }

void CropViewItem::touchEvent(QTouchEvent* event) {
    if (!isCropping()) {
        event->ignore();
        return;
    }
    std::vector<QPointF> fingers;
    for (const QEventPoint& point : event->points()) {
        if (point.state() != QEventPoint::Released) fingers.push_back(point.position());
    }
    if (event->type() == QEvent::TouchCancel || fingers.empty()) {
        end();
        spread_ = 0;
    } else if (fingers.size() == 1) {
        // What is left of two fingers, or one that comes down, takes hold anew.
        if (!latest_ || spread_ > 0 || event->type() == QEvent::TouchBegin) begin(fingers[0]);
        spread_ = 0;
        move(fingers[0]);
    } else {
        const QLineF between(fingers[0], fingers[1]);
        const QPointF middle = between.center();
        if (spread_ <= 0) {
            end();
            latest_ = middle;
        } else if (between.length() > 0) {
            crop()->zoom(between.length() / spread_, {middle.x(), middle.y()});
            move(middle);
        }
        spread_ = between.length();
    }
}

void CropViewItem::touchUngrabEvent() {
    end();
    spread_ = 0;
}

void CropViewItem::wheelEvent(QWheelEvent* event) {
    event->setAccepted(isCropping());
    if (isCropping()) {
        crop()->zoom(std::pow(wheelZoom, event->angleDelta().y()), {event->position().x(), event->position().y()});
    }
}

void CropViewItem::keyPressEvent(QKeyEvent* event) {
    if (!isCropping()) return event->ignore();
    const Point middle{width() / 2, height() / 2};
    switch (event->key()) {
        case Qt::Key_Left: crop()->pan(keyMove, 0); break;
        case Qt::Key_Right: crop()->pan(-keyMove, 0); break;
        case Qt::Key_Up: crop()->pan(0, keyMove); break;
        case Qt::Key_Down: crop()->pan(0, -keyMove); break;
        case Qt::Key_Plus:
        case Qt::Key_Equal: crop()->zoom(keyZoom, middle); break;
        case Qt::Key_Minus: crop()->zoom(1 / keyZoom, middle); break;
        default: event->ignore();
    }
}

void CropViewItem::focusInEvent(QFocusEvent* event) {
    ViewItem::focusInEvent(event);
    isFocusVisible_ = event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
    Q_EMIT focusVisibleChanged();
}

void CropViewItem::focusOutEvent(QFocusEvent* event) {
    ViewItem::focusOutEvent(event);
    isFocusVisible_ = false;
    Q_EMIT focusVisibleChanged();
}

}  // namespace videoanalysis::qt
