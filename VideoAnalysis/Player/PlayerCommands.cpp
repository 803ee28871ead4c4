#include "VideoAnalysis/Player/PlayerCommands.h"

#include "VideoAnalysis/Analysis/Actions.h"
#include "VideoAnalysis/Analysis/HostCompletion.h"
#include "VideoAnalysis/Analysis/LocalState.h"
#include "VideoAnalysis/Platform/Dispatch.h"
#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Platform/UI/Bundle.h"
#include "VideoAnalysis/Platform/UI/ViewController.h"
#include "VideoAnalysis/Player/PlaybackRate.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCellController.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCellHUDView.h"
#include "VideoAnalysis/Sketch/SketchView.h"
#include "VideoAnalysis/Timeline/InfiniteDataSources.h"
#include "VideoAnalysis/Trimming/VideoTrimmerController.h"

#include <cmath>
#include <cstdio>
#include <optional>
#include <utility>

namespace videoanalysis {
namespace {

constexpr double longPressInterval = 0.25;  // seconds
constexpr std::int64_t longPressSteps = 10;

}  // namespace

PlayerCommands::~PlayerCommands() { stop(); }

void PlayerCommands::stop() {
    if (debounceTimer_) std::exchange(debounceTimer_, nullptr)->invalidate();
}

// ---- Binding

template <class Operation>
ui::Control::Action PlayerCommands::touching(Operation operation) {
    return [weak = controller_.weak_from_this(), operation](ui::Control& sender) {
        const auto controller = weak.lock();
        if (!controller) return;
        controller->commands.touched();
        if constexpr (std::is_invocable_v<Operation, PlayerCommands&>) {
            std::invoke(operation, controller->commands);
        } else {
            std::invoke(operation, controller->commands, sender);
        }
    };
}

void PlayerCommands::bind(PlayerCollectionViewCellHUDView& hud) {
    const auto onTap = [this](const ui::Outlet<ui::Button>& outlet, void (PlayerCommands::*operation)()) {
        if (const auto button = outlet.lock()) button->addAction(ui::ControlEvent::touchUpInside, touching(operation));
    };
    onTap(hud.playPauseButton, &PlayerCommands::togglePlayingState);
    onTap(hud.rewindButton, &PlayerCommands::rewind);
    onTap(hud.forwardButton, &PlayerCommands::forward);
    onTap(hud.changeFillModeButton, &PlayerCommands::changeFillMode);
    onTap(hud.undoButton, &PlayerCommands::undo);
    onTap(hud.redoButton, &PlayerCommands::redo);
    onTap(hud.clearButton, &PlayerCommands::clear);
    onTap(hud.editButton, &PlayerCommands::edit);
    onTap(hud.deleteButton, &PlayerCommands::deleteMedia);
    onTap(hud.replaceButton, &PlayerCommands::replaceMedia);
    onTap(hud.videoPlayRateSelectorButton, &PlayerCommands::userDidRequestToChangePlaybackRate);
    bindTransport(hud);
    bindSeekbar(hud);
    bindRates(hud);
}

void PlayerCommands::bindTransport(PlayerCollectionViewCellHUDView& hud) {
    const auto onLongPress = [this](const ui::Outlet<ui::Button>& outlet,
                                    void (PlayerCommands::*operation)(ui::GestureRecognizer&)) {
        const auto button = outlet.lock();
        if (!button) return;
        button->longPressGestureRecognizer = std::make_shared<ui::LongPressGestureRecognizer>(button);
        button->longPressGestureRecognizer->setHandler(
            [weak = controller_.weak_from_this(), operation](ui::GestureRecognizer& recognizer) {
                const auto controller = weak.lock();
                if (!controller) return;
                if (recognizer.state() == ui::GestureState::began) controller->commands.touched();
                (controller->commands.*operation)(recognizer);
            });
    };
    onLongPress(hud.rewindButton, &PlayerCommands::rewindLongPress);
    onLongPress(hud.forwardButton, &PlayerCommands::forwardLongPress);
}

void PlayerCommands::bindSeekbar(PlayerCollectionViewCellHUDView& hud) {
    const auto slider = hud.seekbar.lock();
    if (!slider) return;
    slider->addAction(ui::ControlEvent::valueChanged, [weak = controller_.weak_from_this()](ui::Control& sender) {
        if (const auto controller = weak.lock()) {
            controller->commands.seekbarValueChanged(static_cast<ui::Slider&>(sender));
        }
    });
    const auto observe = [this](bool shouldObserve) {
        return touching([shouldObserve](PlayerCommands& commands) {
            commands.controller_.shouldObserveSeekBarChanges = shouldObserve;
        });
    };
    slider->addAction(ui::ControlEvent::touchDown, observe(false));
    slider->addAction(ui::ControlEvent::touchUpInside, observe(true));
    slider->addAction(ui::ControlEvent::touchUpOutside, observe(true));
}

void PlayerCommands::bindRates(PlayerCollectionViewCellHUDView& hud) {
    for (const std::weak_ptr<ui::Button>& outlet : hud.videoPlaybackSpeedButtons) {
        const auto button = outlet.lock();
        if (!button) continue;
        button->addAction(ui::ControlEvent::touchUpInside, touching([](PlayerCommands& commands, ui::Control& sender) {
                              commands.userDidChangePlaybackRate(static_cast<ui::Button&>(sender));
                          }));
    }
    hud.didTouchBesideRates = [weak = controller_.weak_from_this()] {
        const auto controller = weak.lock();
        if (const auto view = controller ? controller->hud() : nullptr) view->closeRates();
    };
}

// ---- Playback

void PlayerCommands::togglePlayingState() {
    const bool isPlaying = !controller_.localStore->state().isMediaPlaying && controller_.canPlay();
    mainStore().dispatch(SetCellVideoPlayingStateAction(isPlaying, controller_.addressedIndex()));
}

void PlayerCommands::step(std::int64_t steps) {
    if (steps >= 0) {
        mainStore().dispatch(PerformCellVideoSeekForwardAction(controller_.addressedIndex(), steps));
    } else {
        mainStore().dispatch(PerformCellVideoSeekBackwardAction(controller_.addressedIndex(), steps));
    }
}

void PlayerCommands::rewind() { step(-1); }

void PlayerCommands::forward() { step(1); }

void PlayerCommands::rewindLongPress(ui::GestureRecognizer& recognizer) {
    handleLongPress<PerformCellVideoSeekBackwardAction>(recognizer, -longPressSteps);
}

void PlayerCommands::forwardLongPress(ui::GestureRecognizer& recognizer) {
    handleLongPress<PerformCellVideoSeekForwardAction>(recognizer, longPressSteps);
}

template <class SeekAction>
void PlayerCommands::handleLongPress(ui::GestureRecognizer& recognizer, std::int64_t steps) {
    if (recognizer.state() == ui::GestureState::ended) {
        stop();
    } else if (recognizer.state() == ui::GestureState::began && !debounceTimer_) {
        debounceTimer_ =
            platform().scheduleTimer(longPressInterval, true, [weak = controller_.weak_from_this(), steps] {
                if (const auto controller = weak.lock()) {
                    mainStore().dispatch(SeekAction(controller->addressedIndex(), steps));
                }
            });
    }
}

void PlayerCommands::seekbarValueChanged(ui::Slider& sender) {
    if (!controller_.player()) return;
    controller_.dragging = true;
    seekTo(sender.value());
}

void PlayerCommands::seekTo(double fraction) {
    const std::shared_ptr<media::Player> player = controller_.player();
    if (!player) return;
    const media::Time duration = player->currentItem()->duration();
    const media::Time time(std::llround(static_cast<double>(duration.value) * fraction), duration.timescale);
    if (!time.isValid()) return;
    mainStore().dispatch(CellVideoSeekToTimeAction({}, fraction, time, controller_.addressedIndex()));
}

void PlayerCommands::changeFillMode() { controller_.localStore->dispatch(player::ChangeCellVideoFillModeAction()); }

void PlayerCommands::timelineViewDidScrollBy(double steps, bool) {
    touched();
    step(truncated(steps, "A scrub of the timeline"));
}

bool PlayerCommands::defaultScrubbingDirection() const {
    return controller_.localStore->state().defaultScrubbingDirection;
}

Color PlayerCommands::tickColor() const { return mainStore().state().theme.buttonsTintColor; }

// ---- Playback rate

void PlayerCommands::userDidRequestToChangePlaybackRate() {
    if (const auto hud = controller_.hud()) hud->toggleRates();
}

void PlayerCommands::userDidChangePlaybackRate(ui::Button& sender) {
    if (sender.title().empty()) return;
    const float rate = rateFromTitle(sender.title());
    if (rate != controller_.localStore->state().playbackRate) {
        mainStore().dispatch(SetPlayerRate(controller_.addressedIndex(), rate));
    }
    if (const auto hud = controller_.hud()) hud->closeRates();
}

void PlayerCommands::changeRate(int direction) {
    const auto hud = controller_.hud();
    if (!hud) return;
    const float rate = controller_.localStore->state().playbackRate;
    std::optional<float> next;
    for (const std::weak_ptr<ui::Button>& outlet : hud->videoPlaybackSpeedButtons) {
        const auto button = outlet.lock();
        if (!button) continue;
        const float offered = rateFromTitle(button->title());
        const bool isBeyond = direction > 0 ? offered > rate : offered < rate;
        if (isBeyond && (!next || std::abs(offered - rate) < std::abs(*next - rate))) next = offered;
    }
    if (next) mainStore().dispatch(SetPlayerRate(controller_.addressedIndex(), *next));
}

// ---- Drawings

void PlayerCommands::undo() {
    if (const auto sketch = controller_.sketchView()) sketch->undo();
    controller_.publishHistory();
}

void PlayerCommands::redo() {
    if (const auto sketch = controller_.sketchView()) sketch->redo();
    controller_.publishHistory();
}

void PlayerCommands::clear() {
    if (const auto sketch = controller_.sketchView()) sketch->clear();
    controller_.publishHistory();
}

// ---- The clip

void PlayerCommands::deleteMedia() {
    const auto delegate = mainStore().state().delegate.lock();
    const auto presenter = controller_.presenteeViewController.lock();
    if (!delegate || !presenter) return;
    const auto self = controller_.shared_from_this();
    delegate->videoAnalysisControllerDidRequestToDeleteMedia(
        presenter, hostCompletion<>(
                       "delete a clip", [self] { return mainStore().state().hasPlayer(*self->localStore); },
                       [self] { mainStore().dispatch(RemoveMediaAction(self->index)); }));
}

void PlayerCommands::replaceMedia() {
    const auto delegate = mainStore().state().delegate.lock();
    const auto presenter = controller_.presenteeViewController.lock();
    if (!delegate || !presenter) return;
    const auto self = controller_.shared_from_this();
    delegate->videoAnalysisControllerDidRequestMedia(
        presenter, self->index,
        hostCompletion<VideoAnalysisController::Object>(
            "replace a clip", [self] { return mainStore().state().hasPlayer(*self->localStore); },
            [self](VideoAnalysisController::Object media) {
                mainStore().dispatch(UpdateMediaAction(self->index, std::move(media)));
            }));
}

void PlayerCommands::edit() {
    const std::shared_ptr<ui::Storyboard> storyboard = platform().bundle().storyboard("Main");
    const auto trimmer = std::dynamic_pointer_cast<VideoTrimmerController>(
        storyboard ? storyboard->instantiateViewController("VideoTrimmerController") : nullptr);
    if (!trimmer) return;
    trimmer->delegate = std::shared_ptr<PlayerCommands>(controller_.shared_from_this(), this);
    trimmer->url = controller_.url();
    trimmer->setModalPresentationStyle(ui::ModalPresentationStyle::formSheet);
    const auto presenter = controller_.presenteeViewController.lock();
    if (!presenter) return;
    // The trim screen covers the players, so all of them pause.
    mainStore().dispatch(SetCellVideoPlayingStateAction(false, {}));
    presenter->present(trimmer, true, {});
}

void PlayerCommands::videoEditorControllerDidSaveEditedVideoToPath(ui::ViewController& editor,
                                                                   const std::string& path) {
    if (const auto sketch = controller_.sketchView()) sketch->clear();
    editor.dismiss(true, [weak = controller_.weak_from_this(), path] {
        const auto self = weak.lock();
        if (self) mainStore().dispatch(UpdateMediaAction(self->index, {URL::fileURL(path), std::nullopt}));
    });
}

void PlayerCommands::videoEditorControllerDidCancel(ui::ViewController& editor) { editor.dismiss(true, {}); }

void PlayerCommands::videoEditorControllerDidFailWithError(ui::ViewController& editor, const std::string& error) {
    std::printf("A error occurred while editing video: %s\n", error.c_str());
    std::fflush(stdout);
    editor.dismiss(true, {});
}

// ---- Touches and keys

void PlayerCommands::handleHUDTap() {
    mainStore().dispatch(SetHUDVisibleAction(!mainStore().state().mainViewControllerState.isHUDVisible));
}

void PlayerCommands::touched() {
    static std::uint64_t touches = 0;
    latestTouch_ = ++touches;
}

bool PlayerCommands::keyPressed(const ui::KeyPress& press) {
    if (press.isControlDown != (press.key == ui::Key::z)) return false;
    const std::int64_t steps = press.isShiftDown ? longPressSteps : 1;
    switch (press.key) {
        case ui::Key::space: togglePlayingState(); return true;
        case ui::Key::left: step(-steps); return true;
        case ui::Key::right: step(steps); return true;
        case ui::Key::home: seekTo(0); return true;
        case ui::Key::end: seekTo(1); return true;
        case ui::Key::z: press.isShiftDown ? redo() : undo(); return true;
        case ui::Key::f: changeFillMode(); return true;
        case ui::Key::leftBracket: changeRate(-1); return true;
        case ui::Key::rightBracket: changeRate(1); return true;
        case ui::Key::escape: {
            const auto hud = controller_.hud();
            return hud && hud->closeRates();
        }
    }
    return false;
}

}  // namespace videoanalysis
