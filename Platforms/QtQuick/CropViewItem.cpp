#include "Platforms/QtQuick/CropViewItem.h"

#include <QKeyEvent>

namespace videoanalysis::qt {
namespace {

constexpr double keyMove = 8;  // points
constexpr double keyZoom = 1.1;

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
