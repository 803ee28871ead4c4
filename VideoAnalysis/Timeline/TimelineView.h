#pragma once
// The ruler under a player: an endless row of ticks that a person drags to go through the video frame by frame. It turns the
// way of its centre into signed steps for its delegate, the player's controller, and knows nothing of video time.

#include "VideoAnalysis/Platform/UI/CollectionView.h"
#include "VideoAnalysis/Platform/UI/View.h"
#include "VideoAnalysis/Timeline/InfiniteCollectionView.h"
#include "VideoAnalysis/Timeline/StripScroller.h"

#include <memory>
#include <span>

namespace videoanalysis {

class TimelineViewDelegate {
public:
    virtual ~TimelineViewDelegate() = default;
    /// `steps` is a whole number, negative for backward; `isDragging` says that a finger or its fling moves the ruler.
    virtual void timelineViewDidScrollBy(double steps, bool isDragging) = 0;
    /// True when ticks further right are later frames.
    virtual bool defaultScrubbingDirection() const = 0;
    /// The colour of ordinary ticks.
    virtual Color tickColor() const { return Color::white(); }
};

/// One tick: exactly one of its two lines is visible.
class TimelineCollectionViewCell : public ui::CollectionViewCell {
public:
    const std::shared_ptr<ui::View> lineView = std::make_shared<ui::View>();
    const std::shared_ptr<ui::View> shortLineView = std::make_shared<ui::View>();

    void configure(bool isLong, const Color& color);
    bool isLong() const { return !lineView->isHidden(); }
    /// Of the line that is visible.
    const Color& color() const { return (isLong() ? lineView : shortLineView)->backgroundColor(); }
};

class TimelineView : public ui::View {
public:
    static constexpr double cellWidth = 8.0;  // points

    TimelineView();
    ~TimelineView() override;

    std::weak_ptr<TimelineViewDelegate> delegate;
    /// Set by the owner to ignore one programmatic update.
    bool skipNextUpdate = false;

    bool handlePointers(std::span<const ui::PointerEvent> events) override;
    /// A drag like any other: one notch is one tick, a touch pad moves the strip by its own points.
    bool handleWheel(const ui::WheelEvent& event) override;
    /// Drags and throws. Its beginning throw notifies `isDecelerating`; the screen then calls `continueThrow` with every frame
    /// of the display for as long as it is thrown.
    StripScroller& scroller() { return scroller_; }
    /// Something else than the ruler takes over the playback: a throw ends where it is. The steps of the ruler itself, in the
    /// middle of a call to the delegate, do not count.
    void endThrow();
    /// Ends a drag or throw: the ruler is hidden or gets another owner.
    void stopScrolling() { scroller_.stop(); }

    const std::shared_ptr<InfiniteCollectionView>& collectionView() const { return collectionView_; }
    /// True while the user's finger or the following deceleration moves the strip. Only then it scrubs.
    bool canDrag() const { return canDrag_; }
    /// Cells per unit of length.
    double multiplier() const { return multiplier_; }
    /// The length of the content in units.
    double length() const { return length_; }
    /// Takes effect with the next `reload`. Finite values; others are fatal when the cells are counted.
    void setContent(double multiplier, double length);
    /// Counts and makes the cells anew.
    void reload();

protected:
    void boundsDidChange(const Rect& old) override;

private:
    class Content;
    friend class Content;

    std::int64_t numberOfItems() const;
    void scrub(std::int64_t from, std::int64_t to);

    bool canDrag_ = false;
    bool isScrubbing_ = false;  // inside a call to the delegate
    double multiplier_ = 1.0;
    double length_ = 0;
    std::shared_ptr<InfiniteCollectionView> collectionView_;
    std::shared_ptr<Content> content_;
    StripScroller scroller_;
};

}  // namespace videoanalysis
