#pragma once
// The program around the component: a window with a small start screen, from which the analysis of its clips is opened,
// and the answers to what the analysis asks of its host. Also the example of how to embed the component.

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

/// Main thread. Make it with `std::make_shared` after the application object; one per process. The start screen's QML
/// sees it as `host`.
class HostApplication : public QObject,
                        public VideoAnalysisControllerDelegate,
                        public std::enable_shared_from_this<HostApplication> {
    Q_OBJECT
    Q_PROPERTY(QStringList clipNames READ clipNames CONSTANT)
    /// The analysis wants another clip; the start screen asks for one.
    Q_PROPERTY(bool choosing READ isChoosing NOTIFY choosingChanged)
    /// When the oldest recording ended that is not in the recordings' folder yet, because the program was interrupted or could
    /// not save it; empty when there is none.
    Q_PROPERTY(QString unsavedRecording READ unsavedRecording NOTIFY recordingsChanged)
    /// One line about the last recording: where it is saved, why it is not, or why it broke off; empty before.
    Q_PROPERTY(QString recordingNotice READ recordingNotice NOTIFY recordingsChanged)
    Q_PROPERTY(QObject* statistics READ statistics CONSTANT)

public:
    /// `clips` are paths or URLs. Those that cannot be played are told to `report`, one line each.
    HostApplication(const QStringList& clips, std::function<void(const QString& line)> report);
    ~HostApplication() override;

    /// The two clips that come with the program.
    static QStringList sampleClips();

    /// Shows the window with the start screen.
    void show();
    QQuickView& window() { return view_; }
    /// The analysis that is open or was open last; null before.
    const VideoAnalysisController* analysis() const { return analysis_ ? &*analysis_ : nullptr; }

    QStringList clipNames() const;
    bool isChoosing() const { return choice_ != nullptr; }
    QString unsavedRecording() const;
    QString recordingNotice() const { return recordingNotice_; }
    /// Owned by this object.
    StatisticsOverlay* statistics() { return &statistics_; }
    /// Where recordings are kept: the user's folder for videos.
    static QString recordingsFolder();

    /// Opens the analysis over the start screen.
    Q_INVOKABLE void openAnalysis();
    /// Opens the trim screen for the clip at `index`; nothing without an analysis or such a clip.
    Q_INVOKABLE void editMedia(int index);
    /// The user's answer to `choosing`.
    Q_INVOKABLE void chooseFile(const QUrl& file);
    Q_INVOKABLE void chooseSample();
    Q_INVOKABLE void cancelChoice();
    /// The user's answers to `unsavedRecording`. It stays until it is saved or discarded; saving goes on in the background.
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
    QThreadPool background_;  ///< last: it waits for its work
};

}  // namespace host
}  // namespace videoanalysis
