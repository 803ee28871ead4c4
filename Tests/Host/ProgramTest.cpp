// The program, started from the command line.

#include "Host/CommandLine.h"
#include "Host/HostApplication.h"
#include "Testing/ScreenDriver.h"
#include "Tests/QtQuick/ChildTest.h"
#include "VideoAnalysis/JSON/JSON.h"
#include "VideoAnalysis/Platform/URL.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QQuickItem>
#include <QRegularExpression>
#include <QScreen>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace videoanalysis {
namespace {

struct Outcome {
    int exitStatus = -1;
    QString errors;
    QString output;
};

class ProgramTest : public testing::Test {
protected:
    static QString clip(const char* name) {
        return QStringLiteral(VIDEOANALYSIS_TEST_CLIPS_DIR "/") + QLatin1String(name);
    }

    static Outcome run(const QStringList& arguments, const QProcessEnvironment& environment = {}) {
        QProcess program;
        if (!environment.isEmpty()) program.setProcessEnvironment(environment);
        program.start(QStringLiteral(VIDEOANALYSIS_SAMPLE_CLIPS_DIR "/../bin/video-analysis"), arguments);
        if (!program.waitForFinished(120000)) {
            program.kill();
            program.waitForFinished();
            return {-1, QStringLiteral("did not end"), {}};
        }
        QStringList lines =
            QString::fromUtf8(program.readAllStandardError()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        lines.removeIf([](const QString& line) { return line.contains(QLatin1String("XDG_RUNTIME_DIR")); });
        return {program.exitStatus() == QProcess::NormalExit ? program.exitCode() : -1, lines.join(QLatin1Char('\n')),
                QString::fromUtf8(program.readAllStandardOutput())};
    }

    static QByteArray contents(const QString& path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QTemporaryDir scratch;
};

TEST_F(ProgramTest, HeadlessRunPlaysStepsAndDrawsAndWritesItsResults) {
    const QString folder = scratch.filePath(QStringLiteral("made/on/the/way"));
    const Outcome outcome = run({QStringLiteral("--headless"), folder});
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_EQ(outcome.errors, QString());

    const QImage screen(QDir(folder).filePath(QStringLiteral("screen.png")));
    EXPECT_EQ(screen.size(), QSize(1280, 800));
    int inked = 0;
    for (int y = 0; y < screen.height(); ++y) {
        for (int x = 0; x < screen.width(); ++x) inked += screen.pixelColor(x, y) == QColor(0, 229, 255);
    }
    EXPECT_GT(inked, 1000) << "two strokes on each of two players";

    const JSON stack = JSON::parse(contents(QDir(folder).filePath(QStringLiteral("stack.json"))).toStdString());
    ASSERT_EQ(stack["players"].size(), 2U);
    for (std::size_t player = 0; player < 2; ++player) {
        EXPECT_EQ(stack["players"][player]["stack"]["drawnStack"].size(), 2U);
        EXPECT_EQ(stack["players"][player]["stack"]["redoStack"].size(), 1U);
    }

    // The window shows the frames in the log, and a step is one frame.
    const QString log = QString::fromUtf8(contents(QDir(folder).filePath(QStringLiteral("session.log"))));
    static const QRegularExpression shown(QStringLiteral("player (\\d) frame (\\d+) \\(window shows (\\d+)\\)"));
    int compared = 0;
    for (auto matches = shown.globalMatch(log); matches.hasNext(); ++compared) {
        const QRegularExpressionMatch match = matches.next();
        EXPECT_EQ(match.captured(2), match.captured(3)) << match.captured(0).toStdString();
    }
    EXPECT_EQ(compared, 2 * static_cast<int>(log.count(QLatin1Char('\n'))));
    static const QRegularExpression first(QStringLiteral("forwardButton; player 1 frame (\\d+)"));
    auto steps = first.globalMatch(log);
    const int frame = steps.next().captured(1).toInt();
    EXPECT_EQ(steps.next().captured(1).toInt(), frame + 1);
    EXPECT_EQ(steps.next().captured(1).toInt(), frame + 2);
}

TEST_F(ProgramTest, BadInputIsReportedInOneLineWithAStatus) {
    const QStringList headless = {QStringLiteral("--headless"), scratch.filePath(QStringLiteral("out"))};
    const auto expectOneLine = [](const Outcome& outcome, const char* part) {
        EXPECT_EQ(outcome.exitStatus, 2);
        EXPECT_TRUE(outcome.errors.startsWith(QLatin1String("video-analysis: "))) << outcome.errors.toStdString();
        EXPECT_FALSE(outcome.errors.contains(QLatin1Char('\n'))) << outcome.errors.toStdString();
        EXPECT_TRUE(outcome.errors.contains(QLatin1String(part))) << outcome.errors.toStdString();
    };
    expectOneLine(run(headless + QStringList{clip("a.mp4"), clip("b.mp4"), clip("c.mp4")}), "two clips");
    expectOneLine(run({QStringLiteral("--fast")}), "fast");
    expectOneLine(run({QStringLiteral("--headless"), QStringLiteral("/dev/null/out")}), "/dev/null/out");
    expectOneLine(run(headless + QStringList{clip("missing.mp4")}), "missing.mp4");
    expectOneLine(run(headless + QStringList{clip("truncated.mp4"), clip("h264.mp4")}), "truncated.mp4");
    expectOneLine(run(headless + QStringList{clip("text.mp4"), clip("h264.mp4")}), "text.mp4");

    // The playable clip of the last run was still used.
    const JSON stack = JSON::parse(contents(scratch.filePath(QStringLiteral("out/stack.json"))).toStdString());
    EXPECT_EQ(stack["players"][1]["stack"]["drawnStack"].size(), 2U);
}

TEST_F(ProgramTest, HelpAndVersionNeedNoDisplay) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) environment.remove(QLatin1String(name));
    const Outcome help =
        run({QStringLiteral("--help"), QStringLiteral("--headless"), QStringLiteral("x")}, environment);
    EXPECT_EQ(help.exitStatus, 0) << help.errors.toStdString();
    EXPECT_TRUE(help.output.contains(QLatin1String("--headless")));
    const Outcome version = run({QStringLiteral("--version")}, environment);
    EXPECT_EQ(version.exitStatus, 0) << version.errors.toStdString();
    EXPECT_TRUE(
        QRegularExpression(QStringLiteral("^video-analysis \\d+\\.\\d+\\.\\d+\n$")).match(version.output).hasMatch())
        << version.output.toStdString();
}

TEST_F(ProgramTest, ClipArgumentsMayHaveAnyFileName) {
    const auto addressOf = [](std::string argument) {
        std::string name = "video-analysis";
        std::vector<char*> arguments = {name.data(), argument.data(), nullptr};
        const QStringList clips = host::CommandLine::parse(2, arguments.data()).clips;
        return clips.size() == 1 ? clips.front().toStdString() : std::string();
    };
    const std::string folder = std::filesystem::current_path().string();
    for (const std::string name : {"a.mp4", "./b/c.mp4", "a b.mp4", "100%41.mp4", "#?.mp4", "Z\xC3\xBCrich.mp4",
                                   "Z\xFCrich.mp4", "\xED\xB3\xBF \xC3\xBC.mp4"}) {
        SCOPED_TRACE(name);
        const std::string address = addressOf(name);
        EXPECT_TRUE(address.starts_with("file:///")) << address;
        EXPECT_TRUE(QUrl(QString::fromStdString(address), QUrl::StrictMode).isValid()) << address;
        EXPECT_EQ(std::filesystem::path(URL(address).path()).lexically_normal(),
                  (std::filesystem::path(folder) / name).lexically_normal());
    }
    EXPECT_EQ(addressOf("/tmp/a.mp4"), "file:///tmp/a.mp4");
    EXPECT_EQ(addressOf("https://example.org/a%20b.mp4"), "https://example.org/a%20b.mp4");
}

// Like a full disk, /dev/full fails when the buffers are flushed.
TEST_F(ProgramTest, FullDiskIsReportedInOneLineWithAStatus) {
    for (const char* name : {"session.log", "stack.json", "screen.png"}) {
        SCOPED_TRACE(name);
        const QString folder = scratch.filePath(QLatin1String(name));
        ASSERT_TRUE(QDir().mkpath(folder));
        ASSERT_TRUE(QFile::link(QStringLiteral("/dev/full"), QDir(folder).filePath(QLatin1String(name))));
        const Outcome outcome = run({QStringLiteral("--headless"), folder, clip("h264.mp4")});
        EXPECT_EQ(outcome.exitStatus, 2);
        EXPECT_EQ(outcome.errors,
                  QStringLiteral("video-analysis: cannot write into %1: No space left on device").arg(folder));
    }
}

// Runs in a separate process, because the scale applies to all screens.
TEST_F(ProgramTest, DISABLED_WindowIsNoLargerThanTheScreen) {
    host::HostApplication host({}, [](const QString&) {});
    const QSize room = host.window().screen()->availableSize();
    for (const QSize size : {host.window().size(), host.window().minimumSize()}) {
        EXPECT_LE(size.width(), room.width());
        EXPECT_LE(size.height(), room.height());
    }
}

TEST_F(ProgramTest, StartScreenScrollsIfItDoesNotFit) {
    const auto host =
        std::make_shared<host::HostApplication>(QStringList{clip("h264.mp4"), clip("h264.mp4")}, [](const QString&) {});
    host->window().setMinimumSize({});
    for (const QSize size : {QSize(1280, 800), QSize(667, 336)}) {
        SCOPED_TRACE(size.height());
        host->window().resize(size);
        host->show();
        const host::ScreenDriver screen(host->window());
        auto* page = host->window().rootObject()->findChild<QQuickItem*>(QStringLiteral("startPage"));
        const auto rectOf = [&](const char* name) {
            return screen.rectOf(host->window().rootObject()->findChild<QQuickItem*>(QLatin1String(name)));
        };
        ASSERT_TRUE(
            screen.wait([&] { return page->height() == size.height() && !rectOf("controlsButton").isEmpty(); }));
        EXPECT_GE(page->childItems().front()->childItems().front()->y(), 24);
        const double hidden = page->property("contentHeight").toDouble() - page->height();
        EXPECT_EQ(hidden > 0, size.height() == 336);
        page->setProperty("contentY", hidden);
        const QRectF last = rectOf("controlsButton");
        EXPECT_TRUE(QRectF(QPointF(), QSizeF(size)).contains(last)) << last.bottom();
        const char* folder = std::getenv("VIDEOANALYSIS_PICTURES");
        if (folder)
            screen.grab().save(
                QDir(QString::fromLocal8Bit(folder)).filePath(QStringLiteral("start-%1.png").arg(size.height())));
    }
}

TEST_F(ProgramTest, WindowFitsSmallScreens) {
    for (const char* scale : {"1", "2"}) {  // of 800 x 800 pixels
        ChildTest child("WindowIsNoLargerThanTheScreen", {{"QT_SCALE_FACTOR", QLatin1String(scale)}});
        EXPECT_TRUE(child.hasPassed()) << scale;
    }
}

}  // namespace
}  // namespace videoanalysis
