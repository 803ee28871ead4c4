#include "VideoAnalysis/Analysis/Actions.h"

namespace videoanalysis {
namespace {

std::string describeValue(const Color& color) {
    return "(" + describeField(color.red) + ", " + describeField(color.green) + ", " + describeField(color.blue) +
           ", " + describeField(color.alpha) + ")";
}

std::string describeValue(const ToolColorMap& map) {
    std::string text = "[";
    for (int tool = 0; tool < 8; ++tool) {
        const std::optional<Color> color = map[static_cast<SketchToolType>(tool)];
        if (!color) continue;
        if (text.size() > 1) text += ", ";
        text += std::to_string(tool) + ": " + describeValue(*color);
    }
    return text + "]";
}

std::string describeValue(const media::Time& time) {
    return std::to_string(time.value) + "/" + std::to_string(time.timescale);
}

std::string describeObject(const void* object) {
    std::ostringstream text;
    text << object;
    return text.str();
}

}  // namespace

std::string AddMediaAction::description() const {
    return describeAction("AddMediaAction", {{"media", describeField(media)}});
}

std::string ClearStateAction::description() const { return describeAction("ClearStateAction", {}); }

std::string SetPresentationConfigurationAction::description() const {
    return describeAction("SetPresentationConfigurationAction",
                          {{"viewController", describeObject(viewController.get())},
                           {"presentationStyle", describeField(presentationStyle)}});
}

std::string DismissAction::description() const {
    return describeAction("DismissAction",
                          {{"animated", describeField(animated)}, {"completion", completion ? "function" : "none"}});
}

std::string SetConfigurationAction::description() const {
    return describeAction(
        "SetConfigurationAction",
        {{"configuration.enableTimeBasedDrawings", describeField(configuration.enableTimeBasedDrawings)},
         {"configuration.defaultScrubbingDirection", describeField(configuration.defaultScrubbingDirection)},
         {"configuration.delegate", describeObject(configuration.delegate.get())}});
}

std::string HasRecordingPermissionAction::description() const {
    return describeAction("HasRecordingPermissionAction", {{"newState", describeField(newState)}});
}

std::string SetScreenRecordingStateAction::description() const {
    return describeAction("SetScreenRecordingStateAction", {{"newState", describeField(newState)}});
}

std::string UpdateMediaAction::description() const {
    return describeAction("UpdateMediaAction", {{"index", describeField(index)}, {"media", describeField(media)}});
}

std::string SetHUDVisibleAction::description() const {
    return describeAction("SetHUDVisibleAction", {{"newState", describeField(newState)}});
}

std::string SetPlayerRate::description() const {
    return describeAction("SetPlayerRate",
                          {{"index", describeField(index)}, {"playerRate", describeField(playerRate)}});
}

std::string PerformCellVideoSeekForwardAction::description() const {
    return describeAction("PerformCellVideoSeekForwardAction",
                          {{"index", describeField(index)}, {"steps", describeField(steps)}});
}

std::string PerformCellVideoSeekBackwardAction::description() const {
    return describeAction("PerformCellVideoSeekBackwardAction",
                          {{"index", describeField(index)}, {"steps", describeField(steps)}});
}

std::string SetCellVideoPlayingStateAction::description() const {
    return describeAction("SetCellVideoPlayingStateAction",
                          {{"newState", describeField(newState)}, {"index", describeField(index)}});
}

std::string RemoveMediaAction::description() const {
    return describeAction("RemoveMediaAction", {{"index", describeField(index)}});
}

std::string SetDrawingToolColorAction::description() const {
    return describeAction("SetDrawingToolColorAction", {{"selectedColor", describeValue(selectedColor)}});
}

std::string SetColorPickerCollapseStateAction::description() const {
    return describeAction("SetColorPickerCollapseStateAction", {{"isCollapsed", describeField(isCollapsed)}});
}

std::string SetDrawingToolTypeAction::description() const {
    return describeAction("SetDrawingToolTypeAction", {{"selectedTool", describeField(selectedTool)},
                                                       {"toggleColorPicker", describeField(toggleColorPicker)}});
}

std::string SetPlaybackLockStateAction::description() const {
    return describeAction("SetPlaybackLockStateAction", {{"newState", describeField(newState)}});
}

std::string SetDrawingToolsCollapseStateAction::description() const {
    return describeAction("SetDrawingToolsCollapseStateAction", {{"isCollapsed", describeField(isCollapsed)}});
}

std::string SetToolColorMapAction::description() const {
    return describeAction("SetToolColorMapAction", {{"newMap", describeValue(newMap)}});
}

std::string SetMicRecordingStateAction::description() const {
    return describeAction("SetMicRecordingStateAction", {{"newState", describeField(newState)}});
}

std::string CellVideoSeekToTimeAction::description() const {
    return describeAction("CellVideoSeekToTimeAction", {{"delta", describeField(delta)},
                                                        {"percentage", describeField(percentage)},
                                                        {"time", describeValue(time)},
                                                        {"index", describeField(index)}});
}

}  // namespace videoanalysis
