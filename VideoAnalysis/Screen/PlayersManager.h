#pragma once
// The data source of the two stacked collections, the players and their controls, from one list of player controllers. The
// reducers change the list through `AnalysisPlayers`; the manager sizes the items to share the screen and binds the cells.

#include "VideoAnalysis/Analysis/AnalysisScreen.h"
#include "VideoAnalysis/Platform/UI/CollectionView.h"
#include "VideoAnalysis/Platform/UI/KeyPress.h"

#include <memory>
#include <vector>

namespace videoanalysis {

class PlayerCollectionViewCellController;

class PlayersManager : public AnalysisPlayers,
                       public ui::CollectionViewDataSource,
                       public ui::CollectionViewDelegate,
                       public std::enable_shared_from_this<PlayersManager> {
    struct Private {};

public:
    /// Registers the cell templates with both views and becomes their data source and delegate; fatal if one is missing.
    static std::shared_ptr<PlayersManager> make(const std::shared_ptr<ui::CollectionView>& collectionView,
                                                const std::shared_ptr<ui::CollectionView>& overlayCollectionView);

    PlayersManager(Private, std::weak_ptr<ui::CollectionView> collectionView,
                   std::weak_ptr<ui::CollectionView> overlayCollectionView);
    ~PlayersManager() override;

    const std::weak_ptr<ui::CollectionView> collectionView;
    const std::weak_ptr<ui::CollectionView> overlayCollectionView;
    /// One per item of media, in the same order.
    std::vector<std::shared_ptr<PlayerCollectionViewCellController>> cellControllers;
    const std::shared_ptr<ui::CellTemplate> nib;
    const std::shared_ptr<ui::CellTemplate> overlayNib;
    /// The presenting screen, passed to each controller whose overlay cell is bound.
    std::weak_ptr<ui::ViewController> presenteeViewController;

    /// Sends a key to the player touched last, initially the first one, or to all while playback is locked. Returns whether
    /// it was handled.
    bool keyPressed(const ui::KeyPress& press);

    std::size_t count() const override { return cellControllers.size(); }
    const player::LocalState& localState(std::size_t position) const override;
    void dispatch(std::size_t position, const Action& localAction) override;
    bool contains(const Store<player::LocalState>& localStore) const override;
    void insert(std::int64_t index, const VideoAnalysisController::Object& media) override;
    void remove(std::size_t position) override;
    void replace(std::size_t position, const VideoAnalysisController::Object& media) override;
    void reload(std::size_t position) override;
    void clear() override;
    void endRulerThrow(std::size_t position) override;
    void step(std::size_t position, std::int64_t steps) override;
    void seek(std::size_t position, const media::Time& time) override;
    void edit(std::size_t position) override;
    std::vector<VideoAnalysisController::Object> currentMedia() const override;

    std::int64_t numberOfItemsInSection(ui::CollectionView& view, std::int64_t section) override;
    std::shared_ptr<ui::CollectionViewCell> cellForItemAt(ui::CollectionView& view,
                                                          const ui::IndexPath& indexPath) override;
    void willDisplay(ui::CollectionView& view, ui::CollectionViewCell& cell, const ui::IndexPath& indexPath) override;
    std::optional<Size> sizeForItemAt(ui::CollectionView& view, ui::CollectionViewLayout& layout,
                                      const ui::IndexPath& indexPath) override;
    std::optional<double> minimumLineSpacingForSectionAt(ui::CollectionView& view, ui::CollectionViewLayout& layout,
                                                         std::int64_t section) override;
    std::optional<double> minimumInteritemSpacingForSectionAt(ui::CollectionView& view,
                                                              ui::CollectionViewLayout& layout,
                                                              std::int64_t section) override;

private:
    /// Calls `change` on the players' collection and then on the overlay's.
    template <class Change>
    void changeCollections(Change&& change);
    std::shared_ptr<media::Player> pausedPlayer(std::size_t position) const;
    void setUp(ui::CollectionView& view, const std::shared_ptr<ui::CellTemplate>& cellTemplate, const char* identifier);
};

}  // namespace videoanalysis
