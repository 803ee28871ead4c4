#pragma once
// What belongs to one player only: its state record, the actions that change it and their reducer. Each player controller
// keeps a store of it.

#include "VideoAnalysis/Platform/UI/View.h"
#include "VideoAnalysis/Store/Action.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace videoanalysis {

class InfiniteCollectionView;

/// The records that `PlayerCollectionViewCellController` names as its own.
namespace cell {

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

/// The fill modes that a player cycles through, in order.
inline constexpr std::array<ui::ContentMode, 3> supportedContentModes = {
    ui::ContentMode::scaleAspectFit, ui::ContentMode::scaleAspectFill, ui::ContentMode::scaleToFill};

/// Publishes whether undo is possible; undoes nothing itself.
struct UndoAction final : Action {
    bool newState;
    explicit UndoAction(bool newState) : newState(newState) {}
    std::string description() const override;
};

/// Publishes whether redo is possible; redoes nothing itself.
struct RedoAction final : Action {
    bool newState;
    explicit RedoAction(bool newState) : newState(newState) {}
    std::string description() const override;
};

/// Takes the next fill mode.
struct ChangeCellVideoFillModeAction final : Action {
    std::string description() const override;
};

struct SetCellVideoPlayingStateAction final : Action {
    bool newState;
    explicit SetCellVideoPlayingStateAction(bool newState) : newState(newState) {}
    std::string description() const override;
};

struct SetCellVideoPlaybackRateAction final : Action {
    float newRate;
    explicit SetCellVideoPlaybackRateAction(float newRate) : newRate(newRate) {}
    std::string description() const override;
};

struct SetCellVideoTimeAction final : Action {
    float currentTime;  ///< seconds
    explicit SetCellVideoTimeAction(float currentTime) : currentTime(currentTime) {}
    std::string description() const override;
};

struct SetHUDVisibleStateAction final : Action {
    bool newState;
    explicit SetHUDVisibleStateAction(bool newState) : newState(newState) {}
    std::string description() const override;
};

struct SetMediaControlHiddenStateAction final : Action {
    bool newState;
    explicit SetMediaControlHiddenStateAction(bool newState) : newState(newState) {}
    std::string description() const override;
};

struct SetTimeBasedDrawingsStateAction final : Action {
    bool newState;
    explicit SetTimeBasedDrawingsStateAction(bool newState) : newState(newState) {}
    std::string description() const override;
};

struct SetScrubbingDirectionStateAction final : Action {
    bool newState;
    explicit SetScrubbingDirectionStateAction(bool newState) : newState(newState) {}
    std::string description() const override;
};

struct SetEditingStateAction final : Action {
    bool newState;
    explicit SetEditingStateAction(bool newState) : newState(newState) {}
    std::string description() const override;
};

/// The reducer of a player's store; `state` is null for an absent one. Never fails, never dispatches.
LocalState reduce(const Action& action, const LocalState* state);

}  // namespace cell
}  // namespace videoanalysis
