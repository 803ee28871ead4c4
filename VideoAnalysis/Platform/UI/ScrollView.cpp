#include "VideoAnalysis/Platform/UI/ScrollView.h"

#include <algorithm>

namespace videoanalysis::ui {

void ScrollView::setContentOffset(Point offset) {
    if (contentOffset_ == offset) return;
    contentOffsetWillChange(offset);
    contentOffset_ = offset;
    contentOffsetDidChange();
    notify(Property::contentOffset);
    if (const auto listener = delegate()) listener->scrollViewDidScroll(*this);
}

void ScrollView::setZoomScale(double scale) {
    if (scale == scale) set(zoomScale_, std::clamp(scale, minimumZoomScale_, maximumZoomScale_), Property::zoomScale);
}

void ScrollView::setZoomRange(double minimum, double maximum) {
    minimumZoomScale_ = minimum;
    maximumZoomScale_ = std::max(minimum, maximum);
    setZoomScale(zoomScale_);
}

void ScrollView::beginDragging() {
    isDragging_ = true;
    isDecelerating_ = false;
    if (const auto listener = delegate()) listener->scrollViewWillBeginDragging(*this);
}

Point ScrollView::endDragging(Point velocity, Point target, bool willDecelerate) {
    isDragging_ = false;
    const auto listener = delegate();
    if (listener) {
        const Point proposed = target;
        listener->scrollViewWillEndDragging(*this, velocity, target);
        if (target != proposed) willDecelerate = target != contentOffset_;
    }
    isDecelerating_ = willDecelerate;
    if (listener) listener->scrollViewDidEndDragging(*this, willDecelerate);
    return target;
}

void ScrollView::endDecelerating() {
    if (!isDecelerating_) return;
    isDecelerating_ = false;
    if (const auto listener = delegate()) listener->scrollViewDidEndDecelerating(*this);
}

void ScrollView::stopScrolling() {
    if (isDragging_) endDragging({}, contentOffset_, false);
    endDecelerating();
}

}  // namespace videoanalysis::ui
