// What the screen costs: from a dispatch to the frame that shows it, and what an idle screen with two players burns.

#include "Benchmarks/Benchmark.h"
#include "Platforms/Cairo/CairoEngine.h"
#include "Platforms/FFmpeg/FFmpegEngine.h"
#include "Platforms/QtQuick/QtQuickPlatform.h"
#include "VideoAnalysis/Analysis/Actions.h"
#include "VideoAnalysis/Platform/Media.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCell.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCellController.h"
#include "VideoAnalysis/Player/VideoView.h"
#include "VideoAnalysis/Screen/MainViewController.h"
#include "VideoAnalysis/Screen/PlayersManager.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTimer>

#include <algorithm>
#include <functional>
#include <memory>
#include <stdexcept>
#include <vector>

namespace videoanalysis {
namespace {

void runFor(int milliseconds) {
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

void waitUntil(const std::function<bool()>& condition) {
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.hasExpired(30000)) throw std::runtime_error("the screen does not get ready");
        runFor(2);
    }
}

bool areReady(const MainViewController& screen, PlayersManager& manager) {
    return screen.isViewLoaded() &&
           std::all_of(manager.cellControllers.begin(), manager.cellControllers.end(), [](const auto& controller) {
               const auto cell = controller->cell();
               const auto view = cell ? cell->playerView.lock() : nullptr;
               return view && view->player() && view->player()->currentFrame();
           });
}

}  // namespace

BENCHMARK_GROUP(screen, "screen") {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    int argc = 1;
    char name[] = "bench";
    char* argv[] = {name, nullptr};
    const QGuiApplication application(argc, argv);
    QQuickWindow window;
    window.resize(1280, 800);
    window.show();
    QQuickItem start(window.contentItem());
    const auto platform = std::make_shared<QtQuickPlatform>(window, std::make_unique<media::FFmpegEngine>(),
                                                            std::make_unique<graphics::CairoEngine>());
    installPlatform(platform);
    const URL clip = URL::fileURL(VIDEOANALYSIS_BENCH_CLIPS_DIR "/long-group.mp4");
    VideoAnalysisController analysis({{clip, {}}, {clip, {}}},
                                           VideoAnalysisConfiguration(true, true, {}, {}, nullptr));
    analysis.present(platform->viewController(start), ui::ModalPresentationStyle::fullScreen);
    const auto screen = mainStore().state().mainViewController();
    waitUntil([&] { return areReady(*screen, *screen->playersManager()); });
    runFor(2000);  // fades, delayed loads, frames decoded ahead

    int frames = 0;
    QObject::connect(&window, &QQuickWindow::frameSwapped, &window, [&] { ++frames; });
    constexpr double idleSeconds = 5;
    const double before = bench::now(bench::Clock::allThreads);
    runFor(static_cast<int>(idleSeconds * 1000));
    report.value("CPU of two paused players", (bench::now(bench::Clock::allThreads) - before) / idleSeconds,
                 "ms a second", 5);
    report.value("frames of two paused players in 5 s", frames, "", 0);

    mainStore().dispatch(SetDrawingToolsCollapseStateAction(false));
    runFor(500);
    std::vector<double> times;
    constexpr int changes = 60;
    for (int i = 0; i < changes; ++i) {
        const int seen = frames;
        const double begin = bench::now(bench::Clock::wall);
        mainStore().dispatch(SetDrawingToolTypeAction(i % 2 ? SketchToolType::pen : SketchToolType::line, false));
        while (frames == seen && bench::now(bench::Clock::wall) - begin < 2000) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
        }
        times.push_back(bench::now(bench::Clock::wall) - begin);
        runFor(300);  // the marker comes to rest
    }
    report.value("tool change, dispatch to frame", bench::median(times), "ms", 50);
    report.value("the same, 95 % are within", bench::percentile(times, 0.95), "ms");

    analysis.dismiss(false, {});
    runFor(500);
    QTimer::singleShot(0, &application, &QCoreApplication::quit);
    QGuiApplication::exec();  // lets the platform take leave of the application
}

}  // namespace videoanalysis
