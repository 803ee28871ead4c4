#pragma once
// Shows one player's state: applies each new local state to the video and to the controls, and lets the seek bar and the
// position follow playback. It changes no state except the time it reports.

#include "VideoAnalysis/Analysis/LocalState.h"
#include "VideoAnalysis/Store/StoreSubscriber.h"

namespace videoanalysis {

class PlayerCollectionViewCellController;
class PlayerCollectionViewCellHUDView;
class VideoView;

/// Main thread only. Part of the controller, which outlives it.
class PlayerRenderer : public StoreSubscriber<player::LocalState> {
public:
    explicit PlayerRenderer(PlayerCollectionViewCellController& controller) : controller_(controller) {}

    void newState(const player::LocalState& state) override;

    /// Another clip is in the video view: the next state that plays starts it.
    void videoDidChange() { appliedRate_ = 0; }
    /// Publishes the time of playback and shows it on the seek bar and as the position.
    void showTime();
    /// The time and the number of the frame that is shown; empty without one.
    void showPosition();

private:
    void applyRate(VideoView& video, const player::LocalState& state);
    void renderVideo(const player::LocalState& state);
    void renderControls(PlayerCollectionViewCellHUDView& hud, const player::LocalState& state);
    void renderHistory(PlayerCollectionViewCellHUDView& hud);

    PlayerCollectionViewCellController& controller_;
    float appliedRate_ = 0;  ///< the rate that the player was last started with; 0 while it is paused
};

}  // namespace videoanalysis
