#pragma once
// The component's platform in memory: no screen, no files, no threads, and a clock that moves only by `advance`. For
// tests and tools, the component's own and a host's.
//
//     auto platform = std::make_shared<HeadlessPlatform>();
//     platform->mediaEngine.addClip(URL("clip"));
//     installPlatform(platform);
//     ...
//     platform->advance(0.5);

#include "Platforms/Headless/HeadlessBundle.h"
#include "Platforms/Headless/HeadlessClock.h"
#include "Platforms/Headless/HeadlessMedia.h"
#include "VideoAnalysis/Platform/Graphics.h"
#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Platform/Recording.h"
#include "VideoAnalysis/Platform/UI/Device.h"
#include "VideoAnalysis/Platform/UI/PresentationStack.h"
#include "VideoAnalysis/Platform/UI/ViewController.h"

#include <memory>
#include <string>
#include <vector>

namespace videoanalysis {

class HeadlessDevice final : public ui::Device {
public:
    ui::DeviceOrientation currentOrientation = ui::DeviceOrientation::portrait;
    ui::InterfaceIdiom idiom = ui::InterfaceIdiom::phone;
    int version = 16;

    ui::DeviceOrientation orientation() const override { return currentOrientation; }
    ui::InterfaceIdiom userInterfaceIdiom() const override { return idiom; }
    int systemVersion() const override { return version; }
};

class HeadlessScreen final : public ui::Screen {
public:
    Size points{390, 700};
    double pixelsPerPoint = 1;

    Size size() const override { return points; }
    double scale() const override { return pixelsPerPoint; }
};

/// Shows nothing: it places the root views, and calls the appearance callbacks and completions in later turns, as a real one does.
class HeadlessPresenter final : public ui::PresentationStack {
public:
    void setPreferredOrientation(ui::DeviceOrientation orientation) override { preferredOrientation = orientation; }

    ui::DeviceOrientation preferredOrientation = ui::DeviceOrientation::unknown;

    /// The overlays that are shown now, the latest last.
    std::vector<std::shared_ptr<ui::ViewController>> overlays() const;

private:
    std::unique_ptr<ui::ScreenPeer> makePeer(const ui::Presentation& presentation) override;
    Size windowSize() const override;
};

/// A recorder whose answers a test decides. A request stays pending until the test answers it; further requests until
/// then are ignored.
class HeadlessRecorder final : public recording::ScreenRecorder {
public:
    using PreviewHandler = std::function<void(std::shared_ptr<recording::PreviewViewController>, recording::Error)>;

    bool available = true;
    bool recording = false;
    bool microphone = false;
    int starts = 0;  ///< taken on, not those ignored
    int stops = 0;
    /// Where the last stop leaves the video; empty for a stop that ends in a preview.
    URL output;
    /// What the host has called `recordingTaken` for, the latest last.
    std::vector<URL> taken;

    /// The running recording breaks off by itself; fatal when there is none.
    void breakOff(const std::string& reason);
    /// The answers to what is pending; fatal when nothing of the kind is. A stop ends the recording when it is asked for.
    void answerStart(const recording::Error& error = {});
    void answerStop(const recording::Error& error = {});
    void answerStop(const std::shared_ptr<recording::PreviewViewController>& preview);
    bool isPending() const { return startHandler_ || stopHandler_ || previewHandler_; }

    bool isAvailable() const override { return available; }
    bool isRecording() const override { return recording; }
    bool isMicrophoneEnabled() const override { return microphone; }
    void setMicrophoneEnabled(bool enabled) override { microphone = enabled; }
    void startRecording(std::function<void(recording::Error)> handler) override;
    void stopRecording(const URL& url, std::function<void(recording::Error)> handler) override;
    void stopRecording(PreviewHandler handler) override;
    void recordingTaken(const URL& url) override { taken.push_back(url); }
    void setBreakOffHandler(std::function<void(const std::string&)> handler) override {
        breakOffHandler_ = std::move(handler);
    }

private:
    std::function<void(const std::string&)> breakOffHandler_;
    std::function<void(recording::Error)> startHandler_;
    std::function<void(recording::Error)> stopHandler_;
    PreviewHandler previewHandler_;
};

class HeadlessPlatform : public Platform {
public:
    /// Draws through `graphics`; without one nothing is drawn.
    explicit HeadlessPlatform(std::unique_ptr<graphics::Engine> graphics = nullptr);
    ~HeadlessPlatform() override;

    HeadlessMainQueue queue;
    HeadlessDevice headlessDevice;
    HeadlessScreen screen;
    HeadlessBundle headlessBundle;
    HeadlessPresenter headlessPresenter;
    HeadlessMedia mediaEngine{queue};
    HeadlessRecorder recorder;
    std::string directory = "/tmp";
    /// Every line of the debug log so far.
    std::vector<std::string> log;

    void drainMainQueue() { queue.drain(); }
    void advance(double seconds) { queue.advance(seconds); }

    dispatch::MainQueue& mainQueue() override { return queue; }
    std::shared_ptr<dispatch::Timer> scheduleTimer(double interval, bool repeats, std::function<void()> fire) override;
    double wallClock() const override;
    const ui::Device& device() const override { return headlessDevice; }
    const ui::Screen& mainScreen() const override { return screen; }
    ui::Bundle& bundle() override { return headlessBundle; }
    ui::Presenter& presenter() override { return headlessPresenter; }
    media::Engine& media() override { return mediaEngine; }
    graphics::Engine& graphics() override { return *graphics_; }
    recording::ScreenRecorder& screenRecorder() override { return recorder; }
    std::string temporaryDirectory() const override { return directory; }
    void debugLog(std::string_view line) override { log.emplace_back(line); }

private:
    std::unique_ptr<graphics::Engine> graphics_;
};

}  // namespace videoanalysis
