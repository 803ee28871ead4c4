#pragma once
// The analysis screen that is presented over the host's: it holds the players' collection and the overlay window above it, owns
// the players manager, and starts and stops the screen recorder when the state asks for it.

#include "VideoAnalysis/Analysis/AnalysisScreen.h"
#include "VideoAnalysis/Analysis/State.h"
#include "VideoAnalysis/Platform/Recording.h"
#include "VideoAnalysis/Platform/UI/CollectionView.h"
#include "VideoAnalysis/Platform/UI/ViewController.h"

#include <memory>

namespace videoanalysis {

class OverlayViewController;
class PlayersManager;

class MainViewController : public ui::ViewController,
                           public AnalysisScreen,
                           public StoreSubscriber<MainViewControllerState>,
                           public recording::PreviewViewControllerDelegate {
public:
    ~MainViewController() override;

    /// The screen of `state`, made on first use; null when it cannot be made.
    static std::shared_ptr<MainViewController> of(const State& state);

    ui::Outlet<ui::CollectionView> playersCollectionView{outlets, "playersCollectionView"};

    /// Made on first use; null when the overlay cannot be loaded.
    ui::Window* overlayWindow();
    /// The overlay window's root; null when there is none.
    std::shared_ptr<OverlayViewController> overlayViewController();
    /// Made on first use; null while the players' or the overlay's collection is missing.
    std::shared_ptr<PlayersManager> playersManager();
    /// The platform's, taken on first use, when its microphone is switched on.
    recording::ScreenRecorder& recorder();

    void viewDidLoad() override;
    void viewWillAppear(bool animated) override;
    void viewWillDisappear(bool animated) override;
    void viewDidDisappear(bool animated) override;
    void viewWillTransition(Size size) override;
    bool keyPressed(const ui::KeyPress& press) override;

    std::shared_ptr<AnalysisPlayers> players() override;
    bool isPresented() const override { return presentingViewController() != nullptr; }
    void presentOver(ui::ViewController& presenter, ui::ModalPresentationStyle style) override;
    void dismiss(bool animated, Completion completion) override;

    void newState(const MainViewControllerState& state) override;
    void previewControllerDidFinish(recording::PreviewViewController& previewController) override;

private:
    // These concern the analysis that is open when they are called, not the screen that began the recording.
    static bool isRecordingWanted();
    static void recordingDidBreakOff(const std::string& reason);
    /// Serves what was asked for while the recorder was busy.
    static void serveRequests();

    void startRecording();
    void stopRecording();
    /// Stops a recording that nothing asks for and removes it.
    static void discardRecording();
    /// The screen disappears for good: a running recording is stopped and delivered, and the request ends.
    void endRecording();
    void recordingDidStop(const recording::Error& error, const URL& output,
                          const std::weak_ptr<VideoAnalysisControllerDelegate>& delegate);
    void recordingDidStop(const recording::Error& error,
                          const std::shared_ptr<recording::PreviewViewController>& preview);

    std::unique_ptr<ui::Window> overlayWindow_;
    std::shared_ptr<PlayersManager> playersManager_;
    recording::ScreenRecorder* recorder_ = nullptr;
    bool isGone_ = false;  ///< dismissed, and not presented again
};

}  // namespace videoanalysis
