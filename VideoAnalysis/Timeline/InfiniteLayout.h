#pragma once
// A flow layout that repeats its content back to back, so that a strip scrolls as if it were endless. The endless collection
// keeps the visible part near the middle copy.

#include "VideoAnalysis/Platform/UI/CollectionViewLayout.h"

namespace videoanalysis {

class InfiniteLayout : public ui::FlowLayout {
public:
    /// Scales the velocity of a fling for paging.
    double velocityMultiplier = 1.0;
    /// The count of copies of the content.
    static constexpr double multiplier = 500.0;

    /// Enables or disables looping from the next layout on.
    bool isEnabled() const { return isEnabled_; }
    void setEnabled(bool enabled);

    /// The size of one copy.
    Size contentSize() const { return contentSize_; }
    /// The length of one copy along the scrolling direction.
    double copyLength() const { return isHorizontal() ? contentSize_.width : contentSize_.height; }
    /// Whether the content loops: one copy is at least four times as long as the larger side of the main screen.
    bool hasValidLayout() const { return hasValidLayout_; }

    /// Gets and replaces the coordinate along the scrolling direction.
    double along(Point point) const { return isHorizontal() ? point.x : point.y; }
    Point withAlong(Point point, double value) const {
        return isHorizontal() ? Point{value, point.y} : Point{point.x, value};
    }

    /// The equivalent offset in the middle copy.
    Point wrappedOffset(Point offset) const;
    /// The index of the copy that contains an offset, truncated toward zero.
    std::int64_t page(Point offset) const;

    /// The item nearest to the centre of the visible area at `offset`, the earlier one of two equally near; empty if there
    /// are no items. A fling of `velocity` (points per second) adds its distance in 0.1 s, scaled by `velocityMultiplier`.
    std::optional<ui::LayoutAttributes> preferredVisibleAttributes(Point offset, Point velocity = {}) const;
    /// The offset that centres the preferred item for a fling to `target`.
    Point centeredOffset(Point target, Point velocity) const;

    void prepareLayout() override;
    Size collectionViewContentSize() const override;
    /// Attributes with the index paths of one copy.
    void appendLayoutAttributesForElements(const Rect& rect, std::vector<ui::LayoutAttributes>& into) const override;

private:
    Size contentSize_;
    bool hasValidLayout_ = false;
    bool isEnabled_ = true;
    mutable std::vector<ui::LayoutAttributes> near_;  // reused, so that finding the centred item does not allocate
};

}  // namespace videoanalysis
