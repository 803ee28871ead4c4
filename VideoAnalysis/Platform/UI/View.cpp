#include "VideoAnalysis/Platform/UI/View.h"

#include "VideoAnalysis/Platform/Dispatch.h"

#include <algorithm>

namespace videoanalysis::ui {

View::~View() {
    for (const std::shared_ptr<View>& view : subviews_) view->superview_.reset();
}

void View::setFrame(const Rect& frame) {
    if (frame_ == frame) return;
    const Rect oldBounds = bounds();
    if (oldBounds.size != frame.size) boundsWillChange({{}, frame.size});
    frame_ = frame;
    if (oldBounds.size != frame_.size) {
        boundsDidChange(oldBounds);
        setNeedsLayout();
    }
    notify(Property::frame);
}

void View::setCenter(Point center) {
    setFrame({{center.x - frame_.size.width * 0.5, center.y - frame_.size.height * 0.5}, frame_.size});
}

void View::animateAlpha(double alpha, double seconds) {
    alphaAnimationDuration_ = seconds;
    setAlpha(alpha);
    alphaAnimationDuration_ = 0;
}

void View::addSubview(const std::shared_ptr<View>& view) {
    view->removeFromSuperview();
    view->superview_ = weak_from_this();
    subviews_.push_back(view);
}

void View::removeFromSuperview() {
    const std::shared_ptr<View> above = superview_.lock();
    superview_.reset();
    if (above) std::erase_if(above->subviews_, [this](const auto& view) { return view.get() == this; });
}

void View::setNeedsLayout() {
    if (needsLayout_) return;
    const std::weak_ptr<View> weak = weak_from_this();
    if (weak.expired()) return;
    needsLayout_ = true;
    dispatch::mainQueue().async([weak] {
        if (const std::shared_ptr<View> view = weak.lock()) view->layoutIfNeeded();
    });
}

void View::layoutIfNeeded() {
    if (needsLayout_) {
        needsLayout_ = false;
        layoutSubviews();
    }
    for (std::size_t i = 0; i < subviews_.size(); ++i) subviews_[i]->layoutIfNeeded();
}

void View::setNeedsDisplay(const Rect& rect) {
    if (observer_) observer_->viewNeedsDisplay(*this, rect);
}

void View::notify(Property property) {
    if (observer_) observer_->viewDidChange(*this, property);
}

}  // namespace videoanalysis::ui
