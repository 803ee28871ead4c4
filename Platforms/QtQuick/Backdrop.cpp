#include "Platforms/QtQuick/Backdrop.h"

#include <QQuickWindow>
#include <QSGRectangleNode>
#include <QTouchEvent>

namespace videoanalysis::qt {

Backdrop::Backdrop() {
    setFlag(ItemHasContents);
    setAcceptedMouseButtons(Qt::AllButtons);
    setAcceptTouchEvents(true);
    setAcceptHoverEvents(true);
}

void Backdrop::show(const QRectF& card, double dimming) {
    card_ = card;
    dimming_ = dimming;
    update();
}

QSGNode* Backdrop::updatePaintNode(QSGNode* old, UpdatePaintNodeData*) {
    auto* ground = static_cast<QSGRectangleNode*>(old);
    if (!ground) {
        ground = window()->createRectangleNode();
        QSGRectangleNode* edge = window()->createRectangleNode();
        edge->setFlag(QSGNode::OwnedByParent);
        ground->appendChildNode(edge);
    }
    ground->setRect(boundingRect());
    ground->setColor(QColor::fromRgbF(0, 0, 0, static_cast<float>(dimming_)));
    auto* edge = static_cast<QSGRectangleNode*>(ground->firstChild());
    const double hairline = 1 / window()->effectiveDevicePixelRatio();
    edge->setRect(dimming_ > 0 ? QRectF() : card_.adjusted(-hairline, -hairline, hairline, hairline));
    edge->setColor(QColor(128, 128, 128));
    return ground;
}

void Backdrop::mousePressEvent(QMouseEvent*) {
    if (pressed) pressed();
}

void Backdrop::touchEvent(QTouchEvent* event) {
    if (event->type() == QEvent::TouchBegin && pressed) pressed();
}

void Backdrop::wheelEvent(QWheelEvent*) {}

}  // namespace videoanalysis::qt
