#pragma once
// The controller of one player: it owns the player's local store, binds the player to its cells and follows its video and its
// drawings. What the controls do is `PlayerCommands`, what they show is `PlayerRenderer`. The players manager makes one for
// every clip.

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

    /// A controller for `media`, the item at `index`; its renderer is subscribed to its store.
    static std::shared_ptr<PlayerCollectionViewCellController> make(VideoAnalysisController::Object media,
                                                                    std::int64_t index);

    PlayerCollectionViewCellController(Private, VideoAnalysisController::Object media, std::int64_t index);
    ~PlayerCollectionViewCellController() override;

    std::int64_t index;
    /// The user is dragging the seek bar; every new local state resets it.
    bool dragging = false;
    /// The stored drawings are not on the sketch view yet.
    bool isFirstLoad = true;
    bool shouldObserveSeekBarChanges = true;
    /// The screen over which this player presents.
    std::weak_ptr<ui::ViewController> presenteeViewController;
    const std::shared_ptr<Store<LocalState>> localStore;
    /// Reserved for updates of the ruler; nothing passes through it.
    const std::shared_ptr<Throttle> timelineViewThrottler;
    /// Reserved for the ruler.
    static constexpr float timelineViewScalingFactor = 1000.0F;
    PlayerCommands commands{*this};

    /// The item with its drawings as they are now: those on the sketch view once they have been loaded; until then the stack
    /// that was given, with what has been drawn since on top.
    VideoAnalysisController::Object media() const;
    const URL& url() const { return media_.url; }

    // ---- Cells

    std::shared_ptr<PlayerCollectionViewCell> cell() const { return cell_.lock(); }
    /// Binds the cell: its video opens the item, its sketch view reports here.
    void setCell(const std::shared_ptr<PlayerCollectionViewCell>& cell);
    std::shared_ptr<OverlayCollectionViewCell> overlayCell() const { return overlayCell_.lock(); }
    /// Binds the controls to the commands.
    void setOverlayCell(const std::shared_ptr<OverlayCollectionViewCell>& overlayCell);
    /// Releases both cells: the player stops, and nothing of this clip is seen or heard any longer.
    void unbind();

    /// Each is null while its cell is not bound.
    std::shared_ptr<SketchView> sketchView() const;
    std::shared_ptr<VideoView> videoView() const;
    std::shared_ptr<PlayerCollectionViewCellHUDView> hud() const;
    /// Null while the video view has no clip.
    std::shared_ptr<media::Player> player() const;

    // ---- State

    /// The index that an action for this player carries: absent, which means every player, while playback is locked.
    std::optional<std::int64_t> addressedIndex() const;
    /// False for a clip that cannot be read, unless playback is locked: then the others play.
    bool canPlay() const;

    /// Loads the item's stored drawings below what has been drawn since, as soon as the sketch view has a size; later calls do
    /// nothing.
    void performFirstLoad();
    /// Tells the local store whether undo and redo are possible now.
    void publishHistory();
    /// Unregisters the periodic time observer.
    void removePeriodicTimeObserver();
    /// Stops the ruler's throw, unless this is called in consequence of the ruler's own step.
    void endRulerThrow();

    double currentTime() const override;
    bool isTimeBasedDrawingsEnabled() const override;
    void drawViewDidEndDraw(SketchView& sketchView, SketchTool& tool) override;
    void drawViewDidChangeSize(SketchView& sketchView) override;

    void playerReadyToPlayFor(VideoView& videoView) override;
    void playbackDidFinishFor(VideoView& videoView) override;
    /// As at the end, but the picture stays where it is.
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
    /// The new views render the state so far.
    void renderState();

    VideoAnalysisController::Object media_;
    PlayerRenderer renderer_{*this};
    std::weak_ptr<PlayerCollectionViewCell> cell_;
    std::weak_ptr<OverlayCollectionViewCell> overlayCell_;
    std::shared_ptr<void> timeObserver_;
    std::weak_ptr<media::Player> observedPlayer_;
    bool isFirstLoadPending_ = false;  ///< asked for before the sketch view had a size
};

}  // namespace videoanalysis
