#pragma once
// A scrolling view of cells that come from a data source and stand where a layout puts them. Only cells in sight exist; those
// that leave it are used again. The players, their overlays and the ruler are collections.

#include "VideoAnalysis/Platform/UI/Bundle.h"
#include "VideoAnalysis/Platform/UI/CollectionViewLayout.h"
#include "VideoAnalysis/Platform/UI/IndexPath.h"
#include "VideoAnalysis/Platform/UI/ScrollView.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace videoanalysis::ui {

class CollectionViewCell : public View {
public:
    const std::string& reuseIdentifier() const { return reuseIdentifier_; }
    /// For the collection view that makes the cell.
    void setReuseIdentifier(const std::string& identifier) { reuseIdentifier_ = identifier; }
    /// Kind and address, for the debug log.
    virtual std::string description() const;

    /// Connects the declared outlets to the views of `layout`.
    virtual void connectOutlets(Outlets& layout) { outlets.connect(layout); }
    /// The outlets are connected.
    virtual void awakeFromNib() {}
    virtual void prepareForReuse() {}

protected:
    OutletSet outlets;

private:
    std::string reuseIdentifier_;
};

class CollectionViewDataSource {
public:
    virtual ~CollectionViewDataSource() = default;
    virtual std::int64_t numberOfSections(CollectionView&) { return 1; }
    virtual std::int64_t numberOfItemsInSection(CollectionView&, std::int64_t section) = 0;
    /// Never null.
    virtual std::shared_ptr<CollectionViewCell> cellForItemAt(CollectionView&, const IndexPath& indexPath) = 0;
};

/// The flow-layout questions are asked when the layout is a `FlowLayout`; an absent answer means the layout's own value.
class CollectionViewDelegate : public ScrollViewDelegate {
public:
    virtual void willDisplay(CollectionView&, CollectionViewCell&, const IndexPath&) {}
    virtual void didEndDisplaying(CollectionView&, CollectionViewCell&, const IndexPath&) {}
    virtual void didSelectItemAt(CollectionView&, const IndexPath&) {}
    virtual std::optional<Size> sizeForItemAt(CollectionView&, CollectionViewLayout&, const IndexPath&) { return {}; }
    /// The one size that all items have; the layout then asks for none of them. Absent when sizes differ.
    virtual std::optional<Size> uniformItemSize(CollectionView&, CollectionViewLayout&) { return {}; }
    virtual std::optional<double> minimumLineSpacingForSectionAt(CollectionView&, CollectionViewLayout&, std::int64_t) {
        return {};
    }
    virtual std::optional<double> minimumInteritemSpacingForSectionAt(CollectionView&, CollectionViewLayout&,
                                                                      std::int64_t) {
        return {};
    }
};

class CollectionView : public ScrollView {
public:
    using ScrollView::ScrollView;
    ~CollectionView() override;

    /// Main thread. Null takes it away.
    void setCollectionViewLayout(std::shared_ptr<CollectionViewLayout> layout);
    const std::shared_ptr<CollectionViewLayout>& collectionViewLayout() const { return layout_; }

    virtual void setDataSource(std::weak_ptr<CollectionViewDataSource> dataSource);
    std::shared_ptr<CollectionViewDataSource> dataSource() const { return dataSource_.lock(); }
    virtual void setCollectionViewDelegate(std::weak_ptr<CollectionViewDelegate> delegate);
    std::shared_ptr<CollectionViewDelegate> collectionViewDelegate() const { return collectionDelegate_.lock(); }

    bool isPrefetchingEnabled() const { return isPrefetchingEnabled_; }
    void setPrefetchingEnabled(bool enabled) { isPrefetchingEnabled_ = enabled; }

    void registerTemplate(std::shared_ptr<CellTemplate> cellTemplate, const std::string& reuseIdentifier);
    void registerClass(std::function<std::shared_ptr<CollectionViewCell>()> make, const std::string& reuseIdentifier);
    /// A cell that has left the screen or a new one; fatal when nothing is registered under `reuseIdentifier`.
    std::shared_ptr<CollectionViewCell> dequeueReusableCell(const std::string& reuseIdentifier,
                                                            const IndexPath& indexPath);

    /// What the view believes: asked of the data source once after each reload, then kept up by insert and delete.
    std::int64_t numberOfSections();
    std::int64_t numberOfItemsInSection(std::int64_t section);

    /// The cells in sight with their index paths, in layout order.
    struct VisibleCell {
        IndexPath indexPath;
        std::shared_ptr<CollectionViewCell> cell;
    };
    const std::vector<VisibleCell>& visibleCells() const { return visible_; }
    /// Null when the item is not in sight.
    std::shared_ptr<CollectionViewCell> cellForItem(const IndexPath& indexPath) const;

    /// The next layout starts from scratch.
    void reloadData();
    /// The data source already counts the new items. Fatal when its count does not fit.
    void insertItems(const std::vector<IndexPath>& indexPaths);
    /// The data source no longer counts them. Fatal when its count does not fit.
    void deleteItems(const std::vector<IndexPath>& indexPaths);
    /// New cells for these items in the next layout.
    void reloadItems(const std::vector<IndexPath>& indexPaths);

    /// For layouts: what they computed is out of date.
    void layoutDidInvalidate();
    /// Whether the layout, the counts and the cells in sight are up to date; false between a change and the next layout.
    bool isLayoutValid() const { return isLayoutValid_; }

protected:
    void layoutSubviews() override;
    void boundsWillChange(const Rect& newBounds) override;
    void contentOffsetWillChange(Point newOffset) override;
    void contentOffsetDidChange() override;

private:
    void loadCounts();
    void checkCounts(const char* operation);
    void updateVisibleCells();
    /// Takes the item's cell off the screen and keeps it for another item.
    void retire(const IndexPath& indexPath);
    void retire(const VisibleCell& gone);

    std::shared_ptr<CollectionViewLayout> layout_;
    std::weak_ptr<CollectionViewDataSource> dataSource_;
    std::weak_ptr<CollectionViewDelegate> collectionDelegate_;
    bool isPrefetchingEnabled_ = true;
    std::map<std::string, std::function<std::shared_ptr<CollectionViewCell>()>> registered_;
    std::map<std::string, std::vector<std::shared_ptr<CollectionViewCell>>> reusable_;
    std::vector<std::int64_t> counts_;
    bool hasCounts_ = false;
    bool isLayoutValid_ = false;
    bool mustReload_ = false;
    std::vector<VisibleCell> visible_;
    // Kept between updates so that one which brings no new cell does not allocate.
    std::vector<LayoutAttributes> wanted_;
    std::vector<VisibleCell> next_;
};

}  // namespace videoanalysis::ui
