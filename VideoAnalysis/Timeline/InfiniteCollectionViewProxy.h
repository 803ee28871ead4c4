#pragma once
// Proxies between an endless collection and its external data source and delegate: they map index paths of repetitions to
// those of the content, and multiply the counts in the other direction.

#include "VideoAnalysis/Platform/UI/CollectionView.h"

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace videoanalysis {

class InfiniteCollectionView;

/// Forwards calls to every live target that passes the filter, in list order. Targets are held weakly.
template <class Target>
class CocoaProxy {
public:
    std::vector<std::weak_ptr<Target>> proxies;
    std::function<bool(const Target&)> proxyFilter;

    /// The first live target that passes the filter; null if there is none.
    std::shared_ptr<Target> first() const {
        for (const auto& weak : proxies) {
            auto target = weak.lock();
            if (target && (!proxyFilter || proxyFilter(*target))) return target;
        }
        return nullptr;
    }
    /// The first result that is neither null nor empty. Later targets are not called.
    template <class Call>
    auto firstAnswer(Call&& call) const {
        decltype(call(std::declval<Target&>())) answer{};
        for (std::size_t i = 0; i < proxies.size() && !answer; ++i) {
            const auto target = proxies[i].lock();
            if (target && (!proxyFilter || proxyFilter(*target))) answer = call(*target);
        }
        return answer;
    }
    template <class Call>
    void forward(Call&& call) const {
        for (std::size_t i = 0; i < proxies.size(); ++i) {
            const auto target = proxies[i].lock();
            if (target && (!proxyFilter || proxyFilter(*target))) call(*target);
        }
    }
};

/// Maps repeated sections and items to those of the external data source.
class InfiniteCollectionViewProxy {
public:
    explicit InfiniteCollectionViewProxy(InfiniteCollectionView& view) : view_(view) {}

    std::int64_t section(std::int64_t from) const;
    ui::IndexPath indexPath(const ui::IndexPath& from) const;

protected:
    ~InfiniteCollectionViewProxy() = default;
    /// Fatal if there is none.
    std::shared_ptr<ui::CollectionViewDataSource> requiredDataSource() const;

    InfiniteCollectionView& view_;
};

class InfiniteCollectionViewDataSourceProxy final : public InfiniteCollectionViewProxy,
                                                    public CocoaProxy<ui::CollectionViewDataSource>,
                                                    public ui::CollectionViewDataSource {
public:
    using InfiniteCollectionViewProxy::InfiniteCollectionViewProxy;

    std::int64_t numberOfSections(ui::CollectionView& view) override;
    std::int64_t numberOfItemsInSection(ui::CollectionView& view, std::int64_t section) override;
    std::shared_ptr<ui::CollectionViewCell> cellForItemAt(ui::CollectionView& view,
                                                          const ui::IndexPath& indexPath) override;
};

class InfiniteCollectionViewDelegateProxy final : public InfiniteCollectionViewProxy,
                                                  public CocoaProxy<ui::CollectionViewDelegate>,
                                                  public ui::CollectionViewDelegate {
public:
    using InfiniteCollectionViewProxy::InfiniteCollectionViewProxy;

    /// Forwards the call, then re-centres the content and updates the centred item.
    void scrollViewDidScroll(ui::ScrollView& view) override;
    void scrollViewWillBeginDragging(ui::ScrollView& view) override;
    /// With paging, first adjusts the target to centre an item.
    void scrollViewWillEndDragging(ui::ScrollView& view, Point velocity, Point& target) override;
    void scrollViewDidEndDragging(ui::ScrollView& view, bool willDecelerate) override;
    void scrollViewDidEndDecelerating(ui::ScrollView& view) override;
    std::shared_ptr<ui::View> viewForZooming(ui::ScrollView& view) override;
    void willDisplay(ui::CollectionView& view, ui::CollectionViewCell& cell, const ui::IndexPath& indexPath) override;
    void didEndDisplaying(ui::CollectionView& view, ui::CollectionViewCell& cell,
                          const ui::IndexPath& indexPath) override;
    void didSelectItemAt(ui::CollectionView& view, const ui::IndexPath& indexPath) override;
    std::optional<Size> sizeForItemAt(ui::CollectionView& view, ui::CollectionViewLayout& layout,
                                      const ui::IndexPath& indexPath) override;
    std::optional<Size> uniformItemSize(ui::CollectionView& view, ui::CollectionViewLayout& layout) override;
    std::optional<double> minimumLineSpacingForSectionAt(ui::CollectionView& view, ui::CollectionViewLayout& layout,
                                                         std::int64_t section) override;
    std::optional<double> minimumInteritemSpacingForSectionAt(ui::CollectionView& view,
                                                              ui::CollectionViewLayout& layout,
                                                              std::int64_t section) override;
};

}  // namespace videoanalysis
