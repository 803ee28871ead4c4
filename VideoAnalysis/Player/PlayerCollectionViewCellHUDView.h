#pragma once
// The controls of one player, as outlets: transport, seek bar, ruler, rates, drawing history. Its player's controller renders
// and handles all of them.

#include "VideoAnalysis/Platform/UI/Bundle.h"
#include "VideoAnalysis/Platform/UI/CollectionView.h"
#include "VideoAnalysis/Platform/UI/Control.h"

#include <functional>
#include <memory>
#include <vector>

namespace videoanalysis {

class TimelineView;

class PlayerCollectionViewCellHUDView : public ui::View {
public:
    std::vector<std::weak_ptr<ui::View>> shadowViews;
    std::weak_ptr<ui::Button> editButton;
    std::weak_ptr<ui::Button> undoButton;
    std::weak_ptr<ui::Button> redoButton;
    std::weak_ptr<ui::Button> clearButton;
    std::weak_ptr<ui::Button> deleteButton;
    std::weak_ptr<ui::Button> replaceButton;
    std::weak_ptr<ui::View> leftButtonsView;
    std::weak_ptr<ui::View> mediaControlView;
    std::weak_ptr<TimelineView> timelineView;
    std::weak_ptr<ui::Button> changeFillModeButton;
    std::weak_ptr<ui::Slider> seekbar;
    std::weak_ptr<ui::Button> rewindButton;
    std::weak_ptr<ui::Button> forwardButton;
    std::weak_ptr<ui::Button> playPauseButton;
    std::vector<std::weak_ptr<ui::Button>> videoPlaybackSpeedButtons;
    std::weak_ptr<ui::Button> videoPlayRateSelectorButton;
    std::weak_ptr<ui::View> playbackRateSelectorContainerView;
    /// Time and frame number of what is shown; an addition to the controls proper.
    std::weak_ptr<ui::Label> positionLabel;

    /// For the platform to call when a finger or mouse button comes down anywhere but on the panel of rates and the button
    /// that opens it. May be empty.
    std::function<void()> didTouchBesideRates;

    void connectOutlets(ui::Outlets& outlets);
    /// No control does anything any more, until somebody adds actions again.
    void removeAllActions();
};

/// The cell that holds a player's controls, above its picture. Made from the template "OverlayCollectionViewCell".
class OverlayCollectionViewCell : public ui::CollectionViewCell {
public:
    std::weak_ptr<PlayerCollectionViewCellHUDView> hudView;

    std::string description() const override;
    void connectOutlets(ui::Outlets& outlets) override;
};

}  // namespace videoanalysis
