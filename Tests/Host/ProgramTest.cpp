// The program as it is started from a command line.

#include "VideoAnalysis/JSON/JSON.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

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

    static Outcome run(const QStringList& arguments) {
        QProcess program;
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

TEST_F(ProgramTest, ARunWithoutADisplayPlaysStepsAndDrawsAndLeavesTheEvidence) {
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

    // Wherever the log names a frame, the window shows that frame; steps are steps.
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

TEST_F(ProgramTest, BadInputIsOneClearLineAndAStatus) {
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

    // The good clip of the last run was worked all the same.
    const JSON stack = JSON::parse(contents(scratch.filePath(QStringLiteral("out/stack.json"))).toStdString());
    EXPECT_EQ(stack["players"][1]["stack"]["drawnStack"].size(), 2U);

    const Outcome help = run({QStringLiteral("--help"), QStringLiteral("--headless"), QStringLiteral("x")});
    EXPECT_EQ(help.exitStatus, 0);
    EXPECT_TRUE(help.output.contains(QLatin1String("--headless")));
}

}  // namespace
}  // namespace videoanalysis
