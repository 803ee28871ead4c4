#include "Host/HostApplication.h"

#include "Host/ReportingEngine.h"
#include "Platforms/Cairo/CairoEngine.h"
#include "Platforms/FFmpeg/FFmpegEngine.h"
#include "Platforms/QtQuick/QtAudioSink.h"
#include "Platforms/QtQuick/QtQuickPlatform.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QQmlContext>
#include <QQuickItem>

#include <utility>

namespace videoanalysis::host {
namespace {

constexpr QSize startSize(1280, 800);
constexpr QSize minimumSize(360, 640);

URL urlOf(const QString& clip) {
    return clip.contains(QLatin1String("://")) ? URL(clip.toStdString()) : URL::fileURL(clip.toStdString());
}

QString nameOf(const URL& url) {
    const QString path = QString::fromStdString(url.path());
    return path.isEmpty() ? QString::fromStdString(url.absoluteString()) : path;
}

}  // namespace

HostApplication::HostApplication(const QStringList& clips, std::function<void(const QString& line)> report) {
    for (const QString& clip : clips) clips_.push_back({urlOf(clip), {}});

    auto engine = std::make_unique<ReportingEngine>(
        std::make_unique<media::FFmpegEngine>(media::FFmpegOptions{}, std::make_shared<QtAudioSink>()),
        [report = std::move(report)](const URL& url, const std::string& reason) {
            const QString text = QString::fromStdString(reason);
            const bool namesClip = reason.find(url.absoluteString()) != std::string::npos;
            report(namesClip ? text : QStringLiteral("%1: %2").arg(nameOf(url), text));
        });
    platform_ = std::make_shared<QtQuickPlatform>(view_, std::move(engine), std::make_unique<graphics::CairoEngine>());
    installPlatform(platform_);

    view_.rootContext()->setContextProperty(QStringLiteral("host"), this);
    view_.setResizeMode(QQuickView::SizeRootObjectToView);
    view_.setTitle(QStringLiteral("Video analysis"));
    view_.setColor(Qt::black);
    view_.setMinimumSize(minimumSize);
    view_.resize(startSize);
    view_.setSource(QUrl(QStringLiteral("qrc:/VideoAnalysisHost/StartScreen.qml")));
    auto* startScreen = view_.rootObject()->findChild<QQuickItem*>(QStringLiteral("startScreen"));
    startScreen_ = platform_->viewController(*startScreen);
}

HostApplication::~HostApplication() = default;

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

void HostApplication::openAnalysis() {
    const std::shared_ptr<HostApplication> self = shared_from_this();
    analysis_.emplace(clips_, VideoAnalysisConfiguration(true, true, {}, {}, self));
    analysis_->present(startScreen_, ui::ModalPresentationStyle::fullScreen);
}

void HostApplication::chooseFile(const QUrl& file) { choose(Object{urlOf(file.toLocalFile()), {}}); }

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

void HostApplication::videoAnalysisDidFinish(const std::optional<std::vector<Object>>&) {}

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
