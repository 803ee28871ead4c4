#pragma once
// A flow layout whose content stands there many times, back to back, so that a strip can be scrolled as if it had no end. The
// endless collection keeps the visible part near the middle copy.

#include "VideoAnalysis/Platform/UI/CollectionViewLayout.h"

namespace videoanalysis {

class InfiniteLayout : public ui::FlowLayout {
public:
    /// Scales the velocity of a fling when a page is chosen.
    double velocityMultiplier = 1.0;
    /// How many copies of the content there are.
    static constexpr double multiplier = 500.0;

    /// Looping may be switched off; takes effect with the next layout.
    bool isEnabled() const { return isEnabled_; }
    void setEnabled(bool enabled);

    /// The size of one copy.
    Size contentSize() const { return contentSize_; }
    /// Its length along the scrolling direction.
    double copyLength() const { return isHorizontal() ? contentSize_.width : contentSize_.height; }
    /// Whether looping is in force: one copy is at least four times as long as the larger side of the main screen.
    bool hasValidLayout() const { return hasValidLayout_; }

    /// The coordinate along the scrolling direction, and a point with another one.
    double along(Point point) const { return isHorizontal() ? point.x : point.y; }
    Point withAlong(Point point, double value) const {
        return isHorizontal() ? Point{value, point.y} : Point{point.x, value};
    }

    /// The offset at the same place within the middle copy.
    Point wrappedOffset(Point offset) const;
    /// In which copy an offset lies, truncated toward zero.
    std::int64_t page(Point offset) const;

    /// The item whose centre is nearest to the centre of the visible area when the content is at `offset`, the earlier one of
    /// two equally near; absent without items. A fling of `velocity` (points per second) counts as its way in one tenth of
    /// a second, scaled by `velocityMultiplier`.
    std::optional<ui::LayoutAttributes> preferredVisibleAttributes(Point offset, Point velocity = {}) const;
    /// The offset that centres the preferred item of a fling to `target`.
    Point centeredOffset(Point target, Point velocity) const;

    void prepareLayout() override;
    Size collectionViewContentSize() const override;
    /// The items carry the index paths of one copy.
    void appendLayoutAttributesForElements(const Rect& rect, std::vector<ui::LayoutAttributes>& into) const override;

private:
    Size contentSize_;
    bool hasValidLayout_ = false;
    bool isEnabled_ = true;
    mutable std::vector<ui::LayoutAttributes> near_;  // kept so that looking for the centre does not allocate
};

}  // namespace videoanalysis
