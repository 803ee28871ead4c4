#include "QtQuick/RecordingProgram.h"

#include "Host/HostApplication.h"
#include "Testing/ScreenDriver.h"
#include "VideoAnalysis/Analysis/Actions.h"
#include "VideoAnalysis/Platform/Platform.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSocketNotifier>
#include <QTimer>

#include <cstdio>

#include <unistd.h>

namespace videoanalysis {
namespace {

constexpr const char* variable = "VIDEOANALYSIS_TEST_RECORDING";  // milliseconds
constexpr int timeout = 60000;                                    // milliseconds

void say(const char* line) {
    std::puts(line);
    std::fflush(stdout);
}

}  // namespace

bool RecordingProgram::isAskedFor() { return qEnvironmentVariableIsSet(variable); }

int RecordingProgram::run() {
    const int length = qEnvironmentVariableIntValue(variable);
    const auto host = std::make_shared<host::HostApplication>(
        QStringList{QStringLiteral(VIDEOANALYSIS_TEST_CLIPS_DIR "/h264.mp4")}, [](const QString&) {});
    host->show();
    host->openAnalysis();
    const host::ScreenDriver screen(host->window());

    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, [&] {
        input.setEnabled(false);
        host->window().close();
    });
    enum class Step { opening, starting, recording, stopped } step = Step::opening;
    QElapsedTimer recorded;
    QTimer user;
    user.callOnTimeout([&] {
        const auto& recorder = platform().screenRecorder();
        if (step == Step::opening && screen.player(0) && screen.player(0)->currentFrame()) {
            step = Step::starting;
            mainStore().dispatch(SetCellVideoPlayingStateAction(true, {}));
            mainStore().dispatch(SetScreenRecordingStateAction(true));
        } else if (step == Step::starting && recorder.isRecording()) {
            step = Step::recording;
            recorded.start();
            say("records");
        } else if (step == Step::recording && recorded.elapsed() >= length) {
            step = Step::stopped;
            mainStore().dispatch(SetScreenRecordingStateAction(false));
            say("stopped");
        }
    });
    user.start(5);
    return QCoreApplication::exec();
}

RecordingProgram::RecordingProgram(const QString& home, int milliseconds) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QLatin1String(variable), QString::number(milliseconds));
    environment.insert(QStringLiteral("HOME"), home);
    environment.insert(QStringLiteral("XDG_DATA_HOME"), home + QStringLiteral("/data"));
    process_.setProcessEnvironment(environment);
    process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process_.start(QCoreApplication::applicationFilePath(), QStringList());
}

RecordingProgram::~RecordingProgram() {
    if (process_.state() != QProcess::NotRunning) kill();
}

bool RecordingProgram::waitFor(const char* line) {
    return waitFor([&] {
        output_ += process_.readAllStandardOutput();
        return output_.contains(line);
    });
}

bool RecordingProgram::waitFor(const std::function<bool()>& condition) {
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < timeout) {
        process_.waitForReadyRead(1);
        if (condition()) return true;
        if (process_.state() == QProcess::NotRunning) return false;
    }
    return false;
}

void RecordingProgram::kill() {
    process_.kill();
    process_.waitForFinished(timeout);
}

bool RecordingProgram::close() {
    process_.closeWriteChannel();
    if (!process_.waitForFinished(timeout)) return false;
    return process_.exitStatus() == QProcess::NormalExit && process_.exitCode() == 0;
}

}  // namespace videoanalysis
