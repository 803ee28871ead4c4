#include "VideoAnalysis/Player/PlayerCollectionViewCellHUDView.h"

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

std::string OverlayCollectionViewCell::description() const {
    std::ostringstream text;
    text << "OverlayCollectionViewCell " << static_cast<const void*>(this);
    return text.str();
}

void OverlayCollectionViewCell::connectOutlets(ui::Outlets& outlets) {
    outlets.connect("hudView", hudView);
    ui::required(hudView, "hudView")->connectOutlets(outlets);
}

void OverlayCollectionViewCell::prepareForReuse() {
    const auto hud = hudView.lock();
    if (!hud) return;
    const auto forget = [](const auto& outlet) {
        if (const auto control = outlet.lock()) control->removeAllActions();
    };
    for (const auto* button : {&hud->editButton, &hud->undoButton, &hud->redoButton, &hud->clearButton, &hud->deleteButton,
                               &hud->replaceButton, &hud->changeFillModeButton, &hud->rewindButton, &hud->forwardButton,
                               &hud->playPauseButton, &hud->videoPlayRateSelectorButton}) {
        forget(*button);
    }
    for (const auto& button : hud->videoPlaybackSpeedButtons) forget(button);
    forget(hud->seekbar);
}

}  // namespace videoanalysis
