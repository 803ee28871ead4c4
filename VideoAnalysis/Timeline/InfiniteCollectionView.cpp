#include "VideoAnalysis/Timeline/InfiniteCollectionView.h"

#include "VideoAnalysis/Platform/FatalError.h"
#include "VideoAnalysis/Timeline/InfiniteDataSources.h"
#include "VideoAnalysis/Timeline/InfiniteLayout.h"

#include <cmath>

namespace videoanalysis {

void InfiniteCollectionView::setVelocityMultiplier(double multiplier) {
    velocityMultiplier_ = multiplier;
    if (InfiniteLayout* layout = infiniteLayout()) layout->velocityMultiplier = multiplier;
}

const std::shared_ptr<InfiniteCollectionViewDataSourceProxy>& InfiniteCollectionView::dataSourceProxy() {
    if (!dataSourceProxy_) dataSourceProxy_ = std::make_shared<InfiniteCollectionViewDataSourceProxy>(*this);
    return dataSourceProxy_;
}

const std::shared_ptr<InfiniteCollectionViewDelegateProxy>& InfiniteCollectionView::delegateProxy() {
    if (!delegateProxy_) delegateProxy_ = std::make_shared<InfiniteCollectionViewDelegateProxy>(*this);
    return delegateProxy_;
}

void InfiniteCollectionView::setDataSource(std::weak_ptr<ui::CollectionViewDataSource> dataSource) {
    dataSourceProxy()->proxies = {std::move(dataSource)};
    ui::CollectionView::setDataSource(dataSourceProxy());
}

void InfiniteCollectionView::setCollectionViewDelegate(std::weak_ptr<ui::CollectionViewDelegate> delegate) {
    delegateProxy()->proxies = {std::move(delegate)};
    ui::CollectionView::setCollectionViewDelegate(delegateProxy());
}

InfiniteLayout* InfiniteCollectionView::infiniteLayout() const {
    return dynamic_cast<InfiniteLayout*>(collectionViewLayout().get());
}

void InfiniteCollectionView::loopCollectionViewIfNeeded() {
    const InfiniteLayout* layout = infiniteLayout();
    if (!layout || !layout->hasValidLayout()) return;
    const std::int64_t page = layout->page(contentOffset());
    if (page >= 2 && static_cast<double>(page) <= InfiniteLayout::multiplier - 2) return;
    const Point wrapped = layout->wrappedOffset(contentOffset());
    if (wrapped == contentOffset()) return;
    if (centeredIndexPath_) {
        // The same item in another copy: its number moves with the offset, and nobody is told.
        const double moved = layout->scrollDirection() == ui::ScrollDirection::horizontal ? wrapped.x - contentOffset().x
                                                                                         : wrapped.y - contentOffset().y;
        const std::int64_t copies = std::llround(moved / layout->copyLength());
        centeredIndexPath_->item += copies * numberOfItemsInSection(centeredIndexPath_->section);
    }
    setContentOffset(wrapped);
    layoutIfNeeded();
}

void InfiniteCollectionView::updateCenteredIndexPath() {
    const InfiniteLayout* layout = infiniteLayout();
    const std::optional<ui::LayoutAttributes> nearest =
        layout ? layout->preferredVisibleAttributes(contentOffset()) : std::nullopt;
    std::optional<ui::IndexPath> path;
    if (nearest) {
        path = nearest->indexPath;
        if (layout->hasValidLayout()) {
            const Point center = nearest->frame.center();
            const double along = layout->scrollDirection() == ui::ScrollDirection::horizontal ? center.x : center.y;
            path->item += static_cast<std::int64_t>(std::floor(along / layout->copyLength())) *
                          numberOfItemsInSection(path->section);
        }
    }
    if (path == centeredIndexPath_) return;
    const std::optional<ui::IndexPath> before = std::exchange(centeredIndexPath_, path);
    if (const auto listener = infiniteDelegate.lock()) listener->didChangeCenteredIndexPath(*this, before, path);
}

void InfiniteCollectionView::layoutSubviews() {
    ui::CollectionView::layoutSubviews();
    InfiniteLayout* layout = infiniteLayout();
    if (!layout) return;
    layout->velocityMultiplier = velocityMultiplier_;
    if (lastContentSize_ != contentSize()) {
        lastContentSize_ = contentSize();
        centeredIndexPath_.reset();  // another content: what was in the centre means nothing any more
        loopCollectionViewIfNeeded();
        if (const auto preferred = std::exchange(preferredCenteredIndexPath, std::nullopt)) {
            if (const auto item = layout->layoutAttributesForItem(*preferred)) {
                const bool isHorizontal = layout->scrollDirection() == ui::ScrollDirection::horizontal;
                const double base = layout->hasValidLayout() ? layout->copyLength() * (InfiniteLayout::multiplier * 0.5) : 0;
                setContentOffset(isHorizontal
                                     ? Point{base + item->frame.midX() - bounds().size.width * 0.5, contentOffset().y}
                                     : Point{contentOffset().x, base + item->frame.midY() - bounds().size.height * 0.5});
            }
        }
    }
    updateCenteredIndexPath();
}

std::shared_ptr<InfiniteCollectionView> InfiniteCollectionViewController::infiniteCollectionView() {
    auto collection = std::dynamic_pointer_cast<InfiniteCollectionView>(view());
    if (!collection) fatalError("InfiniteCollectionView is needed");
    return collection;
}

// ---- Proxies

std::shared_ptr<ui::CollectionViewDataSource> InfiniteCollectionViewProxy::requiredDataSource() const {
    std::shared_ptr<ui::CollectionViewDataSource> source = view_.dataSourceProxy()->first();
    if (!source) fatalError("collectionView dataSource is required");
    return source;
}

std::int64_t InfiniteCollectionViewProxy::section(std::int64_t from) const {
    return InfiniteDataSources::section(from, requiredDataSource()->numberOfSections(view_));
}

ui::IndexPath InfiniteCollectionViewProxy::indexPath(const ui::IndexPath& from) const {
    const auto source = requiredDataSource();
    const std::int64_t sections = source->numberOfSections(view_);
    const std::int64_t section = InfiniteDataSources::section(from.section, sections);
    return InfiniteDataSources::indexPath(from, sections, source->numberOfItemsInSection(view_, section));
}

namespace {

std::int64_t repetitions(const InfiniteCollectionView& view) {
    const InfiniteLayout* layout = view.infiniteLayout();
    return layout ? InfiniteDataSources::multiplier(layout->itemSize(), layout->isEnabled()) : 1;
}

}  // namespace

std::int64_t InfiniteCollectionViewDataSourceProxy::numberOfSections(ui::CollectionView& view) {
    return InfiniteDataSources::numberOfSections(requiredDataSource()->numberOfSections(view), repetitions(view_));
}

std::int64_t InfiniteCollectionViewDataSourceProxy::numberOfItemsInSection(ui::CollectionView& view, std::int64_t at) {
    const auto source = requiredDataSource();
    return InfiniteDataSources::numberOfItemsInSection(source->numberOfItemsInSection(view, section(at)),
                                                       source->numberOfSections(view), repetitions(view_));
}

std::shared_ptr<ui::CollectionViewCell> InfiniteCollectionViewDataSourceProxy::cellForItemAt(ui::CollectionView& view,
                                                                                            const ui::IndexPath& at) {
    return requiredDataSource()->cellForItemAt(view, indexPath(at));
}

void InfiniteCollectionViewDelegateProxy::scrollViewDidScroll(ui::ScrollView& view) {
    forward([&](auto& target) { target.scrollViewDidScroll(view); });
    view_.loopCollectionViewIfNeeded();
    view_.updateCenteredIndexPath();
}

void InfiniteCollectionViewDelegateProxy::scrollViewWillBeginDragging(ui::ScrollView& view) {
    forward([&](auto& target) { target.scrollViewWillBeginDragging(view); });
}

void InfiniteCollectionViewDelegateProxy::scrollViewWillEndDragging(ui::ScrollView& view, Point velocity, Point& target) {
    const InfiniteLayout* layout = view_.infiniteLayout();
    if (view_.isItemPagingEnabled && layout) target = layout->centeredOffset(target, velocity);
    forward([&](auto& outside) { outside.scrollViewWillEndDragging(view, velocity, target); });
}

void InfiniteCollectionViewDelegateProxy::scrollViewDidEndDragging(ui::ScrollView& view, bool willDecelerate) {
    forward([&](auto& target) { target.scrollViewDidEndDragging(view, willDecelerate); });
}

void InfiniteCollectionViewDelegateProxy::scrollViewDidEndDecelerating(ui::ScrollView& view) {
    forward([&](auto& target) { target.scrollViewDidEndDecelerating(view); });
}

void InfiniteCollectionViewDelegateProxy::willDisplay(ui::CollectionView& view, ui::CollectionViewCell& cell,
                                                      const ui::IndexPath& at) {
    const ui::IndexPath mapped = indexPath(at);
    forward([&](auto& target) { target.willDisplay(view, cell, mapped); });
}

void InfiniteCollectionViewDelegateProxy::didEndDisplaying(ui::CollectionView& view, ui::CollectionViewCell& cell,
                                                           const ui::IndexPath& at) {
    if (!view_.dataSourceProxy()->first()) return;  // the content went first
    const ui::IndexPath mapped = indexPath(at);
    forward([&](auto& target) { target.didEndDisplaying(view, cell, mapped); });
}

void InfiniteCollectionViewDelegateProxy::didSelectItemAt(ui::CollectionView& view, const ui::IndexPath& at) {
    const ui::IndexPath mapped = indexPath(at);
    forward([&](auto& target) { target.didSelectItemAt(view, mapped); });
}

std::optional<Size> InfiniteCollectionViewDelegateProxy::sizeForItemAt(ui::CollectionView& view,
                                                                       ui::CollectionViewLayout& layout,
                                                                       const ui::IndexPath& at) {
    const auto target = first();
    return target ? target->sizeForItemAt(view, layout, indexPath(at)) : std::nullopt;
}

std::optional<Size> InfiniteCollectionViewDelegateProxy::uniformItemSize(ui::CollectionView& view,
                                                                         ui::CollectionViewLayout& layout) {
    const auto target = first();
    return target ? target->uniformItemSize(view, layout) : std::nullopt;
}

std::optional<double> InfiniteCollectionViewDelegateProxy::minimumLineSpacingForSectionAt(ui::CollectionView& view,
                                                                                          ui::CollectionViewLayout& layout,
                                                                                          std::int64_t at) {
    const auto target = first();
    return target ? target->minimumLineSpacingForSectionAt(view, layout, section(at)) : std::nullopt;
}

std::optional<double> InfiniteCollectionViewDelegateProxy::minimumInteritemSpacingForSectionAt(
    ui::CollectionView& view, ui::CollectionViewLayout& layout, std::int64_t at) {
    const auto target = first();
    return target ? target->minimumInteritemSpacingForSectionAt(view, layout, section(at)) : std::nullopt;
}

}  // namespace videoanalysis
