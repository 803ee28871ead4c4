#pragma once
// The screen recorder on Qt Quick: records the window with the microphone beside it into a movie. `QtQuickPlatform` owns it.

#include "Platforms/QtQuick/Microphone.h"
#include "Platforms/QtQuick/RecordingOptions.h"
#include "Platforms/QtQuick/SceneCapture.h"
#include "VideoAnalysis/Platform/Movie.h"
#include "VideoAnalysis/Platform/Recording.h"

#include <QObject>
#include <QPointer>
#include <QQuickWindow>

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace videoanalysis::qt {

/// Main thread.
class QtScreenRecorder : public QObject, public recording::ScreenRecorder {
    Q_OBJECT

public:
    /// Records what `window` shows, in the size in pixels that it has at the start.
    explicit QtScreenRecorder(QQuickWindow& window);
    /// Ends a running recording, which stays where its maker keeps unfinished ones.
    ~QtScreenRecorder() override;

    /// Without a maker the screen cannot be recorded. Not while it is being recorded.
    void setMovieMaker(std::unique_ptr<recording::MovieMaker> maker, const RecordingOptions& options);

    bool isAvailable() const override { return maker_ && window_; }
    bool isRecording() const override { return phase_ == Phase::recording; }
    /// No recording is starting, running or being finalized.
    bool isIdle() const { return phase_ == Phase::idle; }
    bool isMicrophoneEnabled() const override { return isMicrophoneEnabled_; }
    void setMicrophoneEnabled(bool enabled) override { isMicrophoneEnabled_ = enabled; }

    void startRecording(std::function<void(recording::Error)> handler) override;
    void stopRecording(const URL& output, std::function<void(recording::Error)> handler) override;
    /// There is no preview here: answers with an error, and the movie stays unfinished.
    void stopRecording(
        std::function<void(std::shared_ptr<recording::PreviewViewController>, recording::Error)> handler) override;

    std::string outputDirectory() const override { return maker_ ? maker_->outputDirectory() : std::string(); }
    void recordingTaken(const URL& recording) override {
        if (maker_) maker_->movieTaken(recording);
    }
    void setBreakOffHandler(std::function<void(const std::string&)> handler) override {
        breakOffHandler_ = std::move(handler);
    }

    /// Of the running recording, or else of the last one.
    RecordingStatistics statistics() const;

    /// Ends a running recording, as the destructor does.
    void close();

private:
    enum class Phase { idle, starting, recording, stopping };
    struct Target;

    void microphoneDidOpen(const Microphone::Format& format, const QString& reason);
    void movieDidOpen(const recording::Error& error);
    void movieDidBreakOff(const std::string& reason);
    void movieDidFinish(const recording::Error& error);
    void stopCapturing();
    void endMovie();
    void answer(const recording::Error& error);
    /// Runs `work` on the main thread later, unless another recording has begun by then.
    void later(int number, std::function<void()> work);

    const QPointer<QQuickWindow> window_;
    std::unique_ptr<recording::MovieMaker> maker_;
    RecordingOptions options_;
    bool isMicrophoneEnabled_ = false;
    Phase phase_ = Phase::idle;
    int number_ = 0;  ///< of the recording; makes late answers known
    std::function<void(recording::Error)> handler_;
    std::function<void(const std::string&)> breakOffHandler_;
    bool hasBrokenOff_ = false;  ///< and the reason has been passed on
    std::unique_ptr<recording::MovieWriter> movie_;
    std::shared_ptr<Target> target_;
    std::unique_ptr<Microphone> microphone_;
    QPointer<SceneCapture> capture_;
    RecordingStatistics last_;
};

}  // namespace videoanalysis::qt
