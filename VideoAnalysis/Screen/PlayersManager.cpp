#include "VideoAnalysis/Screen/PlayersManager.h"

#include "VideoAnalysis/Analysis/State.h"
#include "VideoAnalysis/Platform/Dispatch.h"
#include "VideoAnalysis/Platform/FatalError.h"
#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Platform/UI/Device.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCell.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCellController.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCellHUDView.h"
#include "VideoAnalysis/Screen/CollectionViewFlowLayout.h"

#include <algorithm>
#include <string>

namespace videoanalysis {
namespace {

constexpr const char* playerCell = "PlayerCollectionViewCell";
constexpr const char* overlayCell = "OverlayCollectionViewCell";
constexpr double firstLoadDelay = 0.5;  // seconds after the cell is about to be displayed
constexpr double shareOfLength = 0.999;

std::shared_ptr<ui::CellTemplate> requiredTemplate(const char* name) {
    std::shared_ptr<ui::CellTemplate> cellTemplate = platform().bundle().cellTemplate(name);
    if (!cellTemplate) fatalError(std::string("Missing cell template: ") + name);
    return cellTemplate;
}

std::string addressOf(const ui::CollectionViewCell& cell) { return cell.description(); }

}  // namespace

std::shared_ptr<PlayersManager> PlayersManager::make(const std::shared_ptr<ui::CollectionView>& collectionView,
                                                     const std::shared_ptr<ui::CollectionView>& overlayCollectionView) {
    if (!collectionView || !overlayCollectionView) fatalError("PlayersManager needs both collection views");
    auto manager = std::make_shared<PlayersManager>(Private{}, collectionView, overlayCollectionView);
    manager->setUp(*collectionView, manager->nib, playerCell);
    manager->setUp(*overlayCollectionView, manager->overlayNib, overlayCell);
    return manager;
}

PlayersManager::PlayersManager(Private, std::weak_ptr<ui::CollectionView> collectionView,
                               std::weak_ptr<ui::CollectionView> overlayCollectionView)
    : collectionView(std::move(collectionView)), overlayCollectionView(std::move(overlayCollectionView)),
      nib(requiredTemplate(playerCell)), overlayNib(requiredTemplate(overlayCell)) {}

PlayersManager::~PlayersManager() = default;

void PlayersManager::setUp(ui::CollectionView& view, const std::shared_ptr<ui::CellTemplate>& cellTemplate,
                           const char* identifier) {
    view.registerTemplate(cellTemplate, identifier);
    view.setPrefetchingEnabled(false);
    view.setDataSource(weak_from_this());
    view.setCollectionViewDelegate(weak_from_this());
}

bool PlayersManager::keyPressed(const ui::KeyPress& press) {
    const auto latest =
        std::max_element(cellControllers.begin(), cellControllers.end(), [](const auto& a, const auto& b) {
            return a->commands.latestTouch() < b->commands.latestTouch();
        });
    if (latest == cellControllers.end()) return false;
    // While locked, playback keys of one player already address all of them, but undo and fill mode must go to each player.
    // Escape closes the panels of any player.
    const bool isOwn = press.key == ui::Key::z || press.key == ui::Key::f;
    const bool isLocked = mainStore().state().mainViewControllerState.isMediaPlaybackLocked;
    if (press.key != ui::Key::escape && !(isOwn && isLocked)) return (*latest)->commands.keyPressed(press);
    bool isUsed = false;
    for (const auto& controller : cellControllers) isUsed = controller->commands.keyPressed(press) || isUsed;
    return isUsed;
}

// ---- AnalysisPlayers

template <class Change>
void PlayersManager::changeCollections(Change&& change) {
    if (const auto players = collectionView.lock()) change(*players);
    if (const auto overlays = overlayCollectionView.lock()) change(*overlays);
}

const player::LocalState& PlayersManager::localState(std::size_t position) const {
    return cellControllers.at(position)->localStore->state();
}

void PlayersManager::dispatch(std::size_t position, const Action& localAction) {
    cellControllers.at(position)->localStore->dispatch(localAction);
}

bool PlayersManager::contains(const Store<player::LocalState>& localStore) const {
    return std::any_of(cellControllers.begin(), cellControllers.end(),
                       [&](const auto& controller) { return controller->localStore.get() == &localStore; });
}

void PlayersManager::insert(std::int64_t index, const VideoAnalysisController::Object& media) {
    cellControllers.push_back(PlayerCollectionViewCellController::make(media, index));
    changeCollections([&](ui::CollectionView& view) {
        if (view.numberOfItemsInSection(0) != static_cast<std::int64_t>(count())) {
            view.insertItems({{index, 0}});
        } else {
            view.reloadData();
        }
    });
}

void PlayersManager::remove(std::size_t position) {
    cellControllers.at(position)->unbind();
    cellControllers.erase(cellControllers.begin() + static_cast<std::ptrdiff_t>(position));
    for (std::size_t i = 0; i < count(); ++i) cellControllers[i]->index = static_cast<std::int64_t>(i);
    changeCollections([&](ui::CollectionView& view) {
        if (view.numberOfItemsInSection(0) != static_cast<std::int64_t>(count())) {
            view.deleteItems({{static_cast<std::int64_t>(position), 0}});
        } else {
            view.reloadData();
        }
    });
}

void PlayersManager::replace(std::size_t position, const VideoAnalysisController::Object& media) {
    std::shared_ptr<PlayerCollectionViewCellController>& controller = cellControllers.at(position);
    controller->unbind();
    controller = PlayerCollectionViewCellController::make(media, static_cast<std::int64_t>(position));
}

void PlayersManager::reload(std::size_t position) {
    changeCollections([&](ui::CollectionView& view) { view.reloadItems({{static_cast<std::int64_t>(position), 0}}); });
}

void PlayersManager::clear() {
    cellControllers.clear();
    changeCollections([](ui::CollectionView& view) { view.reloadData(); });
}

void PlayersManager::endRulerThrow(std::size_t position) { cellControllers.at(position)->endRulerThrow(); }

std::shared_ptr<media::Player> PlayersManager::pausedPlayer(std::size_t position) const {
    std::shared_ptr<media::Player> player = cellControllers.at(position)->player();
    // The local state pauses the player only some turns later, but a step or seek needs it paused now.
    if (player) player->pause();
    return player;
}

void PlayersManager::step(std::size_t position, std::int64_t steps) {
    const std::shared_ptr<media::Player> player = steps != 0 ? pausedPlayer(position) : nullptr;
    if (!player) return;
    media::PlayerItem& item = *player->currentItem();
    if ((steps >= 1 && item.canStepForward()) || item.canStepBackward()) item.step(steps);
}

void PlayersManager::seek(std::size_t position, const media::Time& time) {
    if (const std::shared_ptr<media::Player> player = pausedPlayer(position)) {
        player->seek(time, media::Time::zero(), media::Time::zero());
    }
}

void PlayersManager::edit(std::size_t position) { cellControllers.at(position)->commands.edit(); }

std::vector<VideoAnalysisController::Object> PlayersManager::currentMedia() const {
    std::vector<VideoAnalysisController::Object> media;
    for (const auto& controller : cellControllers) media.push_back(controller->media());
    return media;
}

// ---- Cells

std::int64_t PlayersManager::numberOfItemsInSection(ui::CollectionView&, std::int64_t) {
    return static_cast<std::int64_t>(cellControllers.size());
}

std::shared_ptr<ui::CollectionViewCell> PlayersManager::cellForItemAt(ui::CollectionView& view,
                                                                      const ui::IndexPath& indexPath) {
    if (indexPath.item < 0 || indexPath.item >= static_cast<std::int64_t>(cellControllers.size())) {
        fatalError("No player at index " + std::to_string(indexPath.item));
    }
    const std::shared_ptr<PlayerCollectionViewCellController>& controller =
        cellControllers[static_cast<std::size_t>(indexPath.item)];
    const bool isOverlay = &view == overlayCollectionView.lock().get();
    const std::shared_ptr<ui::CollectionViewCell> dequeued =
        view.dequeueReusableCell(isOverlay ? overlayCell : playerCell, indexPath);

    // The two branches differ only in the type of the cell and the log text.
    const auto bind = [&](const auto& cell, const auto& boundCell, const auto& setBoundCell, const std::string& kind,
                          const char* index) {
        if (!cell) return std::make_shared<ui::CollectionViewCell>();
        debugLog("\n");
        debugLog(index + std::to_string(indexPath.item));
        if (const auto previous = boundCell()) {
            debugLog("Previous " + kind + "cell address: " + addressOf(*previous));
        } else {
            debugLog("No previous " + kind + "cell address");
        }
        debugLog("New generated " + kind + "cell address: " + addressOf(*cell));
        if (!boundCell()) {
            setBoundCell(cell);
            const auto bound = boundCell();
            if (!bound) fatalError("The player's cell was not bound");
            debugLog("New updated " + kind + "cell address: " + addressOf(*bound));
        }
        controller->index = indexPath.item;
        if (const auto playerCellOfItem = controller->cell()) {
            if (const auto sketch = playerCellOfItem->sketchView.lock()) sketch->layoutIfNeeded();
        }
        return std::static_pointer_cast<ui::CollectionViewCell>(cell);
    };
    if (isOverlay) {
        controller->presenteeViewController = presenteeViewController;
        return bind(
            std::dynamic_pointer_cast<OverlayCollectionViewCell>(dequeued), [&] { return controller->overlayCell(); },
            [&](const auto& cell) { controller->setOverlayCell(cell); }, "overlay ", "Overlay Index: ");
    }
    return bind(
        std::dynamic_pointer_cast<PlayerCollectionViewCell>(dequeued), [&] { return controller->cell(); },
        [&](const auto& cell) { controller->setCell(cell); }, "", "Index: ");
}

void PlayersManager::willDisplay(ui::CollectionView& view, ui::CollectionViewCell&, const ui::IndexPath& indexPath) {
    if (&view != collectionView.lock().get()) return;
    const auto item = static_cast<std::size_t>(indexPath.item);
    if (item >= cellControllers.size()) return;
    // Holds the controller, not its index: items may be removed or replaced until then.
    dispatch::mainQueue().asyncAfter(firstLoadDelay, [weak = std::weak_ptr(cellControllers[item])] {
        if (const auto controller = weak.lock()) controller->performFirstLoad();
    });
}

std::optional<Size> PlayersManager::sizeForItemAt(ui::CollectionView& view, ui::CollectionViewLayout& layout,
                                                  const ui::IndexPath&) {
    const auto* flowLayout = dynamic_cast<CollectionViewFlowLayout*>(&layout);
    if (!flowLayout) return Size{};
    const Size size = view.bounds().size;
    const EdgeInsets insets = flowLayout->sectionInset();
    const auto count = static_cast<double>(view.numberOfItemsInSection(0));
    if (ui::isLandscape(platform().device().orientation())) {
        return Size{(size.width - (insets.left + insets.right)) / count * shareOfLength, size.height};
    }
    return Size{size.width, (size.height - (insets.top + insets.bottom)) / count * shareOfLength};
}

std::optional<double> PlayersManager::minimumLineSpacingForSectionAt(ui::CollectionView&, ui::CollectionViewLayout&,
                                                                     std::int64_t) {
    return 0;
}

std::optional<double> PlayersManager::minimumInteritemSpacingForSectionAt(ui::CollectionView&,
                                                                          ui::CollectionViewLayout&, std::int64_t) {
    return 0;
}

}  // namespace videoanalysis
