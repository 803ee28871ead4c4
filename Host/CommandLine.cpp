#include "Host/CommandLine.h"

#include <QCommandLineParser>

#include <algorithm>
#include <string_view>

namespace videoanalysis::host {
namespace {

constexpr int usageError = 2;

CommandLine failure(const QString& message) {
    return {{}, {}, QStringLiteral("video-analysis: ") + message, usageError};
}

}  // namespace

CommandLine CommandLine::parse(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Shows one or two video clips side by side, to draw on them."));
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption headless(
        QStringLiteral("headless"),
        QStringLiteral(
            "Without a display: works the screen by itself and leaves a picture of it, the drawings and a log in DIR."),
        QStringLiteral("DIR"));
    parser.addOption(headless);
    parser.addPositionalArgument(QStringLiteral("CLIP"),
                                 QStringLiteral("A video file; without any, two samples are shown."),
                                 QStringLiteral("[CLIP [CLIP]]"));
    if (!parser.parse(arguments)) return failure(parser.errorText());
    if (parser.isSet(help)) return {{}, {}, parser.helpText(), 0};
    CommandLine result;
    result.clips = parser.positionalArguments();
    result.outputFolder = parser.value(headless);
    if (result.clips.size() > 2)
        return failure(QStringLiteral("at most two clips can be shown, not %1").arg(result.clips.size()));
    if (parser.isSet(headless) && result.outputFolder.isEmpty())
        return failure(QStringLiteral("--headless needs a folder"));
    return result;
}

bool CommandLine::isHeadless(int argc, char** argv) {
    return std::any_of(argv, argv + argc, [](const char* argument) {
        const std::string_view text(argument);
        return text == "--headless" || text.starts_with("--headless=") || text == "-headless";
    });
}

}  // namespace videoanalysis::host
