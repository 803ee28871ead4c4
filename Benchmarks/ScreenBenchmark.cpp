// The cost of the screen: the latency from a dispatch to the displayed frame, and the CPU time of an idle screen with two
// players.

#include "Benchmarks/BenchScreen.h"
#include "Benchmarks/Benchmark.h"
#include "VideoAnalysis/Analysis/Actions.h"
#include "VideoAnalysis/Analysis/State.h"

#include <vector>

namespace videoanalysis {

BENCHMARK_GROUP(screen, "screen") {
    bench::BenchScreen screen(VIDEOANALYSIS_BENCH_CLIPS_DIR "/long-group.mp4");
    constexpr double idleSeconds = 5;
    const double before = bench::now(bench::Clock::allThreads);
    screen.runFor(static_cast<int>(idleSeconds * 1000));
    report.value("CPU of two paused players", (bench::now(bench::Clock::allThreads) - before) / idleSeconds,
                 "ms a second", 5);
    report.value("frames of two paused players in 5 s", screen.frames(), "", 0);

    mainStore().dispatch(SetDrawingToolsCollapseStateAction(false));
    screen.runFor(500);
    std::vector<double> times;
    constexpr int changes = 60;
    for (int i = 0; i < changes; ++i) {
        const int seen = screen.frames();
        const double begin = bench::now(bench::Clock::wall);
        mainStore().dispatch(SetDrawingToolTypeAction(i % 2 ? SketchToolType::pen : SketchToolType::line, false));
        screen.waitUntil([&] { return screen.frames() != seen; });
        times.push_back(bench::now(bench::Clock::wall) - begin);
        screen.runFor(300);  // the marker comes to rest
    }
    report.value("tool change, dispatch to frame", bench::median(times), "ms", 50);
    report.value("the same, 95 % are within", bench::percentile(times, 0.95), "ms");
}

}  // namespace videoanalysis
