#include "Host/CommandLine.h"

#include "VideoAnalysis/Platform/URL.h"

#include <QCommandLineParser>

#include <algorithm>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

namespace videoanalysis::host {
namespace {

constexpr int usageError = 2;

CommandLine failure(const QString& message) {
    return {{}, {}, QStringLiteral("video-analysis: ") + message, usageError};
}

// Represents a file name that is not UTF-8 as a QString: ASCII, and one lone surrogate for every other byte.
constexpr char16_t escapedByte = 0xDC00;

QString textOf(const QByteArray& bytes) {
    QString text = QString::fromUtf8(bytes);
    if (text.toUtf8() == bytes) return text;
    QString escaped;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        escaped += byte < 0x80 ? QChar(byte) : QChar(static_cast<char16_t>(escapedByte + byte));
    }
    return escaped;
}

std::string bytesOf(const QString& text) {
    if (text.isValidUtf16()) return text.toStdString();
    std::string bytes;
    for (const QChar c : text) bytes += static_cast<char>(c.unicode() & 0xFF);
    return bytes;
}

/// Converts a path to a URL; keeps URLs unchanged.
QString urlOf(const QString& clip) {
    if (clip.contains(QLatin1String("://"))) return clip;
    std::error_code error;
    const std::filesystem::path path = std::filesystem::absolute(bytesOf(clip), error);
    return QString::fromStdString(URL::fileURL(error ? bytesOf(clip) : path.string()).absoluteString());
}

}  // namespace

CommandLine CommandLine::parse(int argc, char** argv) {
    QStringList arguments;
    for (int i = 0; i < argc; ++i) arguments << textOf(argv[i]);
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Shows one or two video clips side by side and lets you draw on them."));
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    const QCommandLineOption headless(
        QStringLiteral("headless"),
        QStringLiteral(
            "Runs without a display: plays, steps and draws, and writes a screenshot, the drawings and a log to DIR."),
        QStringLiteral("DIR"));
    parser.addOption(headless);
    parser.addPositionalArgument(QStringLiteral("CLIP"),
                                 QStringLiteral("A video file. Without any, shows the two sample clips."),
                                 QStringLiteral("[CLIP [CLIP]]"));
    if (!parser.parse(arguments)) return failure(parser.errorText());
    if (parser.isSet(help)) return {{}, {}, parser.helpText(), 0};
    if (parser.isSet(version)) return {{}, {}, QStringLiteral("video-analysis " VIDEOANALYSIS_VERSION), 0};
    CommandLine result;
    for (const QString& clip : parser.positionalArguments()) result.clips << urlOf(clip);
    result.outputFolder = parser.value(headless);
    if (result.clips.size() > 2)
        return failure(QStringLiteral("at most two clips can be shown, not %1").arg(result.clips.size()));
    if (parser.isSet(headless) && result.outputFolder.isEmpty())
        return failure(QStringLiteral("--headless needs a folder"));
    if (!result.outputFolder.isValidUtf16())
        return failure(QStringLiteral("the name of the folder for --headless is not UTF-8"));
    return result;
}

bool CommandLine::isHeadless(int argc, char** argv) {
    return std::any_of(argv, argv + argc, [](const char* argument) {
        const std::string_view text(argument);
        return text == "--headless" || text.starts_with("--headless=") || text == "-headless";
    });
}

}  // namespace videoanalysis::host
