#include "VideoAnalysis/Platform/UI/CollectionViewLayout.h"

#include "VideoAnalysis/Platform/UI/CollectionView.h"

#include <algorithm>

namespace videoanalysis::ui {

bool CollectionViewLayout::shouldInvalidateLayoutForBoundsChange(const Rect& newBounds) const {
    return collectionView_ && newBounds.size != collectionView_->visibleRect().size;
}

void CollectionViewLayout::invalidateLayout() {
    if (collectionView_) collectionView_->layoutDidInvalidate();
}

void FlowLayout::setScrollDirection(ScrollDirection direction) {
    if (scrollDirection_ == direction) return;
    scrollDirection_ = direction;
    invalidateLayout();
}

void FlowLayout::setItemSize(Size size) {
    if (itemSize_ == size) return;
    itemSize_ = size;
    invalidateLayout();
}

void FlowLayout::setMinimumLineSpacing(double spacing) {
    if (lineSpacing_ == spacing) return;
    lineSpacing_ = spacing;
    invalidateLayout();
}

void FlowLayout::setMinimumInteritemSpacing(double spacing) {
    if (interitemSpacing_ == spacing) return;
    interitemSpacing_ = spacing;
    invalidateLayout();
}

void FlowLayout::setSectionInset(const EdgeInsets& inset) {
    if (sectionInset_ == inset) return;
    sectionInset_ = inset;
    invalidateLayout();
}

// Works in the axes of the flow: `along` is the scrolling direction, `across` the other one. A line is filled across, the next
// one begins further along.
void FlowLayout::prepareLayout() {
    attributes_.clear();
    contentSize_ = {};
    CollectionView* view = collectionView();
    if (!view) return;

    const bool isHorizontal = scrollDirection_ == ScrollDirection::horizontal;
    const Size available = view->bounds().size;
    const double acrossLength = isHorizontal ? available.height : available.width;
    const double acrossStart = isHorizontal ? sectionInset_.top : sectionInset_.left;
    const double acrossEnd = acrossLength - (isHorizontal ? sectionInset_.bottom : sectionInset_.right);
    const auto delegate = view->collectionViewDelegate();

    double along = 0;
    const std::int64_t sections = view->numberOfSections();
    for (std::int64_t section = 0; section < sections; ++section) {
        double lineSpacing = lineSpacing_;
        double interitemSpacing = interitemSpacing_;
        if (delegate) {
            lineSpacing = delegate->minimumLineSpacingForSectionAt(*view, *this, section).value_or(lineSpacing);
            interitemSpacing =
                delegate->minimumInteritemSpacingForSectionAt(*view, *this, section).value_or(interitemSpacing);
        }
        along += isHorizontal ? sectionInset_.left : sectionInset_.top;
        double across = acrossStart;
        double lineThickness = 0;
        bool isFirstInLine = true;
        const std::int64_t items = view->numberOfItemsInSection(section);
        for (std::int64_t item = 0; item < items; ++item) {
            const IndexPath indexPath{item, section};
            Size size = itemSize_;
            if (delegate) size = delegate->sizeForItemAt(*view, *this, indexPath).value_or(size);
            const double itemAcross = isHorizontal ? size.height : size.width;
            if (!isFirstInLine && across + itemAcross > acrossEnd + 1e-6) {
                along += lineThickness + lineSpacing;
                across = acrossStart;
                lineThickness = 0;
            }
            const Point origin = isHorizontal ? Point{along, across} : Point{across, along};
            attributes_.push_back({indexPath, {origin, size}});
            across += itemAcross + interitemSpacing;
            lineThickness = std::max(lineThickness, isHorizontal ? size.width : size.height);
            isFirstInLine = false;
        }
        along += lineThickness + (isHorizontal ? sectionInset_.right : sectionInset_.bottom);
    }
    contentSize_ = isHorizontal ? Size{along, acrossLength} : Size{acrossLength, along};
}

std::vector<LayoutAttributes> FlowLayout::layoutAttributesForElements(const Rect& rect) const {
    std::vector<LayoutAttributes> result;
    for (const LayoutAttributes& attributes : attributes_) {
        if (attributes.frame.intersects(rect)) result.push_back(attributes);
    }
    return result;
}

std::optional<LayoutAttributes> FlowLayout::layoutAttributesForItem(const IndexPath& indexPath) const {
    const auto found = std::lower_bound(attributes_.begin(), attributes_.end(), indexPath,
                                        [](const LayoutAttributes& a, const IndexPath& b) { return a.indexPath < b; });
    if (found == attributes_.end() || found->indexPath != indexPath) return {};
    return *found;
}

}  // namespace videoanalysis::ui
