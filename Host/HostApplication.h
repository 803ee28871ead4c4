#pragma once
// The program around the component: a window with a small start screen, from which the analysis of its clips is opened,
// and the answers to what the analysis asks of its host. Also the example of how to embed the component.

#include "VideoAnalysis/Analysis/VideoAnalysisController.h"

#include <QObject>
#include <QQuickView>
#include <QStringList>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace videoanalysis {

class QtQuickPlatform;

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

    /// Opens the analysis over the start screen.
    Q_INVOKABLE void openAnalysis();
    /// The user's answer to `choosing`.
    Q_INVOKABLE void chooseFile(const QUrl& file);
    Q_INVOKABLE void chooseSample();
    Q_INVOKABLE void cancelChoice();

    ui::DeviceOrientation preferredOrientation() const override;
    void videoAnalysisDidFinish(const std::optional<std::vector<Object>>& output) override;
    void videoAnalysisControllerDidRequestToDeleteMedia(const std::shared_ptr<ui::ViewController>& viewController,
                                                        std::function<void()> completion) override;
    void videoAnalysisControllerDidRequestDiscardAndClose(const std::shared_ptr<ui::ViewController>& viewController,
                                                          std::function<void()> completion) override;
    void videoAnalysisControllerDidRequestMedia(const std::shared_ptr<ui::ViewController>& viewController,
                                                std::int64_t index, std::function<void(Object)> completion) override;

Q_SIGNALS:
    void choosingChanged();

private:
    void choose(const std::optional<Object>& media);

    QQuickView view_;
    std::vector<Object> clips_;
    std::shared_ptr<QtQuickPlatform> platform_;
    std::shared_ptr<ui::ViewController> startScreen_;
    std::optional<VideoAnalysisController> analysis_;
    std::function<void(Object)> choice_;
    std::int64_t chosenIndex_ = 0;
};

}  // namespace host
}  // namespace videoanalysis
