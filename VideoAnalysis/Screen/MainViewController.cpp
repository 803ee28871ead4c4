#include "VideoAnalysis/Screen/MainViewController.h"

#include "VideoAnalysis/Analysis/Actions.h"
#include "VideoAnalysis/Platform/Dispatch.h"
#include "VideoAnalysis/Platform/FatalError.h"
#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Platform/UI/Bundle.h"
#include "VideoAnalysis/Platform/UI/Device.h"
#include "VideoAnalysis/Platform/UUID.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCellController.h"
#include "VideoAnalysis/Screen/CollectionViewFlowLayout.h"
#include "VideoAnalysis/Screen/OverlayViewController.h"
#include "VideoAnalysis/Screen/PlayersManager.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace videoanalysis {
namespace {

constexpr int overlayWindowTag = 99;
constexpr int firstSystemWithoutPreview = 14;

/// The file for a recording; empty if there is no directory for it.
URL makeOutputURL(const recording::ScreenRecorder& recorder) {
    std::string directory = recorder.outputDirectory();
    if (directory.empty()) directory = platform().temporaryDirectory();
    return directory.empty() ? URL() : URL::fileURL(directory + "/" + newUUID() + ".mp4");
}

/// Logs a failed stop and ends the request.
void abandonRecording(const std::string& error) {
    debugLog(error);
    mainStore().dispatch(SetScreenRecordingStateAction(false));
}

}  // namespace

MainViewController::~MainViewController() = default;

std::shared_ptr<MainViewController> MainViewController::of(const State& state) {
    return std::dynamic_pointer_cast<MainViewController>(state.mainViewController());
}

ui::Window* MainViewController::overlayWindow() {
    if (!overlayWindow_) {
        const auto storyboard = platform().bundle().storyboard("Main");
        const auto overlay = std::dynamic_pointer_cast<OverlayViewController>(
            storyboard ? storyboard->instantiateViewController("OverlayViewController") : nullptr);
        if (!overlay) return nullptr;
        overlay->view()->setBackgroundColor(Color::clear());
        overlayWindow_ = std::make_unique<ui::Window>();
        overlayWindow_->tag = overlayWindowTag;
        overlayWindow_->backgroundColor = Color::clear();
        overlayWindow_->setRootViewController(overlay);
    }
    return overlayWindow_.get();
}

std::shared_ptr<OverlayViewController> MainViewController::overlayViewController() {
    ui::Window* window = overlayWindow();
    return window ? std::dynamic_pointer_cast<OverlayViewController>(window->rootViewController()) : nullptr;
}

std::shared_ptr<PlayersManager> MainViewController::playersManager() {
    if (!playersManager_) {
        const auto players = playersCollectionView.lock();
        const auto overlay = players ? overlayViewController() : nullptr;
        const auto overlays = overlay ? overlay->playersCollectionView.lock() : nullptr;
        if (!overlays) return nullptr;
        playersManager_ = PlayersManager::make(players, overlays);
        playersManager_->presenteeViewController = overlay;
    }
    return playersManager_;
}

recording::ScreenRecorder& MainViewController::recorder() {
    if (!recorder_) {
        recorder_ = &platform().screenRecorder();
        recorder_->setMicrophoneEnabled(true);
    }
    return *recorder_;
}

void MainViewController::viewDidLoad() {
    view()->setBackgroundColor(mainStore().state().theme.secondaryColor);
    if (ui::Window* window = overlayWindow()) window->setRootViewController(overlayViewController());
}

void MainViewController::viewWillAppear(bool) {
    isDismissed_ = false;
    view()->setBackgroundColor(
        mainStore().state().theme.secondaryColor);  // the view was loaded before the configuration was set
    if (const auto delegate = mainStore().state().delegate.lock()) {
        platform().presenter().setPreferredOrientation(delegate->preferredOrientation());
    }
    if (ui::Window* window = overlayWindow()) window->setHidden(false);
    mainStore().subscribe(std::static_pointer_cast<MainViewController>(shared_from_this()),
                          [](auto& whole) { return whole.select(&State::mainViewControllerState); });
}

void MainViewController::viewWillDisappear(bool) {
    if (ui::Window* window = overlayWindow()) window->setHidden(true);
}

void MainViewController::viewDidDisappear(bool) {
    mainStore().unsubscribe(*this);
    if (!presentingViewController()) endRecording();  // unless it has been presented again
}

void MainViewController::viewWillTransition(Size) {
    const auto collection = playersCollectionView.required();
    const auto layout = std::dynamic_pointer_cast<CollectionViewFlowLayout>(collection->collectionViewLayout());
    if (!layout) fatalError("The players' layout is not a CollectionViewFlowLayout");
    layout->setScrollDirection(ui::isLandscape(platform().device().orientation()) ? ui::ScrollDirection::horizontal
                                                                                  : ui::ScrollDirection::vertical);
    layout->invalidateLayout();
}

bool MainViewController::keyPressed(const ui::KeyPress& press) {
    const std::shared_ptr<PlayersManager> manager = playersManager();
    return manager && manager->keyPressed(press);
}

std::shared_ptr<AnalysisPlayers> MainViewController::players() { return playersManager(); }

void MainViewController::presentOver(ui::ViewController& presenter, ui::ModalPresentationStyle style) {
    setModalPresentationStyle(style);
    presenter.present(shared_from_this(), true, {});
}

void MainViewController::dismiss(bool animated, Completion completion) {
    if (ui::Window* window = overlayWindow()) window->setHidden(true);
    endRecording();
    ui::ViewController::dismiss(animated, std::move(completion));
}

void MainViewController::newState(const MainViewControllerState& state) {
    if (state.isScreenRecording && !isDismissed_) {
        if (!recorder().isRecording()) startRecording();
    } else {
        stopRecording();
    }
}

// The recorder may call its handlers on any thread; each continues on the main queue. They read the state again, because
// another analysis may have started by then.

bool MainViewController::isRecordingWanted() {
    const State& state = mainStore().state();
    const auto screen = of(state);
    return state.mainViewControllerState.isScreenRecording && screen && !screen->isDismissed_;
}

void MainViewController::serveRequests() {
    if (isRecordingWanted()) of(mainStore().state())->startRecording();
}

void MainViewController::startRecording() {
    recorder().setBreakOffHandler(&MainViewController::recordingDidBreakOff);
    recorder().startRecording([](const recording::Error& error) {
        dispatch::mainQueue().async([error] {
            if (error) {
                debugLog(*error);
            } else if (isRecordingWanted()) {
                const bool hasStarted = mainStore().state().mainViewControllerState.hasStartedRecording;
                mainStore().dispatch(HasRecordingPermissionAction(!hasStarted));
            } else {
                discardRecording();
            }
        });
    });
}

void MainViewController::recordingDidBreakOff(const std::string& reason) {
    debugLog(reason);
    if (const auto host = mainStore().state().delegate.lock()) host->videoAnalysisRecordingDidBreakOff(reason);
    mainStore().dispatch(SetScreenRecordingStateAction(false));
}

void MainViewController::discardRecording() {
    recording::ScreenRecorder& recorder = platform().screenRecorder();
    const URL output = makeOutputURL(recorder);
    if (!recorder.isRecording() || output == URL()) return;
    const auto didStop = [output] {
        dispatch::mainQueue().async([output] {
            platform().screenRecorder().recordingTaken(output);
            serveRequests();
        });
    };
    if (platform().device().systemVersion() >= firstSystemWithoutPreview) {
        recorder.stopRecording(output, [didStop](const recording::Error&) { didStop(); });
    } else {
        recorder.stopRecording([didStop](const auto&, const recording::Error&) { didStop(); });
    }
}

void MainViewController::endRecording() {
    isDismissed_ = true;
    stopRecording();
    // Posted, because a reduction may be removing the screen.
    dispatch::mainQueue().async([weak = weak_from_this()] {
        const State& state = mainStore().state();
        const auto screen = of(state);
        if (!screen || screen != weak.lock() || !screen->isDismissed_) return;
        if (state.mainViewControllerState.isScreenRecording) mainStore().dispatch(SetScreenRecordingStateAction(false));
    });
}

void MainViewController::stopRecording() {
    if (!recorder().isRecording()) return;
    const URL output = makeOutputURL(recorder());
    if (output == URL()) return;
    const auto self = std::static_pointer_cast<MainViewController>(shared_from_this());
    if (platform().device().systemVersion() >= firstSystemWithoutPreview) {
        // The recording may be finished after the analysis has been closed and the state has lost its delegate.
        const auto delegate = mainStore().state().delegate;
        recorder().stopRecording(output, [self, output, delegate](const recording::Error& error) {
            dispatch::mainQueue().async(
                [self, output, delegate, error] { self->recordingDidStop(error, output, delegate); });
        });
    } else {
        recorder().stopRecording([self](const auto& preview, const recording::Error& error) {
            dispatch::mainQueue().async([self, preview, error] { self->recordingDidStop(error, preview); });
        });
    }
}

void MainViewController::recordingDidStop(const recording::Error& error, const URL& output,
                                          const std::weak_ptr<VideoAnalysisControllerDelegate>& delegate) {
    if (error) {
        abandonRecording(*error);
        return;
    }
    std::vector<VideoAnalysisController::Object> list{{output, {}}};
    if (const auto manager = playersManager()) {
        for (VideoAnalysisController::Object& media : manager->currentMedia()) list.push_back(std::move(media));
    }
    // A newer analysis has its own delegate.
    const bool isCurrent = mainStore().state().existingMainViewController().get() == this;
    auto host = isCurrent ? mainStore().state().delegate.lock() : nullptr;
    if (!host) host = delegate.lock();
    if (host) host->videoAnalysisDidFinish(list);

    serveRequests();
}

void MainViewController::recordingDidStop(const recording::Error& error,
                                          const std::shared_ptr<recording::PreviewViewController>& preview) {
    if (error) {
        abandonRecording(*error);
        return;
    }
    const auto overlay = preview ? overlayViewController() : nullptr;
    if (!overlay) return;
    if (platform().device().userInterfaceIdiom() == ui::InterfaceIdiom::pad) {
        preview->setModalPresentationStyle(ui::ModalPresentationStyle::popover);
        preview->popoverPresentation = recording::PopoverAnchor{Rect(), view()};
    }
    preview->previewControllerDelegate = std::static_pointer_cast<MainViewController>(shared_from_this());
    overlay->present(preview, true, {});
}

void MainViewController::previewControllerDidFinish(recording::PreviewViewController& previewController) {
    previewController.dismiss(true, [] {
        dispatch::mainQueue().async([] {
            if (const auto host = mainStore().state().delegate.lock()) host->videoAnalysisDidFinish({});
        });
    });
}

}  // namespace videoanalysis
