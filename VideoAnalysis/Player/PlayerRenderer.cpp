#include "VideoAnalysis/Player/PlayerRenderer.h"

#include "VideoAnalysis/Analysis/State.h"
#include "VideoAnalysis/Platform/Media.h"
#include "VideoAnalysis/Player/PlaybackRate.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCell.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCellController.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCellHUDView.h"
#include "VideoAnalysis/Sketch/SketchView.h"
#include "VideoAnalysis/Timeline/TimelineView.h"
#include "VideoAnalysis/Video/VideoView.h"

#include <cmath>
#include <cstdio>
#include <string>

namespace videoanalysis {
namespace {

/// "0:03.47 · 104": minutes, seconds and hundredths, then the frame number.
std::string positionText(double seconds, std::int64_t frame) {
    const auto hundredths = static_cast<long long>(std::floor(seconds * 100 + 1e-6));
    char text[64];
    std::snprintf(text, sizeof text, "%lld:%02lld.%02lld · %lld", hundredths / 6000, hundredths / 100 % 60,
                  hundredths % 100, static_cast<long long>(frame));
    return text;
}

template <class T>
void setHidden(const ui::Outlet<T>& outlet, bool isHidden) {
    if (const std::shared_ptr<T> view = outlet.lock()) view->setHidden(isHidden);
}

template <class T>
void setShown(const ui::Outlet<T>& outlet, bool isShown) {
    setHidden(outlet, !isShown);
    if (const std::shared_ptr<T> view = outlet.lock()) view->setAlpha(isShown ? 1 : 0);
}

void setEnabled(const ui::Outlet<ui::Button>& outlet, bool isEnabled) {
    if (const std::shared_ptr<ui::Button> button = outlet.lock()) button->setEnabled(isEnabled);
}

}  // namespace

void PlayerRenderer::newState(const player::LocalState& state) {
    controller_.dragging = false;
    renderVideo(state);
    const std::shared_ptr<PlayerCollectionViewCellHUDView> hud = controller_.hud();
    if (!hud) return;
    renderControls(*hud, state);
    renderHistory(*hud);
    for (const auto& outlet : hud->shadowViews) {
        if (const std::shared_ptr<ui::View> view = outlet.lock()) view->setHidden(!state.isHUDVisible);
    }
    const std::shared_ptr<TimelineView> ruler = hud->timelineView.lock();
    if (ruler && (!state.isHUDVisible || state.isMediaControlHidden)) ruler->stopScrolling();
}

void PlayerRenderer::renderVideo(const player::LocalState& state) {
    const std::shared_ptr<VideoView> video = controller_.videoView();
    if (!video) return;
    video->setContentMode(player::supportedContentModes.at(static_cast<std::size_t>(state.contentModeIndex)));
    if (const auto cell = controller_.cell()) cell->layOutSketchView();
    applyRate(*video, state);
}

void PlayerRenderer::applyRate(VideoView& video, const player::LocalState& state) {
    const std::shared_ptr<media::Player>& player = video.player();
    if (!player) return;
    if (!state.isMediaPlaying) appliedRate_ = 0;
    // Applies the latest state rather than the delivered one, so that a pending pause is not undone.
    const player::LocalState& newest = controller_.localStore->state();
    if (!newest.isMediaPlaying) {
        appliedRate_ = 0;
        player->pause();
        return;
    }
    // Does not restart a player that stopped by itself: the event with the reason is pending.
    const bool hasStopped = player->rate() == 0 && appliedRate_ == newest.playbackRate;
    if (hasStopped) return;
    appliedRate_ = newest.playbackRate;
    video.play(newest.playbackRate);
}

void PlayerRenderer::renderControls(PlayerCollectionViewCellHUDView& hud, const player::LocalState& state) {
    setHidden(hud.editButton, true);
    setHidden(hud.deleteButton, !mainStore().state().mainViewControllerState.shouldAllowDeletingMedia);
    setShown(hud.seekbar, !state.isMediaControlHidden);
    setShown(hud.mediaControlView, !state.isMediaControlHidden);
    if (state.isMediaControlHidden || !state.isHUDVisible) hud.closeRates();
    if (const std::shared_ptr<ui::Button> button = hud.playPauseButton.lock()) {
        const bool isPlaying = state.isMediaPlaying && controller_.canPlay();
        button->setImage(Image::systemNamed(isPlaying ? "pause.fill" : "play.fill"));
    }
    if (const std::shared_ptr<ui::Button> button = hud.videoPlayRateSelectorButton.lock()) {
        button->setTitle(titleForRate(state.playbackRate));
    }
}

void PlayerRenderer::renderHistory(PlayerCollectionViewCellHUDView& hud) {
    const std::shared_ptr<SketchView> sketch = controller_.sketchView();
    if (!sketch) return;
    setEnabled(hud.undoButton, sketch->canUndo());
    setEnabled(hud.redoButton, sketch->canRedo());
    setEnabled(hud.clearButton, sketch->canUndoAll() || sketch->canRedoAll());
}

void PlayerRenderer::showTime() {
    const std::shared_ptr<media::Player> player = controller_.player();
    if (!player) return;
    const double now = player->currentTime().seconds();
    controller_.localStore->dispatch(player::SetCellVideoTimeAction(static_cast<float>(now)));
    showPosition();
    const std::shared_ptr<PlayerCollectionViewCellHUDView> hud = controller_.hud();
    const std::shared_ptr<ui::Slider> slider = hud ? hud->seekbar.lock() : nullptr;
    const double duration = player->currentItem()->duration().seconds();
    if (slider && controller_.shouldObserveSeekBarChanges && !controller_.dragging && duration > 0) {
        slider->setValue(static_cast<float>(now / duration));
    }
}

void PlayerRenderer::showPosition() {
    const std::shared_ptr<PlayerCollectionViewCellHUDView> hud = controller_.hud();
    const std::shared_ptr<ui::Label> label = hud ? hud->positionLabel.lock() : nullptr;
    if (!label) return;
    const std::shared_ptr<media::Player> player = controller_.player();
    const std::shared_ptr<const media::VideoFrame> frame = player ? player->currentFrame() : nullptr;
    label->setText(frame ? positionText(frame->time().seconds(), frame->index()) : std::string());
}

}  // namespace videoanalysis
