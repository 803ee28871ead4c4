#pragma once
// The trim screen: the clip plays in a loop between two handles, may be cropped, and what is kept is saved to a new file.
// A player's controller presents it and receives the outcome as its delegate.

#include "VideoAnalysis/Platform/Media.h"
#include "VideoAnalysis/Platform/UI/Control.h"
#include "VideoAnalysis/Platform/UI/ViewController.h"
#include "VideoAnalysis/Platform/URL.h"
#include "VideoAnalysis/Trimming/CropView.h"
#include "VideoAnalysis/Trimming/SaveProgressView.h"
#include "VideoAnalysis/Trimming/TrimmerView.h"
#include "VideoAnalysis/Trimming/VideoEditorControllerDelegate.h"
#include "VideoAnalysis/Video/VideoView.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace videoanalysis {

namespace dispatch {
class Timer;
}

/// Main thread.
class VideoTrimmerController : public ui::ViewController, public VideoViewDelegate {
public:
    ~VideoTrimmerController() override;

    std::weak_ptr<VideoEditorControllerDelegate> delegate;
    /// The clip. Set before the screen appears.
    URL url;

    ui::Outlet<VideoView> videoView{outlets, "videoView"};
    ui::Outlet<TrimmerView> trimmerView{outlets, "trimmerView"};
    ui::Outlet<CropView> cropView{outlets, "cropView"};
    ui::Outlet<ui::Button> playButton{outlets, "playButton"};
    ui::Outlet<ui::Button> saveButton{outlets, "saveButton"};
    ui::Outlet<ui::Button> cancelButton{outlets, "cancelButton"};
    ui::Outlet<ui::Button> cropButton{outlets, "cropButton"};
    /// Their tags are `CropView::Aspect`s.
    ui::OutletCollection<ui::Button> aspectButtons{outlets, "aspectButtons"};
    ui::Outlet<ui::View> aspectsView{outlets, "aspectsView"};
    ui::Outlet<ui::Label> startLabel{outlets, "startLabel"};
    ui::Outlet<ui::Label> endLabel{outlets, "endLabel"};
    ui::Outlet<ui::Label> durationLabel{outlets, "durationLabel"};
    ui::Outlet<SaveProgressView> progressView{outlets, "progressView"};

    bool isSaving() const { return session_ != nullptr; }

    void connectOutlets(ui::Outlets& layout) override;
    void viewDidLoad() override;
    void viewWillAppear(bool animated) override;
    void viewDidDisappear(bool animated) override;

    // What the controls do.
    void togglePlaying(ui::Control& sender);
    void toggleCropping(ui::Control& sender);
    void chooseAspect(ui::Control& sender);
    /// Writes what is kept to a file in the temporary directory; the delegate is notified.
    void save(ui::Control& sender);
    /// While saving: cancels it, and the screen stays. Otherwise the delegate is notified of the cancellation.
    void cancel(ui::Control& sender);

    void playerReadyToPlayFor(VideoView& ready) override;
    void playbackDidFinishFor(VideoView& finished) override;
    void playbackDidBreakOffFor(VideoView& brokenOff) override;

    /// Minutes, seconds and hundredths, as in "1:02.50".
    static std::string textOf(double seconds);

private:
    std::shared_ptr<media::Player> player() const;
    media::Time startTime() const;
    media::Time endTime() const;
    media::Time timeOf(double seconds) const;
    void play();
    void pause();
    /// `operation` as an action that does nothing once this is gone: the views may outlive it.
    ui::Control::Action action(void (VideoTrimmerController::*operation)(ui::Control&));
    /// Plays from the current frame.
    void resume();
    void show(const media::Time& time);
    void timeDidChange(const media::Time& time);
    void trackingBegan(ui::Control& sender);
    void tracked(ui::Control& sender);
    void trackingEnded(ui::Control& sender);
    void requestThumbnails();
    void updateControls();
    void updateLabels();
    void updateProgress();
    void saveEnded(const media::ExportResult& result);
    /// Calls the delegate; without one, the screen dismisses itself.
    void finish(void (*tell)(VideoEditorControllerDelegate&, ui::ViewController&, const std::string&),
                const std::string& text);

    std::shared_ptr<media::ImageGenerator> generator_;
    std::shared_ptr<void> timeObserver_;
    bool areThumbnailsDue_ = false;
    bool isReady_ = false;
    bool isPlaying_ = false;
    bool wasPlaying_ = false;  // before the finger came down
    bool hasFinished_ = false;
    bool isSeeking_ = false;
    std::int64_t seekNumber_ = 0;
    std::shared_ptr<media::ExportSession> session_;
    std::string savedPath_;
    double saveBegan_ = 0;
    std::shared_ptr<dispatch::Timer> progressTimer_;
};

}  // namespace videoanalysis
