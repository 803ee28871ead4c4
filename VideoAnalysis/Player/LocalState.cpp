#include "VideoAnalysis/Player/LocalState.h"

#include "VideoAnalysis/Platform/FatalError.h"
#include "VideoAnalysis/Platform/Platform.h"

#include <limits>

namespace videoanalysis::cell {

LocalState reduce(const Action& action, const LocalState* state) {
    LocalState next = state ? *state : LocalState();
    if (const auto* rate = action.as<SetCellVideoPlaybackRateAction>()) {
        next.playbackRate = rate->newRate;
    } else if (const auto* playing = action.as<SetCellVideoPlayingStateAction>()) {
        next.isMediaPlaying = playing->newState;
    } else if (action.as<ChangeCellVideoFillModeAction>()) {
        if (next.contentModeIndex == std::numeric_limits<std::int64_t>::max()) fatalError("contentModeIndex overflows");
        const std::int64_t following = next.contentModeIndex + 1;
        const bool exists = following >= 0 && following < static_cast<std::int64_t>(supportedContentModes.size());
        next.contentModeIndex = exists ? following : 0;
    } else if (const auto* time = action.as<SetCellVideoTimeAction>()) {
        next.playbackCurrentTime = time->currentTime;
    } else if (const auto* editing = action.as<SetEditingStateAction>()) {
        next.isEditing = editing->newState;
    } else if (const auto* undo = action.as<UndoAction>()) {
        next.canUndo = undo->newState;
    } else if (const auto* redo = action.as<RedoAction>()) {
        next.canRedo = redo->newState;
    } else if (const auto* control = action.as<SetMediaControlHiddenStateAction>()) {
        next.isMediaControlHidden = control->newState;
    } else if (const auto* hud = action.as<SetHUDVisibleStateAction>()) {
        next.isHUDVisible = hud->newState;
    } else if (const auto* timeBased = action.as<SetTimeBasedDrawingsStateAction>()) {
        next.enableTimeBasedDrawings = timeBased->newState;
    } else if (const auto* direction = action.as<SetScrubbingDirectionStateAction>()) {
        next.defaultScrubbingDirection = direction->newState;
    } else {
        debugLog("Unknown CellController action");
    }
    return next;
}

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

}  // namespace videoanalysis::cell
