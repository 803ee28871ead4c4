#pragma once
// A collection that never ends: it repeats its content, moves the offset back to the middle before an end comes near, and
// tells its delegate which item is in the centre. The ruler is one.

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
    /// Raw paths: their items are numbered on through all copies, so that their difference is the number of items passed.
    virtual void didChangeCenteredIndexPath(InfiniteCollectionView&, const std::optional<ui::IndexPath>& /*from*/,
                                            const std::optional<ui::IndexPath>& /*to*/) {}
};

class InfiniteCollectionView : public ui::CollectionView {
public:
    using ui::CollectionView::CollectionView;

    std::weak_ptr<InfiniteCollectionViewDelegate> infiniteDelegate;
    /// The item nearest the centre, as a raw path; absent before the first layout.
    const std::optional<ui::IndexPath>& centeredIndexPath() const { return centeredIndexPath_; }
    /// The item to be centred in the next layout that finds items, and only then. Later layouts keep what stands in the centre.
    std::optional<ui::IndexPath> preferredCenteredIndexPath;
    bool isItemPagingEnabled = false;
    double velocityMultiplier() const { return velocityMultiplier_; }
    /// Also the layout's.
    void setVelocityMultiplier(double multiplier);

    /// Made on first use; the collection's own data source and delegate.
    const std::shared_ptr<InfiniteCollectionViewDataSourceProxy>& dataSourceProxy();
    const std::shared_ptr<InfiniteCollectionViewDelegateProxy>& delegateProxy();

    /// The outside objects; held weakly behind the proxies.
    void setDataSource(std::weak_ptr<ui::CollectionViewDataSource> dataSource) override;
    void setCollectionViewDelegate(std::weak_ptr<ui::CollectionViewDelegate> delegate) override;

    /// Null unless the layout is an endless one.
    InfiniteLayout* infiniteLayout() const;

    /// Moves the content to the same place of its middle copy when an end is near. Called on every scroll event.
    void loopCollectionViewIfNeeded();
    void updateCenteredIndexPath();

protected:
    void layoutSubviews() override;

private:
    /// What stood in the centre when the layout was last up to date.
    struct Anchor {
        ui::IndexPath item;   ///< of the content, not of its repetitions
        double distance = 0;  ///< of the centre from the item's middle, points
        double offset = 0;    ///< of the content, points
    };

    /// The same item `copy` copies further.
    ui::IndexPath inCopy(ui::IndexPath path, std::int64_t copy);
    /// Moves the middle copy's `item` so that its middle is `distance` before the centre, as far as the ends allow.
    void center(const ui::IndexPath& item, double distance);

    std::shared_ptr<InfiniteCollectionViewDataSourceProxy> dataSourceProxy_;
    std::shared_ptr<InfiniteCollectionViewDelegateProxy> delegateProxy_;
    std::optional<ui::IndexPath> centeredIndexPath_;
    Anchor anchor_;
    std::optional<Size> lastContentSize_;
    Rect lastBounds_;
    double velocityMultiplier_ = 1.0;
};

/// A controller whose view is an endless collection; fatal when it is another one.
class InfiniteCollectionViewController : public ui::ViewController {
public:
    std::shared_ptr<InfiniteCollectionView> infiniteCollectionView();
    void viewDidLoad() override { (void)infiniteCollectionView(); }
};

}  // namespace videoanalysis
