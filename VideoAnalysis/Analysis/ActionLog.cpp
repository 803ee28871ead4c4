#include "VideoAnalysis/Analysis/ActionLog.h"

#include "VideoAnalysis/Platform/Platform.h"

#include <cstdlib>
#include <string_view>

namespace videoanalysis {
namespace {

/// Comma-separated "name: before -> after" of the fields that differ.
std::string describeChanges(const DescribedFields& before, const DescribedFields& after) {
    std::string text;
    for (std::size_t i = 0; i < before.size(); ++i) {
        if (before[i].second == after[i].second) continue;
        if (!text.empty()) text += ", ";
        text += before[i].first + ": " + before[i].second + " -> " + after[i].second;
    }
    return text.empty() ? "nothing changed" : text;
}

}  // namespace

DescribedFields describeFields(const State& state) {
    const MainViewControllerState& screen = state.mainViewControllerState;
    DescribedFields fields = {
        {"media", std::to_string(state.media->size())},
        {"presenterViewController", state.presenterViewController ? "set" : "none"},
        {"delegate", state.delegate.expired() ? "none" : "set"},
        {"enableTimeBasedDrawings", describeField(state.enableTimeBasedDrawings)},
        {"defaultScrubbingDirection", describeField(state.defaultScrubbingDirection)},
        {"isHUDVisible", describeField(screen.isHUDVisible)},
        {"toolType", describeField(screen.toolType)},
        {"isScreenRecording", describeField(screen.isScreenRecording)},
        {"shouldAllowRecording", describeField(screen.shouldAllowRecording)},
        {"isMicrophoneEnabled", describeField(screen.isMicrophoneEnabled)},
        {"hasStartedRecording", describeField(screen.hasStartedRecording)},
        {"shouldAllowAddingMedia", describeField(screen.shouldAllowAddingMedia)},
        {"shouldAllowDeletingMedia", describeField(screen.shouldAllowDeletingMedia)},
        {"isMediaPlaybackLocked", describeField(screen.isMediaPlaybackLocked)},
        {"shouldAllowMediaPlaybackLock", describeField(screen.shouldAllowMediaPlaybackLock)},
        {"isColorPickerOpened", describeField(screen.isColorPickerOpened)},
        {"isDrawingToolsVisible", describeField(screen.isDrawingToolsVisible)},
        {"isDrawingToolsCollapsed", describeField(screen.isDrawingToolsCollapsed)},
        {"isDrawingToolsDrawerCollapsed", describeField(screen.isDrawingToolsDrawerCollapsed)},
    };
    for (int tool = 0; tool <= static_cast<int>(SketchToolType::ellipseFill); ++tool) {
        const std::optional<Color> color = screen.toolColorMap[static_cast<SketchToolType>(tool)];
        fields.emplace_back("toolColorMap[" + std::to_string(tool) + "]",
                            color ? describeField(color->red) + " " + describeField(color->green) + " " +
                                        describeField(color->blue) + " " + describeField(color->alpha)
                                  : "none");
    }
    return fields;
}

DescribedFields describeFields(const player::LocalState& state) {
    return {
        {"canUndo", describeField(state.canUndo)},
        {"canRedo", describeField(state.canRedo)},
        {"isEditing", describeField(state.isEditing)},
        {"isHUDVisible", describeField(state.isHUDVisible)},
        {"playbackRate", describeField(state.playbackRate)},
        {"contentModeIndex", describeField(state.contentModeIndex)},
        {"isMediaPlaying", describeField(state.isMediaPlaying)},
        {"playbackCurrentTime", describeField(state.playbackCurrentTime)},
        {"isMediaControlHidden", describeField(state.isMediaControlHidden)},
        {"enableTimeBasedDrawings", describeField(state.enableTimeBasedDrawings)},
        {"defaultScrubbingDirection", describeField(state.defaultScrubbingDirection)},
    };
}

template <class State>
Middleware<State> actionLog(std::string name) {
    return [name = std::move(name)](const DispatchFunction&, std::function<Snapshot<State>()> getState) {
        return [name, getState = std::move(getState)](DispatchFunction next) -> DispatchFunction {
            return [name, getState, next = std::move(next)](const Action& action) {
                const Snapshot<State> before = getState();
                next(action);
                const Snapshot<State> after = getState();
                if (!before || !after || action.as<player::SetCellVideoTimeAction>()) return;
                debugLog(name + ": " + action.description() + " | " +
                         describeChanges(describeFields(*before), describeFields(*after)));
            };
        };
    };
}

template <class State>
std::vector<Middleware<State>> debuggingMiddleware(const std::string& name) {
    const char* value = std::getenv("VIDEOANALYSIS_LOG_ACTIONS");
    if (!value || std::string_view(value) != "1") return {};
    return {actionLog<State>(name)};
}

template Middleware<State> actionLog(std::string name);
template Middleware<player::LocalState> actionLog(std::string name);
template std::vector<Middleware<State>> debuggingMiddleware(const std::string& name);
template std::vector<Middleware<player::LocalState>> debuggingMiddleware(const std::string& name);

}  // namespace videoanalysis
