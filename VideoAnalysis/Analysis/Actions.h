#pragma once
// Every action of the analysis, dispatched to `mainStore` on the main thread. An optional `index` is a player's position in
// the list of media; an absent one addresses every player.

#include "VideoAnalysis/Analysis/State.h"
#include "VideoAnalysis/Platform/Media.h"
#include "VideoAnalysis/Store/Action.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace videoanalysis {

/// Appends a clip and its player.
struct AddMediaAction final : Action {
    VideoAnalysisController::Object media;
    explicit AddMediaAction(VideoAnalysisController::Object media) : media(std::move(media)) {}
    std::string description() const override;
};

/// Returns the whole state to its defaults.
struct ClearStateAction final : Action {
    std::string description() const override;
};

/// Presents the analysis screen over `viewController`.
struct SetPresentationConfigurationAction final : Action {
    std::shared_ptr<ui::ViewController> viewController;
    ui::ModalPresentationStyle presentationStyle;
    SetPresentationConfigurationAction(std::shared_ptr<ui::ViewController> viewController,
                                       ui::ModalPresentationStyle presentationStyle)
        : viewController(std::move(viewController)), presentationStyle(presentationStyle) {}
    std::string description() const override;
};

/// Dismisses the analysis screen; `completion` may be empty.
struct DismissAction final : Action {
    bool animated;
    std::function<void()> completion;
    DismissAction(bool animated, std::function<void()> completion)
        : animated(animated), completion(std::move(completion)) {}
    std::string description() const override;
};

/// Copies the configuration into the state.
struct SetConfigurationAction final : Action {
    VideoAnalysisConfiguration configuration;
    explicit SetConfigurationAction(VideoAnalysisConfiguration configuration)
        : configuration(std::move(configuration)) {}
    std::string description() const override;
};

/// The recorder has answered a start.
struct HasRecordingPermissionAction final : Action {
    bool newState;
    explicit HasRecordingPermissionAction(bool newState) : newState(newState) {}
    std::string description() const override;
};

/// Asks for recording to start or stop.
struct SetScreenRecordingStateAction final : Action {
    bool newState;
    explicit SetScreenRecordingStateAction(bool newState) : newState(newState) {}
    std::string description() const override;
};

/// Replaces the clip at `index`.
struct UpdateMediaAction final : Action {
    std::int64_t index;
    VideoAnalysisController::Object media;
    UpdateMediaAction(std::int64_t index, VideoAnalysisController::Object media)
        : index(index), media(std::move(media)) {}
    std::string description() const override;
};

/// Shows or hides the controls of all players.
struct SetHUDVisibleAction final : Action {
    bool newState;
    explicit SetHUDVisibleAction(bool newState) : newState(newState) {}
    std::string description() const override;
};

struct SetPlayerRate final : Action {
    std::optional<std::int64_t> index;
    float playerRate;
    SetPlayerRate(std::optional<std::int64_t> index, float playerRate) : index(index), playerRate(playerRate) {}
    std::string description() const override;
};

/// Moves by `steps` frames; its sign gives the direction.
struct PerformCellVideoSeekForwardAction final : Action {
    std::optional<std::int64_t> index;
    std::int64_t steps;
    PerformCellVideoSeekForwardAction(std::optional<std::int64_t> index, std::int64_t steps)
        : index(index), steps(steps) {}
    std::string description() const override;
};

/// Moves by `steps` frames; its sign gives the direction, so senders pass a negative count.
struct PerformCellVideoSeekBackwardAction final : Action {
    std::optional<std::int64_t> index;
    std::int64_t steps;
    PerformCellVideoSeekBackwardAction(std::optional<std::int64_t> index, std::int64_t steps)
        : index(index), steps(steps) {}
    std::string description() const override;
};

/// Plays or pauses.
struct SetCellVideoPlayingStateAction final : Action {
    bool newState;
    std::optional<std::int64_t> index;
    SetCellVideoPlayingStateAction(bool newState, std::optional<std::int64_t> index)
        : newState(newState), index(index) {}
    std::string description() const override;
};

/// Removes the clip and the player at `index`.
struct RemoveMediaAction final : Action {
    std::int64_t index;
    explicit RemoveMediaAction(std::int64_t index) : index(index) {}
    std::string description() const override;
};

/// Colours the current tool.
struct SetDrawingToolColorAction final : Action {
    Color selectedColor;
    explicit SetDrawingToolColorAction(Color selectedColor) : selectedColor(selectedColor) {}
    std::string description() const override;
};

/// True opens the colour picker: the value is stored as it is.
struct SetColorPickerCollapseStateAction final : Action {
    bool isCollapsed;
    explicit SetColorPickerCollapseStateAction(bool isCollapsed) : isCollapsed(isCollapsed) {}
    std::string description() const override;
};

/// Chooses a tool; choosing the current one again may open or close the colour picker.
struct SetDrawingToolTypeAction final : Action {
    SketchToolType selectedTool;
    bool toggleColorPicker;
    SetDrawingToolTypeAction(SketchToolType selectedTool, bool toggleColorPicker)
        : selectedTool(selectedTool), toggleColorPicker(toggleColorPicker) {}
    std::string description() const override;
};

/// Locks the playback of all players together, or unlocks it.
struct SetPlaybackLockStateAction final : Action {
    bool newState;
    explicit SetPlaybackLockStateAction(bool newState) : newState(newState) {}
    std::string description() const override;
};

struct SetDrawingToolsCollapseStateAction final : Action {
    bool isCollapsed;
    explicit SetDrawingToolsCollapseStateAction(bool isCollapsed) : isCollapsed(isCollapsed) {}
    std::string description() const override;
};

struct SetToolColorMapAction final : Action {
    ToolColorMap newMap;
    explicit SetToolColorMapAction(const ToolColorMap& newMap) : newMap(newMap) {}
    std::string description() const override;
};

struct SetMicRecordingStateAction final : Action {
    bool newState;
    explicit SetMicRecordingStateAction(bool newState) : newState(newState) {}
    std::string description() const override;
};

/// Pauses and seeks to `time`; `delta` (seconds) and `percentage` (0...1) say how the sender came by it.
struct CellVideoSeekToTimeAction final : Action {
    std::optional<double> delta;
    std::optional<double> percentage;
    media::Time time;
    std::optional<std::int64_t> index;
    CellVideoSeekToTimeAction(std::optional<double> delta, std::optional<double> percentage, const media::Time& time,
                              std::optional<std::int64_t> index)
        : delta(delta), percentage(percentage), time(time), index(index) {}
    std::string description() const override;
};

}  // namespace videoanalysis
