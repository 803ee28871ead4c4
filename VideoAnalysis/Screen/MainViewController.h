#pragma once
// The analysis screen, presented over the host's: holds the players' collection and the overlay window above it, owns the
// players manager, and starts and stops the screen recorder as the state requests.

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

    /// The screen of `state`, created on first use; null if it cannot be created.
    static std::shared_ptr<MainViewController> of(const State& state);

    ui::Outlet<ui::CollectionView> playersCollectionView{outlets, "playersCollectionView"};

    /// Created on first use; null if the overlay cannot be loaded.
    ui::Window* overlayWindow();
    /// The overlay window's root; null if there is none.
    std::shared_ptr<OverlayViewController> overlayViewController();
    /// Created on first use; null while the players' or the overlay's collection is missing.
    std::shared_ptr<PlayersManager> playersManager();
    /// The platform's recorder; the first use enables its microphone.
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
    // Apply to the analysis that is open when they are called, not to the screen that started the recording.
    static bool isRecordingWanted();
    static void recordingDidBreakOff(const std::string& reason);
    /// Serves requests made while the recorder was busy.
    static void serveRequests();

    void startRecording();
    void stopRecording();
    /// Stops and removes a recording that is no longer requested.
    static void discardRecording();
    /// Called when the screen is dismissed: stops and delivers a running recording and clears the request.
    void endRecording();
    void recordingDidStop(const recording::Error& error, const URL& output,
                          const std::weak_ptr<VideoAnalysisControllerDelegate>& delegate);
    void recordingDidStop(const recording::Error& error,
                          const std::shared_ptr<recording::PreviewViewController>& preview);

    std::unique_ptr<ui::Window> overlayWindow_;
    std::shared_ptr<PlayersManager> playersManager_;
    recording::ScreenRecorder* recorder_ = nullptr;
    bool isDismissed_ = false;  ///< dismissed and not presented again
};

}  // namespace videoanalysis
