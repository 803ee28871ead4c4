#pragma once
// The controller of one player: it owns the player's local store, turns the controls' presses into actions and applies each
// new local state to the views. The reducers make one for every clip; the players manager binds it to its cells.

#include "VideoAnalysis/Analysis/VideoAnalysisController.h"
#include "VideoAnalysis/Platform/Media.h"
#include "VideoAnalysis/Platform/UI/Control.h"
#include "VideoAnalysis/Platform/UI/GestureRecognizer.h"
#include "VideoAnalysis/Platform/UI/KeyPress.h"
#include "VideoAnalysis/Player/LocalState.h"
#include "VideoAnalysis/Sketch/SketchView.h"
#include "VideoAnalysis/Store/Store.h"
#include "VideoAnalysis/Timeline/TimelineView.h"
#include "VideoAnalysis/Trimming/VideoEditorControllerDelegate.h"
#include "VideoAnalysis/Video/VideoView.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace videoanalysis {

namespace dispatch {
class Timer;
}
class OverlayCollectionViewCell;
class PlayerCollectionViewCell;
class PlayerCollectionViewCellHUDView;
class Throttle;

/// Main thread.
class PlayerCollectionViewCellController : public std::enable_shared_from_this<PlayerCollectionViewCellController>,
                                           public StoreSubscriber<cell::LocalState>,
                                           public SketchViewDelegate,
                                           public VideoViewDelegate,
                                           public TimelineViewDelegate,
                                           public VideoEditorControllerDelegate {
    struct Private {};

public:
    using LocalState = cell::LocalState;
    using UndoAction = cell::UndoAction;
    using RedoAction = cell::RedoAction;
    using ChangeCellVideoFillModeAction = cell::ChangeCellVideoFillModeAction;
    using SetCellVideoPlayingStateAction = cell::SetCellVideoPlayingStateAction;
    using SetCellVideoPlaybackRateAction = cell::SetCellVideoPlaybackRateAction;
    using SetCellVideoTimeAction = cell::SetCellVideoTimeAction;
    using SetHUDVisibleStateAction = cell::SetHUDVisibleStateAction;
    using SetMediaControlHiddenStateAction = cell::SetMediaControlHiddenStateAction;
    using SetTimeBasedDrawingsStateAction = cell::SetTimeBasedDrawingsStateAction;
    using SetScrubbingDirectionStateAction = cell::SetScrubbingDirectionStateAction;
    using SetEditingStateAction = cell::SetEditingStateAction;

    /// A controller for `media`, the item at `index`; it subscribes itself to its own store.
    static std::shared_ptr<PlayerCollectionViewCellController> make(VideoAnalysisController::Object media,
                                                                    std::int64_t index);

    PlayerCollectionViewCellController(Private, VideoAnalysisController::Object media, std::int64_t index);
    ~PlayerCollectionViewCellController() override;

    std::int64_t index;
    bool dragging = false;
    bool isFirstLoad = true;
    bool shouldObserveSeekBarChanges = true;
    /// The screen over which this controller presents.
    std::weak_ptr<ui::ViewController> presenteeViewController;
    const std::shared_ptr<Store<LocalState>> localStore;
    /// Reserved for updates of the ruler; nothing passes through it.
    const std::shared_ptr<Throttle> timelineViewThrottler;
    /// Reserved for the ruler.
    static constexpr float timelineViewScalingFactor = 1000.0F;

    /// The item with its drawings as they are now: those on the sketch view once they have been loaded; until then the stack
    /// that was given, with what has been drawn since on top.
    VideoAnalysisController::Object media() const;

    std::shared_ptr<PlayerCollectionViewCell> cell() const { return cell_.lock(); }
    /// Binds the cell: its video opens the item, its sketch view reports here.
    void setCell(const std::shared_ptr<PlayerCollectionViewCell>& cell);
    std::shared_ptr<OverlayCollectionViewCell> overlayCell() const { return overlayCell_.lock(); }
    /// Binds the controls to the operations below.
    void setOverlayCell(const std::shared_ptr<OverlayCollectionViewCell>& overlayCell);

    /// Loads the item's stored drawings below what has been drawn since, as soon as the sketch view has a size; later calls do
    /// nothing.
    void performFirstLoad();
    /// The time observer is taken from the player; no tick comes any more.
    void removePeriodicTimeObserver();
    /// Ends this controller's hold on its cells: the player stops, nothing of it is heard or seen again.
    void unbind();

    // What the controls do.
    void togglePlayingState(ui::Control& sender);
    void rewind(ui::Control& sender);
    void forward(ui::Control& sender);
    void rewindLongPress(ui::GestureRecognizer& recognizer);
    void forwardLongPress(ui::GestureRecognizer& recognizer);
    void seekbarValueChanged(ui::Slider& sender);
    void changeFillMode(ui::Control& sender);
    void undo(ui::Control& sender);
    void redo(ui::Control& sender);
    void clear(ui::Control& sender);
    /// Asks the host whether the clip may go, or for another one; nothing without a host or a presenting screen.
    void deleteMedia(ui::Control& sender);
    void replaceMedia(ui::Control& sender);
    /// Opens the trim screen for this clip; nothing without one in the storyboard.
    void edit(ui::Control& sender);
    void userDidRequestToChangePlaybackRate(ui::Control& sender);
    void userDidChangePlaybackRate(ui::Button& sender);
    void handleHUDTap();
    /// A key does what its control does. Returns whether it has one.
    bool keyPressed(const ui::KeyPress& press);
    /// Grows with every touch of any player; 0 before the first one of this player.
    std::uint64_t latestTouch() const { return latestTouch_; }

    /// The rate that a button's title stands for: the title without what is not a digit at both ends; 1 when that is no number.
    static float rateFromTitle(const std::string& title);
    /// At most two fraction digits and an x, as in "1x", "0.25x".
    static std::string titleForRate(float rate);

    void newState(const LocalState& state) override;

    double currentTime() const override;
    bool isTimeBasedDrawingsEnabled() const override;
    void drawViewDidEndDraw(SketchView& sketchView, SketchTool& tool) override;
    void drawViewDidChangeSize(SketchView& sketchView) override;

    void playerReadyToPlayFor(VideoView& videoView) override;
    void playbackDidFinishFor(VideoView& videoView) override;
    /// As at the end, but the picture stays where it is.
    void playbackDidBreakOffFor(VideoView& videoView) override;
    void playerDidFailFor(VideoView& videoView) override;

    /// The clip goes from the screen with its drawings, and the file at `path` takes its place once the editor is gone.
    void videoEditorControllerDidSaveEditedVideoToPath(ui::ViewController& editor, const std::string& path) override;
    void videoEditorControllerDidCancel(ui::ViewController& editor) override;
    /// Says so on the standard output.
    void videoEditorControllerDidFailWithError(ui::ViewController& editor, const std::string& error) override;

    /// The ruler's steps become frame steps. Fatal for a count that is not finite or does not fit.
    void timelineViewDidScrollBy(double steps, bool isDragging) override;
    bool defaultScrubbingDirection() const override;
    /// A command for this player ends a throw of its ruler, unless it is the ruler's own step.
    void endRulerThrow() const;

private:
    std::optional<std::int64_t> addressedIndex() const;
    bool hasFailed() const;
    /// Playing means something: for this clip or, while playback is locked, for the others.
    bool canPlay() const;
    void applyRate(VideoView& video, const LocalState& state);
    /// Returns whether the panel was open.
    bool closeRates();
    std::shared_ptr<SketchView> sketchView() const;
    std::shared_ptr<VideoView> videoView() const;
    std::shared_ptr<media::Player> player() const;
    std::shared_ptr<PlayerCollectionViewCellHUDView> hud() const;
    template <class SeekAction>
    void handleLongPress(ui::GestureRecognizer& recognizer, std::int64_t steps);
    void touched();
    void togglePlaying();
    void seekTo(double fraction);
    void changeRate(int direction);
    void publishHistory();
    void setUpTool();
    void wire(PlayerCollectionViewCellHUDView& hud);
    void setUpPeriodicTimeObserver();
    void setUpTimeline();
    void timeDidChange();
    void refreshDrawing();
    void updateSeekBar();
    void updatePosition();

    VideoAnalysisController::Object media_;
    std::weak_ptr<PlayerCollectionViewCell> cell_;
    std::weak_ptr<OverlayCollectionViewCell> overlayCell_;
    std::shared_ptr<void> timeObserver_;
    std::weak_ptr<media::Player> observedPlayer_;
    std::shared_ptr<dispatch::Timer> debounceTimer_;
    bool firstLoadIsDue_ = false;
    std::uint64_t latestTouch_ = 0;
    float appliedRate_ = 0;  // the rate that a state has last given the player
};

}  // namespace videoanalysis
