#pragma once
// The controller of one player: owns its local store, binds it to its cells, and observes its video and drawings.
// `PlayerCommands` handles the controls, `PlayerRenderer` displays the state. Created by the players manager, one per clip.

#include "VideoAnalysis/Analysis/LocalState.h"
#include "VideoAnalysis/Analysis/VideoAnalysisController.h"
#include "VideoAnalysis/Platform/Media.h"
#include "VideoAnalysis/Player/PlayerCommands.h"
#include "VideoAnalysis/Player/PlayerRenderer.h"
#include "VideoAnalysis/Sketch/SketchViewDelegate.h"
#include "VideoAnalysis/Store/Store.h"
#include "VideoAnalysis/Video/VideoView.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace videoanalysis {

class OverlayCollectionViewCell;
class PlayerCollectionViewCell;
class PlayerCollectionViewCellHUDView;
class SketchView;
class Throttle;

/// Main thread only.
class PlayerCollectionViewCellController : public std::enable_shared_from_this<PlayerCollectionViewCellController>,
                                           public SketchViewDelegate,
                                           public VideoViewDelegate {
    struct Private {};

public:
    using LocalState = player::LocalState;

    /// A controller for `media`, the item at `index`, with its renderer subscribed to its store.
    static std::shared_ptr<PlayerCollectionViewCellController> make(VideoAnalysisController::Object media,
                                                                    std::int64_t index);

    PlayerCollectionViewCellController(Private, VideoAnalysisController::Object media, std::int64_t index);
    ~PlayerCollectionViewCellController() override;

    std::int64_t index;
    /// Whether the user is dragging the seek bar. Reset by every new local state.
    bool dragging = false;
    /// Whether the stored drawings have yet to be loaded into the sketch view.
    bool isFirstLoad = true;
    bool shouldObserveSeekBarChanges = true;
    /// The screen that presents other screens for this player.
    std::weak_ptr<ui::ViewController> presenteeViewController;
    const std::shared_ptr<Store<LocalState>> localStore;
    /// Reserved for updates of the ruler; currently unused.
    const std::shared_ptr<Throttle> timelineViewThrottler;
    /// Reserved for the ruler; currently unused.
    static constexpr float timelineViewScalingFactor = 1000.0F;
    PlayerCommands commands{*this};

    /// The item with its current drawings: those of the sketch view, or until they are loaded, the item's stack with new
    /// drawings on top.
    VideoAnalysisController::Object media() const;
    const URL& url() const { return media_.url; }

    // ---- Cells

    std::shared_ptr<PlayerCollectionViewCell> cell() const { return cell_.lock(); }
    /// Binds the cell: opens the item in its video and becomes the delegate of its sketch view.
    void setCell(const std::shared_ptr<PlayerCollectionViewCell>& cell);
    std::shared_ptr<OverlayCollectionViewCell> overlayCell() const { return overlayCell_.lock(); }
    /// Binds the controls to the commands.
    void setOverlayCell(const std::shared_ptr<OverlayCollectionViewCell>& overlayCell);
    /// Releases both cells and stops the player.
    void unbind();

    /// Null while the cell is not bound.
    std::shared_ptr<SketchView> sketchView() const;
    std::shared_ptr<VideoView> videoView() const;
    std::shared_ptr<PlayerCollectionViewCellHUDView> hud() const;
    /// Null while the video view has no clip.
    std::shared_ptr<media::Player> player() const;

    // ---- State

    /// The index for this player's actions: empty, which addresses every player, while playback is locked.
    std::optional<std::int64_t> addressedIndex() const;
    /// False if the clip cannot be read, unless playback is locked, which plays the others.
    bool canPlay() const;

    /// Loads the item's stored drawings below newer ones once the sketch view has a size. Further calls have no effect.
    void performFirstLoad();
    /// Updates the local store with whether undo and redo are possible.
    void publishHistory();
    /// Unregisters the periodic time observer.
    void removePeriodicTimeObserver();
    /// Ends the ruler's throw, unless called as a result of the ruler's own step.
    void endRulerThrow();

    double currentTime() const override;
    bool isTimeBasedDrawingsEnabled() const override;
    void drawViewDidEndDraw(SketchView& sketchView, SketchTool& tool) override;
    void drawViewDidChangeSize(SketchView& sketchView) override;

    void playerReadyToPlayFor(VideoView& videoView) override;
    void playbackDidFinishFor(VideoView& videoView) override;
    /// Like reaching the end, but keeps the position.
    void playbackDidBreakOffFor(VideoView& videoView) override;
    void playerDidFailFor(VideoView& videoView) override;

private:
    bool hasFailed() const;
    void bindGestures(PlayerCollectionViewCell& cell);
    void setUpTool();
    void setUpTimeline();
    void setUpPeriodicTimeObserver();
    void timeDidChange();
    void refreshDrawing();
    /// Renders the current state into newly bound views.
    void renderState();

    VideoAnalysisController::Object media_;
    PlayerRenderer renderer_{*this};
    std::weak_ptr<PlayerCollectionViewCell> cell_;
    std::weak_ptr<OverlayCollectionViewCell> overlayCell_;
    std::shared_ptr<void> timeObserver_;
    std::weak_ptr<media::Player> observedPlayer_;
    bool isFirstLoadPending_ = false;  ///< requested before the sketch view had a size
};

}  // namespace videoanalysis
