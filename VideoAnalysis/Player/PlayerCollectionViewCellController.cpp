#include "VideoAnalysis/Player/PlayerCollectionViewCellController.h"

#include "VideoAnalysis/Analysis/ActionLog.h"
#include "VideoAnalysis/Analysis/Actions.h"
#include "VideoAnalysis/Platform/Dispatch.h"
#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCell.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCellHUDView.h"
#include "VideoAnalysis/Sketch/SketchView.h"
#include "VideoAnalysis/Store/Throttle.h"
#include "VideoAnalysis/Timeline/TimelineView.h"
#include "VideoAnalysis/Video/GesturedScrollView.h"

#include <string>
#include <utility>
#include <vector>

namespace videoanalysis {
namespace {

constexpr double timelineDelay = 0.5;  // seconds
constexpr double timelineMultiplier = 1;
constexpr double timelineLength = 100;

}  // namespace

std::shared_ptr<PlayerCollectionViewCellController>
PlayerCollectionViewCellController::make(VideoAnalysisController::Object media, std::int64_t index) {
    auto controller = std::make_shared<PlayerCollectionViewCellController>(Private{}, std::move(media), index);
    controller->renderState();
    return controller;
}

PlayerCollectionViewCellController::PlayerCollectionViewCellController(Private, VideoAnalysisController::Object media,
                                                                       std::int64_t index)
    : index(index),
      localStore(Store<LocalState>::make(player::reduce, LocalState(),
                                         debuggingMiddleware<LocalState>("player " + std::to_string(index + 1)), true)),
      timelineViewThrottler(Throttle::make(timelineDelay, dispatch::mainQueue())), media_(std::move(media)) {}

PlayerCollectionViewCellController::~PlayerCollectionViewCellController() { removePeriodicTimeObserver(); }

VideoAnalysisController::Object PlayerCollectionViewCellController::media() const {
    VideoAnalysisController::Object media = media_;
    const std::shared_ptr<SketchView> sketch = sketchView();
    if (sketch && !isFirstLoad)
        media.stack = sketch->stackJSON();
    else if (sketch && (sketch->canUndoAll() || sketch->canRedoAll()))
        media.stack = sketch->stackJSONOnTopOf(media_.stack.value_or(nullptr));
    return media;
}

// ---- Cells

void PlayerCollectionViewCellController::renderState() {
    localStore->subscribe(std::shared_ptr<PlayerRenderer>(shared_from_this(), &renderer_));
}

void PlayerCollectionViewCellController::setCell(const std::shared_ptr<PlayerCollectionViewCell>& cell) {
    cell_ = cell;
    if (!cell) return;
    bindGestures(*cell);
    if (const std::shared_ptr<SketchView> sketch = sketchView()) sketch->sketchViewDelegate = weak_from_this();
    if (const std::shared_ptr<VideoView> video = videoView()) {
        video->delegate = weak_from_this();
        video->setURL(media_.url);
        renderer_.videoDidChange();
    }
    renderState();
}

void PlayerCollectionViewCellController::bindGestures(PlayerCollectionViewCell& cell) {
    const std::shared_ptr<GesturedScrollView> scroll = cell.playerScrollView.lock();
    if (!scroll) return;
    const auto calling = [weak = weak_from_this()](auto operation) {
        return [weak, operation] {
            if (const auto controller = weak.lock()) operation(*controller);
        };
    };
    using Self = PlayerCollectionViewCellController;
    scroll->shouldBeginDrawing = [weak = weak_from_this()] {
        const auto controller = weak.lock();
        return controller && !controller->hasFailed();
    };
    scroll->willBeginDrawing = calling([](Self& self) { self.setUpTool(); });
    scroll->didCancelDrawing = calling([](Self& self) { self.publishHistory(); });
    scroll->didTap = calling([](Self& self) { self.commands.handleHUDTap(); });
    scroll->didTouch = calling([](Self& self) { self.commands.touched(); });
}

void PlayerCollectionViewCellController::setOverlayCell(const std::shared_ptr<OverlayCollectionViewCell>& overlayCell) {
    overlayCell_ = overlayCell;
    const std::shared_ptr<PlayerCollectionViewCellHUDView> view = hud();
    if (!view) return;
    view->removeAllActions();
    commands.bind(*view);
    setUpTimeline();
    renderer_.showPosition();
    renderState();
}

void PlayerCollectionViewCellController::unbind() {
    removePeriodicTimeObserver();
    commands.stop();
    if (const auto view = hud()) view->removeAllActions();
    overlayCell_.reset();
    const std::shared_ptr<PlayerCollectionViewCell> cell = cell_.lock();
    if (!cell) return;
    media_ = media();
    isFirstLoad = true;  // the item has the drawings again
    if (const auto sketch = cell->sketchView.lock()) {
        sketch->sketchViewDelegate.reset();
        sketch->reset();
    }
    if (const auto video = cell->playerView.lock()) {
        video->delegate.reset();
        video->setURL({});
    }
    if (const auto scroll = cell->playerScrollView.lock()) {
        scroll->shouldBeginDrawing = nullptr;
        scroll->willBeginDrawing = nullptr;
        scroll->didCancelDrawing = nullptr;
        scroll->didTap = nullptr;
        scroll->didTouch = nullptr;
        scroll->resetZoom();
    }
    cell_.reset();
}

std::shared_ptr<SketchView> PlayerCollectionViewCellController::sketchView() const {
    const auto bound = cell_.lock();
    return bound ? bound->sketchView.lock() : nullptr;
}

std::shared_ptr<VideoView> PlayerCollectionViewCellController::videoView() const {
    const auto bound = cell_.lock();
    return bound ? bound->playerView.lock() : nullptr;
}

std::shared_ptr<PlayerCollectionViewCellHUDView> PlayerCollectionViewCellController::hud() const {
    const auto bound = overlayCell_.lock();
    return bound ? bound->hudView.lock() : nullptr;
}

std::shared_ptr<media::Player> PlayerCollectionViewCellController::player() const {
    const auto video = videoView();
    return video ? video->player() : nullptr;
}

// ---- State

std::optional<std::int64_t> PlayerCollectionViewCellController::addressedIndex() const {
    if (mainStore().state().mainViewControllerState.isMediaPlaybackLocked) return {};
    return index;
}

bool PlayerCollectionViewCellController::hasFailed() const {
    const std::shared_ptr<media::Player> current = player();
    return current && current->currentItem()->status() == media::ItemStatus::failed;
}

bool PlayerCollectionViewCellController::canPlay() const {
    return mainStore().state().mainViewControllerState.isMediaPlaybackLocked || !hasFailed();
}

// ---- Drawings

void PlayerCollectionViewCellController::performFirstLoad() {
    if (!isFirstLoad) return;
    const std::shared_ptr<SketchView> sketch = sketchView();
    if (!sketch || sketch->bounds().isEmpty()) {
        isFirstLoadPending_ = true;
        return;
    }
    isFirstLoad = false;
    isFirstLoadPending_ = false;
    if (media_.stack) sketch->loadStackBelow(*media_.stack);
    publishHistory();
}

void PlayerCollectionViewCellController::publishHistory() {
    const std::shared_ptr<SketchView> sketch = sketchView();
    localStore->dispatch(player::UndoAction(sketch && sketch->canUndo()));
    localStore->dispatch(player::RedoAction(sketch && sketch->canRedo()));
}

void PlayerCollectionViewCellController::setUpTool() {
    const std::shared_ptr<SketchView> sketch = sketchView();
    if (!sketch) return;
    const MainViewControllerState& screen = mainStore().state().mainViewControllerState;
    sketch->drawTool = screen.toolType;
    if (const std::optional<Color> color = screen.toolColorMap[screen.toolType]) sketch->lineColor = *color;
}

double PlayerCollectionViewCellController::currentTime() const {
    // The time of the displayed frame, so that a drawing belongs to the frame on which it was made.
    const std::shared_ptr<media::Player> current = player();
    if (!current) return 0;
    const std::shared_ptr<const media::VideoFrame> frame = current->currentFrame();
    return (frame ? frame->time() : current->currentTime()).seconds();
}

bool PlayerCollectionViewCellController::isTimeBasedDrawingsEnabled() const {
    return localStore->state().enableTimeBasedDrawings;
}

void PlayerCollectionViewCellController::drawViewDidEndDraw(SketchView&, SketchTool&) { publishHistory(); }

void PlayerCollectionViewCellController::drawViewDidChangeSize(SketchView&) {
    if (isFirstLoadPending_) performFirstLoad();
}

// ---- Playback

void PlayerCollectionViewCellController::playerReadyToPlayFor(VideoView& video) {
    const std::shared_ptr<PlayerCollectionViewCell> bound = cell_.lock();
    const std::shared_ptr<SketchView> sketch = sketchView();
    if (bound && sketch && sketch->bounds().size != video.pictureRect().size) bound->layOutSketchView();
    setUpPeriodicTimeObserver();
}

void PlayerCollectionViewCellController::playbackDidFinishFor(VideoView&) {
    mainStore().dispatch(SetCellVideoPlayingStateAction(false, addressedIndex()));
}

void PlayerCollectionViewCellController::playbackDidBreakOffFor(VideoView&) {
    mainStore().dispatch(SetCellVideoPlayingStateAction(false, addressedIndex()));
}

void PlayerCollectionViewCellController::playerDidFailFor(VideoView&) {
    // Play may have been pressed before the clip failed.
    if (!canPlay()) localStore->dispatch(player::SetCellVideoPlayingStateAction(false));
}

void PlayerCollectionViewCellController::setUpPeriodicTimeObserver() {
    removePeriodicTimeObserver();
    refreshDrawing();
    const std::shared_ptr<media::Player> current = player();
    if (!current) return;
    const std::vector<media::VideoTrack> tracks = current->currentItem()->videoTracks();
    const media::Time interval = tracks.empty() ? media::Time(1, 1) : tracks.front().minFrameDuration;
    observedPlayer_ = current;
    timeObserver_ = current->addPeriodicTimeObserver(interval, [weak = weak_from_this()](const media::Time&) {
        if (const auto controller = weak.lock()) controller->timeDidChange();
    });
    renderer_.showTime();
}

void PlayerCollectionViewCellController::removePeriodicTimeObserver() {
    const std::shared_ptr<media::Player> observed = observedPlayer_.lock();
    if (observed && timeObserver_) observed->removeTimeObserver(timeObserver_);
    timeObserver_.reset();
    observedPlayer_.reset();
}

void PlayerCollectionViewCellController::timeDidChange() {
    renderer_.showTime();
    refreshDrawing();
}

void PlayerCollectionViewCellController::refreshDrawing() {
    const std::shared_ptr<SketchView> sketch = sketchView();
    if (sketch && sketch->updateCacheImage(true)) sketch->setNeedsDisplay();
    publishHistory();
}

// ---- The ruler

void PlayerCollectionViewCellController::setUpTimeline() {
    const auto view = hud();
    const auto ruler = view ? view->timelineView.lock() : nullptr;
    if (!ruler) return;
    ruler->delegate = std::shared_ptr<PlayerCommands>(shared_from_this(), &commands);
    ruler->setContent(timelineMultiplier, timelineLength);
    ruler->reload();
}

void PlayerCollectionViewCellController::endRulerThrow() {
    const auto view = hud();
    if (const auto ruler = view ? view->timelineView.lock() : nullptr) ruler->endThrow();
}

}  // namespace videoanalysis
