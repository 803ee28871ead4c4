// video-analysis [--headless DIR] [CLIP [CLIP]]

#include "Host/CommandLine.h"
#include "Host/HeadlessRun.h"
#include "Host/HostApplication.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QTimer>

extern "C" {
#include <libavutil/log.h>
}

#include <cstdio>

using namespace videoanalysis::host;

namespace {

/// Filters Qt's warning about a missing sound server; clips are silent then.
void passOn(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    if (message.startsWith(QLatin1String("PulseAudioService: pa_context_connect() failed"))) return;
    std::fprintf(stderr, "%s\n", qPrintable(qFormatLogMessage(type, context, message)));
}

}  // namespace

int main(int argc, char** argv) {
    qInstallMessageHandler(passOn);
    av_log_set_level(AV_LOG_QUIET);  // the program reports a damaged clip itself, in one line
    {
        // Help and version need no display. Other arguments are parsed after Qt has removed its own options.
        QCoreApplication application(argc, argv);
        QCoreApplication::setApplicationName(QStringLiteral("video-analysis"));
        const CommandLine commandLine = CommandLine::parse(argc, argv);
        if (commandLine.exitStatus == 0 && !commandLine.message.isEmpty()) {
            std::printf("%s\n", qPrintable(commandLine.message.trimmed()));
            return 0;
        }
    }
    const bool isHeadless = CommandLine::isHeadless(argc, argv);
    if (isHeadless) qputenv("QT_QPA_PLATFORM", "offscreen");
    // Strokes need every touch position, not one per display frame.
    qputenv("QML_NO_TOUCH_COMPRESSION", "1");
    const QGuiApplication application(argc, argv);
    QGuiApplication::setApplicationName(QStringLiteral("video-analysis"));

    const CommandLine commandLine = CommandLine::parse(argc, argv);
    if (!commandLine.message.isEmpty()) {
        std::fprintf(stderr, "%s\n", qPrintable(commandLine.message));
        return commandLine.exitStatus;
    }
    if (isHeadless) {
        // Started from the event loop, as with a display, so that it exits in the same way.
        QTimer::singleShot(
            0, [&] { QGuiApplication::exit(HeadlessRun::run(commandLine.clips, commandLine.outputFolder)); });
        return QGuiApplication::exec();
    }

    const auto host = std::make_shared<HostApplication>(
        commandLine.clips.isEmpty() ? HostApplication::sampleClips() : commandLine.clips,
        [](const QString& line) { std::fprintf(stderr, "video-analysis: %s\n", qPrintable(line)); });
    host->show();
    host->openAnalysis();
    return QGuiApplication::exec();
}
