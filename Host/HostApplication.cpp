#include "Host/HostApplication.h"

#include "Host/ReportingEngine.h"
#include "Platforms/Cairo/CairoEngine.h"
#include "Platforms/FFmpeg/FFmpegEngine.h"
#include "Platforms/FFmpeg/Recording/MovieFolder.h"
#include "Platforms/QtQuick/QtAudioSink.h"
#include "Platforms/QtQuick/QtQuickPlatform.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QQmlContext>
#include <QQuickItem>
#include <QScreen>
#include <QStandardPaths>

#include <utility>

namespace videoanalysis::host {
namespace {

constexpr QSize startSize(1280, 800);
constexpr QSize minWindowSize(360, 640);
constexpr QSize frameAllowance(16, 48);  // allowance for window decorations

URL urlOf(const QString& clip) {
    if (clip.contains(QLatin1String("://"))) return URL(clip.toStdString());
    return URL::fileURL(QFileInfo(clip).absoluteFilePath().toStdString());
}

QString nameOf(const URL& url) {
    const QString path = QString::fromStdString(url.path());
    return path.isEmpty() ? QString::fromStdString(url.absoluteString()) : path;
}

/// `line` with its first letter capitalized.
QString sentence(const std::string& line) {
    const QString text = QString::fromStdString(line);
    return text.left(1).toUpper() + text.mid(1);
}

constexpr auto momentFormat = "yyyy-MM-dd HH.mm.ss";

/// The folder for recordings until they are saved. Those found there at startup are unsaved.
std::string unsavedFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation).toStdString() + "/recordings";
}

/// An unused path in the recordings folder for the recording that ended at `moment`.
QString pathForRecording(const QString& moment) {
    const QDir folder(HostApplication::recordingsFolder());
    folder.mkpath(QStringLiteral("."));
    const QString name = QStringLiteral("Analysis ") + moment;
    QString path = folder.filePath(name + QStringLiteral(".mp4"));
    for (int number = 2; QFileInfo::exists(path); ++number) {
        path = folder.filePath(QStringLiteral("%1 (%2).mp4").arg(name).arg(number));
    }
    return path;
}

}  // namespace

HostApplication::HostApplication(const QStringList& clips, std::function<void(const QString& line)> report)
    : statistics_([this] { return describeStatistics(); }) {
    for (const QString& clip : clips) clips_.push_back({urlOf(clip), {}});

    auto engine = std::make_unique<media::FFmpegEngine>(media::FFmpegOptions{}, std::make_shared<QtAudioSink>());
    engine_ = engine.get();
    auto reporting = std::make_unique<ReportingEngine>(
        std::move(engine), [report = std::move(report)](const URL& url, const std::string& reason) {
            const QString text = QString::fromStdString(reason);
            const bool namesClip = reason.find(url.absoluteString()) != std::string::npos;
            report(namesClip ? text : QStringLiteral("%1: %2").arg(nameOf(url), text));
        });
    platform_ =
        std::make_shared<QtQuickPlatform>(view_, std::move(reporting), std::make_unique<graphics::CairoEngine>());
    QFile::setPermissions(QString::fromStdString(unsavedFolder()),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    auto movies = std::make_unique<media::MovieFolder>(unsavedFolder());
    unsaved_ = movies->untaken();
    platform_->setMovieMaker(std::move(movies), RecordingOptions());
    installPlatform(platform_);

    view_.rootContext()->setContextProperty(QStringLiteral("host"), this);
    view_.setResizeMode(QQuickView::SizeRootObjectToView);
    view_.setTitle(QStringLiteral("Video analysis"));
    view_.setColor(Qt::black);
    const QSize room = view_.screen()->availableSize() - frameAllowance;
    view_.setMinimumSize(minWindowSize.boundedTo(room));
    view_.resize(startSize.boundedTo(room));
    view_.setSource(QUrl(QStringLiteral("qrc:/VideoAnalysisHost/StartScreen.qml")));
    auto* startScreen = view_.rootObject()->findChild<QQuickItem*>(QStringLiteral("startScreen"));
    startScreen_ = platform_->viewController(*startScreen);
    if (qEnvironmentVariableIntValue("VIDEOANALYSIS_OVERLAY") != 0) statistics_.toggle();
}

HostApplication::~HostApplication() { isEnding_ = true; }

QStringList HostApplication::sampleClips() {
    const QDir installed(
        QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral(VIDEOANALYSIS_INSTALLED_CLIPS_DIR)));
    const QDir built(QStringLiteral(VIDEOANALYSIS_SAMPLE_CLIPS_DIR));
    const QDir& folder = built.exists(QStringLiteral("runner.mp4")) ? built : installed;
    return {folder.absoluteFilePath(QStringLiteral("runner.mp4")),
            folder.absoluteFilePath(QStringLiteral("serve.mp4"))};
}

void HostApplication::show() { view_.show(); }

QStringList HostApplication::clipNames() const {
    QStringList names;
    for (const Object& clip : clips_) names << QFileInfo(nameOf(clip.url)).fileName();
    return names;
}

void HostApplication::openAnalysis() { open(clips_); }

void HostApplication::open(const std::vector<Object>& clips) {
    const std::shared_ptr<HostApplication> self = shared_from_this();
    analysis_.emplace(clips, VideoAnalysisConfiguration(true, true, {}, {}, self));
    analysis_->present(startScreen_, ui::ModalPresentationStyle::fullScreen);
}

void HostApplication::editMedia(int index) {
    if (analysis_ && analysis_->isOpen()) analysis_->editMedia(index);
}

void HostApplication::chooseFile(const QUrl& file) { choose(Object{URL(file.toEncoded().toStdString()), {}}); }

void HostApplication::chooseSample() {
    choose(Object{urlOf(sampleClips().at(static_cast<qsizetype>(chosenIndex_ % 2))), {}});
}

void HostApplication::cancelChoice() { choose({}); }

void HostApplication::choose(const std::optional<Object>& media) {
    const auto choice = std::exchange(choice_, nullptr);
    Q_EMIT choosingChanged();
    if (choice && media) choice(*media);
}

ui::DeviceOrientation HostApplication::preferredOrientation() const { return ui::DeviceOrientation::landscapeLeft; }

// The recording's file is kept until it has been moved. If that fails or the program exits, the start screen offers it.
void HostApplication::videoAnalysisDidFinish(const std::optional<std::vector<Object>>& output) {
    if (!output || output->empty()) return;
    const URL recording = output->front().url;
    const QString to = pathForRecording(QDateTime::currentDateTime().toString(QLatin1String(momentFormat)));
    const QString breakOff = sentence(platform_->recordingStatistics().movie.failure);
    inBackground(
        [this, recording, to] {
            return media::MovieFolder::finish(recording.path(), URL::fileURL(to.toStdString()), isEnding_);
        },
        [this, recording, to, breakOff](const recording::Error& error) {
            if (error) {
                unsaved_.push_back(recording.path());
                say(QString::fromStdString(*error));
            } else {
                VideoAnalysisController::recordingTaken(recording);
                const QString path = QDir::toNativeSeparators(to);
                say(breakOff.isEmpty() ? tr("Recording saved as %1").arg(path)
                                       : tr("%1. The part recorded so far was saved as %2").arg(breakOff, path));
            }
        });
}

void HostApplication::videoAnalysisRecordingDidBreakOff(const std::string& reason) { say(sentence(reason)); }

QString HostApplication::describeStatistics() const {
    const RecordingStatistics recording = platform_->recordingStatistics();
    return StatisticsOverlay::describe(engine_->cacheStatistics(), recording.movie, recording.capture);
}

void HostApplication::say(const QString& notice) {
    recordingNotice_ = notice;
    Q_EMIT recordingsChanged();
    Q_EMIT recordingNoticeGiven();
}

// ---- Unsaved recordings

QString HostApplication::recordingsFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::MoviesLocation) + QStringLiteral("/Video analysis");
}

QString HostApplication::unsavedRecording() const {
    if (unsaved_.empty() || isSaving_) return {};
    const QFileInfo file(QString::fromStdString(unsaved_.front()));
    return file.lastModified().toString(QLatin1String(momentFormat));
}

void HostApplication::openUnsaved() {
    if (unsavedRecording().isEmpty()) return;
    const QString path = pathForRecording(unsavedRecording());
    saveUnsavedAs(path, [this, path] {
        const Object recording{urlOf(path), {}};
        // An analysis opened during the save stays open, and the recording is added to it if there is room.
        if (!analysis_ || !analysis_->isOpen()) {
            open({recording});
        } else {
            analysis_->addMedia(recording);
        }
    });
}

void HostApplication::saveUnsaved(const QUrl& file) { saveUnsavedAs(file.toLocalFile(), {}); }

void HostApplication::saveUnsavedAs(const QString& path, const std::function<void()>& saved) {
    if (unsavedRecording().isEmpty()) return;
    isSaving_ = true;
    Q_EMIT recordingsChanged();
    inBackground([this, movie = unsaved_.front(),
                  path] { return media::MovieFolder::finish(movie, URL::fileURL(path.toStdString()), isEnding_); },
                 [this, path, saved](const recording::Error& error) {
                     isSaving_ = false;
                     if (!error) unsaved_.erase(unsaved_.begin());
                     say(error ? QString::fromStdString(*error)
                               : tr("Recording saved as %1").arg(QDir::toNativeSeparators(path)));
                     if (!error && saved) saved();
                 });
}

void HostApplication::discardUnsaved() {
    if (unsavedRecording().isEmpty()) return;
    const std::string recording = unsaved_.front();
    QFile::remove(QString::fromStdString(recording));
    VideoAnalysisController::recordingTaken(URL::fileURL(recording));
    unsaved_.erase(unsaved_.begin());
    Q_EMIT recordingsChanged();
}

void HostApplication::inBackground(std::function<recording::Error()> work,
                                   std::function<void(const recording::Error&)> done) {
    background_.start([this, work = std::move(work), done = std::move(done)] {
        QMetaObject::invokeMethod(
            this, [done, error = work()] { done(error); }, Qt::QueuedConnection);
    });
}

void HostApplication::videoAnalysisControllerDidRequestToDeleteMedia(const std::shared_ptr<ui::ViewController>&,
                                                                     std::function<void()> completion) {
    completion();
}

void HostApplication::videoAnalysisControllerDidRequestDiscardAndClose(const std::shared_ptr<ui::ViewController>&,
                                                                       std::function<void()> completion) {
    completion();
}

void HostApplication::videoAnalysisControllerDidRequestMedia(const std::shared_ptr<ui::ViewController>&,
                                                             std::int64_t index,
                                                             std::function<void(Object)> completion) {
    choice_ = std::move(completion);
    chosenIndex_ = index;
    Q_EMIT choosingChanged();
}

}  // namespace videoanalysis::host
