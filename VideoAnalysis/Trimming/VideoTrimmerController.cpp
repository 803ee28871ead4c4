#include "VideoAnalysis/Trimming/VideoTrimmerController.h"

#include "VideoAnalysis/Platform/Dispatch.h"
#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Platform/UI/Bundle.h"
#include "VideoAnalysis/Platform/UI/Device.h"
#include "VideoAnalysis/Platform/UUID.h"
#include "VideoAnalysis/Trimming/CropView.h"
#include "VideoAnalysis/Trimming/TrimmerView.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <string_view>
#include <utility>

namespace videoanalysis {
namespace {

constexpr double progressInterval = 0.1;  // seconds
constexpr std::int32_t timescale = 1'000'000;

/// The container of the saved file: the clip's own where it is one that is written, otherwise the usual one.
std::string extensionFor(const URL& url) {
    static constexpr std::array<std::string_view, 5> kept = {".mp4", ".m4v", ".mov", ".mkv", ".webm"};
    const std::string path = url.path();
    const std::size_t dot = path.rfind('.');
    std::string extension = dot == std::string::npos ? std::string() : path.substr(dot);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return std::find(kept.begin(), kept.end(), extension) == kept.end() ? ".mp4" : extension;
}

}  // namespace

VideoTrimmerController::~VideoTrimmerController() {
    if (progressTimer_) progressTimer_->invalidate();
}

ui::Control::Action VideoTrimmerController::action(void (VideoTrimmerController::*operation)(ui::Control&)) {
    return [weak = weak_from_this(), operation](ui::Control& sender) {
        const auto self = std::static_pointer_cast<VideoTrimmerController>(weak.lock());
        if (self) (*self.*operation)(sender);
    };
}

void VideoTrimmerController::connectOutlets(ui::Outlets& layout) {
    ui::ViewController::connectOutlets(layout);
    layout.action("togglePlaying:", action(&VideoTrimmerController::togglePlaying));
    layout.action("toggleCropping:", action(&VideoTrimmerController::toggleCropping));
    layout.action("chooseAspect:", action(&VideoTrimmerController::chooseAspect));
    layout.action("save:", action(&VideoTrimmerController::save));
    layout.action("cancel:", action(&VideoTrimmerController::cancel));
}

// ---- Life cycle

void VideoTrimmerController::viewDidLoad() {
    const auto trimmer = trimmerView.required();
    trimmer->addAction(ui::ControlEvent::touchDown, action(&VideoTrimmerController::trackingBegan));
    trimmer->addAction(ui::ControlEvent::valueChanged, action(&VideoTrimmerController::tracked));
    trimmer->addAction(ui::ControlEvent::touchUpInside, action(&VideoTrimmerController::trackingEnded));
    trimmer->rowObserver = [this, weak = weak_from_this()] {
        if (const auto alive = weak.lock()) requestThumbnails();
    };
    videoView->setContentMode(ui::ContentMode::scaleToFill);
    updateControls();
    updateLabels();
}

void VideoTrimmerController::viewWillAppear(bool) {
    const auto video = videoView.required();
    video->delegate = std::static_pointer_cast<VideoTrimmerController>(shared_from_this());
    isReady_ = false;
    isSeeking_ = false;
    video->setURL(url);
    generator_ = platform().media().makeImageGenerator(url);
}

void VideoTrimmerController::viewDidDisappear(bool) {
    // Whoever took the screen away: nothing of it plays, and nothing half done is left.
    if (progressTimer_) progressTimer_->invalidate();
    progressTimer_ = nullptr;
    session_ = nullptr;
    generator_ = nullptr;
    if (const auto active = player(); active && timeObserver_) active->removeTimeObserver(timeObserver_);
    timeObserver_ = nullptr;
    if (const auto video = videoView.lock()) video->setURL(std::nullopt);
}

// ---- Playing

std::shared_ptr<media::Player> VideoTrimmerController::player() const {
    const auto video = videoView.lock();
    return video ? video->player() : nullptr;
}

media::Time VideoTrimmerController::timeOf(double seconds) const {
    return media::Time::fromSeconds(std::max(seconds, 0.0), timescale);
}

// The handles stand where frames meet. A quarter of a frame inside, rounding cannot take the wrong one.
media::Time VideoTrimmerController::startTime() const {
    const auto trimmer = trimmerView.required();
    return timeOf(trimmer->start() + trimmer->step() * 0.25);
}

media::Time VideoTrimmerController::endTime() const {
    const auto trimmer = trimmerView.required();
    return timeOf(trimmer->end() - trimmer->step() * 0.25);
}

void VideoTrimmerController::playerReadyToPlayFor(VideoView& ready) {
    if (isReady_) return;
    const std::shared_ptr<media::Player>& active = ready.player();
    const media::PlayerItem& item = *active->currentItem();
    const std::vector<media::VideoTrack> tracks = item.videoTracks();
    const media::Time frame = tracks.empty() ? media::Time(1, 30) : tracks.front().minFrameDuration;
    isReady_ = true;
    trimmerView.required()->setClip(item.duration().seconds(), frame.seconds(),
                                    [weak = std::weak_ptr(active->currentItem())](double time, int count) {
                                        const auto clip = weak.lock();
                                        const auto moment = media::Time::fromSeconds(std::max(time, 0.0), timescale);
                                        return clip ? clip->frameTime(moment, count).seconds() : 0;
                                    });
    cropView->setPictureSize(item.presentationSize());
    if (!timeObserver_) {
        const std::weak_ptr<ui::ViewController> weak = weak_from_this();
        timeObserver_ = active->addPeriodicTimeObserver(frame, [this, weak](const media::Time& time) {
            if (const auto alive = weak.lock()) timeDidChange(time);
        });
    }
    requestThumbnails();
    updateControls();
    updateLabels();
    play();
}

void VideoTrimmerController::playbackDidFinishFor(VideoView&) {
    // The view has gone back to the start handle.
    const auto trimmer = trimmerView.required();
    trimmer->setPosition(trimmer->start());
    if (isPlaying_) resume();
}

void VideoTrimmerController::playbackDidBreakOffFor(VideoView&) { pause(); }

void VideoTrimmerController::play() {
    const auto active = player();
    if (!active || !isReady_) return;
    const media::Time now = active->currentTime();
    if (media::compare(now, startTime()) < 0 || media::compare(now, endTime()) >= 0) {
        const auto trimmer = trimmerView.required();
        show(startTime());
        trimmer->setPosition(trimmer->start());
    }
    resume();
}

void VideoTrimmerController::resume() {
    isPlaying_ = true;
    const auto video = videoView.required();
    video->setPlaybackRange(startTime(), endTime());
    video->play(1);
    updateControls();
}

void VideoTrimmerController::pause() {
    isPlaying_ = false;
    if (const auto active = player()) active->pause();
    updateControls();
}

void VideoTrimmerController::show(const media::Time& time) {
    const auto active = player();
    if (!active) return;
    isSeeking_ = true;
    const std::int64_t number = ++seekNumber_;
    const std::weak_ptr<ui::ViewController> weak = weak_from_this();
    active->seek(time, media::Time::zero(), media::Time::zero(), [this, weak, number](bool) {
        if (const auto alive = weak.lock()) isSeeking_ = isSeeking_ && number != seekNumber_;
    });
}

void VideoTrimmerController::timeDidChange(const media::Time& time) {
    const auto trimmer = trimmerView.required();
    if (trimmer->trackedPart() != TrimmerView::Part::none) return;  // the bar is under the finger, or out of the way
    if (isSeeking_) return;  // the bar is where the picture will be; the next key press counts from there
    trimmer->setPosition(std::clamp(time.seconds(), trimmer->start(), trimmer->end()));
}

void VideoTrimmerController::togglePlaying(ui::Control&) {
    if (isSaving()) return;
    if (isPlaying_) {
        pause();
    } else {
        play();
    }
}

// ---- The handles

void VideoTrimmerController::trackingBegan(ui::Control& sender) {
    wasPlaying_ = isPlaying_;
    if (isPlaying_) pause();
    tracked(sender);
}

void VideoTrimmerController::tracked(ui::Control&) {
    const auto trimmer = trimmerView.required();
    switch (trimmer->trackedPart()) {
        case TrimmerView::Part::start: show(startTime()); break;
        case TrimmerView::Part::end: show(endTime()); break;
        case TrimmerView::Part::position: show(timeOf(trimmer->position() + trimmer->step() * 0.25)); break;
        case TrimmerView::Part::none: break;
    }
    updateLabels();
}

void VideoTrimmerController::trackingEnded(ui::Control&) {
    const auto trimmer = trimmerView.required();
    trimmer->setPosition(std::clamp(trimmer->trackedPart() == TrimmerView::Part::start ? trimmer->start()
                                    : trimmer->trackedPart() == TrimmerView::Part::end ? trimmer->end()
                                                                                       : trimmer->position(),
                                    trimmer->start(), trimmer->end()));
    if (!std::exchange(wasPlaying_, false)) return;
    // After the end handle, what leads up to the cut is what one wants to see.
    if (trimmer->trackedPart() == TrimmerView::Part::end) {
        constexpr double leadUp = 1.5;  // seconds
        const double from = std::max(trimmer->start(), trimmer->end() - leadUp);
        show(timeOf(from + trimmer->step() * 0.25));
        trimmer->setPosition(from);
        resume();
    } else {
        play();
    }
}

void VideoTrimmerController::requestThumbnails() {
    if (!isReady_ || std::exchange(areThumbnailsDue_, true)) return;
    // Once for all changes of a turn: a window that is resized, a row that is zoomed.
    const std::weak_ptr<ui::ViewController> weak = weak_from_this();
    dispatch::mainQueue().async([this, weak] {
        const auto alive = weak.lock();
        if (!alive) return;
        areThumbnailsDue_ = false;
        const auto trimmer = trimmerView.lock();
        if (!trimmer || !generator_) return;
        generator_->cancelAll();
        const Size picture = player()->currentItem()->presentationSize();
        if (picture.isEmpty()) return;
        trimmer->layOutThumbnails(picture.width / picture.height);
        std::vector<media::Time> times;
        for (const TrimmerView::Thumbnail& thumbnail : trimmer->thumbnails()) times.push_back(timeOf(thumbnail.time));
        const double scale = platform().mainScreen().scale();
        const double height = trimmer->rowRect().size.height * scale;
        generator_->generate(
            times, {height * picture.width / picture.height, height}, media::ImageGenerator::Order::approximateFirst,
            [weakTrimmer = std::weak_ptr<TrimmerView>(trimmerView), times](const media::GeneratedImage& made) {
                const auto row = weakTrimmer.lock();
                if (!row || !made.bitmap) return;
                for (std::size_t i = 0; i < times.size(); ++i) {
                    if (times[i] == made.requestedTime) row->setThumbnail(i, Image(made.bitmap));
                }
            });
    });
}

// ---- Cropping

void VideoTrimmerController::toggleCropping(ui::Control&) {
    if (isSaving()) return;
    const auto crop = cropView.required();
    crop->setCropping(!crop->isCropping());
    updateControls();
}

void VideoTrimmerController::chooseAspect(ui::Control& sender) {
    if (isSaving()) return;
    const auto wanted = std::find_if(CropView::allAspects.begin(), CropView::allAspects.end(),
                                     [&](CropView::Aspect aspect) { return static_cast<int>(aspect) == sender.tag(); });
    if (wanted != CropView::allAspects.end()) cropView->setAspect(*wanted);
    updateControls();
}

// ---- Saving

void VideoTrimmerController::save(ui::Control&) {
    if (session_ || !isReady_ || hasFinished_) return;
    const std::string directory = platform().temporaryDirectory();
    if (directory.empty()) {
        finish([](auto& listener, auto& self,
                  const auto& text) { listener.videoEditorControllerDidFailWithError(self, text); },
               "there is no directory for temporary files");
        return;
    }
    // Another finger may be on a handle: what is there now is what is saved.
    trimmerView->cancelPress();
    pause();
    savedPath_ = directory + "/" + newUUID() + extensionFor(url);
    saveBegan_ = platform().wallClock();
    const std::weak_ptr<ui::ViewController> weak = weak_from_this();
    session_ = platform().media().startExport({url, startTime(), endTime(), cropView->crop(), URL::fileURL(savedPath_)},
                                              [this, weak](const media::ExportResult& result) {
                                                  if (const auto alive = weak.lock()) saveEnded(result);
                                              });
    progressTimer_ = platform().scheduleTimer(progressInterval, true, [this, weak] {
        if (const auto alive = weak.lock()) updateProgress();
    });
    progressView->setProgress(0, std::nullopt);
    updateControls();
}

void VideoTrimmerController::updateProgress() {
    if (!session_) return;
    const double progress = session_->progress();
    const double elapsed = platform().wallClock() - saveBegan_;
    // Too early, the remaining time cannot be estimated.
    const bool isTold = progress > 0.05 && elapsed > 0.5;
    progressView.required()->setProgress(progress,
                                         isTold ? std::optional(elapsed * (1 - progress) / progress) : std::nullopt);
}

void VideoTrimmerController::saveEnded(const media::ExportResult& result) {
    if (progressTimer_) progressTimer_->invalidate();
    progressTimer_ = nullptr;
    session_ = nullptr;
    switch (result.status) {
        case media::ExportResult::Status::finished:
            finish([](auto& listener, auto& self,
                      const auto& path) { listener.videoEditorControllerDidSaveEditedVideoToPath(self, path); },
                   savedPath_);
            break;
        case media::ExportResult::Status::failed:
            finish([](auto& listener, auto& self,
                      const auto& text) { listener.videoEditorControllerDidFailWithError(self, text); },
                   result.error);
            break;
        case media::ExportResult::Status::cancelled: updateControls(); break;
    }
}

void VideoTrimmerController::cancel(ui::Control&) {
    if (session_) {
        session_->cancel();
        return;
    }
    finish([](auto& listener, auto& self, const auto&) { listener.videoEditorControllerDidCancel(self); }, {});
}

void VideoTrimmerController::finish(void (*tell)(VideoEditorControllerDelegate&, ui::ViewController&,
                                                 const std::string&),
                                    const std::string& text) {
    if (std::exchange(hasFinished_, true)) return;
    pause();
    if (const auto listener = delegate.lock()) {
        tell(*listener, *this, text);
        return;
    }
    // The player that asked for the edit is gone, and the file is of no use.
    if (!savedPath_.empty()) std::remove(savedPath_.c_str());
    dismiss(true, {});
}

// ---- What the screen shows

void VideoTrimmerController::updateControls() {
    const bool isSavingNow = isSaving();
    const auto crop = cropView.required();
    const auto playing = playButton.required();
    crop->setLocked(isSavingNow);
    playing->setImage(Image::systemNamed(isPlaying_ ? "pause.fill" : "play.fill"));
    playing->setEnabled(isReady_ && !isSavingNow);
    trimmerView->setEnabled(isReady_ && !isSavingNow);
    saveButton->setEnabled(isReady_ && !isSavingNow);
    const auto cropping = cropButton.required();
    cropping->setEnabled(isReady_ && !isSavingNow);
    cropping->setSelected(crop->isCropping());
    aspectsView->setHidden(!crop->isCropping());
    for (const std::shared_ptr<ui::Button>& button : aspectButtons.required()) {
        button->setSelected(button->tag() == static_cast<int>(crop->aspect()));
        button->setEnabled(!isSavingNow);
    }
    progressView->setHidden(!isSavingNow);
}

void VideoTrimmerController::updateLabels() {
    const auto trimmer = trimmerView.required();
    startLabel->setText(textOf(trimmer->start()));
    endLabel->setText(textOf(trimmer->end()));
    durationLabel->setText(textOf(trimmer->end() - trimmer->start()));
}

std::string VideoTrimmerController::textOf(double seconds) {
    const auto hundredths = static_cast<long long>(std::llround(std::clamp(seconds, 0.0, 1e9) * 100));
    char text[32];
    std::snprintf(text, sizeof text, "%lld:%02lld.%02lld", hundredths / 6000, hundredths / 100 % 60, hundredths % 100);
    return text;
}

}  // namespace videoanalysis
