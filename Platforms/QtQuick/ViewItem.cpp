#include "Platforms/QtQuick/ViewItem.h"

#include "Platforms/QtQuick/Motion.h"

#include <QMouseEvent>
#include <QtMath>

#include <utility>

namespace videoanalysis {

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

void ViewItem::mousePressEvent(QMouseEvent* event) { event->setAccepted(isSolid_); }

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

}  // namespace videoanalysis
