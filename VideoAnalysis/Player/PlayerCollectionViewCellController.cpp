#include "VideoAnalysis/Player/PlayerCollectionViewCellController.h"

#include "VideoAnalysis/Analysis/Actions.h"
#include "VideoAnalysis/Analysis/HostCompletion.h"
#include "VideoAnalysis/Platform/Dispatch.h"
#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Platform/UI/Bundle.h"
#include "VideoAnalysis/Platform/UI/ViewController.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCell.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCellHUDView.h"
#include "VideoAnalysis/Store/Throttle.h"
#include "VideoAnalysis/Timeline/InfiniteDataSources.h"
#include "VideoAnalysis/Trimming/VideoTrimmerController.h"
#include "VideoAnalysis/Video/GesturedScrollView.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace videoanalysis {
namespace {

constexpr double selectorAnimation = 0.33;  // seconds
constexpr double longPressInterval = 0.25;  // seconds
constexpr std::int64_t longPressSteps = 10;
constexpr double timelineDelay = 0.5;  // seconds
constexpr double timelineMultiplier = 1;
constexpr double timelineLength = 100;

/// "0:03.47 · 104": minutes, seconds and hundredths, then the frame's number.
std::string positionText(double seconds, std::int64_t frame) {
    const auto hundredths = static_cast<long long>(std::floor(seconds * 100 + 1e-6));
    char text[64];
    std::snprintf(text, sizeof text, "%lld:%02lld.%02lld · %lld", hundredths / 6000, hundredths / 100 % 60,
                  hundredths % 100, static_cast<long long>(frame));
    return text;
}

}  // namespace

std::shared_ptr<PlayerCollectionViewCellController>
PlayerCollectionViewCellController::make(VideoAnalysisController::Object media, std::int64_t index) {
    auto controller = std::make_shared<PlayerCollectionViewCellController>(Private{}, std::move(media), index);
    controller->localStore->subscribe(controller);
    return controller;
}

PlayerCollectionViewCellController::PlayerCollectionViewCellController(Private, VideoAnalysisController::Object media,
                                                                       std::int64_t index)
    : index(index), localStore(Store<LocalState>::make(cell::reduce, LocalState(), {}, true)),
      timelineViewThrottler(Throttle::make(timelineDelay, dispatch::mainQueue())), media_(std::move(media)) {}

PlayerCollectionViewCellController::~PlayerCollectionViewCellController() {
    removePeriodicTimeObserver();
    if (debounceTimer_) debounceTimer_->invalidate();
}

VideoAnalysisController::Object PlayerCollectionViewCellController::media() const {
    VideoAnalysisController::Object media = media_;
    const std::shared_ptr<SketchView> sketch = sketchView();
    if (sketch && !isFirstLoad)
        media.stack = sketch->stackJSON();
    else if (sketch && (sketch->canUndoAll() || sketch->canRedoAll()))
        media.stack = sketch->stackJSONOnTopOf(media_.stack.value_or(nullptr));
    return media;
}

// ---- Binding

void PlayerCollectionViewCellController::setCell(const std::shared_ptr<PlayerCollectionViewCell>& cell) {
    cell_ = cell;
    if (!cell) return;
    const std::weak_ptr<PlayerCollectionViewCellController> weak = weak_from_this();
    if (const std::shared_ptr<SketchView> sketch = sketchView()) sketch->sketchViewDelegate = weak;
    if (const auto scroll = cell->playerScrollView.lock()) {
        scroll->shouldBeginDrawing = [weak] {
            const auto controller = weak.lock();
            return controller && !controller->hasFailed();
        };
        scroll->willBeginDrawing = [weak] {
            if (const auto controller = weak.lock()) controller->setUpTool();
        };
        scroll->didCancelDrawing = [weak] {
            if (const auto controller = weak.lock()) controller->publishHistory();
        };
        scroll->didTap = [weak] {
            if (const auto controller = weak.lock()) controller->handleHUDTap();
        };
        scroll->didTouch = [weak] {
            if (const auto controller = weak.lock()) controller->touched();
        };
    }
    if (const std::shared_ptr<VideoView> video = videoView()) {
        video->delegate = weak;
        video->setURL(media_.url);
        appliedRate_ = 0;
    }
    localStore->subscribe(shared_from_this());  // the views are new: the state so far is delivered once more
}

void PlayerCollectionViewCellController::setOverlayCell(const std::shared_ptr<OverlayCollectionViewCell>& overlayCell) {
    overlayCell_ = overlayCell;
    const std::shared_ptr<PlayerCollectionViewCellHUDView> view = hud();
    if (!view) return;
    view->removeAllActions();
    wire(*view);
    setUpTimeline();
    updatePosition();
    localStore->subscribe(shared_from_this());
}

void PlayerCollectionViewCellController::wire(PlayerCollectionViewCellHUDView& view) {
    using Self = PlayerCollectionViewCellController;
    const std::weak_ptr<Self> weak = weak_from_this();
    const auto onTap = [&](const std::weak_ptr<ui::Button>& outlet, void (Self::*operation)(ui::Control&)) {
        const auto button = outlet.lock();
        if (!button) return;
        button->addAction(ui::ControlEvent::touchUpInside, [weak, operation](ui::Control& sender) {
            if (const auto controller = weak.lock()) {
                controller->touched();
                (*controller.*operation)(sender);
            }
        });
    };
    onTap(view.playPauseButton, &Self::togglePlayingState);
    onTap(view.rewindButton, &Self::rewind);
    onTap(view.forwardButton, &Self::forward);
    onTap(view.changeFillModeButton, &Self::changeFillMode);
    onTap(view.undoButton, &Self::undo);
    onTap(view.redoButton, &Self::redo);
    onTap(view.clearButton, &Self::clear);
    onTap(view.editButton, &Self::edit);
    onTap(view.deleteButton, &Self::deleteMedia);
    onTap(view.replaceButton, &Self::replaceMedia);
    onTap(view.videoPlayRateSelectorButton, &Self::userDidRequestToChangePlaybackRate);
    for (const std::weak_ptr<ui::Button>& outlet : view.videoPlaybackSpeedButtons) {
        const auto button = outlet.lock();
        if (!button) continue;
        button->addAction(ui::ControlEvent::touchUpInside, [weak](ui::Control& sender) {
            if (const auto controller = weak.lock()) {
                controller->touched();
                controller->userDidChangePlaybackRate(static_cast<ui::Button&>(sender));
            }
        });
    }
    const auto onLongPress = [&](const std::weak_ptr<ui::Button>& outlet,
                                 void (Self::*operation)(ui::GestureRecognizer&)) {
        const auto button = outlet.lock();
        if (!button) return;
        button->longPressGestureRecognizer = std::make_shared<ui::LongPressGestureRecognizer>(button);
        button->longPressGestureRecognizer->setHandler([weak, operation](ui::GestureRecognizer& recognizer) {
            const auto controller = weak.lock();
            if (!controller) return;
            if (recognizer.state() == ui::GestureState::began) controller->touched();
            (*controller.*operation)(recognizer);
        });
    };
    onLongPress(view.rewindButton, &Self::rewindLongPress);
    onLongPress(view.forwardButton, &Self::forwardLongPress);
    if (const auto slider = view.seekbar.lock()) {
        slider->addAction(ui::ControlEvent::valueChanged, [weak](ui::Control& sender) {
            if (const auto controller = weak.lock()) controller->seekbarValueChanged(static_cast<ui::Slider&>(sender));
        });
        const auto observe = [weak](bool shouldObserve) {
            return [weak, shouldObserve](ui::Control&) {
                if (const auto controller = weak.lock()) {
                    controller->touched();
                    controller->shouldObserveSeekBarChanges = shouldObserve;
                }
            };
        };
        slider->addAction(ui::ControlEvent::touchDown, observe(false));
        slider->addAction(ui::ControlEvent::touchUpInside, observe(true));
        slider->addAction(ui::ControlEvent::touchUpOutside, observe(true));
    }
    view.didTouchBesideRates = [weak] {
        if (const auto controller = weak.lock()) controller->closeRates();
    };
}

void PlayerCollectionViewCellController::unbind() {
    removePeriodicTimeObserver();
    if (debounceTimer_) std::exchange(debounceTimer_, nullptr)->invalidate();
    if (const auto view = hud()) view->removeAllActions();
    overlayCell_.reset();
    const std::shared_ptr<PlayerCollectionViewCell> cell = cell_.lock();
    if (!cell) return;
    media_ = media();
    isFirstLoad = true;  // the drawings are back in the item
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

void PlayerCollectionViewCellController::performFirstLoad() {
    if (!isFirstLoad) return;
    const std::shared_ptr<SketchView> sketch = sketchView();
    if (!sketch || sketch->bounds().isEmpty()) {
        firstLoadIsDue_ = true;
        return;
    }
    isFirstLoad = false;
    firstLoadIsDue_ = false;
    if (media_.stack) sketch->loadStackBelow(*media_.stack);
    publishHistory();
}

// ---- What the controls do

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

void PlayerCollectionViewCellController::togglePlayingState(ui::Control&) { togglePlaying(); }

void PlayerCollectionViewCellController::togglePlaying() {
    const bool isPlaying = !localStore->state().isMediaPlaying && canPlay();
    mainStore().dispatch(videoanalysis::SetCellVideoPlayingStateAction(isPlaying, addressedIndex()));
}

void PlayerCollectionViewCellController::rewind(ui::Control&) {
    mainStore().dispatch(PerformCellVideoSeekBackwardAction(addressedIndex(), -1));
}

void PlayerCollectionViewCellController::forward(ui::Control&) {
    mainStore().dispatch(PerformCellVideoSeekForwardAction(addressedIndex(), 1));
}

void PlayerCollectionViewCellController::rewindLongPress(ui::GestureRecognizer& recognizer) {
    handleLongPress<PerformCellVideoSeekBackwardAction>(recognizer, -longPressSteps);
}

void PlayerCollectionViewCellController::forwardLongPress(ui::GestureRecognizer& recognizer) {
    handleLongPress<PerformCellVideoSeekForwardAction>(recognizer, longPressSteps);
}

template <class SeekAction>
void PlayerCollectionViewCellController::handleLongPress(ui::GestureRecognizer& recognizer, std::int64_t steps) {
    if (recognizer.state() == ui::GestureState::ended) {
        if (debounceTimer_) std::exchange(debounceTimer_, nullptr)->invalidate();
    } else if (recognizer.state() == ui::GestureState::began && !debounceTimer_) {
        debounceTimer_ = platform().scheduleTimer(longPressInterval, true, [weak = weak_from_this(), steps] {
            if (const auto controller = weak.lock()) {
                mainStore().dispatch(SeekAction(controller->addressedIndex(), steps));
            }
        });
    }
}

void PlayerCollectionViewCellController::seekbarValueChanged(ui::Slider& sender) {
    if (player()) {
        dragging = true;
        seekTo(sender.value());
    }
}

void PlayerCollectionViewCellController::seekTo(double fraction) {
    const std::shared_ptr<media::Player> current = player();
    if (!current) return;
    const media::Time duration = current->currentItem()->duration();
    const media::Time time(std::llround(static_cast<double>(duration.value) * fraction), duration.timescale);
    if (time.isValid()) mainStore().dispatch(CellVideoSeekToTimeAction({}, fraction, time, addressedIndex()));
}

void PlayerCollectionViewCellController::changeFillMode(ui::Control&) {
    localStore->dispatch(ChangeCellVideoFillModeAction());
}

void PlayerCollectionViewCellController::undo(ui::Control&) {
    if (const std::shared_ptr<SketchView> sketch = sketchView()) sketch->undo();
    publishHistory();
}

void PlayerCollectionViewCellController::redo(ui::Control&) {
    if (const std::shared_ptr<SketchView> sketch = sketchView()) sketch->redo();
    publishHistory();
}

void PlayerCollectionViewCellController::clear(ui::Control&) {
    if (const std::shared_ptr<SketchView> sketch = sketchView()) sketch->clear();
    publishHistory();
}

void PlayerCollectionViewCellController::deleteMedia(ui::Control&) {
    const auto delegate = mainStore().state().delegate.lock();
    const auto presenter = presenteeViewController.lock();
    if (!delegate || !presenter) return;
    const auto self = shared_from_this();
    delegate->videoAnalysisControllerDidRequestToDeleteMedia(
        presenter, hostCompletion<>(
                       "delete a clip", [self] { return mainStore().state().hasPlayer(*self); },
                       [self] { mainStore().dispatch(RemoveMediaAction(self->index)); }));
}

void PlayerCollectionViewCellController::replaceMedia(ui::Control&) {
    const auto delegate = mainStore().state().delegate.lock();
    const auto presenter = presenteeViewController.lock();
    if (!delegate || !presenter) return;
    const auto self = shared_from_this();
    delegate->videoAnalysisControllerDidRequestMedia(
        presenter, index,
        hostCompletion<VideoAnalysisController::Object>(
            "replace a clip", [self] { return mainStore().state().hasPlayer(*self); },
            [self](VideoAnalysisController::Object media) {
                mainStore().dispatch(UpdateMediaAction(self->index, std::move(media)));
            }));
}

void PlayerCollectionViewCellController::edit(ui::Control&) {
    const std::shared_ptr<ui::Storyboard> storyboard = platform().bundle().storyboard("Main");
    const auto trimmer = std::dynamic_pointer_cast<VideoTrimmerController>(
        storyboard ? storyboard->instantiateViewController("VideoTrimmerController") : nullptr);
    if (!trimmer) return;
    trimmer->delegate = shared_from_this();
    trimmer->url = media_.url;
    trimmer->setModalPresentationStyle(ui::ModalPresentationStyle::formSheet);
    const auto presenter = presenteeViewController.lock();
    if (!presenter) return;
    // What lies below is neither seen nor meant to be heard.
    mainStore().dispatch(videoanalysis::SetCellVideoPlayingStateAction(false, {}));
    presenter->present(trimmer, true, {});
}

void PlayerCollectionViewCellController::videoEditorControllerDidSaveEditedVideoToPath(ui::ViewController& editor,
                                                                                       const std::string& path) {
    if (const std::shared_ptr<SketchView> sketch = sketchView()) sketch->clear();
    editor.dismiss(true, [weak = weak_from_this(), path] {
        const auto self = weak.lock();
        if (self) mainStore().dispatch(UpdateMediaAction(self->index, {URL::fileURL(path), std::nullopt}));
    });
}

void PlayerCollectionViewCellController::videoEditorControllerDidCancel(ui::ViewController& editor) {
    editor.dismiss(true, {});
}

void PlayerCollectionViewCellController::videoEditorControllerDidFailWithError(ui::ViewController& editor,
                                                                               const std::string& error) {
    std::printf("A error occurred while editing video: %s\n", error.c_str());
    std::fflush(stdout);
    editor.dismiss(true, {});
}

void PlayerCollectionViewCellController::userDidRequestToChangePlaybackRate(ui::Control&) {
    const auto view = hud();
    const auto container = view ? view->playbackRateSelectorContainerView.lock() : nullptr;
    if (container) container->animateAlpha(container->alpha() == 0 ? 1 : 0, selectorAnimation);
}

void PlayerCollectionViewCellController::userDidChangePlaybackRate(ui::Button& sender) {
    if (sender.title().empty()) return;
    const float rate = rateFromTitle(sender.title());
    if (rate != localStore->state().playbackRate) mainStore().dispatch(SetPlayerRate(addressedIndex(), rate));
    closeRates();
}

bool PlayerCollectionViewCellController::closeRates() {
    const auto view = hud();
    const auto container = view ? view->playbackRateSelectorContainerView.lock() : nullptr;
    if (!container || container->alpha() == 0) return false;
    container->animateAlpha(0, selectorAnimation);
    return true;
}

void PlayerCollectionViewCellController::handleHUDTap() {
    mainStore().dispatch(SetHUDVisibleAction(!mainStore().state().mainViewControllerState.isHUDVisible));
}

// ---- Keys and touches

void PlayerCollectionViewCellController::touched() {
    static std::uint64_t touches = 0;
    latestTouch_ = ++touches;
}

bool PlayerCollectionViewCellController::keyPressed(const ui::KeyPress& press) {
    if (press.isControlDown != (press.key == ui::Key::z)) return false;
    const std::int64_t steps = press.isShiftDown ? longPressSteps : 1;
    switch (press.key) {
        case ui::Key::space: togglePlaying(); return true;
        case ui::Key::left:
            mainStore().dispatch(PerformCellVideoSeekBackwardAction(addressedIndex(), -steps));
            return true;
        case ui::Key::right:
            mainStore().dispatch(PerformCellVideoSeekForwardAction(addressedIndex(), steps));
            return true;
        case ui::Key::home: seekTo(0); return true;
        case ui::Key::end: seekTo(1); return true;
        case ui::Key::z:
            if (const std::shared_ptr<SketchView> sketch = sketchView())
                press.isShiftDown ? sketch->redo() : sketch->undo();
            publishHistory();
            return true;
        case ui::Key::f: localStore->dispatch(ChangeCellVideoFillModeAction()); return true;
        case ui::Key::leftBracket: changeRate(-1); return true;
        case ui::Key::rightBracket: changeRate(1); return true;
        case ui::Key::escape: return closeRates();
    }
    return false;
}

void PlayerCollectionViewCellController::changeRate(int direction) {
    const auto view = hud();
    if (!view) return;
    const float rate = localStore->state().playbackRate;
    std::optional<float> next;
    for (const std::weak_ptr<ui::Button>& outlet : view->videoPlaybackSpeedButtons) {
        const auto button = outlet.lock();
        if (!button) continue;
        const float offered = rateFromTitle(button->title());
        const bool isBeyond = direction > 0 ? offered > rate : offered < rate;
        if (isBeyond && (!next || std::abs(offered - rate) < std::abs(*next - rate))) next = offered;
    }
    if (next) mainStore().dispatch(SetPlayerRate(addressedIndex(), *next));
}

float PlayerCollectionViewCellController::rateFromTitle(const std::string& title) {
    static constexpr char digits[] = "0123456789";
    const std::size_t first = title.find_first_of(digits);
    if (first == std::string::npos) return 1.0F;
    const std::string number = title.substr(first, title.find_last_of(digits) - first + 1);
    // Only digits and one point make a number; a point is the separator in every locale.
    if (number.find_first_not_of("0123456789.") != std::string::npos || number.find('.') != number.rfind('.'))
        return 1.0F;
    const std::size_t point = number.find('.');
    double value = std::strtod(number.substr(0, point).c_str(), nullptr);
    if (point != std::string::npos) {
        double unit = 0.1;
        for (std::size_t i = point + 1; i < number.size(); ++i, unit /= 10) value += unit * (number[i] - '0');
    }
    return static_cast<float>(value);
}

std::string PlayerCollectionViewCellController::titleForRate(float rate) {
    const long long hundredths = std::llround(static_cast<double>(rate) * 100);
    std::string text = std::to_string(hundredths / 100);
    if (const long long fraction = std::llabs(hundredths % 100)) {
        text += '.';
        text += static_cast<char>('0' + fraction / 10);
        if (fraction % 10) text += static_cast<char>('0' + fraction % 10);
    }
    return text + "x";
}

// ---- Rendering

void PlayerCollectionViewCellController::newState(const LocalState& state) {
    dragging = false;
    if (const std::shared_ptr<VideoView> video = videoView()) {
        video->setContentMode(cell::supportedContentModes.at(static_cast<std::size_t>(state.contentModeIndex)));
        if (const auto bound = cell_.lock()) bound->layOutSketchView();
        applyRate(*video, state);
    }
    const auto view = hud();
    if (!view) return;
    const auto setHidden = [](const auto& outlet, bool hidden) {
        if (const auto target = outlet.lock()) target->setHidden(hidden);
    };
    setHidden(view->editButton, true);
    setHidden(view->deleteButton, !mainStore().state().mainViewControllerState.shouldAllowDeletingMedia);
    const auto setShown = [&](const auto& outlet) {
        setHidden(outlet, state.isMediaControlHidden);
        if (const auto target = outlet.lock()) target->setAlpha(state.isMediaControlHidden ? 0 : 1);
    };
    setShown(view->seekbar);
    setShown(view->mediaControlView);
    if (state.isMediaControlHidden || !state.isHUDVisible) closeRates();
    if (const auto button = view->playPauseButton.lock()) {
        button->setImage(Image::systemNamed(state.isMediaPlaying && canPlay() ? "pause.fill" : "play.fill"));
    }
    if (const auto button = view->videoPlayRateSelectorButton.lock())
        button->setTitle(titleForRate(state.playbackRate));
    if (const std::shared_ptr<SketchView> sketch = sketchView()) {
        const auto setEnabled = [](const auto& outlet, bool enabled) {
            if (const auto button = outlet.lock()) button->setEnabled(enabled);
        };
        setEnabled(view->undoButton, sketch->canUndo());
        setEnabled(view->redoButton, sketch->canRedo());
        setEnabled(view->clearButton, sketch->canUndoAll() || sketch->canRedoAll());
    }
    for (const auto& outlet : view->shadowViews) setHidden(outlet, !state.isHUDVisible);
    const auto ruler = view->timelineView.lock();
    if (ruler && (!state.isHUDVisible || state.isMediaControlHidden)) ruler->stopScrolling();
}

void PlayerCollectionViewCellController::applyRate(VideoView& video, const LocalState& state) {
    const std::shared_ptr<media::Player>& current = video.player();
    if (!current) return;
    if (!state.isMediaPlaying) appliedRate_ = 0;
    // A state on its way may have been overtaken: the player follows the newest one, so that a pause stays one.
    const LocalState& newest = localStore->state();
    if (!newest.isMediaPlaying) {
        appliedRate_ = 0;
        current->pause();
        return;
    }
    // A player that has come to a stop by itself is not started again: the event that says why is on its way.
    const bool hasStopped = current->rate() == 0 && appliedRate_ == newest.playbackRate;
    if (hasStopped) return;
    appliedRate_ = newest.playbackRate;
    video.play(newest.playbackRate);
}

void PlayerCollectionViewCellController::publishHistory() {
    const std::shared_ptr<SketchView> sketch = sketchView();
    localStore->dispatch(UndoAction(sketch && sketch->canUndo()));
    localStore->dispatch(RedoAction(sketch && sketch->canRedo()));
}

// ---- Drawing

void PlayerCollectionViewCellController::setUpTool() {
    const std::shared_ptr<SketchView> sketch = sketchView();
    if (!sketch) return;
    const MainViewControllerState& screen = mainStore().state().mainViewControllerState;
    sketch->drawTool = screen.toolType;
    if (const std::optional<Color> color = screen.toolColorMap[screen.toolType]) sketch->lineColor = *color;
}

double PlayerCollectionViewCellController::currentTime() const {
    // Of the picture that is shown, so that a drawing belongs to the frame that it was made on.
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
    if (firstLoadIsDue_) performFirstLoad();
}

// ---- Playback

void PlayerCollectionViewCellController::playerReadyToPlayFor(VideoView& video) {
    const std::shared_ptr<PlayerCollectionViewCell> bound = cell_.lock();
    const std::shared_ptr<SketchView> sketch = sketchView();
    if (bound && sketch && sketch->bounds().size != video.pictureRect().size) bound->layOutSketchView();
    setUpPeriodicTimeObserver();
}

void PlayerCollectionViewCellController::playbackDidFinishFor(VideoView&) {
    mainStore().dispatch(videoanalysis::SetCellVideoPlayingStateAction(false, addressedIndex()));
}

void PlayerCollectionViewCellController::playbackDidBreakOffFor(VideoView&) {
    mainStore().dispatch(videoanalysis::SetCellVideoPlayingStateAction(false, addressedIndex()));
}

void PlayerCollectionViewCellController::playerDidFailFor(VideoView&) {
    // Play may have been pressed before this was known.
    if (!canPlay()) localStore->dispatch(SetCellVideoPlayingStateAction(false));
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
    updateSeekBar();
}

void PlayerCollectionViewCellController::setUpTimeline() {
    const auto view = hud();
    const auto ruler = view ? view->timelineView.lock() : nullptr;
    if (!ruler) return;
    ruler->delegate = weak_from_this();
    ruler->setContent(timelineMultiplier, timelineLength);
    ruler->reload();
}

void PlayerCollectionViewCellController::timelineViewDidScrollBy(double steps, bool) {
    touched();
    const std::int64_t count = truncated(steps, "A scrub of the timeline");
    if (count >= 0) {
        mainStore().dispatch(PerformCellVideoSeekForwardAction(addressedIndex(), count));
    } else {
        mainStore().dispatch(PerformCellVideoSeekBackwardAction(addressedIndex(), count));
    }
}

bool PlayerCollectionViewCellController::defaultScrubbingDirection() const {
    return localStore->state().defaultScrubbingDirection;
}

void PlayerCollectionViewCellController::endRulerThrow() const {
    const auto view = hud();
    if (const auto ruler = view ? view->timelineView.lock() : nullptr) ruler->endThrow();
}

void PlayerCollectionViewCellController::removePeriodicTimeObserver() {
    const std::shared_ptr<media::Player> observed = observedPlayer_.lock();
    if (observed && timeObserver_) observed->removeTimeObserver(timeObserver_);
    timeObserver_.reset();
    observedPlayer_.reset();
}

void PlayerCollectionViewCellController::timeDidChange() {
    updateSeekBar();
    refreshDrawing();
}

void PlayerCollectionViewCellController::refreshDrawing() {
    const std::shared_ptr<SketchView> sketch = sketchView();
    if (sketch && sketch->updateCacheImage(true)) sketch->setNeedsDisplay();
    publishHistory();
}

void PlayerCollectionViewCellController::updateSeekBar() {
    const std::shared_ptr<media::Player> current = player();
    if (!current) return;
    const double now = current->currentTime().seconds();
    localStore->dispatch(SetCellVideoTimeAction(static_cast<float>(now)));
    updatePosition();
    const auto view = hud();
    const auto slider = view ? view->seekbar.lock() : nullptr;
    const double duration = current->currentItem()->duration().seconds();
    if (slider && shouldObserveSeekBarChanges && !dragging && duration > 0) {
        slider->setValue(static_cast<float>(now / duration));
    }
}

void PlayerCollectionViewCellController::updatePosition() {
    const auto view = hud();
    const auto label = view ? view->positionLabel.lock() : nullptr;
    const std::shared_ptr<media::Player> current = player();
    const std::shared_ptr<const media::VideoFrame> frame = current ? current->currentFrame() : nullptr;
    if (label) label->setText(frame ? positionText(frame->time().seconds(), frame->index()) : std::string());
}

// ---- Access

std::shared_ptr<SketchView> PlayerCollectionViewCellController::sketchView() const {
    const auto bound = cell_.lock();
    return bound ? bound->sketchView.lock() : nullptr;
}

std::shared_ptr<VideoView> PlayerCollectionViewCellController::videoView() const {
    const auto bound = cell_.lock();
    return bound ? bound->playerView.lock() : nullptr;
}

std::shared_ptr<media::Player> PlayerCollectionViewCellController::player() const {
    const auto video = videoView();
    return video ? video->player() : nullptr;
}

std::shared_ptr<PlayerCollectionViewCellHUDView> PlayerCollectionViewCellController::hud() const {
    const auto bound = overlayCell_.lock();
    return bound ? bound->hudView.lock() : nullptr;
}

}  // namespace videoanalysis
