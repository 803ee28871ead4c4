#pragma once
// The host of the component: a window with a start screen that opens the analysis, and the implementation of the analysis'
// delegate. Also an example of how to embed the component.

#include "Host/StatisticsOverlay.h"
#include "VideoAnalysis/Analysis/VideoAnalysisController.h"
#include "VideoAnalysis/Platform/Recording.h"

#include <QObject>
#include <QQuickView>
#include <QStringList>
#include <QThreadPool>
#include <QUrl>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace videoanalysis {

class QtQuickPlatform;
namespace media {
class FFmpegEngine;
}

namespace host {

/// Main thread only. Create it with `std::make_shared` after the application object; one per process. Available to the start
/// screen's QML as `host`.
class HostApplication : public QObject,
                        public VideoAnalysisControllerDelegate,
                        public std::enable_shared_from_this<HostApplication> {
    Q_OBJECT
    Q_PROPERTY(QStringList clipNames READ clipNames CONSTANT)
    /// Whether the analysis has requested another clip and the start screen is showing the chooser.
    Q_PROPERTY(bool choosing READ isChoosing NOTIFY choosingChanged)
    /// The end time of the oldest unsaved recording, left by an interrupted program or a failed save; empty if there is none.
    Q_PROPERTY(QString unsavedRecording READ unsavedRecording NOTIFY recordingsChanged)
    /// One line about the latest recording: where it is saved, or why it failed; empty if there was none.
    Q_PROPERTY(QString recordingNotice READ recordingNotice NOTIFY recordingsChanged)
    Q_PROPERTY(QObject* statistics READ statistics CONSTANT)

public:
    /// `clips` are paths or URLs. Unplayable clips are passed to `report`, one line each.
    HostApplication(const QStringList& clips, std::function<void(const QString& line)> report);
    ~HostApplication() override;

    /// The two sample clips of the program.
    static QStringList sampleClips();

    /// Shows the window with the start screen.
    void show();
    QQuickView& window() { return view_; }
    /// The current or latest analysis; null before the first one.
    const VideoAnalysisController* analysis() const { return analysis_ ? &*analysis_ : nullptr; }

    QStringList clipNames() const;
    bool isChoosing() const { return choice_ != nullptr; }
    QString unsavedRecording() const;
    QString recordingNotice() const { return recordingNotice_; }
    /// Owned by this object.
    StatisticsOverlay* statistics() { return &statistics_; }
    /// The folder for saved recordings, in the user's videos folder.
    static QString recordingsFolder();

    /// Opens the analysis over the start screen.
    Q_INVOKABLE void openAnalysis();
    /// Opens the trim screen for the clip at `index`. No effect without an analysis or such a clip.
    Q_INVOKABLE void editMedia(int index);
    /// The user's answer to `choosing`.
    Q_INVOKABLE void chooseFile(const QUrl& file);
    Q_INVOKABLE void chooseSample();
    Q_INVOKABLE void cancelChoice();
    /// The user's choices for `unsavedRecording`, which is kept until it is saved or discarded. Saving runs in the background.
    Q_INVOKABLE void openUnsaved();
    Q_INVOKABLE void saveUnsaved(const QUrl& file);
    Q_INVOKABLE void discardUnsaved();

    ui::DeviceOrientation preferredOrientation() const override;
    void videoAnalysisDidFinish(const std::optional<std::vector<Object>>& output) override;
    void videoAnalysisRecordingDidBreakOff(const std::string& reason) override;
    void videoAnalysisControllerDidRequestToDeleteMedia(const std::shared_ptr<ui::ViewController>& viewController,
                                                        std::function<void()> completion) override;
    void videoAnalysisControllerDidRequestDiscardAndClose(const std::shared_ptr<ui::ViewController>& viewController,
                                                          std::function<void()> completion) override;
    void videoAnalysisControllerDidRequestMedia(const std::shared_ptr<ui::ViewController>& viewController,
                                                std::int64_t index, std::function<void(Object)> completion) override;

Q_SIGNALS:
    void choosingChanged();
    void recordingsChanged();
    void recordingNoticeGiven();

private:
    void open(const std::vector<Object>& clips);
    void say(const QString& notice);
    /// Saves the first unsaved recording in the file `path`, then runs `saved`.
    void saveUnsavedAs(const QString& path, const std::function<void()>& saved);
    /// Runs `work` on another thread and `done` with its result on this one.
    void inBackground(std::function<recording::Error()> work, std::function<void(const recording::Error&)> done);
    void choose(const std::optional<Object>& media);
    QString describeStatistics() const;

    QQuickView view_;
    std::vector<Object> clips_;
    std::shared_ptr<QtQuickPlatform> platform_;
    const media::FFmpegEngine* engine_ = nullptr;  ///< owned by the platform
    StatisticsOverlay statistics_;
    std::shared_ptr<ui::ViewController> startScreen_;
    std::optional<VideoAnalysisController> analysis_;
    std::function<void(Object)> choice_;
    std::int64_t chosenIndex_ = 0;
    std::vector<std::string> unsaved_;
    bool isSaving_ = false;
    QString recordingNotice_;
    std::atomic<bool> isEnding_{false};
    QThreadPool background_;  ///< last member: its destructor waits for its work
};

}  // namespace host
}  // namespace videoanalysis
