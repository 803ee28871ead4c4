#include "VideoAnalysis/Platform/UI/CollectionViewLayout.h"

#include "VideoAnalysis/Platform/UI/CollectionView.h"

#include <algorithm>
#include <cmath>

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
    uniform_.clear();
    attributes_.clear();
    contentSize_ = {};
    CollectionView* view = collectionView();
    if (!view) return;
    double along = 0;
    const std::int64_t sections = view->numberOfSections();
    for (std::int64_t section = 0; section < sections; ++section) along = layOutSection(*view, section, along);
    const Size available = view->bounds().size;
    contentSize_ = isHorizontal() ? Size{along, available.height} : Size{available.width, along};
}

/// Returns where the section ends.
double FlowLayout::layOutSection(CollectionView& view, std::int64_t section, double start) {
    const auto delegate = view.collectionViewDelegate();
    double lineSpacing = lineSpacing_;
    double interitemSpacing = interitemSpacing_;
    std::optional<Size> uniformSize = itemSize_;
    if (delegate) {
        lineSpacing = delegate->minimumLineSpacingForSectionAt(view, *this, section).value_or(lineSpacing);
        interitemSpacing =
            delegate->minimumInteritemSpacingForSectionAt(view, *this, section).value_or(interitemSpacing);
        uniformSize = delegate->uniformItemSize(view, *this);
    }
    const Size available = view.bounds().size;
    const double acrossStart = isHorizontal() ? sectionInset_.top : sectionInset_.left;
    const double acrossEnd =
        isHorizontal() ? available.height - sectionInset_.bottom : available.width - sectionInset_.right;
    const std::int64_t count = view.numberOfItemsInSection(section);
    double along = start + (isHorizontal() ? sectionInset_.left : sectionInset_.top);
    const double endInset = isHorizontal() ? sectionInset_.right : sectionInset_.bottom;

    if (uniformSize) {
        const double itemAcross = isHorizontal() ? uniformSize->height : uniformSize->width;
        const double itemAlong = isHorizontal() ? uniformSize->width : uniformSize->height;
        const double itemStep = itemAcross + interitemSpacing;
        const double fitting = std::floor((acrossEnd - acrossStart + interitemSpacing + 1e-6) / itemStep);
        const auto perLine = static_cast<std::int64_t>(std::clamp(fitting, 1.0, 1e9));
        uniform_.push_back(
            {section, count, perLine, along, *uniformSize, itemAlong + lineSpacing, itemStep, acrossStart});
        const std::int64_t lines = (count + perLine - 1) / perLine;
        if (lines > 0) along += static_cast<double>(lines) * itemAlong + static_cast<double>(lines - 1) * lineSpacing;
        return along + endInset;
    }

    double across = acrossStart;
    double lineThickness = 0;
    for (std::int64_t item = 0; item < count; ++item) {
        const IndexPath indexPath{item, section};
        const Size size = delegate->sizeForItemAt(view, *this, indexPath).value_or(itemSize_);
        const double itemAcross = isHorizontal() ? size.height : size.width;
        if (across > acrossStart && across + itemAcross > acrossEnd + 1e-6) {
            along += lineThickness + lineSpacing;
            across = acrossStart;
            lineThickness = 0;
        }
        attributes_.push_back({indexPath, {isHorizontal() ? Point{along, across} : Point{across, along}, size}});
        across += itemAcross + interitemSpacing;
        lineThickness = std::max(lineThickness, isHorizontal() ? size.width : size.height);
    }
    return along + lineThickness + endInset;
}

Rect FlowLayout::frameOf(const UniformSection& section, std::int64_t item) const {
    const std::int64_t line = item / section.perLine;
    const std::int64_t place = item % section.perLine;
    const double along = section.start + static_cast<double>(line) * section.lineStep;
    const double across = section.acrossStart + static_cast<double>(place) * section.itemStep;
    return {isHorizontal() ? Point{along, across} : Point{across, along}, section.item};
}

void FlowLayout::appendLayoutAttributesForElements(const Rect& rect, std::vector<LayoutAttributes>& into) const {
    const double low = isHorizontal() ? rect.minX() : rect.minY();
    const double high = isHorizontal() ? rect.maxX() : rect.maxY();
    for (const UniformSection& section : uniform_) {
        if (section.count == 0 || !(section.lineStep > 0)) continue;
        const std::int64_t lastLine = (section.count - 1) / section.perLine;
        const auto lineAt = [&](double along) {
            const double line = std::floor((along - section.start) / section.lineStep);
            return static_cast<std::int64_t>(std::clamp(line, 0.0, static_cast<double>(lastLine)));
        };
        const std::int64_t end = std::min(section.count, (lineAt(high) + 1) * section.perLine);
        for (std::int64_t item = lineAt(low) * section.perLine; item < end; ++item) {
            const Rect frame = frameOf(section, item);
            if (frame.intersects(rect)) into.push_back({{item, section.section}, frame});
        }
    }
    for (const LayoutAttributes& attributes : attributes_) {
        if (attributes.frame.intersects(rect)) into.push_back(attributes);
    }
}

std::optional<LayoutAttributes> FlowLayout::layoutAttributesForItem(const IndexPath& indexPath) const {
    for (const UniformSection& section : uniform_) {
        if (section.section != indexPath.section || indexPath.item < 0 || indexPath.item >= section.count) continue;
        return LayoutAttributes{indexPath, frameOf(section, indexPath.item)};
    }
    const auto found = std::lower_bound(attributes_.begin(), attributes_.end(), indexPath,
                                        [](const LayoutAttributes& a, const IndexPath& b) { return a.indexPath < b; });
    if (found == attributes_.end() || found->indexPath != indexPath) return {};
    return *found;
}

}  // namespace videoanalysis::ui
