// Frame latency: stepping back, seeking, opening, two players. Uses a 1080p clip at 60 frames per second with groups of 250
// frames, the worst case for stepping back.

#include "Benchmarks/Benchmark.h"
#include "Benchmarks/MpvPeer.h"
#include "Platforms/FFmpeg/Clips/ClipDecoder.h"
#include "Platforms/FFmpeg/Clips/ClipScan.h"
#include "Platforms/FFmpeg/FFmpegEngine.h"
#include "Platforms/Headless/HeadlessPlatform.h"

#include <sys/mman.h>
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <limits>
#include <memory>
#include <mutex>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace videoanalysis::bench {
namespace {

using media::FFmpegEngine;
using media::Player;
using media::Time;

const std::string longGroups = VIDEOANALYSIS_BENCH_CLIPS_DIR "/long-group.mp4";
const std::string halfMinute = VIDEOANALYSIS_BENCH_CLIPS_DIR "/half-minute.mp4";
constexpr int rate = 60;
constexpr int frameCount = 600;
constexpr double notMeasured = std::numeric_limits<double>::quiet_NaN();

double wallTime() { return now(Clock::wall); }

/// CPU milliseconds of all child processes that have exited.
double childrenTime() {
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    const auto milliseconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
    };
    return milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
}

/// A main queue whose thread sleeps until a block is posted; polling would take CPU time from the decoder.
class SleepingQueue final : public dispatch::MainQueue {
public:
    ~SleepingQueue() override { close(); }

    void asyncAfter(double, dispatch::Block) override { std::abort(); }  // not used

    void sleepUntilThereIsWork(double maxMilliseconds) {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, std::chrono::duration<double, std::milli>(maxMilliseconds),
                          [this] { return !isEmpty(); });
    }

private:
    void wake() override {
        { const std::lock_guard lock(mutex_); }
        changed_.notify_one();
    }

    std::mutex mutex_;
    std::condition_variable changed_;
};

struct BenchPlatform final : HeadlessPlatform {
    dispatch::MainQueue& mainQueue() override { return sleepingQueue; }
    SleepingQueue sleepingQueue;
};

/// Touches memory, in large and small pages, before both sides of a comparison: on a virtual machine whose host reclaims idle
/// memory, the first access to a page takes many times longer.
void warmMemory() {
    constexpr std::size_t bytes = std::size_t{1} << 30;
    constexpr std::size_t largePage = std::size_t{2} << 20;
    for (const int advice : {MADV_NOHUGEPAGE, MADV_HUGEPAGE}) {
        auto* memory = static_cast<volatile unsigned char*>(std::aligned_alloc(largePage, bytes));
        if (!memory) return;
        madvise(const_cast<unsigned char*>(memory), bytes, advice);
        for (std::size_t page = 0; page < bytes; page += 4096) memory[page] = 1;
        std::free(const_cast<unsigned char*>(memory));
    }
}

/// A new engine and the main loop for its players.
class Bench {
public:
    Bench() { installPlatform(platform_); }

    /// Milliseconds until `isDone`; NaN after 30 s.
    double turnUntil(const std::function<bool()>& isDone) { return turnUntil(isDone, 30000); }
    void turnFor(double milliseconds) {
        turnUntil([] { return false; }, milliseconds);
    }
    std::shared_ptr<Player> make(const std::string& path) {
        return engine.makePlayer(engine.makePlayerItem(URL(path)));
    }
    std::shared_ptr<Player> open(const std::string& path) {
        std::shared_ptr<Player> player = make(path);
        turnUntil([&] { return player->currentItem()->status() != media::ItemStatus::unknown; });
        return player;
    }
    double seek(Player& player, int frame) {
        player.seek(Time(frame, rate), Time::zero(), Time::zero());
        return turnUntil([&] { return player.currentFrame()->index() == frame; });
    }

private:
    double turnUntil(const std::function<bool()>& isDone, double timeout) {
        const double start = wallTime();
        while (!isDone()) {
            const double left = timeout - (wallTime() - start);
            if (left <= 0) return notMeasured;
            if (!platform_->sleepingQueue.runTurn()) platform_->sleepingQueue.sleepUntilThereIsWork(left);
        }
        return wallTime() - start;
    }

    std::shared_ptr<BenchPlatform> platform_ = std::make_shared<BenchPlatform>();

public:
    FFmpegEngine engine;
};

/// Steps all players back `count` frames, one every `interval` milliseconds or when the previous one is displayed, whichever
/// is later. Returns the milliseconds from each request to its frame.
std::vector<double> stepBack(Bench& bench, const std::vector<std::shared_ptr<Player>>& players, int from, int count,
                             double interval) {
    std::vector<double> waits;
    double due = wallTime() + interval;
    for (int step = 1; step <= count; ++step) {
        if (interval > 0) bench.turnFor(std::max(due - wallTime(), 0.0));
        for (const auto& player : players) player->currentItem()->step(-1);
        waits.push_back(bench.turnUntil([&] {
            return std::all_of(players.begin(), players.end(),
                               [&](const auto& player) { return player->currentFrame()->index() == from - step; });
        }));
        due = std::max(due + interval, wallTime());
    }
    return waits;
}

double longest(const std::vector<double>& waits) { return *std::max_element(waits.begin(), waits.end()); }

void measureStepping(Report& report, MpvPeer& peer) {
    {
        warmMemory();
        Bench bench;
        const auto player = bench.open(longGroups);
        bench.seek(*player, 350);
        const auto waits = stepBack(bench, {player}, 350, 200, 1000.0 / 30);
        report.value("back at 30 a second, 95th percentile", percentile(waits, 0.95), "ms", 2);
        report.value("back at 30 a second, longest stall", longest(waits), "ms", 100);
    }
    {
        warmMemory();
        Bench bench;
        const auto player = bench.open(longGroups);
        bench.seek(*player, 350);
        const double start = wallTime();
        const auto waits = stepBack(bench, {player}, 350, 200, 0);
        const double milliseconds = (wallTime() - start) / 200;
        // The peer decodes the whole group for each step and would take a minute, so only some of its steps are measured.
        peer.open(longGroups);
        double sum = 0;
        constexpr int samples = 10;
        for (int i = 0; i < samples; ++i) {
            peer.seekExactly((350 - i * 200 / samples + 0.5) / rate);
            sum += peer.stepBack();
        }
        report.against("back flat out, each frame", milliseconds, "ms", "mpv", sum / samples, 0.01);
        report.value("back flat out, longest stall", longest(waits), "ms", 400);
    }
    {
        warmMemory();
        Bench bench;
        const std::vector players{bench.open(longGroups), bench.open(longGroups)};
        for (const auto& player : players) bench.seek(*player, 350);
        report.value("two players back at 15 a second, longest stall",
                     longest(stepBack(bench, players, 350, 150, 1000.0 / 15)), "ms", 200);
    }
}

/// Milliseconds per frame of sequential decoding.
double sequentialDecoding() {
    std::atomic<bool> isCancelled{false};
    using media::ffmpeg::ClipDecoder;
    using media::ffmpeg::ClipFile;
    auto scanned = ClipFile::open(URL(longGroups), ClipFile::Content::video, isCancelled);
    auto file = ClipFile::open(URL(longGroups), ClipFile::Content::video, isCancelled);
    if (!scanned || !file) return notMeasured;
    const auto index = media::ffmpeg::scanClip(**scanned, isCancelled);
    const auto made =
        ClipDecoder::make(*std::move(file), std::make_shared<media::ffmpeg::PicturePool>(), 0, std::int64_t{1} << 30);
    if (!index || !made) return notMeasured;
    const std::unique_ptr<ClipDecoder>& decoder = *made;
    decoder->setIndex(*index);
    if (!decoder->start(0)) return notMeasured;
    media::ffmpeg::FrameHandle picture;
    std::int64_t number = 0;
    double start = wallTime();
    int decoded = -20;  // the first ones fill the pipeline
    while (decoded < 200) {
        const auto status = decoder->next(0, picture, number);
        if (!status || *status == ClipDecoder::Status::endOfStream) return notMeasured;
        if (*status == ClipDecoder::Status::frame && ++decoded == 0) start = wallTime();
    }
    return (wallTime() - start) / 200;
}

void measureForward(Report& report) {
    std::vector<double> ours;
    std::vector<double> bare;
    for (int round = 0; round < 3; ++round) {
        warmMemory();
        bare.push_back(sequentialDecoding());
        Bench bench;
        const auto player = bench.open(longGroups);
        const auto forward = [&](int from, int to) {
            for (int frame = from; frame <= to; ++frame) {
                player->currentItem()->step(1);
                bench.turnUntil([&] { return player->currentFrame()->index() == frame; });
            }
        };
        forward(1, 60);  // beyond the frames prefetched on opening
        const double start = wallTime();
        forward(61, 260);
        ours.push_back((wallTime() - start) / 200);
    }
    report.against("forward step", median(ours), "ms", "decoding in sequence", median(bare), 1.1);
}

void measureSeeking(Report& report, MpvPeer& peer) {
    std::mt19937 random(7);
    std::vector<double> ours;
    std::vector<double> theirs;
    peer.open(longGroups);
    for (int round = 0; round < 24; ++round) {
        const int frame = static_cast<int>(random() % frameCount);
        warmMemory();
        theirs.push_back(peer.seekExactly((frame + 0.5) / rate));
        Bench bench;  // its cache is empty
        const auto player = bench.open(longGroups);
        bench.turnFor(60);
        ours.push_back(bench.seek(*player, frame));
    }
    report.against("exact seek, uncached", median(ours), "ms", "mpv", median(theirs), 1.0);

    // Drags the seek bar over the whole clip and back in two seconds each and measures the intervals between new frames.
    Bench bench;
    const auto player = bench.open(longGroups);
    std::vector<double> gaps;
    double last = wallTime();
    const auto token = player->observeFrame([&] {
        gaps.push_back(wallTime() - last);
        last = wallTime();
    });
    const double start = wallTime();
    while (wallTime() - start < 4000) {
        const double way = (wallTime() - start) / 2000;
        player->seek(Time::fromSeconds((way < 1 ? way : 2 - way) * 9.9, 1000), Time::zero(), Time::zero());
        bench.turnFor(16);
    }
    report.value("dragging the bar, 95th percentile between pictures", percentile(gaps, 0.95), "ms", 50);
}

void measureOpening(Report& report, MpvPeer& peer) {
    std::vector<double> ours;
    std::vector<double> theirs;
    for (int round = 0; round < 9; ++round) {
        Bench bench;
        const double start = wallTime();
        const auto player = bench.make(longGroups);
        bench.turnUntil([&] { return player->currentFrame() != nullptr; });
        ours.push_back(wallTime() - start);
        theirs.push_back(peer.open(longGroups));
    }
    report.against("open to first picture", median(ours), "ms", "mpv", median(theirs), 1.0);
}

/// Plays two clips side by side for 30 s, each frame scaled to its size in a window.
void measurePlaying(Report& report) {
    constexpr double seconds = 30;
    constexpr int shownWidth = 640;
    constexpr int shownHeight = 360;
    double used = 0;
    {
        warmMemory();
        Bench bench;
        const std::vector players{bench.open(halfMinute), bench.open(halfMinute)};
        int onTime = 0;
        std::vector<std::shared_ptr<void>> tokens;
        for (const auto& player : players) {
            tokens.push_back(player->observeFrame([&onTime, &player] {
                const auto frame = player->currentFrame();
                frame->scaled(shownWidth, shownHeight);
                const double late = player->currentTime().seconds() - frame->time().seconds();
                onTime += late < 1.0 / 30 ? 1 : 0;
            }));
        }
        const double processor = now(Clock::allThreads);
        for (const auto& player : players) player->setRate(1);
        bench.turnFor(seconds * 1000);
        used = now(Clock::allThreads) - processor;
        for (const auto& player : players) player->setRate(0);
        const double due = 2 * 30 * seconds;
        report.value("two players at 30 a second, frames not in their period", std::max(100 - 100 * onTime / due, 0.0),
                     "%", 1);
    }
    const double before = childrenTime();
    const int processes[] = {MpvPeer::playInProcess(halfMinute, shownWidth, shownHeight, seconds),
                             MpvPeer::playInProcess(halfMinute, shownWidth, shownHeight, seconds)};
    const bool hasPlayed = MpvPeer::waitFor(processes[0]) & MpvPeer::waitFor(processes[1]);
    if (!hasPlayed) throw std::runtime_error("mpv does not play " + halfMinute);
    const auto ofACore = [](double milliseconds) { return milliseconds / (seconds * 1000) * 100; };
    report.against("two players at 30 a second, processor time", ofACore(used), "% of a core", "two times mpv",
                   ofACore(childrenTime() - before), 1.0);
}

}  // namespace

BENCHMARK_GROUP(media, "media") {
    const std::unique_ptr<MpvPeer> peer = MpvPeer::make();
    measureStepping(report, *peer);
    measureForward(report);
    measureSeeking(report, *peer);
    measureOpening(report, *peer);
    measurePlaying(report);
}

}  // namespace videoanalysis::bench
