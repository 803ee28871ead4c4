// The cost of recording the screen during playback of two clips, compared with a general-purpose recorder of the same window;
// whether it keeps up, and whether it delays the user interface. Uses a separate display without a GPU.

#include "Benchmarks/Benchmark.h"
#include "Host/HostApplication.h"
#include "Platforms/QtQuick/QtScreenRecorder.h"
#include "Testing/ScreenDriver.h"
#include "VideoAnalysis/Analysis/Actions.h"
#include "VideoAnalysis/Platform/Platform.h"

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace videoanalysis::bench {
namespace {

constexpr int width = 1280;
constexpr int height = 720;
constexpr int rate = 30;
/// Half as long with VIDEOANALYSIS_SHORT, for a quick run.
const int seconds = std::getenv("VIDEOANALYSIS_SHORT") ? 15 : 60;

/// A virtual display.
class Display {
public:
    Display() {
        server_.start(QStringLiteral("Xvfb"), {"-displayfd", "1", "-screen", "0",
                                               QStringLiteral("%1x%2x24").arg(width).arg(height), "-nolisten", "tcp"});
        if (!server_.waitForStarted() || !server_.waitForReadyRead(10000))
            throw std::runtime_error(
                "Xvfb does not start. Type: sudo apt-get install --no-install-recommends xvfb xauth");
        name = ":" + server_.readLine().trimmed();
    }
    ~Display() {
        server_.terminate();
        server_.waitForFinished();
    }
    QByteArray name;

private:
    QProcess server_;
};

/// CPU seconds of child processes that have exited.
double usedByChildren() {
    rusage usage{};
    ::getrusage(RUSAGE_CHILDREN, &usage);
    const auto of = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return of(usage.ru_utime) + of(usage.ru_stime);
}

/// Runs the event loop for this many milliseconds of measurement.
void runFor(int milliseconds) {
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

/// The analysis of two clips.
class Screen {
public:
    Screen() {
        const QString clip = QStringLiteral(VIDEOANALYSIS_BENCH_CLIPS_DIR "/minute.mp4");
        host_ = std::make_shared<host::HostApplication>(QStringList{clip, clip}, [](const QString&) {});
        host_->window().setPosition(0, 0);
        host_->window().resize(width, height);
        host_->show();
        driver_ = std::make_unique<host::ScreenDriver>(host_->window());
        host_->openAnalysis();
        const auto isReady = [&] {
            return driver_->playerCount() == 2 && driver_->player(0) && driver_->player(0)->currentFrame() &&
                   driver_->player(1) && driver_->player(1)->currentFrame();
        };
        if (!host::ScreenDriver::wait(isReady, 30000)) throw std::runtime_error("timeout opening the clips");
        runFor(1000);
        recorder().setMicrophoneEnabled(false);
    }
    ~Screen() {
        mainStore().dispatch(DismissAction(false, {}));
        mainStore().dispatch(ClearStateAction());
        runFor(300);
        driver_.reset();
        host_.reset();
        installPlatform(nullptr);
    }

    qt::QtScreenRecorder& recorder() { return dynamic_cast<qt::QtScreenRecorder&>(platform().screenRecorder()); }

    /// CPU seconds per second of this program during playback of both clips from the start for `length` seconds.
    double play(int length) {
        mainStore().dispatch(CellVideoSeekToTimeAction({}, {}, media::Time::zero(), {}));
        runFor(500);
        mainStore().dispatch(SetCellVideoPlayingStateAction(true, {}));
        runFor(500);
        const double before = now(Clock::allThreads);
        const double start = now(Clock::wall);
        runFor(length * 1000);
        const double used = (now(Clock::allThreads) - before) / (now(Clock::wall) - start);
        mainStore().dispatch(SetCellVideoPlayingStateAction(false, {}));
        runFor(300);
        return used;
    }

    void record() {
        mainStore().dispatch(SetScreenRecordingStateAction(true));
        if (!host::ScreenDriver::wait([&] { return recorder().isRecording(); }))
            throw std::runtime_error("no recording");
    }
    void finish() {
        mainStore().dispatch(SetScreenRecordingStateAction(false));
        if (!host::ScreenDriver::wait([&] { return recorder().isIdle(); }, 60000)) throw std::runtime_error("no end");
    }

private:
    std::shared_ptr<host::HostApplication> host_;
    std::unique_ptr<host::ScreenDriver> driver_;
};

double recordWithPeer(Screen& screen, const QByteArray& display, const QString& output) {
    QProcess peer;
    peer.setProcessChannelMode(QProcess::ForwardedChannels);
    const double before = usedByChildren();
    peer.start(QStringLiteral("ffmpeg"), {"-nostdin",
                                          "-v",
                                          "error",
                                          "-f",
                                          "x11grab",
                                          "-draw_mouse",
                                          "0",
                                          "-framerate",
                                          QString::number(rate),
                                          "-video_size",
                                          QStringLiteral("%1x%2").arg(width).arg(height),
                                          "-i",
                                          QString::fromLatin1(display + "+0,0"),
                                          "-t",
                                          QString::number(seconds + 1),
                                          "-c:v",
                                          "libx264",
                                          "-preset",
                                          "superfast",
                                          "-pix_fmt",
                                          "yuv420p",
                                          output});
    screen.play(seconds);
    const bool hasEnded = peer.state() == QProcess::NotRunning || peer.waitForFinished(30000);
    if (!hasEnded || peer.exitCode() != 0) throw std::runtime_error("ffmpeg cannot record the display");
    return (usedByChildren() - before) / (seconds + 1);
}

}  // namespace

BENCHMARK_GROUP(recording, "recording") {
    const QTemporaryDir folder;
    qputenv("XDG_DATA_HOME", folder.filePath(QStringLiteral("data")).toUtf8());
    qputenv("HOME", folder.path().toUtf8());
    const Display display;
    qputenv("DISPLAY", display.name);
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("QT_QUICK_BACKEND", "software");
    static int argumentCount = 1;
    static char name[] = "bench";
    static char* arguments[] = {name, nullptr};
    const QGuiApplication application(argumentCount, arguments);
    Screen screen;

    const int pause = seconds / 3;
    double playing = screen.play(pause);
    screen.record();
    const double recording = screen.play(seconds);
    screen.finish();
    const recording::MovieStatistics movie = screen.recorder().statistics().movie;
    const CaptureStatistics capture = screen.recorder().statistics().capture;
    const double between = screen.play(pause);
    const double peer = recordWithPeer(screen, display.name, folder.filePath(QStringLiteral("peer.mp4")));
    playing = (playing + 2 * between + screen.play(pause)) / 4;

    report.value("playback of two clips", playing * 100, "% of a core");
    report.against("recording adds", (recording - playing) * 100, "% of a core", "ffmpeg x11grab", peer * 100, 1.0);
    report.value("frames dropped in " + std::to_string(seconds) + " s", static_cast<double>(movie.dropped), "", 0);
    report.value("frames captured per second", static_cast<double>(movie.taken) / (seconds + 1.3), "");
    report.value("max hold of the main thread", capture.max, "ms", 4);
    report.value("CPU time of that hold", capture.maxComputed, "ms");
    report.value("holds of at least 1 ms",
                 100.0 * static_cast<double>(capture.histogram[2] + capture.histogram[3] + capture.histogram[4]) /
                     static_cast<double>(capture.count),
                 "%");
}

}  // namespace videoanalysis::bench
