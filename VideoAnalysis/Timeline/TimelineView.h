#pragma once
// The ruler below a player: an endless row of ticks that the user drags to scrub through the video frame by frame. Reports
// its motion as signed steps to its delegate, the player's controller; independent of video time.

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
    /// `steps` is a whole number, negative for backward; `isDragging` is true while a drag or its fling moves the ruler.
    virtual void timelineViewDidScrollBy(double steps, bool isDragging) = 0;
    /// Whether ticks further right are later frames.
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
    /// Colour of the visible line.
    const Color& color() const { return (isLong() ? lineView : shortLineView)->backgroundColor(); }
};

class TimelineView : public ui::View {
public:
    static constexpr double cellWidth = 8.0;  // points

    TimelineView();
    ~TimelineView() override;

    std::weak_ptr<TimelineViewDelegate> delegate;
    /// Set by the owner to skip one programmatic update.
    bool skipNextUpdate = false;

    bool handlePointers(std::span<const ui::PointerEvent> events) override;
    /// Drags the strip: one wheel notch is one tick, a touch pad moves it by points.
    bool handleWheel(const ui::WheelEvent& event) override;
    /// Drags and throws. The start of a throw notifies `isDecelerating`; the platform then calls `continueThrow` for every
    /// display frame until the throw ends.
    StripScroller& scroller() { return scroller_; }
    /// Ends a throw because another control takes over playback. Ignored during the ruler's own calls to its delegate.
    void endThrow();
    /// Ends a drag or throw because the ruler is hidden or gets another owner.
    void stopScrolling() { scroller_.stop(); }

    const std::shared_ptr<InfiniteCollectionView>& collectionView() const { return collectionView_; }
    /// Whether a drag or the following deceleration moves the strip. It scrubs only then.
    bool canDrag() const { return canDrag_; }
    /// Cells per unit of length.
    double multiplier() const { return multiplier_; }
    /// The length of the content in units.
    double length() const { return length_; }
    /// Takes effect on the next `reload`, which is fatal for non-finite values.
    void setContent(double multiplier, double length);
    /// Recounts and recreates the cells.
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
