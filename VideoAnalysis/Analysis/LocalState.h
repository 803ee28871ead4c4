#pragma once
// The state of one player, its actions and their reducer. Each player controller has a store of it; the reducers of the
// analysis dispatch to those stores through `AnalysisPlayers`.

#include "VideoAnalysis/Platform/UI/View.h"
#include "VideoAnalysis/Store/Action.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace videoanalysis {

class InfiniteCollectionView;

/// The local state and actions of one player. An action of the analysis may have the same name but is a different type.
namespace player {

struct LocalState {
    bool canUndo = false;
    bool canRedo = false;
    bool isEditing = false;
    std::optional<float> currentFPS;  ///< not set by any action; the frame rate is read from the track
    bool isHUDVisible = true;
    float playbackRate = 1.0F;
    std::int64_t contentModeIndex = 0;  ///< into `supportedContentModes`
    bool isMediaPlaying = false;
    bool useOriginalPlaybackRate = true;
    float playbackCurrentTime = 0.0F;  ///< seconds
    bool isMediaControlHidden = false;
    bool enableTimeBasedDrawings = true;
    bool defaultScrubbingDirection = true;
    std::shared_ptr<InfiniteCollectionView> collectionView;  ///< not set by any action
};

/// The fill modes that a player cycles through.
inline constexpr std::array<ui::ContentMode, 3> supportedContentModes = {
    ui::ContentMode::scaleAspectFit, ui::ContentMode::scaleAspectFill, ui::ContentMode::scaleToFill};

/// An action for the store of one player. Has its own reduction, so that the compiler rejects an action without one.
struct LocalAction : Action {
    /// Applies the action to `next`, a copy of the current state.
    virtual void reduce(LocalState& next) const = 0;
};

/// Reports whether undo is possible; does not undo.
struct UndoAction final : LocalAction {
    bool newState;
    explicit UndoAction(bool newState) : newState(newState) {}
    std::string description() const override;
    void reduce(LocalState& next) const override;
};

/// Reports whether redo is possible; does not redo.
struct RedoAction final : LocalAction {
    bool newState;
    explicit RedoAction(bool newState) : newState(newState) {}
    std::string description() const override;
    void reduce(LocalState& next) const override;
};

/// Switches to the next fill mode.
struct ChangeCellVideoFillModeAction final : LocalAction {
    std::string description() const override;
    void reduce(LocalState& next) const override;
};

struct SetCellVideoPlayingStateAction final : LocalAction {
    bool newState;
    explicit SetCellVideoPlayingStateAction(bool newState) : newState(newState) {}
    std::string description() const override;
    void reduce(LocalState& next) const override;
};

struct SetCellVideoPlaybackRateAction final : LocalAction {
    float newRate;
    explicit SetCellVideoPlaybackRateAction(float newRate) : newRate(newRate) {}
    std::string description() const override;
    void reduce(LocalState& next) const override;
};

struct SetCellVideoTimeAction final : LocalAction {
    float currentTime;  ///< seconds
    explicit SetCellVideoTimeAction(float currentTime) : currentTime(currentTime) {}
    std::string description() const override;
    void reduce(LocalState& next) const override;
};

struct SetHUDVisibleStateAction final : LocalAction {
    bool newState;
    explicit SetHUDVisibleStateAction(bool newState) : newState(newState) {}
    std::string description() const override;
    void reduce(LocalState& next) const override;
};

struct SetMediaControlHiddenStateAction final : LocalAction {
    bool newState;
    explicit SetMediaControlHiddenStateAction(bool newState) : newState(newState) {}
    std::string description() const override;
    void reduce(LocalState& next) const override;
};

struct SetTimeBasedDrawingsStateAction final : LocalAction {
    bool newState;
    explicit SetTimeBasedDrawingsStateAction(bool newState) : newState(newState) {}
    std::string description() const override;
    void reduce(LocalState& next) const override;
};

struct SetScrubbingDirectionStateAction final : LocalAction {
    bool newState;
    explicit SetScrubbingDirectionStateAction(bool newState) : newState(newState) {}
    std::string description() const override;
    void reduce(LocalState& next) const override;
};

struct SetEditingStateAction final : LocalAction {
    bool newState;
    explicit SetEditingStateAction(bool newState) : newState(newState) {}
    std::string description() const override;
    void reduce(LocalState& next) const override;
};

/// The reducer of a player's store; `state` is null if there is none yet. Never dispatches. Any other action is ignored and
/// logged.
LocalState reduce(const Action& action, const LocalState* state);

}  // namespace player
}  // namespace videoanalysis
