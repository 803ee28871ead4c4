#pragma once
// The Qt Quick item of one view of the component: it shows the view's properties, passes input to the view, and where the layout
// puts the item becomes the view's frame. The QML files are made of these; every other item of this folder derives from it.

#include "VideoAnalysis/Platform/UI/View.h"

#include <QColor>
#include <QQuickItem>
#include <QString>
#include <QVariantAnimation>

#include <memory>
#include <span>

namespace videoanalysis::qt {

QColor toQColor(const Color& color);

/// "View" in QML. Main thread.
class ViewItem : public QQuickItem, public ui::ViewObserver {
    Q_OBJECT
    /// The name by which a controller or cell gets hold of the view; several, separated by blanks, for a view that is
    /// several outlets. Views may share a name.
    Q_PROPERTY(QString outlet MEMBER outlet_)
    Q_PROPERTY(int tag READ tag WRITE setTag)
    /// Keeps presses from reaching what lies below.
    Q_PROPERTY(bool solid READ isSolid WRITE setSolid)
    /// The view's alpha; QML sets only the first value. `opacity` follows it.
    Q_PROPERTY(double alpha READ alpha WRITE setAlpha NOTIFY alphaChanged)
    /// What the component says, whether or not something above is hidden as well. `visible` follows it.
    Q_PROPERTY(bool hidden READ isHidden NOTIFY hiddenChanged)
    Q_PROPERTY(QColor tintColor READ tintColor NOTIFY tintColorChanged)
    Q_PROPERTY(QColor backgroundColor READ backgroundColor NOTIFY backgroundColorChanged)

public:
    explicit ViewItem(QQuickItem* parent = nullptr);
    ~ViewItem() override;

    /// Null once the view is destroyed before its item.
    ui::View* view() const { return view_; }
    bool isOutlet(const QString& name) const { return outlet_.split(QLatin1Char(' ')).contains(name); }
    /// For the root of a scene, whose view owns the item: the item no longer owns the view.
    std::shared_ptr<ui::View> releaseView();
    /// The view is being destroyed; the item only awaits its deletion.
    void detach();

    int tag() const { return view_ ? view_->tag() : 0; }
    void setTag(int tag) { view_->setTag(tag); }
    bool isSolid() const { return isSolid_; }
    void setSolid(bool solid);
    double alpha() const { return view_ ? view_->alpha() : 0; }
    void setAlpha(double alpha) { view_->setAlpha(alpha); }
    bool isHidden() const { return !view_ || view_->isHidden(); }
    QColor tintColor() const;
    QColor backgroundColor() const;

    /// False takes the item from the screen without touching the view: its cell is not in sight.
    void setInSight(bool inSight);
    /// The component places the view (a cell by its layout, the drawings over the picture): the item follows its frame.
    void setPlacedByView() { isPlacedByView_ = true; }
    /// Puts the item where the view's frame is.
    void moveToFrame();
    /// How far the items inside are scrolled, in points.
    virtual QPointF contentOffset() const { return {}; }

    void viewDidChange(ui::View& view, ui::Property property) override;

Q_SIGNALS:
    void alphaChanged();
    void hiddenChanged();
    void tintColorChanged();
    void backgroundColorChanged();

protected:
    /// For an item of a special kind of view.
    ViewItem(std::shared_ptr<ui::View> view, QQuickItem* parent);

    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;
    // Pointers reach the view of an item that accepts mouse buttons or touches.
    bool event(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseUngrabEvent() override;
    void touchEvent(QTouchEvent* event) override;
    void touchUngrabEvent() override;
    void wheelEvent(QWheelEvent* event) override;

private:
    bool passMouse(QMouseEvent& event, ui::PointerPhase phase);
    bool pass(std::span<const ui::PointerEvent> events);
    ui::PointerEvent pointerEvent(ui::PointerPhase phase, const QEventPoint& point, ulong timestamp) const;
    QPointF superviewOffset() const;
    void updateFrame();
    void updateVisibility();
    void followAlpha();

    std::shared_ptr<ui::View> ownedView_;
    ui::View* view_;
    QString outlet_;
    bool isSolid_ = false;
    bool isInSight_ = true;
    bool isPlacedByView_ = false;
    bool isTellingFrame_ = false;
    QVariantAnimation* fade_ = nullptr;
};

/// The item of a view, for views that one of the scenes made; null for others.
ViewItem* itemOf(const ui::View& view);

}  // namespace videoanalysis::qt
