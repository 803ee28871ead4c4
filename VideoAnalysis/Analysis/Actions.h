#pragma once
// The actions of the analysis, dispatched to `mainStore` on the main thread. An optional `index` is a player's position in
// the list of media; an empty one addresses every player.

#include "VideoAnalysis/Analysis/State.h"
#include "VideoAnalysis/Platform/Media.h"
#include "VideoAnalysis/Store/Action.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace videoanalysis {

// Each action has its own reduction, so that the compiler rejects an action without one. The base class selects the reducer
// that applies it. All reductions are in Reducers.cpp.

/// Clips, configuration, presentation and controls; may act on the screen.
struct MainAction : Action {
    /// Applies the action to `next`, a copy of the current state.
    virtual void reduce(State& next) const = 0;
};
/// Recording, tools and colour picker.
struct ScreenAction : Action {
    virtual void reduce(MainViewControllerState& next) const = 0;
};
/// Playback, seeking, playback rate, the choice of tool and colour; may act on the players.
struct PlayersAction : Action {
    virtual void reduce(State& next) const = 0;
};

/// Appends a clip and its player.
struct AddMediaAction final : MainAction {
    VideoAnalysisController::Object media;
    explicit AddMediaAction(VideoAnalysisController::Object media) : media(std::move(media)) {}
    std::string description() const override;
    void reduce(State& next) const override;
};

/// Resets the whole state to its defaults.
struct ClearStateAction final : MainAction {
    std::string description() const override;
    void reduce(State& next) const override;
};

/// Presents the analysis screen over `viewController`.
struct SetPresentationConfigurationAction final : MainAction {
    std::shared_ptr<ui::ViewController> viewController;
    ui::ModalPresentationStyle presentationStyle;
    SetPresentationConfigurationAction(std::shared_ptr<ui::ViewController> viewController,
                                       ui::ModalPresentationStyle presentationStyle)
        : viewController(std::move(viewController)), presentationStyle(presentationStyle) {}
    std::string description() const override;
    void reduce(State& next) const override;
};

/// Dismisses the analysis screen; `completion` may be empty.
struct DismissAction final : MainAction {
    bool animated;
    std::function<void()> completion;
    DismissAction(bool animated, std::function<void()> completion)
        : animated(animated), completion(std::move(completion)) {}
    std::string description() const override;
    void reduce(State& next) const override;
};

/// Copies the configuration into the state.
struct SetConfigurationAction final : MainAction {
    VideoAnalysisConfiguration configuration;
    explicit SetConfigurationAction(VideoAnalysisConfiguration configuration)
        : configuration(std::move(configuration)) {}
    std::string description() const override;
    void reduce(State& next) const override;
};

/// Reports the recorder's answer to a start.
struct HasRecordingPermissionAction final : ScreenAction {
    bool newState;
    explicit HasRecordingPermissionAction(bool newState) : newState(newState) {}
    std::string description() const override;
    void reduce(MainViewControllerState& next) const override;
};

/// Requests that recording start or stop.
struct SetScreenRecordingStateAction final : ScreenAction {
    bool newState;
    explicit SetScreenRecordingStateAction(bool newState) : newState(newState) {}
    std::string description() const override;
    void reduce(MainViewControllerState& next) const override;
};

/// Replaces the clip at `index`.
struct UpdateMediaAction final : MainAction {
    std::int64_t index;
    VideoAnalysisController::Object media;
    UpdateMediaAction(std::int64_t index, VideoAnalysisController::Object media)
        : index(index), media(std::move(media)) {}
    std::string description() const override;
    void reduce(State& next) const override;
};

/// Shows or hides the controls of all players.
struct SetHUDVisibleAction final : MainAction {
    bool newState;
    explicit SetHUDVisibleAction(bool newState) : newState(newState) {}
    std::string description() const override;
    void reduce(State& next) const override;
};

struct SetPlayerRate final : PlayersAction {
    std::optional<std::int64_t> index;
    float playerRate;
    SetPlayerRate(std::optional<std::int64_t> index, float playerRate) : index(index), playerRate(playerRate) {}
    std::string description() const override;
    void reduce(State& next) const override;
};

/// Moves by `steps` frames; its sign gives the direction.
struct PerformCellVideoSeekForwardAction final : PlayersAction {
    std::optional<std::int64_t> index;
    std::int64_t steps;
    PerformCellVideoSeekForwardAction(std::optional<std::int64_t> index, std::int64_t steps)
        : index(index), steps(steps) {}
    std::string description() const override;
    void reduce(State& next) const override;
};

/// Moves by `steps` frames; its sign gives the direction, so callers pass a negative count.
struct PerformCellVideoSeekBackwardAction final : PlayersAction {
    std::optional<std::int64_t> index;
    std::int64_t steps;
    PerformCellVideoSeekBackwardAction(std::optional<std::int64_t> index, std::int64_t steps)
        : index(index), steps(steps) {}
    std::string description() const override;
    void reduce(State& next) const override;
};

/// Plays or pauses.
struct SetCellVideoPlayingStateAction final : PlayersAction {
    bool newState;
    std::optional<std::int64_t> index;
    SetCellVideoPlayingStateAction(bool newState, std::optional<std::int64_t> index)
        : newState(newState), index(index) {}
    std::string description() const override;
    void reduce(State& next) const override;
};

/// Removes the clip and the player at `index`.
struct RemoveMediaAction final : MainAction {
    std::int64_t index;
    explicit RemoveMediaAction(std::int64_t index) : index(index) {}
    std::string description() const override;
    void reduce(State& next) const override;
};

/// Sets the colour of the current tool.
struct SetDrawingToolColorAction final : PlayersAction {
    Color selectedColor;
    explicit SetDrawingToolColorAction(Color selectedColor) : selectedColor(selectedColor) {}
    std::string description() const override;
    void reduce(State& next) const override;
};

/// True opens the colour picker. The value is stored unchanged.
struct SetColorPickerCollapseStateAction final : ScreenAction {
    bool isCollapsed;
    explicit SetColorPickerCollapseStateAction(bool isCollapsed) : isCollapsed(isCollapsed) {}
    std::string description() const override;
    void reduce(MainViewControllerState& next) const override;
};

/// Selects a tool; selecting the current one again may open or close the colour picker.
struct SetDrawingToolTypeAction final : PlayersAction {
    SketchToolType selectedTool;
    bool toggleColorPicker;
    SetDrawingToolTypeAction(SketchToolType selectedTool, bool toggleColorPicker)
        : selectedTool(selectedTool), toggleColorPicker(toggleColorPicker) {}
    std::string description() const override;
    void reduce(State& next) const override;
};

/// Locks or unlocks the playback of all players together.
struct SetPlaybackLockStateAction final : ScreenAction {
    bool newState;
    explicit SetPlaybackLockStateAction(bool newState) : newState(newState) {}
    std::string description() const override;
    void reduce(MainViewControllerState& next) const override;
};

struct SetDrawingToolsCollapseStateAction final : ScreenAction {
    bool isCollapsed;
    explicit SetDrawingToolsCollapseStateAction(bool isCollapsed) : isCollapsed(isCollapsed) {}
    std::string description() const override;
    void reduce(MainViewControllerState& next) const override;
};

struct SetToolColorMapAction final : ScreenAction {
    ToolColorMap newMap;
    explicit SetToolColorMapAction(const ToolColorMap& newMap) : newMap(newMap) {}
    std::string description() const override;
    void reduce(MainViewControllerState& next) const override;
};

struct SetMicRecordingStateAction final : ScreenAction {
    bool newState;
    explicit SetMicRecordingStateAction(bool newState) : newState(newState) {}
    std::string description() const override;
    void reduce(MainViewControllerState& next) const override;
};

/// Pauses and seeks to `time`; `delta` (seconds) and `percentage` (0...1) are what the sender derived it from.
struct CellVideoSeekToTimeAction final : PlayersAction {
    std::optional<double> delta;
    std::optional<double> percentage;
    media::Time time;
    std::optional<std::int64_t> index;
    CellVideoSeekToTimeAction(std::optional<double> delta, std::optional<double> percentage, const media::Time& time,
                              std::optional<std::int64_t> index)
        : delta(delta), percentage(percentage), time(time), index(index) {}
    std::string description() const override;
    void reduce(State& next) const override;
};

}  // namespace videoanalysis
