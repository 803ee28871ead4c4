#include "VideoAnalysis/Analysis/Reducers.h"

#include "VideoAnalysis/Analysis/Actions.h"
#include "VideoAnalysis/Analysis/AnalysisScreen.h"
#include "VideoAnalysis/Analysis/LocalState.h"
#include "VideoAnalysis/Platform/FatalError.h"
#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Platform/Recording.h"

#include <algorithm>

namespace videoanalysis {
namespace {

AnalysisScreen& requiredScreen(const State& state) {
    const std::shared_ptr<AnalysisScreen>& screen = state.mainViewController();
    if (!screen) fatalError("The analysis screen cannot be created: storyboard \"Main\" has no MainViewController");
    return *screen;
}

/// Null while the screen cannot show players; the reduction then stops with the changes so far.
std::shared_ptr<AnalysisPlayers> playersOf(const State& state) { return requiredScreen(state).players(); }

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

/// While playback is locked, every player but the last hides its media controls.
void applyLockRule(AnalysisPlayers& players, bool isLocked) {
    const std::size_t count = players.count();
    for (std::size_t i = 0; i < count; ++i) {
        players.endRulerThrow(i);
        players.dispatch(i, player::SetMediaControlHiddenStateAction(isLocked && i != count - 1));
    }
}

/// Dispatches the settings of the analysis to a player.
void configure(AnalysisPlayers& players, std::size_t position, const State& state, bool isHUDVisible) {
    players.dispatch(position, player::SetHUDVisibleStateAction(isHUDVisible));
    players.dispatch(position, player::SetScrubbingDirectionStateAction(state.defaultScrubbingDirection));
    players.dispatch(position, player::SetTimeBasedDrawingsStateAction(state.enableTimeBasedDrawings));
}

/// Sends each player its own value again to make it render, because its appearance depends on the count of players.
void renderAgain(AnalysisPlayers& players) {
    for (std::size_t i = 0; i < players.count(); ++i) {
        players.dispatch(i, player::SetHUDVisibleStateAction(players.localState(i).isHUDVisible));
    }
}

bool hasClip(const State& state, std::int64_t index) {
    return index >= 0 && index < static_cast<std::int64_t>(state.media->size());
}

/// Calls `work` with the players and each position that `index` addresses: all of them if it is empty.
template <class Work>
void forAddressed(const State& state, std::optional<std::int64_t> index, Work&& work) {
    const std::shared_ptr<AnalysisPlayers> players = playersOf(state);
    if (!players) return;
    for (std::size_t i = 0; i < players->count(); ++i) {
        if (!index || *index == static_cast<std::int64_t>(i)) work(*players, i);
    }
}

void setPlaying(AnalysisPlayers& players, std::size_t position, bool isPlaying) {
    players.endRulerThrow(position);
    players.dispatch(position, player::SetCellVideoPlayingStateAction(isPlaying));
}

void step(const State& state, std::optional<std::int64_t> index, std::int64_t steps) {
    forAddressed(state, index, [steps](AnalysisPlayers& players, std::size_t position) {
        setPlaying(players, position, false);
        players.step(position, steps);
    });
}

}  // namespace

// ---- The three reducers

State reduceMain(const Action& action, const State* state) {
    State next = state ? *state : State();
    if (const auto* main = dynamic_cast<const MainAction*>(&action)) {
        main->reduce(next);
    } else if (dynamic_cast<const ScreenAction*>(&action)) {
        next.mainViewControllerState = reduceScreen(action, &next.mainViewControllerState);
        const std::shared_ptr<AnalysisPlayers> players =
            action.as<SetPlaybackLockStateAction>() ? playersOf(next) : nullptr;
        if (players) applyLockRule(*players, next.mainViewControllerState.isMediaPlaybackLocked);
    } else if (dynamic_cast<const PlayersAction*>(&action)) {
        next = reducePlayers(action, next);
    } else {
        debugLog("Unknown action");
    }
    return next;
}

MainViewControllerState reduceScreen(const Action& action, const MainViewControllerState* state) {
    MainViewControllerState next = state ? *state : MainViewControllerState();
    if (const auto* screen = dynamic_cast<const ScreenAction*>(&action)) {
        screen->reduce(next);
    } else {
        debugLog("Unknown mainViewController action");
    }
    return next;
}

State reducePlayers(const Action& action, const State& state) {
    State next = state;
    if (const auto* players = dynamic_cast<const PlayersAction*>(&action)) {
        players->reduce(next);
    } else {
        debugLog("Unknown cellController action");
    }
    return next;
}

// ---- Clips, configuration, presentation, controls

void ClearStateAction::reduce(State& next) const {
    // Dismissing the screen stops its recording, which must precede reading the recorder into the new state.
    const std::shared_ptr<AnalysisScreen> screen = next.existingMainViewController();
    if (screen && screen->isPresented()) screen->dismiss(false, {});
    next = State();
    if (const std::shared_ptr<AnalysisPlayers> players = playersOf(next)) players->clear();
}

void AddMediaAction::reduce(State& next) const {
    next.media.edit().push_back(media);
    updateMediaDependentFlags(next);
    next.mainViewControllerState.isHUDVisible = true;
    const std::shared_ptr<AnalysisPlayers> players = playersOf(next);
    if (!players) return;
    players->insert(static_cast<std::int64_t>(next.media->size()) - 1, media);
    for (std::size_t i = 0; i < players->count(); ++i) {
        configure(*players, i, next, players->localState(i).isHUDVisible);
    }
    if (next.mainViewControllerState.isMediaPlaybackLocked) applyLockRule(*players, true);
}

void RemoveMediaAction::reduce(State& next) const {
    if (!hasClip(next, index)) return;
    next.media.edit().erase(next.media->begin() + index);
    updateMediaDependentFlags(next);
    const std::shared_ptr<AnalysisPlayers> players = playersOf(next);
    const auto position = static_cast<std::size_t>(index);
    if (!players || position >= players->count()) return;
    players->remove(position);
    renderAgain(*players);
    if (next.mainViewControllerState.isMediaPlaybackLocked) applyLockRule(*players, true);
}

void UpdateMediaAction::reduce(State& next) const {
    if (!hasClip(next, index)) return;
    const auto position = static_cast<std::size_t>(index);
    next.media.edit()[position] = media;
    const std::shared_ptr<AnalysisPlayers> players = playersOf(next);
    if (!players || position >= players->count()) return;
    players->replace(position, media);
    configure(*players, position, next, next.mainViewControllerState.isHUDVisible);
    players->reload(position);
    if (next.mainViewControllerState.isMediaPlaybackLocked) applyLockRule(*players, true);
}

void SetConfigurationAction::reduce(State& next) const {
    next.theme = configuration.themeConfiguration;
    next.delegate = configuration.delegate;
    next.iconsConfiguration = configuration.iconsConfiguration;
    next.enableTimeBasedDrawings = configuration.enableTimeBasedDrawings;
    next.defaultScrubbingDirection = configuration.defaultScrubbingDirection;
    forAddressed(next, {}, [&next](AnalysisPlayers& players, std::size_t position) {
        players.dispatch(position, player::SetTimeBasedDrawingsStateAction(next.enableTimeBasedDrawings));
        players.dispatch(position, player::SetScrubbingDirectionStateAction(next.defaultScrubbingDirection));
    });
}

void SetPresentationConfigurationAction::reduce(State& next) const {
    next.presenterViewController = viewController;
    requiredScreen(next).presentOver(*viewController, presentationStyle);
}

void DismissAction::reduce(State& next) const { requiredScreen(next).dismiss(animated, completion); }

void SetHUDVisibleAction::reduce(State& next) const {
    const bool isVisible = newState || next.media->empty();
    next.mainViewControllerState.isHUDVisible = isVisible;
    forAddressed(next, {}, [isVisible](AnalysisPlayers& players, std::size_t position) {
        players.dispatch(position, player::SetHUDVisibleStateAction(isVisible));
    });
}

// ---- Recording, tools, colour picker

void HasRecordingPermissionAction::reduce(MainViewControllerState& next) const { next.hasStartedRecording = newState; }

void SetScreenRecordingStateAction::reduce(MainViewControllerState& next) const {
    next.isScreenRecording = newState && platform().screenRecorder().isAvailable();
}

void SetMicRecordingStateAction::reduce(MainViewControllerState& next) const {
    next.isMicrophoneEnabled = newState && platform().screenRecorder().isAvailable();
}

void SetPlaybackLockStateAction::reduce(MainViewControllerState& next) const { next.isMediaPlaybackLocked = newState; }

void SetDrawingToolsCollapseStateAction::reduce(MainViewControllerState& next) const {
    if (isCollapsed) next.isColorPickerOpened = false;
    next.isDrawingToolsCollapsed = isCollapsed;
}

void SetColorPickerCollapseStateAction::reduce(MainViewControllerState& next) const {
    next.isColorPickerOpened = isCollapsed;  // despite the name: callers pass true to open
}

void SetToolColorMapAction::reduce(MainViewControllerState& next) const { next.toolColorMap = newMap; }

// ---- Playback, seeking, playback rate, choice of tool and colour

void SetCellVideoPlayingStateAction::reduce(State& next) const {
    forAddressed(next, index, [isPlaying = newState](AnalysisPlayers& players, std::size_t position) {
        setPlaying(players, position, isPlaying);
    });
}

void PerformCellVideoSeekBackwardAction::reduce(State& next) const { step(next, index, steps); }

void PerformCellVideoSeekForwardAction::reduce(State& next) const { step(next, index, steps); }

void CellVideoSeekToTimeAction::reduce(State& next) const {
    forAddressed(next, index, [this](AnalysisPlayers& players, std::size_t position) {
        setPlaying(players, position, false);
        players.seek(position, time);
    });
}

void SetDrawingToolTypeAction::reduce(State& next) const {
    MainViewControllerState& screen = next.mainViewControllerState;
    if (selectedTool != screen.toolType) {
        screen.isColorPickerOpened = false;
        screen.toolType = selectedTool;
    } else if (toggleColorPicker) {
        screen.isColorPickerOpened = !screen.isColorPickerOpened;
    }
}

void SetDrawingToolColorAction::reduce(State& next) const {
    MainViewControllerState& screen = next.mainViewControllerState;
    screen.toolColorMap.set(screen.toolType, selectedColor);
    screen.isColorPickerOpened = false;
}

void SetPlayerRate::reduce(State& next) const {
    forAddressed(next, index, [this](AnalysisPlayers& players, std::size_t position) {
        players.dispatch(position, player::SetCellVideoPlaybackRateAction(playerRate));
    });
}

}  // namespace videoanalysis
