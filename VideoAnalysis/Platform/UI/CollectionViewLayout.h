#pragma once
// Where the items of a collection stand. `FlowLayout` sets them in lines along the scrolling direction; a collection asks it
// only for what is in sight.

#include "VideoAnalysis/Platform/Geometry.h"
#include "VideoAnalysis/Platform/UI/IndexPath.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace videoanalysis::ui {

class CollectionView;

struct LayoutAttributes {
    IndexPath indexPath;
    Rect frame;  ///< in content points
};

class CollectionViewLayout : public std::enable_shared_from_this<CollectionViewLayout> {
public:
    virtual ~CollectionViewLayout() = default;

    /// Null while the layout belongs to no collection.
    CollectionView* collectionView() const { return collectionView_; }
    /// For the collection that takes or drops the layout.
    void setCollectionView(CollectionView* view) { collectionView_ = view; }

    /// Computes what the questions below need; called before them after each invalidation.
    virtual void prepareLayout() {}
    virtual Size collectionViewContentSize() const = 0;
    /// Appends the items whose frames touch `rect`, in the order in which they stand along the scrolling direction.
    virtual void appendLayoutAttributesForElements(const Rect& rect, std::vector<LayoutAttributes>& into) const = 0;
    virtual std::optional<LayoutAttributes> layoutAttributesForItem(const IndexPath& indexPath) const = 0;
    /// Asked before the collection's visible rectangle becomes `newBounds`. The default: a change of size.
    virtual bool shouldInvalidateLayoutForBoundsChange(const Rect& newBounds) const;
    /// Makes the collection prepare the layout again in its next layout pass.
    void invalidateLayout();

private:
    CollectionView* collectionView_ = nullptr;
};

enum class ScrollDirection { vertical, horizontal };

/// Items of each section in lines: left to right then down for vertical scrolling, top to bottom then right for horizontal.
/// When the delegate says that all items have one size, the cost of any question does not depend on their number.
class FlowLayout : public CollectionViewLayout {
public:
    ScrollDirection scrollDirection() const { return scrollDirection_; }
    void setScrollDirection(ScrollDirection direction);
    Size itemSize() const { return itemSize_; }
    void setItemSize(Size size);
    double minimumLineSpacing() const { return lineSpacing_; }
    void setMinimumLineSpacing(double spacing);
    double minimumInteritemSpacing() const { return interitemSpacing_; }
    void setMinimumInteritemSpacing(double spacing);
    EdgeInsets sectionInset() const { return sectionInset_; }
    void setSectionInset(const EdgeInsets& inset);

    void prepareLayout() override;
    Size collectionViewContentSize() const override { return contentSize_; }
    void appendLayoutAttributesForElements(const Rect& rect, std::vector<LayoutAttributes>& into) const override;
    std::optional<LayoutAttributes> layoutAttributesForItem(const IndexPath& indexPath) const override;

protected:
    bool isHorizontal() const { return scrollDirection_ == ScrollDirection::horizontal; }

private:
    /// Items of one size in lines of equal length: an item's place is arithmetic, however many there are.
    struct UniformSection {
        std::int64_t section = 0;
        std::int64_t count = 0;
        std::int64_t perLine = 1;
        double start = 0;  ///< of the first line, along
        Size item;
        double lineStep = 0;  ///< from line to line, along
        double itemStep = 0;  ///< from item to item in a line, across
        double acrossStart = 0;
    };
    Rect frameOf(const UniformSection& section, std::int64_t item) const;
    double layOutSection(CollectionView& view, std::int64_t section, double start);

    ScrollDirection scrollDirection_ = ScrollDirection::vertical;
    Size itemSize_{50, 50};
    double lineSpacing_ = 10;
    double interitemSpacing_ = 10;
    EdgeInsets sectionInset_;
    Size contentSize_;
    std::vector<UniformSection> uniform_;       // either these
    std::vector<LayoutAttributes> attributes_;  // or these, when items differ in size
};

}  // namespace videoanalysis::ui
