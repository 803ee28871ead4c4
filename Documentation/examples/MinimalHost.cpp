// The smallest host: opens the clips named on the command line, one or two, in an analysis over an empty window.
#include "Platforms/Cairo/CairoEngine.h"
#include "Platforms/FFmpeg/FFmpegEngine.h"
#include "Platforms/QtQuick/QtAudioSink.h"
#include "Platforms/QtQuick/QtQuickPlatform.h"
#include "VideoAnalysis/Analysis/VideoAnalysisController.h"

#include <QFileInfo>
#include <QGuiApplication>

using namespace videoanalysis;
using ScreenPointer = std::shared_ptr<ui::ViewController>;

struct Coach final : VideoAnalysisControllerDelegate {
    ui::DeviceOrientation preferredOrientation() const override { return ui::DeviceOrientation::landscapeLeft; }
    void videoAnalysisDidFinish(const std::optional<std::vector<Object>>&) override { QGuiApplication::quit(); }
    void videoAnalysisControllerDidRequestMedia(const ScreenPointer&, std::int64_t,
                                                std::function<void(Object)>) override {}
    void videoAnalysisControllerDidRequestToDeleteMedia(const ScreenPointer&,
                                                        std::function<void()> completion) override {
        completion();  // yes, delete it
    }
    void videoAnalysisControllerDidRequestDiscardAndClose(const ScreenPointer&,
                                                          std::function<void()> completion) override {
        completion();  // yes, close
    }
};

int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    QQuickWindow window;
    window.resize(1280, 800);
    window.show();
    auto media = std::make_unique<media::FFmpegEngine>(media::FFmpegOptions{}, std::make_shared<QtAudioSink>());
    auto platform =
        std::make_shared<QtQuickPlatform>(window, std::move(media), std::make_unique<graphics::CairoEngine>());
    installPlatform(platform);

    std::vector<VideoAnalysisController::Object> clips;
    for (const QString& path : application.arguments().mid(1)) {
        clips.push_back({URL::fileURL(QFileInfo(path).absoluteFilePath().toStdString()), {}});
    }
    const auto coach = std::make_shared<Coach>();  // the analysis holds it weakly
    VideoAnalysisController analysis(clips, VideoAnalysisConfiguration(true, true, {}, {}, coach));
    analysis.present(platform->viewController(*window.contentItem()), ui::ModalPresentationStyle::fullScreen);
    return application.exec();
}
