#pragma once
// The outlets of one player's controls: transport, seek bar, ruler, rates, drawing history. The player's controller renders
// and handles them.

#include "VideoAnalysis/Platform/UI/Bundle.h"
#include "VideoAnalysis/Platform/UI/CollectionView.h"
#include "VideoAnalysis/Platform/UI/Control.h"
#include "VideoAnalysis/Timeline/TimelineView.h"

#include <functional>
#include <memory>
#include <vector>

namespace videoanalysis {

class PlayerCollectionViewCellHUDView : public ui::View {
public:
    ui::OutletSet outlets;
    ui::OutletCollection<ui::View> shadowViews{outlets, "shadowViews"};
    ui::Outlet<ui::Button> editButton{outlets, "editButton"};
    ui::Outlet<ui::Button> undoButton{outlets, "undoButton"};
    ui::Outlet<ui::Button> redoButton{outlets, "redoButton"};
    ui::Outlet<ui::Button> clearButton{outlets, "clearButton"};
    ui::Outlet<ui::Button> deleteButton{outlets, "deleteButton"};
    ui::Outlet<ui::Button> replaceButton{outlets, "replaceButton"};
    ui::Outlet<ui::View> leftButtonsView{outlets, "leftButtonsView"};
    ui::Outlet<ui::View> mediaControlView{outlets, "mediaControlView"};
    ui::Outlet<TimelineView> timelineView{outlets, "timelineView"};
    ui::Outlet<ui::Button> changeFillModeButton{outlets, "changeFillModeButton"};
    ui::Outlet<ui::Slider> seekbar{outlets, "seekbar"};
    ui::Outlet<ui::Button> rewindButton{outlets, "rewindButton"};
    ui::Outlet<ui::Button> forwardButton{outlets, "forwardButton"};
    ui::Outlet<ui::Button> playPauseButton{outlets, "playPauseButton"};
    ui::OutletCollection<ui::Button> videoPlaybackSpeedButtons{outlets, "videoPlaybackSpeedButtons"};
    ui::Outlet<ui::Button> videoPlayRateSelectorButton{outlets, "videoPlayRateSelectorButton"};
    ui::Outlet<ui::View> playbackRateSelectorContainerView{outlets, "playbackRateSelectorContainerView"};
    /// Time and number of the displayed frame.
    ui::Outlet<ui::Label> positionLabel{outlets, "positionLabel"};

    /// Called by the platform when a pointer is pressed anywhere but on the rate panel and the button that opens it. May be
    /// empty.
    std::function<void()> didTouchBesideRates;

    /// Detaches all actions, gestures and the ruler's delegate from the controls.
    void removeAllActions();

    /// Fades the rate panel in or out.
    void toggleRates();
    /// Fades the rate panel out. Returns whether it was open.
    bool closeRates();
};

/// The cell of a player's controls, above its video. Created from the template "OverlayCollectionViewCell".
class OverlayCollectionViewCell : public ui::CollectionViewCell {
public:
    ui::Outlet<PlayerCollectionViewCellHUDView> hudView{outlets, "hudView"};

    std::string description() const override;
    void connectOutlets(ui::Outlets& layout) override;
};

}  // namespace videoanalysis
