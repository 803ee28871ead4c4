#include "VideoAnalysis/Player/PlayerCollectionViewCellHUDView.h"

#include "VideoAnalysis/Timeline/TimelineView.h"

#include <sstream>

namespace videoanalysis {

void PlayerCollectionViewCellHUDView::connectOutlets(ui::Outlets& outlets) {
    outlets.connect("shadowViews", shadowViews);
    outlets.connect("editButton", editButton);
    outlets.connect("undoButton", undoButton);
    outlets.connect("redoButton", redoButton);
    outlets.connect("clearButton", clearButton);
    outlets.connect("deleteButton", deleteButton);
    outlets.connect("replaceButton", replaceButton);
    outlets.connect("leftButtonsView", leftButtonsView);
    outlets.connect("mediaControlView", mediaControlView);
    outlets.connect("timelineView", timelineView);
    outlets.connect("changeFillModeButton", changeFillModeButton);
    outlets.connect("seekbar", seekbar);
    outlets.connect("rewindButton", rewindButton);
    outlets.connect("forwardButton", forwardButton);
    outlets.connect("playPauseButton", playPauseButton);
    outlets.connect("videoPlaybackSpeedButtons", videoPlaybackSpeedButtons);
    outlets.connect("videoPlayRateSelectorButton", videoPlayRateSelectorButton);
    outlets.connect("playbackRateSelectorContainerView", playbackRateSelectorContainerView);
    outlets.connect("positionLabel", positionLabel);
}

void PlayerCollectionViewCellHUDView::removeAllActions() {
    const auto forget = [](const std::weak_ptr<ui::Button>& outlet) {
        if (const auto button = outlet.lock()) {
            button->removeAllActions();
            button->longPressGestureRecognizer.reset();
        }
    };
    for (const auto* outlet :
         {&editButton, &undoButton, &redoButton, &clearButton, &deleteButton, &replaceButton, &changeFillModeButton,
          &rewindButton, &forwardButton, &playPauseButton, &videoPlayRateSelectorButton}) {
        forget(*outlet);
    }
    for (const auto& outlet : videoPlaybackSpeedButtons) forget(outlet);
    if (const auto slider = seekbar.lock()) slider->removeAllActions();
    if (const auto ruler = timelineView.lock()) {
        ruler->stopScrolling();
        ruler->delegate.reset();
    }
    didTouchBesideRates = nullptr;
}

std::string OverlayCollectionViewCell::description() const {
    std::ostringstream text;
    text << "OverlayCollectionViewCell " << static_cast<const void*>(this);
    return text.str();
}

void OverlayCollectionViewCell::connectOutlets(ui::Outlets& outlets) {
    outlets.connect("hudView", hudView);
    ui::required(hudView, "hudView")->connectOutlets(outlets);
}

}  // namespace videoanalysis
