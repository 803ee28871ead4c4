#pragma once
// Renders one player's state: applies each new local state to the video and the controls, and updates the seek bar and the
// position during playback. Changes no state except the reported time.

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

    /// Called after the video view's clip has changed: the next state that plays starts it.
    void videoDidChange() { appliedRate_ = 0; }
    /// Reports the playback time and shows it on the seek bar and as the position.
    void showTime();
    /// The time and number of the displayed frame; empty without one.
    void showPosition();

private:
    void applyRate(VideoView& video, const player::LocalState& state);
    void renderVideo(const player::LocalState& state);
    void renderControls(PlayerCollectionViewCellHUDView& hud, const player::LocalState& state);
    void renderHistory(PlayerCollectionViewCellHUDView& hud);

    PlayerCollectionViewCellController& controller_;
    float appliedRate_ = 0;  ///< the rate of the latest start; 0 while paused
};

}  // namespace videoanalysis
