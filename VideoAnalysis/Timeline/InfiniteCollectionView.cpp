#include "VideoAnalysis/Timeline/InfiniteCollectionView.h"

#include "VideoAnalysis/Platform/FatalError.h"
#include "VideoAnalysis/Timeline/InfiniteDataSources.h"
#include "VideoAnalysis/Timeline/InfiniteLayout.h"

#include <algorithm>
#include <cmath>
#include <utility>

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

ui::IndexPath InfiniteCollectionView::inCopy(ui::IndexPath path, std::int64_t copy) {
    const std::int64_t sections = numberOfSections();
    if (sections > 1) {
        path.section += copy * sections;
    } else {
        path.item += copy * numberOfItemsInSection(path.section);
    }
    return path;
}

void InfiniteCollectionView::loopCollectionViewIfNeeded() {
    const InfiniteLayout* layout = infiniteLayout();
    if (!layout || !isLayoutValid() || !layout->hasValidLayout()) return;
    const std::int64_t page = layout->page(contentOffset());
    if (page >= 2 && static_cast<double>(page) <= InfiniteLayout::multiplier - 2) return;
    const Point wrapped = layout->wrappedOffset(contentOffset());
    if (wrapped == contentOffset()) return;
    const double moved = layout->along(wrapped) - layout->along(contentOffset());
    // The centred item is now in another copy: shift its path with the offset and do not notify the delegate.
    if (centeredIndexPath_)
        centeredIndexPath_ = inCopy(*centeredIndexPath_, std::llround(moved / layout->copyLength()));
    setContentOffset(wrapped);
    layoutIfNeeded();
}

void InfiniteCollectionView::updateCenteredIndexPath() {
    const InfiniteLayout* layout = infiniteLayout();
    // An invalid layout does not match the item count and the bounds.
    if (layout && !isLayoutValid()) return;
    const std::optional<ui::LayoutAttributes> nearest =
        layout ? layout->preferredVisibleAttributes(contentOffset()) : std::nullopt;
    std::optional<ui::IndexPath> path;
    if (nearest) {
        path = nearest->indexPath;
        const double middle = layout->along(nearest->frame.center());
        if (layout->hasValidLayout()) {
            path = inCopy(*path, static_cast<std::int64_t>(std::floor(middle / layout->copyLength())));
        }
        anchor_.offset = layout->along(contentOffset());
        anchor_.distance = anchor_.offset + layout->along({bounds().size.width, bounds().size.height}) * 0.5 - middle;
    }
    if (path == centeredIndexPath_) return;
    if (path && dataSourceProxy()->first()) anchor_.item = dataSourceProxy()->indexPath(*path);
    const std::optional<ui::IndexPath> before = std::exchange(centeredIndexPath_, path);
    if (const auto listener = infiniteDelegate.lock()) listener->didChangeCenteredIndexPath(*this, before, path);
}

void InfiniteCollectionView::center(const ui::IndexPath& item, double distance) {
    const InfiniteLayout& layout = *infiniteLayout();
    ui::IndexPath path{0, dataSourceProxy()->section(item.section)};
    const std::int64_t count = dataSourceProxy()->first()->numberOfItemsInSection(*this, path.section);
    if (count <= 0) return;
    path.item = item.item % count;
    // The middle repetition, so that no end of a copy is visible.
    path.item += numberOfItemsInSection(path.section) / count / 2 * count;
    const std::optional<ui::LayoutAttributes> attributes = layout.layoutAttributesForItem(path);
    if (!attributes) return;
    const double visible = layout.along({bounds().size.width, bounds().size.height});
    double offset = layout.along(attributes->frame.center()) + distance - visible * 0.5;
    if (layout.hasValidLayout()) {
        offset += std::floor(InfiniteLayout::multiplier * 0.5) * layout.copyLength();
    } else {
        offset = std::clamp(offset, 0.0, std::max(0.0, layout.copyLength() - visible));
    }
    centeredIndexPath_.reset();  // belongs to the previous layout; do not report steps from it
    setContentOffset(layout.withAlong(contentOffset(), offset));
}

void InfiniteCollectionView::layoutSubviews() {
    ui::CollectionView::layoutSubviews();
    InfiniteLayout* layout = infiniteLayout();
    if (!layout || !isLayoutValid()) return;
    layout->velocityMultiplier = velocityMultiplier_;
    if (lastContentSize_ != contentSize() || lastBounds_ != bounds()) {
        const bool isFirst = !centeredIndexPath_;
        const double scrolled = layout->along(contentOffset()) - anchor_.offset;
        lastContentSize_ = contentSize();
        lastBounds_ = bounds();
        const bool hasItems = dataSourceProxy()->first() && layout->copyLength() > 0;
        if (const auto preferred = hasItems ? std::exchange(preferredCenteredIndexPath, std::nullopt) : std::nullopt) {
            center(*preferred, 0);
        } else if (hasItems && !isFirst) {
            // Keep the centred item, then apply the scrolling since the last layout.
            center(anchor_.item, anchor_.distance);
            updateCenteredIndexPath();
            if (scrolled != 0)
                setContentOffset(layout->withAlong(contentOffset(), layout->along(contentOffset()) + scrolled));
        } else {
            centeredIndexPath_.reset();
            loopCollectionViewIfNeeded();
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

void InfiniteCollectionViewDelegateProxy::scrollViewWillEndDragging(ui::ScrollView& view, Point velocity,
                                                                    Point& target) {
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

std::shared_ptr<ui::View> InfiniteCollectionViewDelegateProxy::viewForZooming(ui::ScrollView& view) {
    return firstAnswer([&](auto& target) { return target.viewForZooming(view); });
}

void InfiniteCollectionViewDelegateProxy::willDisplay(ui::CollectionView& view, ui::CollectionViewCell& cell,
                                                      const ui::IndexPath& at) {
    const ui::IndexPath mapped = indexPath(at);
    forward([&](auto& target) { target.willDisplay(view, cell, mapped); });
}

void InfiniteCollectionViewDelegateProxy::didEndDisplaying(ui::CollectionView& view, ui::CollectionViewCell& cell,
                                                           const ui::IndexPath& at) {
    if (!view_.dataSourceProxy()->first()) return;  // the content was destroyed first
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
    const ui::IndexPath mapped = indexPath(at);
    return firstAnswer([&](auto& target) { return target.sizeForItemAt(view, layout, mapped); });
}

std::optional<Size> InfiniteCollectionViewDelegateProxy::uniformItemSize(ui::CollectionView& view,
                                                                         ui::CollectionViewLayout& layout) {
    return firstAnswer([&](auto& target) { return target.uniformItemSize(view, layout); });
}

std::optional<double>
InfiniteCollectionViewDelegateProxy::minimumLineSpacingForSectionAt(ui::CollectionView& view,
                                                                    ui::CollectionViewLayout& layout, std::int64_t at) {
    const std::int64_t mapped = section(at);
    return firstAnswer([&](auto& target) { return target.minimumLineSpacingForSectionAt(view, layout, mapped); });
}

std::optional<double> InfiniteCollectionViewDelegateProxy::minimumInteritemSpacingForSectionAt(
    ui::CollectionView& view, ui::CollectionViewLayout& layout, std::int64_t at) {
    const std::int64_t mapped = section(at);
    return firstAnswer([&](auto& target) { return target.minimumInteritemSpacingForSectionAt(view, layout, mapped); });
}

}  // namespace videoanalysis
