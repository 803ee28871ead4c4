#include "VideoAnalysis/Analysis/LocalState.h"

#include "VideoAnalysis/Platform/FatalError.h"
#include "VideoAnalysis/Platform/Platform.h"

#include <limits>

namespace videoanalysis::player {

LocalState reduce(const Action& action, const LocalState* state) {
    LocalState next = state ? *state : LocalState();
    if (const auto* local = dynamic_cast<const LocalAction*>(&action)) {
        local->reduce(next);
    } else {
        debugLog("Unknown CellController action");
    }
    return next;
}

// ---- Reductions

void UndoAction::reduce(LocalState& next) const { next.canUndo = newState; }
void RedoAction::reduce(LocalState& next) const { next.canRedo = newState; }
void ChangeCellVideoFillModeAction::reduce(LocalState& next) const {
    if (next.contentModeIndex == std::numeric_limits<std::int64_t>::max()) fatalError("contentModeIndex overflows");
    const std::int64_t following = next.contentModeIndex + 1;
    const bool exists = following >= 0 && following < static_cast<std::int64_t>(supportedContentModes.size());
    next.contentModeIndex = exists ? following : 0;
}
void SetCellVideoPlayingStateAction::reduce(LocalState& next) const { next.isMediaPlaying = newState; }
void SetCellVideoPlaybackRateAction::reduce(LocalState& next) const { next.playbackRate = newRate; }
void SetCellVideoTimeAction::reduce(LocalState& next) const { next.playbackCurrentTime = currentTime; }
void SetHUDVisibleStateAction::reduce(LocalState& next) const { next.isHUDVisible = newState; }
void SetMediaControlHiddenStateAction::reduce(LocalState& next) const { next.isMediaControlHidden = newState; }
void SetTimeBasedDrawingsStateAction::reduce(LocalState& next) const { next.enableTimeBasedDrawings = newState; }
void SetScrubbingDirectionStateAction::reduce(LocalState& next) const { next.defaultScrubbingDirection = newState; }
void SetEditingStateAction::reduce(LocalState& next) const { next.isEditing = newState; }

// ---- Descriptions

namespace {

std::string describe(std::string_view name, bool newState) {
    return describeAction(name, {{"newState", describeField(newState)}});
}

}  // namespace

std::string UndoAction::description() const { return describe("UndoAction", newState); }
std::string RedoAction::description() const { return describe("RedoAction", newState); }
std::string ChangeCellVideoFillModeAction::description() const {
    return describeAction("ChangeCellVideoFillModeAction", {});
}
std::string SetCellVideoPlayingStateAction::description() const {
    return describe("SetCellVideoPlayingStateAction", newState);
}
std::string SetCellVideoPlaybackRateAction::description() const {
    return describeAction("SetCellVideoPlaybackRateAction", {{"newRate", describeField(newRate)}});
}
std::string SetCellVideoTimeAction::description() const {
    return describeAction("SetCellVideoTimeAction", {{"currentTime", describeField(currentTime)}});
}
std::string SetHUDVisibleStateAction::description() const { return describe("SetHUDVisibleStateAction", newState); }
std::string SetMediaControlHiddenStateAction::description() const {
    return describe("SetMediaControlHiddenStateAction", newState);
}
std::string SetTimeBasedDrawingsStateAction::description() const {
    return describe("SetTimeBasedDrawingsStateAction", newState);
}
std::string SetScrubbingDirectionStateAction::description() const {
    return describe("SetScrubbingDirectionStateAction", newState);
}
std::string SetEditingStateAction::description() const { return describe("SetEditingStateAction", newState); }

}  // namespace videoanalysis::player
