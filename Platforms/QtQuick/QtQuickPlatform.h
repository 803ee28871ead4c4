#pragma once
// What the component runs on in a Qt Quick window. A host makes one with its engines for media and drawing, installs
// it, and gets from it the controller of its own screen, over which it presents an analysis:
//
//     auto platform = std::make_shared<videoanalysis::QtQuickPlatform>(
//         window, std::make_unique<videoanalysis::media::FFmpegEngine>(),
//         std::make_unique<videoanalysis::graphics::CairoEngine>());
//     videoanalysis::installPlatform(platform);
//     videoanalysis::VideoAnalysisController analysis({{videoanalysis::URL::fileURL("a.mp4"), {}}}, configuration);
//     analysis.present(platform->viewController(*startScreen), videoanalysis::ui::ModalPresentationStyle::fullScreen);

#include "Platforms/QtQuick/RecordingOptions.h"
#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Platform/UI/Device.h"

#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>

#include <memory>

namespace videoanalysis {

namespace ui {
class ViewController;
}

/// Main thread, unless `Platform` says otherwise. What it shows is gone when the application quits (`aboutToQuit`) or
/// with the platform, whichever comes first; the platform itself may stay installed for longer.
class QtQuickPlatform : public Platform {
public:
    /// `window` is the screen: the analysis fills it, and its shape says how the device is held (wider than
    /// tall: landscape). It must outlive what is presented in it. `engine` (not owned, may be null for one of the
    /// platform's own) must outlive the platform.
    QtQuickPlatform(QQuickWindow& window, std::unique_ptr<media::Engine> media,
                    std::unique_ptr<graphics::Engine> graphics, QQmlEngine* engine = nullptr);
    ~QtQuickPlatform() override;

    /// A controller for one of the host's screens, shown by `item`. While an analysis is presented over it
    /// in full screen, the item is invisible.
    std::shared_ptr<ui::ViewController> viewController(QQuickItem& item);

    /// For a host with its own orientation sensor: overrides the orientation that the window's shape implies;
    /// `unknown` removes the override. Where Qt knows the sensor it is followed without this.
    void setDeviceOrientation(ui::DeviceOrientation orientation);

    /// True: nothing moves or fades. For the whole process; the default is the desktop's setting.
    static void setReducesMotion(bool reduces);

    /// Makes the screen one that can be recorded, into movies of `maker`. Before the first analysis. Finished recordings are
    /// left in the maker's own directory, which outlives the program: see `recording::ScreenRecorder::outputDirectory`.
    void setMovieMaker(std::unique_ptr<recording::MovieMaker> maker, const RecordingOptions& options);
    /// Of the running recording, or else of the last one.
    RecordingStatistics recordingStatistics() const;

    dispatch::MainQueue& mainQueue() override;
    std::shared_ptr<dispatch::Timer> scheduleTimer(double interval, bool repeats, std::function<void()> fire) override;
    double wallClock() const override;
    const ui::Device& device() const override;
    const ui::Screen& mainScreen() const override;
    ui::Bundle& bundle() override;
    ui::Presenter& presenter() override;
    media::Engine& media() override;
    graphics::Engine& graphics() override;
    recording::ScreenRecorder& screenRecorder() override;
    std::string temporaryDirectory() const override;
    void debugLog(std::string_view line) override;

private:
    struct Parts;

    const std::unique_ptr<Parts> parts_;
};

}  // namespace videoanalysis
