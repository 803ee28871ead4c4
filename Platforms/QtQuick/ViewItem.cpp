#include "Platforms/QtQuick/ViewItem.h"

#include "Platforms/QtQuick/Motion.h"

#include <QMouseEvent>
#include <QNativeGestureEvent>
#include <QTouchEvent>
#include <QWheelEvent>
#include <QtMath>

#include <utility>
#include <vector>

namespace videoanalysis::qt {
namespace {

constexpr std::int64_t mousePointer = -1;  // fingers count from 0
constexpr double wheelNotch = 120;         // eighths of a degree

Point toPoint(QPointF point) { return {point.x(), point.y()}; }

ui::PointerButton toButton(Qt::MouseButton button) {
    switch (button) {
        case Qt::LeftButton: return ui::PointerButton::left;
        case Qt::MiddleButton: return ui::PointerButton::middle;
        case Qt::RightButton: return ui::PointerButton::right;
        default: return ui::PointerButton::none;
    }
}

}  // namespace

QColor toQColor(const Color& color) {
    const auto component = [](double value) { return static_cast<float>(qBound(0.0, value, 1.0)); };
    return QColor::fromRgbF(component(color.red), component(color.green), component(color.blue),
                            component(color.alpha));
}

ViewItem* itemOf(const ui::View& view) { return dynamic_cast<ViewItem*>(view.observer()); }

ViewItem::ViewItem(QQuickItem* parent) : ViewItem(std::make_shared<ui::View>(), parent) {}

ViewItem::ViewItem(std::shared_ptr<ui::View> view, QQuickItem* parent)
    : QQuickItem(parent), ownedView_(std::move(view)), view_(ownedView_.get()) {
    view_->setObserver(this);
}

ViewItem::~ViewItem() { detach(); }

std::shared_ptr<ui::View> ViewItem::releaseView() { return std::exchange(ownedView_, nullptr); }

void ViewItem::detach() {
    if (view_) std::exchange(view_, nullptr)->setObserver(nullptr);
}

void ViewItem::setSolid(bool solid) {
    isSolid_ = solid;
    setAcceptedMouseButtons(solid ? Qt::AllButtons : Qt::NoButton);
}

QColor ViewItem::tintColor() const { return view_ ? toQColor(view_->tintColor()) : QColor(); }

QColor ViewItem::backgroundColor() const { return view_ ? toQColor(view_->backgroundColor()) : QColor(); }

void ViewItem::setInSight(bool inSight) {
    isInSight_ = inSight;
    updateVisibility();
}

void ViewItem::viewDidChange(ui::View&, ui::Property property) {
    switch (property) {
        case ui::Property::frame: moveToFrame(); break;
        case ui::Property::isHidden:
            updateVisibility();
            Q_EMIT hiddenChanged();
            break;
        case ui::Property::alpha: followAlpha(); break;
        case ui::Property::tintColor: Q_EMIT tintColorChanged(); break;
        case ui::Property::backgroundColor: Q_EMIT backgroundColorChanged(); break;
        case ui::Property::rotation: setRotation(qRadiansToDegrees(view_->rotation())); break;
        default: break;
    }
}

void ViewItem::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    updateFrame();
}

/// Where the item's parent lies in the item of the view above: items that are no views may lie between.
QPointF ViewItem::superviewOffset() const {
    QPointF offset;
    for (const QQuickItem* item = parentItem(); item; item = item->parentItem()) {
        if (const auto* above = qobject_cast<const ViewItem*>(item)) return offset + above->contentOffset();
        offset += item->position();
    }
    return offset;
}

void ViewItem::updateFrame() {
    if (!view_ || isPlacedByView_) return;
    isTellingFrame_ = true;
    const QPointF origin = position() + superviewOffset();
    view_->setFrame({origin.x(), origin.y(), width(), height()});
    isTellingFrame_ = false;
}

void ViewItem::moveToFrame() {
    if (isTellingFrame_) return;
    const Rect& frame = view_->frame();
    setPosition(QPointF(frame.origin.x, frame.origin.y) - superviewOffset());
    setSize({frame.size.width, frame.size.height});
}

void ViewItem::updateVisibility() {
    setVisible(isInSight_ && view_ && !view_->isHidden() && (view_->alpha() > 0 || opacity() > 0));
}

void ViewItem::followAlpha() {
    const double alpha = view_->alpha();
    const int duration = Motion::shared().duration(qRound(view_->alphaAnimationDuration() * 1000));
    if (duration > 0) {
        if (!fade_) {
            fade_ = new QVariantAnimation(this);
            fade_->setEasingCurve(QEasingCurve::OutCubic);
            connect(fade_, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
                setOpacity(value.toDouble());
                updateVisibility();
            });
        }
        fade_->stop();
        fade_->setDuration(duration);
        fade_->setStartValue(opacity());
        fade_->setEndValue(alpha);
        fade_->start();
    } else {
        if (fade_) fade_->stop();
        setOpacity(alpha);
    }
    updateVisibility();  // what is invisible takes no presses either
    Q_EMIT alphaChanged();
}

// ---- Input

ui::PointerEvent ViewItem::pointerEvent(ui::PointerPhase phase, const QEventPoint& point, ulong timestamp) const {
    const QPointF origin = mapToScene({0, 0});
    const auto along = [&](QPointF unit) {
        const QPointF axis = mapToScene(unit) - origin;
        return QPointF::dotProduct(point.scenePosition(), axis) / QPointF::dotProduct(axis, axis);
    };
    return {.pointer = point.id(),
            .phase = phase,
            .position = toPoint(point.position()),
            .windowPosition = {along({1, 0}), along({0, 1})},
            .time = static_cast<double>(timestamp) / 1000};
}

bool ViewItem::pass(std::span<const ui::PointerEvent> events) {
    if (!view_) return false;
    const std::shared_ptr<ui::View> keepAlive = view_->shared_from_this();
    return keepAlive->handlePointers(events);
}

bool ViewItem::passMouse(QMouseEvent& event, ui::PointerPhase phase) {
    ui::PointerEvent pointer = pointerEvent(phase, event.point(0), event.timestamp());
    pointer.pointer = mousePointer;
    const bool isPen = event.pointerType() == QPointingDevice::PointerType::Pen;
    pointer.kind = isPen ? ui::PointerKind::pen : ui::PointerKind::mouse;
    pointer.button = toButton(event.button());
    return pass({&pointer, 1});
}

void ViewItem::mousePressEvent(QMouseEvent* event) {
    event->setAccepted(passMouse(*event, ui::PointerPhase::began) || isSolid_);
}

void ViewItem::mouseMoveEvent(QMouseEvent* event) { passMouse(*event, ui::PointerPhase::moved); }

void ViewItem::mouseReleaseEvent(QMouseEvent* event) { passMouse(*event, ui::PointerPhase::ended); }

void ViewItem::mouseUngrabEvent() {
    ui::PointerEvent cancelled;
    cancelled.phase = ui::PointerPhase::cancelled;
    pass({&cancelled, 1});
}

void ViewItem::touchEvent(QTouchEvent* event) {
    if (event->type() == QEvent::TouchCancel) return touchUngrabEvent();
    std::vector<ui::PointerEvent> changed;
    for (const QEventPoint& point : event->points()) {
        const auto add = [&](ui::PointerPhase phase) {
            changed.push_back(pointerEvent(phase, point, event->timestamp()));
        };
        switch (point.state()) {
            case QEventPoint::Pressed: add(ui::PointerPhase::began); break;
            case QEventPoint::Updated: add(ui::PointerPhase::moved); break;
            case QEventPoint::Released: add(ui::PointerPhase::ended); break;
            default: break;
        }
    }
    event->setAccepted(pass(changed));
}

void ViewItem::touchUngrabEvent() { mouseUngrabEvent(); }

void ViewItem::wheelEvent(QWheelEvent* event) {
    const QPointF notches = QPointF(event->angleDelta()) / wheelNotch;
    event->setAccepted(view_ &&
                       view_->handleWheel({.position = toPoint(event->position()),
                                           .notches = toPoint(notches),
                                           .points = toPoint(event->pixelDelta()),
                                           .isControlDown = event->modifiers().testFlag(Qt::ControlModifier)}));
}

bool ViewItem::event(QEvent* event) {
    if (event->type() == QEvent::NativeGesture && view_) {
        const auto& gesture = static_cast<const QNativeGestureEvent&>(*event);
        if (gesture.gestureType() == Qt::ZoomNativeGesture &&
            view_->handleMagnify({toPoint(gesture.position()), 1 + gesture.value()})) {
            return true;
        }
    }
    return QQuickItem::event(event);
}

}  // namespace videoanalysis::qt
