#pragma once
// The state of one analysis, held by `mainStore` and rendered by the screen's controllers. Plain values; changed only by the
// reducers.

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

/// The colours of the tools.
class ToolColorMap {
public:
    /// Empty if the tool has no colour.
    std::optional<Color> operator[](SketchToolType tool) const { return colors_.at(static_cast<std::size_t>(tool)); }
    void set(SketchToolType tool, const Color& color) { colors_.at(static_cast<std::size_t>(tool)) = color; }

    /// The standard colours; the eraser has none.
    static ToolColorMap standard();

    friend bool operator==(const ToolColorMap&, const ToolColorMap&) = default;

private:
    std::array<std::optional<Color>, 8> colors_;
};

/// The state of the analysis screen.
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
    /// The analysis screen, shared by this state and its copies. Created from the storyboard "Main" on first use; null if the
    /// storyboard or its main screen is missing.
    const std::shared_ptr<AnalysisScreen>& mainViewController() const;
    /// The screen if it has been created; otherwise null.
    const std::shared_ptr<AnalysisScreen>& existingMainViewController() const { return screen_->controller; }
    /// Whether `localStore` belongs to a current player, rather than to one that has been removed or replaced.
    bool hasPlayer(const Store<player::LocalState>& localStore) const;

private:
    struct Screen {
        bool isMade = false;
        std::shared_ptr<AnalysisScreen> controller;
    };
    std::shared_ptr<Screen> screen_ = std::make_shared<Screen>();

public:
    /// One per player, in display order.
    CopyOnWrite<std::vector<VideoAnalysisController::Object>> media;
    /// The host's controller that presents the screen; null before `present`.
    std::shared_ptr<ui::ViewController> presenterViewController;
    std::weak_ptr<VideoAnalysisControllerDelegate> delegate;
    Theme theme;
    bool enableTimeBasedDrawings = true;
    bool defaultScrubbingDirection = true;
    CopyOnWrite<VideoAnalysisIconsConfiguration> iconsConfiguration;
    MainViewControllerState mainViewControllerState;
};

/// The store of the analysis, one per process. Created with the default state on first use.
Store<State>& mainStore();

}  // namespace videoanalysis
