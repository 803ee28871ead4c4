#include "VideoAnalysis/Analysis/Reducers.h"

#include "VideoAnalysis/Analysis/Actions.h"
#include "VideoAnalysis/Platform/FatalError.h"
#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Platform/Recording.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCell.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCellController.h"
#include "VideoAnalysis/Screen/MainViewController.h"
#include "VideoAnalysis/Screen/OverlayViewController.h"
#include "VideoAnalysis/Screen/PlayersManager.h"

#include <algorithm>

namespace videoanalysis {
namespace {

using PlayerController = PlayerCollectionViewCellController;

MainViewController& requiredScreen(const State& state) {
    const std::shared_ptr<MainViewController>& screen = state.mainViewController();
    if (!screen) fatalError("The analysis screen cannot be created: storyboard \"Main\" has no MainViewController");
    return *screen;
}

/// Null when the screen has no players manager; the reduction then ends with the state as changed so far.
std::shared_ptr<PlayersManager> playersManager(const State& state) { return requiredScreen(state).playersManager(); }

/// Calls `change` on the players' collection and then on the overlay's.
template <class Change>
void changeCollections(const PlayersManager& manager, Change&& change) {
    if (const auto players = manager.collectionView.lock()) change(*players);
    if (const auto overlays = manager.overlayCollectionView.lock()) change(*overlays);
}

void updateMediaDependentFlags(State& state) {
    const std::size_t count = state.media->size();
    MainViewControllerState& screen = state.mainViewControllerState;
    screen.shouldAllowRecording = platform().screenRecorder().isAvailable() && count != 0;
    screen.shouldAllowAddingMedia = count < 2;
    screen.shouldAllowDeletingMedia = count > 1;
    screen.isDrawingToolsVisible = count != 0;
    screen.shouldAllowMediaPlaybackLock = count > 1;
    screen.isDrawingToolsCollapsed = count > 1;
    screen.isDrawingToolsDrawerCollapsed = count > 1;
}

/// While playback is locked every player but the last hides its media controls.
void applyLockRule(const PlayersManager& manager, bool isLocked) {
    const auto& controllers = manager.cellControllers;
    for (std::size_t i = 0; i < controllers.size(); ++i) {
        controllers[i]->endRulerThrow();
        controllers[i]->localStore->dispatch(
            PlayerController::SetMediaControlHiddenStateAction(isLocked && i != controllers.size() - 1));
    }
}

void renumber(const PlayersManager& manager) {
    for (std::size_t i = 0; i < manager.cellControllers.size(); ++i) {
        manager.cellControllers[i]->index = static_cast<std::int64_t>(i);
    }
}

/// Sends each player its own value again: it renders, and what it shows depends on how many players there are.
void renderAgain(const PlayersManager& manager) {
    for (const auto& controller : manager.cellControllers) {
        Store<PlayerController::LocalState>& store = *controller->localStore;
        store.dispatch(PlayerController::SetHUDVisibleStateAction(store.state().isHUDVisible));
    }
}

/// The three actions that give a player the settings of the analysis.
void configure(const PlayerController& controller, const State& state, bool isHUDVisible) {
    Store<PlayerController::LocalState>& store = *controller.localStore;
    store.dispatch(PlayerController::SetHUDVisibleStateAction(isHUDVisible));
    store.dispatch(PlayerController::SetScrubbingDirectionStateAction(state.defaultScrubbingDirection));
    store.dispatch(PlayerController::SetTimeBasedDrawingsStateAction(state.enableTimeBasedDrawings));
}

/// An analysis ends together with its screen, whose recording is stopped before the new state reads the recorder.
void leaveScreen(const State& state) {
    const std::shared_ptr<MainViewController>& screen = state.existingMainViewController();
    if (screen && screen->presentingViewController()) screen->dismiss(false, {});
}

State cleared(const State* state) {
    if (state) leaveScreen(*state);
    State next;
    const std::shared_ptr<PlayersManager> manager = playersManager(next);
    if (!manager) return next;
    manager->cellControllers.clear();
    changeCollections(*manager, [](ui::CollectionView& view) { view.reloadData(); });
    return next;
}

State added(const AddMediaAction& action, State next) {
    next.media.edit().push_back(action.media);
    updateMediaDependentFlags(next);
    next.mainViewControllerState.isHUDVisible = true;
    const std::shared_ptr<PlayersManager> manager = playersManager(next);
    if (!manager) return next;
    const std::int64_t index = std::max<std::int64_t>(static_cast<std::int64_t>(next.media->size()), 1) - 1;
    manager->cellControllers.push_back(PlayerController::make(action.media, index));
    changeCollections(*manager, [&](ui::CollectionView& view) {
        if (view.numberOfItemsInSection(0) != static_cast<std::int64_t>(manager->cellControllers.size())) {
            view.insertItems({{index, 0}});
        } else {
            view.reloadData();
        }
    });
    for (const auto& controller : manager->cellControllers) {
        configure(*controller, next, controller->localStore->state().isHUDVisible);
    }
    if (next.mainViewControllerState.isMediaPlaybackLocked) applyLockRule(*manager, true);
    return next;
}

State removed(const RemoveMediaAction& action, State next) {
    if (action.index < 0 || action.index >= static_cast<std::int64_t>(next.media->size())) return next;
    next.media.edit().erase(next.media->begin() + action.index);
    updateMediaDependentFlags(next);
    const std::shared_ptr<PlayersManager> manager = playersManager(next);
    if (!manager) return next;
    auto& controllers = manager->cellControllers;
    if (action.index >= static_cast<std::int64_t>(controllers.size())) return next;
    controllers[static_cast<std::size_t>(action.index)]->unbind();
    controllers.erase(controllers.begin() + action.index);
    renumber(*manager);
    changeCollections(*manager, [&](ui::CollectionView& view) {
        if (view.numberOfItemsInSection(0) != static_cast<std::int64_t>(controllers.size())) {
            view.deleteItems({{action.index, 0}});
        } else {
            view.reloadData();
        }
    });
    renderAgain(*manager);
    if (next.mainViewControllerState.isMediaPlaybackLocked) applyLockRule(*manager, true);
    return next;
}

State updated(const UpdateMediaAction& action, State next) {
    if (action.index < 0 || action.index >= static_cast<std::int64_t>(next.media->size())) return next;
    const auto position = static_cast<std::size_t>(action.index);
    next.media.edit()[position] = action.media;
    const std::shared_ptr<PlayersManager> manager = playersManager(next);
    if (!manager || position >= manager->cellControllers.size()) return next;
    std::shared_ptr<PlayerController>& controller = manager->cellControllers[position];
    controller->unbind();
    controller = PlayerController::make(action.media, action.index);
    configure(*controller, next, next.mainViewControllerState.isHUDVisible);
    changeCollections(*manager, [&](ui::CollectionView& view) { view.reloadItems({{action.index, 0}}); });
    if (next.mainViewControllerState.isMediaPlaybackLocked) applyLockRule(*manager, true);
    return next;
}

State configured(const SetConfigurationAction& action, State next) {
    const VideoAnalysisConfiguration& configuration = action.configuration;
    next.theme = configuration.themeConfiguration;
    next.delegate = configuration.delegate;
    next.iconsConfiguration = configuration.iconsConfiguration;
    next.enableTimeBasedDrawings = configuration.enableTimeBasedDrawings;
    next.defaultScrubbingDirection = configuration.defaultScrubbingDirection;
    if (const std::shared_ptr<PlayersManager> manager = playersManager(next)) {
        for (const auto& controller : manager->cellControllers) {
            controller->localStore->dispatch(
                PlayerController::SetTimeBasedDrawingsStateAction(next.enableTimeBasedDrawings));
            controller->localStore->dispatch(
                PlayerController::SetScrubbingDirectionStateAction(next.defaultScrubbingDirection));
        }
    }
    return next;
}

State presented(const SetPresentationConfigurationAction& action, State next) {
    next.presenterViewController = action.viewController;
    MainViewController& screen = requiredScreen(next);
    screen.setModalPresentationStyle(action.presentationStyle);
    action.viewController->present(next.mainViewController(), true, {});
    return next;
}

State withHUDVisible(const SetHUDVisibleAction& action, State next) {
    const bool isVisible = action.newState || next.media->empty();
    next.mainViewControllerState.isHUDVisible = isVisible;
    if (const std::shared_ptr<PlayersManager> manager = playersManager(next)) {
        for (const auto& controller : manager->cellControllers) {
            controller->localStore->dispatch(PlayerController::SetHUDVisibleStateAction(isVisible));
        }
    }
    return next;
}

/// Calls `work` for every player controller that `index` addresses, in list order.
template <class Work>
void forAddressed(const State& state, std::optional<std::int64_t> index, Work&& work) {
    const std::shared_ptr<PlayersManager> manager = playersManager(state);
    if (!manager) return;
    for (const auto& controller : manager->cellControllers) {
        if (!index || controller->index == *index) work(*controller);
    }
}

void setPlaying(const PlayerController& controller, bool isPlaying) {
    controller.endRulerThrow();
    controller.localStore->dispatch(PlayerController::SetCellVideoPlayingStateAction(isPlaying));
}

void pause(const PlayerController& controller) { setPlaying(controller, false); }

std::shared_ptr<media::Player> playerOf(const PlayerController& controller) {
    const auto cell = controller.cell();
    const auto video = cell ? cell->playerView.lock() : nullptr;
    return video ? video->player() : nullptr;
}

void step(const State& state, std::optional<std::int64_t> index, std::int64_t steps) {
    forAddressed(state, index, [&](const PlayerController& controller) {
        pause(controller);
        const std::shared_ptr<media::Player> player = playerOf(controller);
        if (!player || steps == 0) return;
        // The pause reaches the player with the local state some turns later; the step counts from a picture that stands.
        player->pause();
        media::PlayerItem& item = *player->currentItem();
        if (steps >= 1 && item.canStepForward()) {
            item.step(steps);
        } else if (item.canStepBackward()) {
            item.step(steps);
        }
    });
}

void seek(const State& state, const CellVideoSeekToTimeAction& action) {
    forAddressed(state, action.index, [&](const PlayerController& controller) {
        pause(controller);
        const std::shared_ptr<media::Player> player = playerOf(controller);
        if (!player) return;
        player->pause();
        player->seek(action.time, media::Time::zero(), media::Time::zero());
    });
}

template <class... Records>
bool isOneOf(const Action& action) {
    return (action.as<Records>() || ...);
}

}  // namespace

State reduceMain(const Action& action, const State* state) {
    if (action.as<ClearStateAction>()) return cleared(state);
    State next = state ? *state : State();
    if (const auto* add = action.as<AddMediaAction>()) return added(*add, std::move(next));
    if (const auto* remove = action.as<RemoveMediaAction>()) return removed(*remove, std::move(next));
    if (const auto* update = action.as<UpdateMediaAction>()) return updated(*update, std::move(next));
    if (const auto* configure = action.as<SetConfigurationAction>()) return configured(*configure, std::move(next));
    if (const auto* present = action.as<SetPresentationConfigurationAction>())
        return presented(*present, std::move(next));
    if (const auto* dismiss = action.as<DismissAction>()) {
        requiredScreen(next).dismiss(dismiss->animated, dismiss->completion);
        return next;
    }
    if (action.as<SetPlaybackLockStateAction>()) {
        next.mainViewControllerState = reduceScreen(action, &next.mainViewControllerState);
        if (const std::shared_ptr<PlayersManager> manager = playersManager(next)) {
            applyLockRule(*manager, next.mainViewControllerState.isMediaPlaybackLocked);
        }
        return next;
    }
    if (const auto* visible = action.as<SetHUDVisibleAction>()) return withHUDVisible(*visible, std::move(next));
    if (isOneOf<SetScreenRecordingStateAction, SetMicRecordingStateAction, SetDrawingToolsCollapseStateAction,
                SetColorPickerCollapseStateAction, SetToolColorMapAction, HasRecordingPermissionAction>(action)) {
        next.mainViewControllerState = reduceScreen(action, &next.mainViewControllerState);
        return next;
    }
    if (isOneOf<SetCellVideoPlayingStateAction, PerformCellVideoSeekBackwardAction, PerformCellVideoSeekForwardAction,
                CellVideoSeekToTimeAction, SetDrawingToolTypeAction, SetDrawingToolColorAction, SetPlayerRate>(
            action)) {
        return reducePlayers(action, next);
    }
    debugLog("Unknown action");
    return next;
}

MainViewControllerState reduceScreen(const Action& action, const MainViewControllerState* state) {
    MainViewControllerState next = state ? *state : MainViewControllerState();
    if (const auto* permission = action.as<HasRecordingPermissionAction>()) {
        next.hasStartedRecording = permission->newState;
    } else if (const auto* recording = action.as<SetScreenRecordingStateAction>()) {
        next.isScreenRecording = recording->newState && platform().screenRecorder().isAvailable();
    } else if (const auto* microphone = action.as<SetMicRecordingStateAction>()) {
        next.isMicrophoneEnabled = microphone->newState && platform().screenRecorder().isAvailable();
    } else if (const auto* lock = action.as<SetPlaybackLockStateAction>()) {
        next.isMediaPlaybackLocked = lock->newState;
    } else if (const auto* tools = action.as<SetDrawingToolsCollapseStateAction>()) {
        if (tools->isCollapsed) next.isColorPickerOpened = false;
        next.isDrawingToolsCollapsed = tools->isCollapsed;
    } else if (const auto* picker = action.as<SetColorPickerCollapseStateAction>()) {
        next.isColorPickerOpened = picker->isCollapsed;  // unchanged on purpose: senders pass true to open
    } else if (const auto* colors = action.as<SetToolColorMapAction>()) {
        next.toolColorMap = colors->newMap;
    } else {
        debugLog("Unknown mainViewController action");
    }
    return next;
}

State reducePlayers(const Action& action, const State& state) {
    State next = state;
    MainViewControllerState& screen = next.mainViewControllerState;
    if (const auto* playing = action.as<SetCellVideoPlayingStateAction>()) {
        forAddressed(next, playing->index,
                     [&](const PlayerController& controller) { setPlaying(controller, playing->newState); });
    } else if (const auto* backward = action.as<PerformCellVideoSeekBackwardAction>()) {
        step(next, backward->index, backward->steps);
    } else if (const auto* forward = action.as<PerformCellVideoSeekForwardAction>()) {
        step(next, forward->index, forward->steps);
    } else if (const auto* toTime = action.as<CellVideoSeekToTimeAction>()) {
        seek(next, *toTime);
    } else if (const auto* tool = action.as<SetDrawingToolTypeAction>()) {
        if (tool->selectedTool != screen.toolType) {
            screen.isColorPickerOpened = false;
            screen.toolType = tool->selectedTool;
        } else if (tool->toggleColorPicker) {
            screen.isColorPickerOpened = !screen.isColorPickerOpened;
        }
    } else if (const auto* color = action.as<SetDrawingToolColorAction>()) {
        screen.toolColorMap.set(screen.toolType, color->selectedColor);
        screen.isColorPickerOpened = false;
    } else if (const auto* rate = action.as<SetPlayerRate>()) {
        forAddressed(next, rate->index, [&](const PlayerController& controller) {
            controller.localStore->dispatch(PlayerController::SetCellVideoPlaybackRateAction(rate->playerRate));
        });
    } else {
        debugLog("Unknown cellController action");
    }
    return next;
}

// The screen and the store stand here, above everything that they hold.

const std::shared_ptr<MainViewController>& State::mainViewController() const {
    if (!screen_->isMade) {
        screen_->isMade = true;
        if (const auto storyboard = platform().bundle().storyboard("Main")) {
            screen_->controller =
                std::dynamic_pointer_cast<MainViewController>(storyboard->instantiateInitialViewController());
        }
        if (screen_->controller) screen_->controller->view();
    }
    return screen_->controller;
}

bool State::hasPlayer(const PlayerCollectionViewCellController& player) const {
    const auto& screen = existingMainViewController();
    const auto manager = screen ? screen->playersManager() : nullptr;
    return manager && std::any_of(manager->cellControllers.begin(), manager->cellControllers.end(),
                                  [&](const auto& controller) { return controller.get() == &player; });
}

Store<State>& mainStore() {
    // Never destroyed: it lives as long as the process, and what it holds must not outlive the platform's own statics.
    static const auto* store = new std::shared_ptr<Store<State>>(Store<State>::make(reduceMain, State(), {}, true));
    return **store;
}

}  // namespace videoanalysis
