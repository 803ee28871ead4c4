// Latency of a step: from the key press to the new frames of two locked players on the screen.

#include "Benchmarks/BenchScreen.h"
#include "Benchmarks/Benchmark.h"
#include "VideoAnalysis/Analysis/Actions.h"
#include "VideoAnalysis/Analysis/State.h"

#include <QCoreApplication>
#include <QKeyEvent>

#include <cstdint>
#include <vector>

namespace videoanalysis {

BENCHMARK_GROUP(player, "player") {
    bench::BenchScreen screen(VIDEOANALYSIS_BENCH_CLIPS_DIR "/long-group.mp4");
    mainStore().dispatch(SetPlaybackLockStateAction(true));
    screen.runFor(500);
    const auto press = [&](Qt::Key key) {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
        QCoreApplication::sendEvent(&screen.window(), &event);
    };
    // Forth and back, so that the measured frames are in the cache.
    constexpr int steps = 30;
    for (const Qt::Key key : {Qt::Key_Right, Qt::Key_Left}) {
        for (int step = 0; step < steps; ++step) {
            press(key);
            screen.runFor(20);
        }
    }
    screen.waitUntil([&] { return screen.shownFrame(0) == 0 && screen.shownFrame(1) == 0; });
    screen.runFor(500);

    std::vector<double> redraws;
    std::vector<double> keys;
    for (int round = 0; round < 4; ++round) {
        for (int step = 0; step < steps; ++step) {
            int seen = screen.frames();
            double begin = bench::now(bench::Clock::wall);
            screen.window().update();
            screen.waitUntil([&] { return screen.frames() != seen; });
            redraws.push_back(bench::now(bench::Clock::wall) - begin);
            screen.runFor(20);

            const bool isForward = round % 2 == 0;
            const std::int64_t wanted = screen.shownFrame(0) + (isForward ? 1 : -1);
            const auto areThere = [&] { return screen.shownFrame(0) == wanted && screen.shownFrame(1) == wanted; };
            begin = bench::now(bench::Clock::wall);
            press(isForward ? Qt::Key_Right : Qt::Key_Left);
            screen.waitUntil(areThere);
            seen = screen.frames();
            screen.waitUntil([&] { return screen.frames() != seen; });
            keys.push_back(bench::now(bench::Clock::wall) - begin);
            screen.runFor(20);
        }
    }
    const double redraw = bench::percentile(redraws, 0.95);
    const double key = bench::percentile(keys, 0.95);
    report.value("redraw of the scene, 95 % are within", redraw, "ms");
    report.value("key to new pictures, 95 % are within", key, "ms");
    report.value("key to new pictures beyond a redraw", key - redraw, "ms", 1000.0 / 60);
}

}  // namespace videoanalysis
