#include "Host/HostApplication.h"

#include "Host/ReportingEngine.h"
#include "Platforms/Cairo/CairoEngine.h"
#include "Platforms/FFmpeg/FFmpegEngine.h"
#include "Platforms/QtQuick/QtAudioSink.h"
#include "Platforms/QtQuick/QtQuickPlatform.h"
#include "Platforms/QtQuick/QtScreenRecorder.h"

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
constexpr QSize minimumSize(360, 640);
constexpr QSize roomForFrame(16, 48);  // what a desktop draws around a window

URL urlOf(const QString& clip) {
    if (clip.contains(QLatin1String("://"))) return URL(clip.toStdString());
    return URL::fileURL(QFileInfo(clip).absoluteFilePath().toStdString());
}

QString nameOf(const URL& url) {
    const QString path = QString::fromStdString(url.path());
    return path.isEmpty() ? QString::fromStdString(url.absoluteString()) : path;
}

/// Where recordings grow; what is found there at a start was interrupted.
std::string growingFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation).toStdString() + "/recordings";
}

/// A name for the recording that grew as `movie`, in the folder for recordings and not taken there yet.
QString pathForRecording(const QString& name) {
    const QDir folder(HostApplication::recordingsFolder());
    folder.mkpath(QStringLiteral("."));
    QString path = folder.filePath(name + QStringLiteral(".mp4"));
    for (int number = 2; QFileInfo::exists(path); ++number) {
        path = folder.filePath(QStringLiteral("%1 (%2).mp4").arg(name).arg(number));
    }
    return path;
}

}  // namespace

HostApplication::HostApplication(const QStringList& clips, std::function<void(const QString& line)> report)
    : movies_(growingFolder()) {
    for (const QString& clip : clips) clips_.push_back({urlOf(clip), {}});

    auto engine = std::make_unique<ReportingEngine>(
        std::make_unique<media::FFmpegEngine>(media::FFmpegOptions{}, std::make_shared<QtAudioSink>()),
        [report = std::move(report)](const URL& url, const std::string& reason) {
            const QString text = QString::fromStdString(reason);
            const bool namesClip = reason.find(url.absoluteString()) != std::string::npos;
            report(namesClip ? text : QStringLiteral("%1: %2").arg(nameOf(url), text));
        });
    platform_ = std::make_shared<QtQuickPlatform>(view_, std::move(engine), std::make_unique<graphics::CairoEngine>());
    platform_->setMovieMaker(std::make_unique<media::MovieFolder>(growingFolder()), RecordingOptions());
    installPlatform(platform_);
    findInterrupted();

    view_.rootContext()->setContextProperty(QStringLiteral("host"), this);
    view_.setResizeMode(QQuickView::SizeRootObjectToView);
    view_.setTitle(QStringLiteral("Video analysis"));
    view_.setColor(Qt::black);
    const QSize room = view_.screen()->availableSize() - roomForFrame;
    view_.setMinimumSize(minimumSize.boundedTo(room));
    view_.resize(startSize.boundedTo(room));
    view_.setSource(QUrl(QStringLiteral("qrc:/VideoAnalysisHost/StartScreen.qml")));
    auto* startScreen = view_.rootObject()->findChild<QQuickItem*>(QStringLiteral("startScreen"));
    startScreen_ = platform_->viewController(*startScreen);
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
    if (analysis_) analysis_->editMedia(index);
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

// The recording lies in the platform's temporary directory, which goes with the program.
void HostApplication::videoAnalysisDidFinish(const std::optional<std::vector<Object>>& output) {
    if (!output || output->empty()) return;
    const QString from = QString::fromStdString(output->front().url.path());
    const QString name =
        QStringLiteral("Analysis %1").arg(QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH.mm.ss")));
    const QString to = pathForRecording(name);
    inBackground(
        [from, to]() -> recording::Error {
            if (QFile::rename(from, to)) return {};
            return "cannot save the recording as " + to.toStdString();
        },
        [this, to](const recording::Error& error) {
            recordingNotice_ = error ? QString::fromStdString(*error)
                                     : tr("The recording is saved as %1").arg(QDir::toNativeSeparators(to));
            Q_EMIT recordingsChanged();
        });
}

// ---- Interrupted recordings

QString HostApplication::recordingsFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::MoviesLocation) + QStringLiteral("/Video analysis");
}

void HostApplication::findInterrupted() {
    interrupted_ = movies_.unfinished();
    Q_EMIT recordingsChanged();
}

QString HostApplication::interruptedRecording() const {
    if (interrupted_.empty() || isSaving_) return {};
    // Named after the moment at which it began, with more digits than anybody wants to read.
    return QFileInfo(QString::fromStdString(interrupted_.front())).completeBaseName().left(19);
}

void HostApplication::openInterrupted() {
    if (interruptedRecording().isEmpty()) return;
    const QString path = pathForRecording(QStringLiteral("Analysis ") + interruptedRecording());
    saveInterruptedAs(path, [this, path] { open({Object{urlOf(path), {}}}); });
}

void HostApplication::saveInterrupted(const QUrl& file) { saveInterruptedAs(file.toLocalFile(), {}); }

void HostApplication::saveInterruptedAs(const QString& path, const std::function<void()>& saved) {
    if (interruptedRecording().isEmpty()) return;
    isSaving_ = true;
    Q_EMIT recordingsChanged();
    inBackground(
        [this, movie = interrupted_.front(), path] {
            return media::MovieFolder::finish(movie, URL::fileURL(path.toStdString()), isEnding_);
        },
        [this, path, saved](const recording::Error& error) {
            isSaving_ = false;
            recordingNotice_ = error ? QString::fromStdString(*error)
                                     : tr("The recording is saved as %1").arg(QDir::toNativeSeparators(path));
            findInterrupted();
            if (!error && saved) saved();
        });
}

void HostApplication::discardInterrupted() {
    if (interruptedRecording().isEmpty()) return;
    QFile::remove(QString::fromStdString(interrupted_.front()));
    findInterrupted();
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
