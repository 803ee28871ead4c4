#pragma once
// An endless collection: repeats its content, re-centres the offset before it reaches an end, and notifies its delegate of
// the centred item. Used by the ruler.

#include "VideoAnalysis/Platform/UI/CollectionView.h"
#include "VideoAnalysis/Platform/UI/ViewController.h"
#include "VideoAnalysis/Timeline/InfiniteCollectionViewProxy.h"

#include <memory>
#include <optional>

namespace videoanalysis {

class InfiniteLayout;

class InfiniteCollectionViewDelegate {
public:
    virtual ~InfiniteCollectionViewDelegate() = default;
    /// Raw paths: items are numbered across all copies, so that their difference is the count of items passed.
    virtual void didChangeCenteredIndexPath(InfiniteCollectionView&, const std::optional<ui::IndexPath>& /*from*/,
                                            const std::optional<ui::IndexPath>& /*to*/) {}
};

class InfiniteCollectionView : public ui::CollectionView {
public:
    using ui::CollectionView::CollectionView;

    std::weak_ptr<InfiniteCollectionViewDelegate> infiniteDelegate;
    /// Raw path of the item nearest the centre; empty before the first layout.
    const std::optional<ui::IndexPath>& centeredIndexPath() const { return centeredIndexPath_; }
    /// The item to centre in the next layout that has items. Later layouts keep the centred item.
    std::optional<ui::IndexPath> preferredCenteredIndexPath;
    bool isItemPagingEnabled = false;
    double velocityMultiplier() const { return velocityMultiplier_; }
    /// Also set on the layout.
    void setVelocityMultiplier(double multiplier);

    /// The collection's actual data source and delegate. Created on first use.
    const std::shared_ptr<InfiniteCollectionViewDataSourceProxy>& dataSourceProxy();
    const std::shared_ptr<InfiniteCollectionViewDelegateProxy>& delegateProxy();

    /// The external objects behind the proxies. Held weakly.
    void setDataSource(std::weak_ptr<ui::CollectionViewDataSource> dataSource) override;
    void setCollectionViewDelegate(std::weak_ptr<ui::CollectionViewDelegate> delegate) override;

    /// The layout if it is an `InfiniteLayout`; otherwise null.
    InfiniteLayout* infiniteLayout() const;

    /// Re-centres the offset to the same place in the middle copy if an end is near. Called on every scroll event.
    void loopCollectionViewIfNeeded();
    void updateCenteredIndexPath();

protected:
    void layoutSubviews() override;

private:
    /// The centred item when the layout was last valid.
    struct Anchor {
        ui::IndexPath item;   ///< of the content, not of its repetitions
        double distance = 0;  ///< of the centre from the item's middle, points
        double offset = 0;    ///< of the content, points
    };

    /// The same item, `copy` copies further.
    ui::IndexPath inCopy(ui::IndexPath path, std::int64_t copy);
    /// Scrolls so that the middle of `item` in the middle copy is `distance` before the centre, clamped to the ends.
    void center(const ui::IndexPath& item, double distance);

    std::shared_ptr<InfiniteCollectionViewDataSourceProxy> dataSourceProxy_;
    std::shared_ptr<InfiniteCollectionViewDelegateProxy> delegateProxy_;
    std::optional<ui::IndexPath> centeredIndexPath_;
    Anchor anchor_;
    std::optional<Size> lastContentSize_;
    Rect lastBounds_;
    double velocityMultiplier_ = 1.0;
};

/// A controller whose view is an endless collection; fatal if it is any other view.
class InfiniteCollectionViewController : public ui::ViewController {
public:
    std::shared_ptr<InfiniteCollectionView> infiniteCollectionView();
    void viewDidLoad() override { (void)infiniteCollectionView(); }
};

}  // namespace videoanalysis
