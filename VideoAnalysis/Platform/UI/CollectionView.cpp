#include "VideoAnalysis/Platform/UI/CollectionView.h"

#include "VideoAnalysis/Platform/FatalError.h"

#include <algorithm>
#include <sstream>

namespace videoanalysis::ui {

std::string CollectionViewCell::description() const {
    std::ostringstream text;
    text << "CollectionViewCell " << static_cast<const void*>(this);
    return text.str();
}

CollectionView::~CollectionView() {
    if (layout_) layout_->setCollectionView(nullptr);
}

void CollectionView::setCollectionViewLayout(std::shared_ptr<CollectionViewLayout> layout) {
    if (layout_) layout_->setCollectionView(nullptr);
    layout_ = std::move(layout);
    if (layout_) layout_->setCollectionView(this);
    layoutDidInvalidate();
}

void CollectionView::setDataSource(std::weak_ptr<CollectionViewDataSource> dataSource) {
    dataSource_ = std::move(dataSource);
    reloadData();
}

void CollectionView::setCollectionViewDelegate(std::weak_ptr<CollectionViewDelegate> delegate) {
    collectionDelegate_ = delegate;
    setDelegate(std::move(delegate));
    layoutDidInvalidate();
}

void CollectionView::registerTemplate(std::shared_ptr<CellTemplate> cellTemplate, const std::string& reuseIdentifier) {
    registerClass([cellTemplate = std::move(cellTemplate)] { return cellTemplate->instantiate(); }, reuseIdentifier);
}

void CollectionView::registerClass(std::function<std::shared_ptr<CollectionViewCell>()> make,
                                   const std::string& reuseIdentifier) {
    registered_[reuseIdentifier] = std::move(make);
}

std::shared_ptr<CollectionViewCell> CollectionView::dequeueReusableCell(const std::string& reuseIdentifier,
                                                                        const IndexPath&) {
    std::vector<std::shared_ptr<CollectionViewCell>>& waiting = reusable_[reuseIdentifier];
    if (!waiting.empty()) {
        std::shared_ptr<CollectionViewCell> cell = std::move(waiting.back());
        waiting.pop_back();
        return cell;
    }
    const auto found = registered_.find(reuseIdentifier);
    if (found == registered_.end()) fatalError("No cell is registered under the identifier " + reuseIdentifier);
    std::shared_ptr<CollectionViewCell> cell = found->second();
    cell->setReuseIdentifier(reuseIdentifier);
    return cell;
}

std::int64_t CollectionView::numberOfSections() {
    loadCounts();
    return static_cast<std::int64_t>(counts_.size());
}

std::int64_t CollectionView::numberOfItemsInSection(std::int64_t section) {
    loadCounts();
    if (section < 0 || section >= static_cast<std::int64_t>(counts_.size())) return 0;
    return counts_[static_cast<std::size_t>(section)];
}

std::shared_ptr<CollectionViewCell> CollectionView::cellForItem(const IndexPath& indexPath) const {
    for (const VisibleCell& visible : visible_) {
        if (visible.indexPath == indexPath) return visible.cell;
    }
    return nullptr;
}

void CollectionView::reloadData() {
    hasCounts_ = false;
    mustReload_ = true;
    layoutDidInvalidate();
}

void CollectionView::insertItems(const std::vector<IndexPath>& indexPaths) {
    loadCounts();
    std::vector<IndexPath> inOrder = indexPaths;
    std::sort(inOrder.begin(), inOrder.end());
    for (const IndexPath& inserted : inOrder) {
        counts_.at(static_cast<std::size_t>(inserted.section)) += 1;
        for (VisibleCell& visible : visible_) {
            if (visible.indexPath.section == inserted.section && visible.indexPath.item >= inserted.item) {
                ++visible.indexPath.item;
            }
        }
    }
    checkCounts("insert");
    layoutDidInvalidate();
}

void CollectionView::deleteItems(const std::vector<IndexPath>& indexPaths) {
    loadCounts();
    std::vector<IndexPath> fromTheEnd = indexPaths;
    std::sort(fromTheEnd.rbegin(), fromTheEnd.rend());
    for (const IndexPath& deleted : fromTheEnd) {
        counts_.at(static_cast<std::size_t>(deleted.section)) -= 1;
        retire(deleted);
        for (VisibleCell& visible : visible_) {
            if (visible.indexPath.section == deleted.section && visible.indexPath.item > deleted.item) {
                --visible.indexPath.item;
            }
        }
    }
    checkCounts("delete");
    layoutDidInvalidate();
}

void CollectionView::reloadItems(const std::vector<IndexPath>& indexPaths) {
    for (const IndexPath& indexPath : indexPaths) retire(indexPath);
    layoutDidInvalidate();
}

void CollectionView::layoutDidInvalidate() {
    isLayoutValid_ = false;
    setNeedsLayout();
}

void CollectionView::layoutSubviews() {
    if (!layout_ || bounds().isEmpty()) return;  // it is laid out once there is room to show something
    if (std::exchange(mustReload_, false)) {
        while (!visible_.empty()) retire(visible_.back().indexPath);
    }
    if (!isLayoutValid_) {
        isLayoutValid_ = true;
        layout_->prepareLayout();
        setContentSize(layout_->collectionViewContentSize());
    }
    updateVisibleCells();
}

void CollectionView::boundsWillChange(const Rect& newBounds) {
    if (layout_ && layout_->shouldInvalidateLayoutForBoundsChange({contentOffset(), newBounds.size}))
        layoutDidInvalidate();
}

void CollectionView::contentOffsetWillChange(Point newOffset) {
    if (layout_ && layout_->shouldInvalidateLayoutForBoundsChange({newOffset, bounds().size})) layoutDidInvalidate();
}

void CollectionView::contentOffsetDidChange() {
    if (layout_ && isLayoutValid_) updateVisibleCells();
}

void CollectionView::loadCounts() {
    if (hasCounts_) return;
    hasCounts_ = true;
    counts_.clear();
    const auto source = dataSource();
    if (!source) return;
    const std::int64_t sections = source->numberOfSections(*this);
    for (std::int64_t section = 0; section < sections; ++section) {
        counts_.push_back(source->numberOfItemsInSection(*this, section));
    }
}

void CollectionView::checkCounts(const char* operation) {
    const auto source = dataSource();
    if (!source) return;
    for (std::size_t section = 0; section < counts_.size(); ++section) {
        const std::int64_t actual = source->numberOfItemsInSection(*this, static_cast<std::int64_t>(section));
        if (actual == counts_[section]) continue;
        std::ostringstream message;
        message << "Invalid " << operation << ": section " << section << " should hold " << counts_[section]
                << " items but the data source has " << actual;
        fatalError(message.str());
    }
}

void CollectionView::updateVisibleCells() {
    const auto source = dataSource();
    if (!source || bounds().isEmpty()) return;
    wanted_.clear();
    layout_->appendLayoutAttributesForElements(visibleRect(), wanted_);

    // Both lists run in the same order, so that the next one wanted is nearly always the next one there.
    next_.clear();
    std::size_t expected = 0;
    std::size_t kept = 0;
    for (const LayoutAttributes& attributes : wanted_) {
        std::size_t found = expected;
        if (found >= visible_.size() || visible_[found].indexPath != attributes.indexPath) {
            for (found = 0; found < visible_.size() && visible_[found].indexPath != attributes.indexPath;) ++found;
        }
        next_.push_back({attributes.indexPath, nullptr});
        if (found < visible_.size()) {
            next_.back().cell = std::move(visible_[found].cell);
            expected = found + 1;
            ++kept;
        }
    }
    const bool hasChanged = kept != visible_.size() || kept != wanted_.size();
    for (const VisibleCell& left : visible_) {
        if (left.cell) retire(left);
    }
    visible_.swap(next_);
    for (std::size_t i = 0; i < visible_.size(); ++i) {
        VisibleCell& visible = visible_[i];
        const bool isNew = !visible.cell;
        if (isNew) visible.cell = source->cellForItemAt(*this, visible.indexPath);
        visible.cell->setFrame(wanted_[i].frame);
        if (!isNew) continue;
        addSubview(visible.cell);
        if (const auto listener = collectionViewDelegate())
            listener->willDisplay(*this, *visible.cell, visible.indexPath);
    }
    if (hasChanged) notify(Property::visibleCells);
}

void CollectionView::retire(const IndexPath& indexPath) {
    const auto found = std::find_if(visible_.begin(), visible_.end(),
                                    [&](const VisibleCell& visible) { return visible.indexPath == indexPath; });
    if (found == visible_.end()) return;
    const VisibleCell gone = std::move(*found);
    visible_.erase(found);
    retire(gone);
    notify(Property::visibleCells);
}

void CollectionView::retire(const VisibleCell& gone) {
    gone.cell->removeFromSuperview();
    if (const auto listener = collectionViewDelegate()) listener->didEndDisplaying(*this, *gone.cell, gone.indexPath);
    if (gone.cell->reuseIdentifier().empty()) return;
    gone.cell->prepareForReuse();
    reusable_[gone.cell->reuseIdentifier()].push_back(gone.cell);
}

}  // namespace videoanalysis::ui
