#include "VideoAnalysis/Timeline/InfiniteLayout.h"

#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Platform/UI/CollectionView.h"
#include "VideoAnalysis/Platform/UI/Device.h"

#include <algorithm>
#include <cmath>

namespace videoanalysis {

void InfiniteLayout::setEnabled(bool enabled) {
    if (isEnabled_ == enabled) return;
    isEnabled_ = enabled;
    if (collectionView()) collectionView()->reloadData();  // the count of repetitions depends on it
}

void InfiniteLayout::prepareLayout() {
    ui::FlowLayout::prepareLayout();
    contentSize_ = ui::FlowLayout::collectionViewContentSize();
    const Size screen = platform().mainScreen().size();
    hasValidLayout_ = collectionView() && !collectionView()->bounds().size.isEmpty() && isEnabled_ &&
                      copyLength() >= 4 * std::max(screen.width, screen.height);
}

Size InfiniteLayout::collectionViewContentSize() const {
    if (!hasValidLayout_) return contentSize_;
    return isHorizontal() ? Size{contentSize_.width * multiplier, contentSize_.height}
                          : Size{contentSize_.width, contentSize_.height * multiplier};
}

void InfiniteLayout::appendLayoutAttributesForElements(const Rect& rect,
                                                       std::vector<ui::LayoutAttributes>& into) const {
    if (!hasValidLayout_) {
        ui::FlowLayout::appendLayoutAttributesForElements(rect, into);
        return;
    }
    const double length = copyLength();
    const double low = along({rect.minX(), rect.minY()});
    const double high = along({rect.maxX(), rect.maxY()});
    for (double copy = std::floor(low / length); copy * length < high; ++copy) {
        const double shift = copy * length;
        const std::size_t first = into.size();
        Rect inCopy = rect;
        inCopy.origin = withAlong(rect.origin, along(rect.origin) - shift);
        ui::FlowLayout::appendLayoutAttributesForElements(inCopy, into);
        for (std::size_t i = first; i < into.size(); ++i) {
            into[i].frame.origin = withAlong(into[i].frame.origin, along(into[i].frame.origin) + shift);
        }
    }
}

std::int64_t InfiniteLayout::page(Point offset) const {
    return copyLength() > 0 ? static_cast<std::int64_t>(along(offset) / copyLength()) : 0;
}

Point InfiniteLayout::wrappedOffset(Point offset) const {
    const double length = copyLength();
    double x = along(offset);
    if (x < 0) x += length * std::abs(std::trunc(length / x));
    return withAlong(offset, std::fmod(x, length) + length * (multiplier * 0.5));
}

std::optional<ui::LayoutAttributes> InfiniteLayout::preferredVisibleAttributes(Point offset, Point velocity) const {
    if (!collectionView()) return {};
    constexpr double flingSeconds = 0.1;
    const Size size = collectionView()->bounds().size;
    const double reach = along(velocity) * velocityMultiplier * flingSeconds;
    const Rect visible(withAlong(offset, along(offset) + reach), size);
    const double center = along(visible.center());
    near_.clear();
    appendLayoutAttributesForElements(visible, near_);
    const auto distance = [&](const ui::LayoutAttributes& item) {
        return std::abs(along(item.frame.center()) - center);
    };
    const auto nearest = std::min_element(near_.begin(), near_.end(),
                                          [&](const auto& a, const auto& b) { return distance(a) < distance(b); });
    if (nearest == near_.end()) return {};
    return *nearest;
}

Point InfiniteLayout::centeredOffset(Point target, Point velocity) const {
    const std::optional<ui::LayoutAttributes> item = preferredVisibleAttributes(target, velocity);
    if (!item) return target;
    const Size size = collectionView()->bounds().size;
    const double half = (isHorizontal() ? size.width : size.height) * 0.5;
    return withAlong(target, along(item->frame.center()) - half);
}

}  // namespace videoanalysis
