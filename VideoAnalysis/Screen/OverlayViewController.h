#pragma once
// The transparent screen over the players: top bar, tool strip, arrow marker, colour picker and the collection of the players'
// controls. Controls dispatch actions; all properties are rendered from the state.

#include "VideoAnalysis/Analysis/State.h"
#include "VideoAnalysis/Controls/ColorPickerView.h"
#include "VideoAnalysis/Platform/UI/CollectionView.h"
#include "VideoAnalysis/Platform/UI/Control.h"
#include "VideoAnalysis/Platform/UI/ViewController.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace videoanalysis {

namespace dispatch {
class Timer;
}

class OverlayViewController : public ui::ViewController,
                              public StoreSubscriber<MainViewControllerState>,
                              public ColorPickerViewDelegate,
                              public ColorPickerViewDelegateFlowLayout {
public:
    ~OverlayViewController() override;

    /// Visible only while the controls are.
    ui::OutletCollection<ui::View> visibleViews{outlets, "visibleViews"};
    ui::Outlet<ui::View> topBarView{outlets, "topBarView"};
    ui::Outlet<ui::Label> timerLabel{outlets, "timerLabel"};
    ui::Outlet<ui::Button> addButton{outlets, "addButton"};
    ui::Outlet<ui::Button> closeButton{outlets, "closeButton"};
    ui::Outlet<ui::Button> recordButton{outlets, "recordButton"};
    ui::Outlet<ui::ImageView> arrowImage{outlets, "arrowImage"};
    ui::Outlet<ui::View> drawingShapeView{outlets, "drawingShapeView"};
    ui::OutletCollection<ui::Button> drawingToolButtons{outlets, "drawingToolButtons"};
    ui::Outlet<ui::View> topBarBackgroundView{outlets, "topBarBackgroundView"};
    ui::Outlet<ui::Button> lockPlaybackButton{outlets, "lockPlaybackButton"};
    ui::Outlet<ui::Button> expandToolbarButton{outlets, "expandToolbarButton"};
    ui::Outlet<ui::Button> collapseToolbarButton{outlets, "collapseToolbarButton"};
    ui::Outlet<ColorPickerView> colorPickerView{outlets, "colorPickerView"};
    ui::Outlet<ui::StackView> drawingToolsStackView{outlets, "drawingToolsStackView"};
    ui::Outlet<ui::CollectionView> playersCollectionView{outlets, "playersCollectionView"};

    /// Duration of the recording, in whole seconds.
    std::int64_t seconds = 0;
    /// Null or invalid while stopped.
    std::shared_ptr<dispatch::Timer> recordingTimer;
    /// Interval of the timer, in seconds.
    static constexpr double delayDuration = 1.0;

    void connectOutlets(ui::Outlets& layout) override;
    void viewDidLoad() override;
    void viewWillAppear(bool animated) override;
    void viewDidAppear(bool animated) override;
    void viewDidDisappear(bool animated) override;
    void viewWillTransition(Size size) override;

    void newState(const MainViewControllerState& state) override;

    // ---- Control actions
    void tapOnPen(ui::Control& sender);
    void tapOnLine(ui::Control& sender);
    void tapOnArrow(ui::Control& sender);
    void tapOnRect(ui::Control& sender);
    void tapOnCircle(ui::Control& sender);
    void tapOnColorPicker(ui::Control& sender);
    void handleToolbarExpand(ui::Control& sender);
    void handleToolbarCollapse();
    void handleScreenRecording(ui::Control& sender);
    void handlePlaybackLockToggle(ui::Control& sender);
    void handleMediaAddition(ui::Control& sender);
    void handleDiscardAndClose(ui::Control& sender);

    /// Fatal if the picker has no such colour.
    void didSelectItemAt(ColorPickerView& picker, const ui::IndexPath& indexPath) override;
    Size sizeForItemAt(ColorPickerView& picker, const ui::IndexPath& indexPath) override;
    double minimumLineSpacingForSectionAt(ColorPickerView& picker, std::int64_t section) override;
    double minimumInteritemSpacingForSectionAt(ColorPickerView& picker, std::int64_t section) override;
    EdgeInsets insetForSectionAt(ColorPickerView& picker, std::int64_t section) override;

    /// Advances the clock by one second.
    void recordingWithTimer();

    /// The tint of a tool's button: its colour in `map`, or its standard colour, or white if it has neither.
    static Color toolColor(int tool, const ToolColorMap& map);

private:
    void applyTheme();
    void renderRecording(const MainViewControllerState& screen);
    void applyRecordingLook();
    void applyIdleLook();
    void startTimerIfNeeded();
    void renderSelectedTool(const MainViewControllerState& screen, int selectedTool);
};

}  // namespace videoanalysis
