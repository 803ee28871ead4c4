#pragma once
// A view that shows a part of a larger content, with an offset and a zoom. The platform feeds drags, decelerations and
// pinches in; the delegate is notified as described.

#include "VideoAnalysis/Platform/UI/View.h"

#include <memory>

namespace videoanalysis::ui {

class ScrollView;

class ScrollViewDelegate {
public:
    virtual ~ScrollViewDelegate() = default;
    virtual void scrollViewDidScroll(ScrollView&) {}
    virtual void scrollViewWillBeginDragging(ScrollView&) {}
    /// `velocity` in points per second; `target` is where the deceleration would end and may be changed.
    virtual void scrollViewWillEndDragging(ScrollView&, Point /*velocity*/, Point& /*target*/) {}
    virtual void scrollViewDidEndDragging(ScrollView&, bool /*willDecelerate*/) {}
    virtual void scrollViewDidEndDecelerating(ScrollView&) {}
    virtual std::shared_ptr<View> viewForZooming(ScrollView&) { return nullptr; }
};

class ScrollView : public View {
public:
    using View::View;

    Point contentOffset() const { return contentOffset_; }
    /// From code or from the platform; tells the delegate of a change.
    void setContentOffset(Point offset);
    Size contentSize() const { return contentSize_; }
    void setContentSize(Size size) { set(contentSize_, size, Property::contentSize); }
    /// The part of the content that is in sight, in content points.
    Rect visibleRect() const { return {contentOffset_, bounds().size}; }

    double zoomScale() const { return zoomScale_; }
    /// Limited to the range.
    void setZoomScale(double scale);
    double minimumZoomScale() const { return minimumZoomScale_; }
    double maximumZoomScale() const { return maximumZoomScale_; }
    void setZoomRange(double minimum, double maximum);

    bool isDragging() const { return isDragging_; }
    bool isDecelerating() const { return isDecelerating_; }

    void setDelegate(std::weak_ptr<ScrollViewDelegate> delegate) { scrollDelegate_ = std::move(delegate); }
    std::shared_ptr<ScrollViewDelegate> delegate() const { return scrollDelegate_.lock(); }

    /// For the platform: a finger has begun to drag.
    void beginDragging();
    /// For the platform: the finger has left with `velocity` (points per second), and a deceleration, if there is one, would
    /// end at `target`. Returns where it has to end; the delegate may change that, and a changed target is decelerated to even
    /// when `willDecelerate` is false. Whether there is a deceleration is what `isDecelerating` then says.
    Point endDragging(Point velocity, Point target, bool willDecelerate);
    /// For the platform: the deceleration is over.
    void endDecelerating();
    /// Ends the drag or deceleration in progress where it is. The platform takes this as a cancellation.
    void stopScrolling();

protected:
    virtual void contentOffsetWillChange(Point /*newOffset*/) {}
    /// After each change of the offset, before the delegate is notified.
    virtual void contentOffsetDidChange() {}

private:
    Point contentOffset_;
    Size contentSize_;
    double zoomScale_ = 1;
    double minimumZoomScale_ = 1;
    double maximumZoomScale_ = 1;
    bool isDragging_ = false;
    bool isDecelerating_ = false;
    std::weak_ptr<ScrollViewDelegate> scrollDelegate_;
};

}  // namespace videoanalysis::ui
