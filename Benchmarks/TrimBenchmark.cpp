// Saving a part of a clip, and making a row of thumbnails, compared with the ffmpeg program, which encodes all frames again
// and seeks for every thumbnail.

#include "Benchmarks/Benchmark.h"
#include "Platforms/FFmpeg/FFmpegEngine.h"
#include "Platforms/Headless/HeadlessPlatform.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace videoanalysis::bench {
namespace {

using media::Time;

constexpr double notMeasured = std::numeric_limits<double>::quiet_NaN();
const std::string tenSeconds = VIDEOANALYSIS_BENCH_CLIPS_DIR "/ten-seconds.mp4";
const std::string tenMinutes = VIDEOANALYSIS_BENCH_CLIPS_DIR "/ten-minutes.mp4";

/// A temporary folder, removed by its destructor.
class Folder {
public:
    Folder() { std::filesystem::create_directories(path); }
    ~Folder() { std::filesystem::remove_all(path); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    const std::filesystem::path path =
        std::filesystem::temp_directory_path() / ("trim-benchmark-" + std::to_string(getpid()));
};

double timeOf(const std::string& command) {
    const double start = now(Clock::wall);
    return std::system(command.c_str()) == 0 ? now(Clock::wall) - start : notMeasured;
}

class Bench {
public:
    Bench() { installPlatform(platform_); }

    double timeUntil(const bool& isDone) {
        const double start = now(Clock::wall);
        while (!isDone) {
            if (!platform_->queue.runTurn()) std::this_thread::sleep_for(std::chrono::microseconds(50));
            if (now(Clock::wall) - start > 120'000) return notMeasured;
        }
        return now(Clock::wall) - start;
    }

    /// Seconds 1.05 to 9.05: encodes almost a whole group of pictures before the first keyframe.
    double trim(const std::string& target) {
        bool isDone = false;
        bool isRight = false;
        const auto session =
            engine_.startExport({URL(tenSeconds), Time(105, 100), Time(905, 100), {0, 0, 1, 1}, URL(target)},
                                [&](const media::ExportResult& result) {
                                    isDone = true;
                                    isRight = result.status == media::ExportResult::Status::finished;
                                });
        const double time = timeUntil(isDone);
        return isRight ? time : notMeasured;
    }

    double thumbnails(const std::vector<Time>& times, double& first) {
        std::size_t left = times.size();
        bool isDone = false;
        const double start = now(Clock::wall);
        const auto generator = engine_.makeImageGenerator(URL(tenMinutes));
        generator->generate(times, {160, 160}, media::ImageGenerator::Order::exact, [&](const media::GeneratedImage&) {
            if (left == times.size()) first = now(Clock::wall) - start;
            isDone = --left == 0;
        });
        return timeUntil(isDone);
    }

private:
    std::shared_ptr<HeadlessPlatform> platform_ = std::make_shared<HeadlessPlatform>();
    media::FFmpegEngine engine_;
};

}  // namespace

BENCHMARK_GROUP(trim, "trim") {
    constexpr int rounds = 3;
    const Folder folder;
    const std::string ours = (folder.path / "ours.mp4").string();
    const std::string theirs = (folder.path / "theirs.mp4").string();
    std::vector<double> trims;
    std::vector<double> encodings;
    for (int round = 0; round < rounds; ++round) {
        Bench bench;
        trims.push_back(bench.trim(ours));
        encodings.push_back(timeOf(
            "ffmpeg -nostdin -loglevel error -y -ss 1.05 -t 8 -i '" + tenSeconds +
            "' -c:v libx264 -preset veryfast -crf 18 -bf 2 -x264-params b-pyramid=none -c:a aac '" + theirs + "'"));
    }
    report.against("8 of 10 seconds, 1080p60, key frame every 60", median(trims), "ms", "ffmpeg, all encoded",
                   median(encodings), 0.35);

    constexpr int count = 20;
    std::vector<Time> times;
    for (int i = 0; i < count; ++i) times.emplace_back(i * 29'700 + 13'370, 1000);
    std::vector<double> rows;
    std::vector<double> firsts;
    std::vector<double> seeks;
    for (int round = 0; round < rounds; ++round) {
        Bench bench;
        double first = notMeasured;
        rows.push_back(bench.thumbnails(times, first));
        firsts.push_back(first);
        double all = 0;
        for (const Time& time : times) {
            all +=
                timeOf("ffmpeg -nostdin -loglevel error -y -ss " + std::to_string(time.seconds()) + " -i '" +
                       tenMinutes + "' -frames:v 1 -vf scale=160:-2 '" + (folder.path / "theirs.bmp").string() + "'");
        }
        seeks.push_back(all);
    }
    report.against("20 thumbnails of 10 minutes, 1080p60", median(rows), "ms", "ffmpeg, a seek each", median(seeks),
                   0.5);
    report.value("the first of them", median(firsts), "ms");
}

}  // namespace videoanalysis::bench
