#include "VideoAnalysis/Timeline/TimelineView.h"

#include "VideoAnalysis/Platform/FatalError.h"
#include "VideoAnalysis/Timeline/InfiniteDataSources.h"
#include "VideoAnalysis/Timeline/InfiniteLayout.h"

#include <cmath>

namespace videoanalysis {
namespace {

constexpr const char* tickCell = "TimelineCollectionViewCell";

}  // namespace

void TimelineCollectionViewCell::configure(bool isLong, const Color& color) {
    const auto& shown = isLong ? lineView : shortLineView;
    const auto& other = isLong ? shortLineView : lineView;
    shown->setBackgroundColor(color);
    shown->setHidden(false);
    other->setBackgroundColor(Color::black());
    other->setHidden(true);
    notify(ui::Property::other);
}

/// The strip's data source and delegate, on behalf of the view.
class TimelineView::Content final : public ui::CollectionViewDataSource,
                                    public ui::CollectionViewDelegate,
                                    public InfiniteCollectionViewDelegate {
public:
    explicit Content(TimelineView& view) : view_(view) {}

    std::int64_t numberOfItemsInSection(ui::CollectionView&, std::int64_t) override { return view_.numberOfItems(); }

    std::shared_ptr<ui::CollectionViewCell> cellForItemAt(ui::CollectionView& collection,
                                                          const ui::IndexPath& indexPath) override {
        std::shared_ptr<ui::CollectionViewCell> dequeued = collection.dequeueReusableCell(tickCell, indexPath);
        const std::int64_t index = indexPath.item;
        const std::shared_ptr<TimelineViewDelegate> owner = view_.delegate.lock();
        const Color tint = owner ? owner->tickColor() : Color::white();
        const bool isRed = index != 0 && index % 10 == 0;
        static_cast<TimelineCollectionViewCell&>(*dequeued).configure(index % 5 == 0,
                                                                      isRed ? Color::systemRed() : tint);
        return dequeued;
    }

    std::optional<Size> sizeForItemAt(ui::CollectionView& collection, ui::CollectionViewLayout&,
                                      const ui::IndexPath&) override {
        return Size{cellWidth, collection.frame().size.height};
    }
    std::optional<Size> uniformItemSize(ui::CollectionView& collection, ui::CollectionViewLayout& layout) override {
        return sizeForItemAt(collection, layout, {});
    }

    void scrollViewWillBeginDragging(ui::ScrollView&) override { view_.canDrag_ = true; }
    void scrollViewDidEndDragging(ui::ScrollView&, bool willDecelerate) override {
        if (!willDecelerate) view_.canDrag_ = false;
    }
    void scrollViewDidEndDecelerating(ui::ScrollView&) override { view_.canDrag_ = false; }

    void didChangeCenteredIndexPath(InfiniteCollectionView&, const std::optional<ui::IndexPath>& from,
                                    const std::optional<ui::IndexPath>& to) override {
        if (view_.canDrag_ && from && to) view_.scrub(from->item, to->item);
    }

private:
    TimelineView& view_;
};

TimelineView::TimelineView()
    : collectionView_(std::make_shared<InfiniteCollectionView>()), content_(std::make_shared<Content>(*this)),
      scroller_(*collectionView_) {
    const auto layout = std::make_shared<InfiniteLayout>();
    layout->setScrollDirection(ui::ScrollDirection::horizontal);
    layout->setMinimumInteritemSpacing(0);
    layout->setMinimumLineSpacing(0);
    layout->setItemSize({cellWidth, bounds().size.height});
    collectionView_->setCollectionViewLayout(layout);
    collectionView_->registerClass([] { return std::make_shared<TimelineCollectionViewCell>(); }, tickCell);
    collectionView_->setDataSource(content_);
    collectionView_->setCollectionViewDelegate(content_);
    collectionView_->infiniteDelegate = content_;
    collectionView_->preferredCenteredIndexPath = ui::IndexPath{0, 0};  // initially a tick is at the mark
    scroller_.didBeginThrow = [this] { notify(ui::Property::isDecelerating); };
}

TimelineView::~TimelineView() = default;

bool TimelineView::handlePointers(std::span<const ui::PointerEvent> events) {
    scroller_.handle(events);
    return true;
}

bool TimelineView::handleWheel(const ui::WheelEvent& event) {
    const bool isTouchPad = event.points != Point();
    const Point way = isTouchPad ? event.points : Point{event.notches.x * cellWidth, event.notches.y * cellWidth};
    scroller_.wheel(-(std::abs(way.x) > std::abs(way.y) ? way.x : way.y));
    return true;
}

void TimelineView::setContent(double multiplier, double length) {
    multiplier_ = multiplier;
    length_ = length;
}

void TimelineView::reload() { collectionView_->reloadData(); }

void TimelineView::boundsDidChange(const Rect&) {
    auto& layout = static_cast<InfiniteLayout&>(*collectionView_->collectionViewLayout());
    layout.setItemSize({cellWidth, bounds().size.height});
    collectionView_->setFrame(bounds());
    collectionView_->reloadData();  // the count of ticks depends on the width
}

std::int64_t TimelineView::numberOfItems() const {
    return truncated(length_ * multiplier_, "The length of a timeline") +
           truncated(collectionView_->bounds().size.width / cellWidth, "The width of a timeline");
}

void TimelineView::scrub(std::int64_t from, std::int64_t to) {
    const std::shared_ptr<TimelineViewDelegate> listener = delegate.lock();
    if (!listener) return;
    std::int64_t steps = 0;
    const bool overflows = listener->defaultScrubbingDirection() ? __builtin_sub_overflow(to, from, &steps)
                                                                 : __builtin_sub_overflow(from, to, &steps);
    if (overflows) fatalError("The timeline's steps overflow");
    isScrubbing_ = true;
    listener->timelineViewDidScrollBy(static_cast<double>(steps), canDrag_);
    isScrubbing_ = false;
}

void TimelineView::endThrow() {
    if (!isScrubbing_ && collectionView_->isDecelerating()) scroller_.stop();
}

}  // namespace videoanalysis
