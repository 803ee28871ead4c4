#pragma once
// The data of one analysis: what `mainStore` holds and the screen's controllers render. Plain values; made by the default
// constructors and changed only by the reducers.

#include "VideoAnalysis/Analysis/VideoAnalysisController.h"
#include "VideoAnalysis/Sketch/SketchToolType.h"
#include "VideoAnalysis/Store/Snapshot.h"
#include "VideoAnalysis/Store/Store.h"

#include <array>
#include <memory>
#include <optional>
#include <vector>

namespace videoanalysis {

class AnalysisScreen;
namespace player {
struct LocalState;
}

/// A colour for each tool that has one.
class ToolColorMap {
public:
    /// Absent when the tool has no entry.
    std::optional<Color> operator[](SketchToolType tool) const { return colors_.at(static_cast<std::size_t>(tool)); }
    void set(SketchToolType tool, const Color& color) { colors_.at(static_cast<std::size_t>(tool)) = color; }

    /// The tools' own colours; the eraser has none.
    static ToolColorMap standard();

    friend bool operator==(const ToolColorMap&, const ToolColorMap&) = default;

private:
    std::array<std::optional<Color>, 8> colors_;
};

/// What the analysis screen shows.
struct MainViewControllerState {
    bool isHUDVisible = true;
    SketchToolType toolType = SketchToolType::pen;
    ToolColorMap toolColorMap = ToolColorMap::standard();
    bool isScreenRecording;
    bool shouldAllowRecording;
    bool isMicrophoneEnabled;
    bool hasStartedRecording = false;
    bool shouldAllowAddingMedia = true;
    bool shouldAllowDeletingMedia = false;
    bool isMediaPlaybackLocked = false;
    bool shouldAllowMediaPlaybackLock = false;
    bool isColorPickerOpened = false;
    bool isDrawingToolsVisible = false;
    bool isDrawingToolsCollapsed = false;
    bool isDrawingToolsDrawerCollapsed = false;

    /// Reads the three recorder fields from the platform's screen recorder.
    MainViewControllerState();
};

struct State {
    /// The analysis screen. Made on the first read from the storyboard "Main", once for this state and all its copies; null when
    /// the storyboard or its main screen is missing.
    const std::shared_ptr<AnalysisScreen>& mainViewController() const;
    /// The screen if it has been made already, else null.
    const std::shared_ptr<AnalysisScreen>& existingMainViewController() const { return screen_->controller; }
    /// Whether `localStore` belongs to a player of one of the clips, not to one that has been removed or replaced, or of an
    /// analysis that has ended.
    bool hasPlayer(const Store<player::LocalState>& localStore) const;

private:
    struct Screen {
        bool isMade = false;
        std::shared_ptr<AnalysisScreen> controller;
    };
    std::shared_ptr<Screen> screen_ = std::make_shared<Screen>();

public:
    /// One player each, in display order.
    CopyOnWrite<std::vector<VideoAnalysisController::Object>> media;
    /// The host's controller over which the screen is presented; null before that.
    std::shared_ptr<ui::ViewController> presenterViewController;
    std::weak_ptr<VideoAnalysisControllerDelegate> delegate;
    Theme theme;
    bool enableTimeBasedDrawings = true;
    bool defaultScrubbingDirection = true;
    CopyOnWrite<VideoAnalysisIconsConfiguration> iconsConfiguration;
    MainViewControllerState mainViewControllerState;
};

/// The store of the analysis, made with the default state on first use; one per process.
Store<State>& mainStore();

}  // namespace videoanalysis
