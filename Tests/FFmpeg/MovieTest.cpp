// Recordings and the files they are written to: they end as ordinary movies and survive a full disk and a killed program.

#include "Platforms/FFmpeg/Recording/FinishedMovies.h"
#include "Platforms/FFmpeg/Recording/MovieFolder.h"
#include "Platforms/FFmpeg/Recording/MovieRemux.h"
#include "Platforms/FFmpeg/Recording/MovieSound.h"
#include "Platforms/FFmpeg/TemporaryFile.h"
#include "Support/Movies.h"
#include "Testing/FrameCode.h"
#include "Testing/FrameNumber.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// How often a file has been written to the disk, and its size the last time.
struct Syncs {
    int count = 0;
    std::uintmax_t size = 0;
};
std::mutex syncMutex;
std::map<std::pair<dev_t, ino_t>, Syncs> syncsOfFiles;

std::function<void()> duringUnlink;  // empty except in one test

Syncs syncs(const std::filesystem::path& path) {
    struct stat status {};
    ::stat(path.c_str(), &status);
    const std::lock_guard lock(syncMutex);
    return syncsOfFiles[{status.st_dev, status.st_ino}];
}

}  // namespace

/// Replaces the system's function, to count its calls.
extern "C" int fdatasync(int descriptor) {
    struct stat status {};
    ::fstat(descriptor, &status);
    {
        const std::lock_guard lock(syncMutex);
        Syncs& file = syncsOfFiles[{status.st_dev, status.st_ino}];
        ++file.count;
        file.size = static_cast<std::uintmax_t>(status.st_size);
    }
    return static_cast<int>(::syscall(SYS_fdatasync, descriptor));
}

/// Replaces the system's function, to call `duringUnlink` first.
extern "C" int unlink(const char* path) noexcept {
    if (duringUnlink) duringUnlink();
    return static_cast<int>(::syscall(SYS_unlink, path));
}

namespace videoanalysis::media::ffmpeg {
namespace {

namespace fs = std::filesystem;
using Clock = recording::MovieWriter::Clock;
using Seconds = std::chrono::duration<double>;

constexpr int width = 640;
constexpr int height = 360;

double since(Clock::time_point start) { return Seconds(Clock::now() - start).count(); }
void sleepUntil(Clock::time_point start, double seconds) {
    std::this_thread::sleep_until(start + std::chrono::duration_cast<Clock::duration>(Seconds(seconds)));
}

/// A picture that carries `number` as the test clips do, on a plain ground of which the part `noise` (0...1) is noise.
std::vector<std::uint32_t> numbered(int number, int w, int h, double noise = 0) {
    static const std::vector<std::uint32_t> noisy = [] {
        std::mt19937 random(1);
        std::vector<std::uint32_t> pixels(1 << 21);
        for (std::uint32_t& pixel : pixels) pixel = static_cast<std::uint32_t>(random());
        return pixels;
    }();
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(w) * static_cast<std::size_t>(h), 0xFF304560U);
    const auto noisyCount = static_cast<std::ptrdiff_t>(noise * w * h);
    std::copy_n(noisy.begin() + number % 1000 * 1000, noisyCount, pixels.end() - noisyCount);
    const auto cells = samples::FrameCode::encode(number);
    for (int y = 0; y < h / samples::FrameCode::stripsPerHeight; ++y) {
        for (int x = 0; x < w; ++x) {
            const auto cell = static_cast<std::size_t>(x * samples::FrameCode::cellCount / w);
            pixels[static_cast<std::size_t>(y * w + x)] = cells[cell] ? 0xFFFFFFFFU : 0xFF000000U;
        }
    }
    return pixels;
}

std::optional<int> numberIn(const std::vector<unsigned char>& picture, int w, int h, const FrameRectangle& place) {
    return readFrameNumber(picture.data(), w, h, std::ptrdiff_t{4} * w, place);
}
std::optional<int> numberIn(const std::vector<unsigned char>& picture) {
    return readFrameNumber(picture.data(), width, height, std::ptrdiff_t{4} * width);
}

/// A running recording. Pictures are numbered by the hundredth of a second in which they are shown.
class Recording {
public:
    Recording(MovieFolder& folder, const recording::MovieFormat& format) {
        auto promise = std::make_shared<std::promise<recording::Error>>();
        auto opened = promise->get_future();
        writer = folder.makeMovie(
            format, [promise](const recording::Error& error) { promise->set_value(error); },
            [breakOffs = breakOffs](const std::string&) { ++*breakOffs; });
        openError = opened.get();
    }

    bool show(int w = width, int h = height, double noise = 0) {
        const Clock::time_point now = Clock::now();
        if (!hasStarted_) start = now;
        hasStarted_ = true;
        const auto pixels = numbered(static_cast<int>(Seconds(now - start).count() * 100), w, h, noise);
        return writer->addPicture(reinterpret_cast<const std::uint8_t*>(pixels.data()), w, h, std::ptrdiff_t{4} * w,
                                  now);
    }
    /// Shows pictures at 30 a second until `seconds` after the start.
    void showUntil(double seconds, double noise = 0) {
        show(width, height, noise);
        for (double next = since(start) + 1.0 / 30; next < seconds; next += 1.0 / 30) {
            sleepUntil(start, next);
            show(width, height, noise);
        }
        sleepUntil(start, seconds);
    }
    recording::Error finish(const fs::path& output) {
        auto promise = std::make_shared<std::promise<recording::Error>>();
        auto finished = promise->get_future();
        writer->finish(URL::fileURL(output), [promise](const recording::Error& error) { promise->set_value(error); });
        return finished.get();
    }

    std::unique_ptr<recording::MovieWriter> writer;
    recording::Error openError;
    const std::shared_ptr<std::atomic<int>> breakOffs = std::make_shared<std::atomic<int>>(0);
    Clock::time_point start;

private:
    bool hasStarted_ = false;
};

class MovieTest : public testing::Test {
protected:
    static fs::path makeScratch() {
        std::string name = fs::temp_directory_path() / "movies-XXXXXX";
        return ::mkdtemp(name.data());
    }
    ~MovieTest() override { fs::remove_all(scratch); }

    std::size_t filesInFolder() const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(scratch / "growing"), fs::directory_iterator()));
    }

    const fs::path scratch = makeScratch();
    MovieFolder folder{scratch / "growing"};
    const recording::MovieFormat silent{width, height, 30, 0, 48000};
};

TEST_F(MovieTest, FinishesAsAnOrdinaryMovieWithEveryPictureAtItsTime) {
    Recording recording(folder, silent);
    ASSERT_EQ(recording.openError, recording::Error());
    recording.showUntil(0.8);
    sleepUntil(recording.start, 1.6);  // nothing changes
    recording.show();
    sleepUntil(recording.start, 1.65);
    recording.show();
    EXPECT_TRUE(folder.untaken().empty()) << "it is being written";
    sleepUntil(recording.start, 2.0);
    const fs::path output = scratch / "it's 100 % finished.mp4";
    ASSERT_EQ(recording.finish(output), recording::Error());
    EXPECT_EQ(filesInFolder(), 0U);
    const recording::MovieStatistics statistics = recording.writer->statistics();
    EXPECT_EQ(statistics.dropped, 0);
    EXPECT_GT(statistics.repeated, 15);

    const fs::path plain = scratch / "plain.mp4";
    fs::rename(output, plain);
    const MovieFacts facts = factsOf(plain);
    EXPECT_EQ(facts.videoCodec, "h264");
    EXPECT_EQ(facts.soundCodec, "");
    EXPECT_EQ(facts.width, width);
    EXPECT_TRUE(facts.indexComesFirst);
    EXPECT_EQ(facts.complaints, "");
    EXPECT_NEAR(facts.end(), 2.0, 0.1);
    EXPECT_LT(facts.maxGap(), 0.1) << "pictures are repeated while nothing changes";
    const auto pictures = picturesOf(plain, width, height);
    ASSERT_EQ(pictures.size(), facts.pictureTimes.size());
    ASSERT_EQ(static_cast<std::int64_t>(pictures.size()), statistics.taken + statistics.repeated);
    int current = 0;
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        const int shown = numberIn(pictures[i]).value_or(-1);
        EXPECT_GE(shown, current) << i;
        EXPECT_LE(shown / 100.0, facts.pictureTimes[i] + 0.011) << "not before it was shown";
        if (shown != current) {
            EXPECT_NEAR(facts.pictureTimes[i], shown / 100.0, 0.02) << "as soon as it was shown";
        }
        current = shown;
    }
    EXPECT_NEAR(current, 165, 5);
}

TEST_F(MovieTest, FitsOtherSizesAndKeepsColours) {
    Recording recording(folder, silent);
    recording.show(360, 641);
    std::vector<std::uint32_t> patches(static_cast<std::size_t>(width * height));
    const std::vector<std::uint32_t> colors{0xFFFF0000U, 0xFF00FF00U, 0xFF0000FFU, 0xFFFFEA00U,
                                            0xFF00E5FFU, 0xFFFFFFFFU, 0xFF000000U, 0xFF808080U};
    for (std::size_t i = 0; i < patches.size(); ++i) patches[i] = colors[i % width * colors.size() / width];
    sleepUntil(recording.start, 0.1);
    recording.writer->addPicture(reinterpret_cast<const std::uint8_t*>(patches.data()), width, height, 4 * width,
                                 Clock::now());
    sleepUntil(recording.start, 0.2);
    recording.show(1, 1);
    const fs::path output = scratch / "fitted.mp4";
    ASSERT_EQ(recording.finish(output), recording::Error());

    const MovieFacts facts = factsOf(output);
    EXPECT_EQ(facts.width, width);
    EXPECT_EQ(facts.height, height);
    EXPECT_EQ(facts.colorSpace, "smpte170m");
    const auto pictures = picturesOf(output, width, height);
    ASSERT_GE(pictures.size(), 4U);
    EXPECT_EQ(numberIn(pictures[0], width, height, {219, 0, 202, height}), 0) << "upright, in the middle";
    const auto color = [&](const std::vector<unsigned char>& picture, int x, int y) {
        const std::size_t at = static_cast<std::size_t>(y * width + x) * 4;
        return std::array<int, 3>{picture[at + 2], picture[at + 1], picture[at]};
    };
    for (const int x : {10, 200, 440, 630}) EXPECT_LE(color(pictures[0], x, 180)[0], 3) << "black beside it, at " << x;
    const auto& patched = *std::find_if(pictures.begin(), pictures.end(),
                                        [&](const auto& picture) { return color(picture, 40, 180)[0] > 200; });
    for (std::size_t i = 0; i < colors.size(); ++i) {
        const auto shown = color(patched, static_cast<int>(i) * 80 + 40, 180);
        for (std::size_t channel = 0; channel < 3; ++channel) {
            EXPECT_NEAR(shown[channel], static_cast<int>(colors[i] >> (16 - 8 * channel) & 255), 6)
                << i << ", " << channel;
        }
    }
}

TEST_F(MovieTest, DropsPicturesEvenlyWhenEncodingIsTooSlow) {
    MovieOptions slow;
    slow.preset = "medium";
    slow.queueLength = 2;
    MovieFolder slowFolder(scratch / "growing", slow);
    constexpr int w = 1280;
    constexpr int h = 720;
    Recording recording(slowFolder, {w, h, 30, 0, 48000});
    int offered = 0;
    recording.show(w, h, 1);
    for (double next = 0.01; next < 2.5; next = since(recording.start) + 0.01) {
        sleepUntil(recording.start, next);
        recording.show(w, h, 1);
        ++offered;
    }
    const fs::path output = scratch / "slow.mp4";
    ASSERT_EQ(recording.finish(output), recording::Error());
    const recording::MovieStatistics statistics = recording.writer->statistics();
    EXPECT_GT(statistics.dropped, offered / 4);
    EXPECT_EQ(statistics.taken + statistics.dropped, offered + 1);

    const MovieFacts facts = factsOf(output);
    EXPECT_EQ(facts.complaints, "");
    const auto pictures = picturesOf(output, width, height);
    ASSERT_EQ(pictures.size(), facts.pictureTimes.size());
    std::vector<double> gaps;
    int current = -1;
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        const int shown = numberIn(pictures[i]).value_or(-1);
        EXPECT_LT(shown / 100.0, facts.pictureTimes[i] + 0.015) << i;
        if (shown == current) continue;
        EXPECT_NEAR(facts.pictureTimes[i], shown / 100.0, 0.045) << i;
        current = shown;
        // The encoder takes in the first ones at once.
        if (facts.pictureTimes[i] > 0.8) gaps.push_back(facts.pictureTimes[i] - facts.pictureTimes[i - 1]);
    }
    std::sort(gaps.begin(), gaps.end());
    ASSERT_FALSE(gaps.empty());
    EXPECT_LT(gaps.back(), std::max(0.25 + 3 * gaps[gaps.size() / 2], 1.5)) << "no gap much longer than the others";
}

TEST_F(MovieTest, AcceptsItsEndWhileItIsOpening) {
    std::promise<recording::Error> opened;
    std::promise<recording::Error> finished;
    const auto writer = folder.makeMovie(silent, [&](const recording::Error& error) { opened.set_value(error); });
    writer->finish(URL::fileURL(scratch / "out.mp4"),
                   [&](const recording::Error& error) { finished.set_value(error); });
    const std::uint32_t pixel = 0;
    EXPECT_FALSE(writer->addPicture(reinterpret_cast<const std::uint8_t*>(&pixel), 1, 1, 4, Clock::now()));
    EXPECT_EQ(opened.get_future().get(), recording::Error());
    EXPECT_EQ(finished.get_future().get(), recording::Error("nothing was recorded"));

    std::atomic<int> answers = 0;
    folder.makeMovie(silent, [&](const recording::Error&) { ++answers; }).reset();
    EXPECT_EQ(answers, 1);
    EXPECT_EQ(filesInFolder(), 0U);
}

// ---- Failures

TEST_F(MovieTest, ReportsWhyARecordingCannotStartAndLeavesNoFile) {
    MovieFolder nowhere("/dev/null/recordings");
    Recording inNowhere(nowhere, silent);
    ASSERT_TRUE(inNowhere.openError);
    EXPECT_NE(inNowhere.openError->find("/dev/null/recordings"), std::string::npos) << *inNowhere.openError;
    EXPECT_TRUE(inNowhere.finish(scratch / "out.mp4"));

    MovieOptions impossible;
    impossible.preset = "no such preset";
    MovieFolder badFolder(scratch / "growing", impossible);
    EXPECT_TRUE(Recording(badFolder, silent).openError);
    EXPECT_EQ(filesInFolder(), 0U);

    Recording nothing(folder, silent);
    EXPECT_EQ(nothing.finish(scratch / "out.mp4"), recording::Error("nothing was recorded"));
    EXPECT_EQ(filesInFolder(), 0U);
    EXPECT_FALSE(fs::exists(scratch / "out.mp4"));
}

/// Limits the size of this process's files to `bytes`, as a full disk does.
class SmallDisk {
public:
    explicit SmallDisk(rlim_t bytes) {
        std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit{bytes, before_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~SmallDisk() { ::setrlimit(RLIMIT_FSIZE, &before_); }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

private:
    rlimit before_{};
};

TEST_F(MovieTest, KeepsWhatWasRecordedWhenTheDiskFillsUp) {
    std::mt19937 random(3);
    for (int round = 0; round < 3; ++round) {
        const rlim_t room = std::uniform_int_distribution<rlim_t>(600000, 1200000)(random);
        SCOPED_TRACE(room);
        Recording recording(folder, {width, height, 30, 1, 48000});
        const fs::path output = scratch / ("full" + std::to_string(round) + ".mp4");
        double noticed = 0;
        {
            const SmallDisk disk(room);
            recording.showUntil(1, 0.25);
            for (double next = 1.1; *recording.breakOffs == 0 && next < 30; next += 0.1)
                recording.showUntil(next, 0.25);
            EXPECT_EQ(*recording.breakOffs, 1) << "reported when it happens, not at the end";
            noticed = since(recording.start);
            EXPECT_NE(recording.writer->statistics().failure, "");
            const auto written = recording.writer->statistics().taken;
            recording.showUntil(noticed + 0.2);
            EXPECT_EQ(recording.writer->statistics().taken, written) << "pictures that come later are not written";
            ASSERT_EQ(recording.finish(output), recording::Error());
        }
        const MovieFacts facts = factsOf(output);
        EXPECT_EQ(facts.complaints, "");
        EXPECT_TRUE(facts.indexComesFirst);
        EXPECT_GT(facts.end(), 0.2);
        EXPECT_LT(facts.end(), noticed);
        EXPECT_EQ(filesInFolder(), 0U);
    }
    {
        const SmallDisk disk(100);
        Recording recording(folder, silent);
        recording.showUntil(0.7, 0.25);
        const recording::Error error = recording.finish(scratch / "none.mp4");
        ASSERT_TRUE(error);
        EXPECT_NE(error->find("File too large"), std::string::npos) << *error;
    }
    EXPECT_EQ(filesInFolder(), 0U);
}

TEST_F(MovieTest, KeepsARecordingThatCannotBeFinishedForALaterAttempt) {
    Recording recording(folder, silent);
    recording.showUntil(1);
    EXPECT_TRUE(recording.finish(scratch / "no such folder" / "later.mp4"));
    const fs::path output = scratch / "later.mp4";
    const std::atomic<bool> isCancelled{false};
    const auto found = folder.untaken();
    ASSERT_EQ(found.size(), 1U);
    EXPECT_TRUE(MovieFolder::finish(found[0], URL::fileURL("/dev/null/later.mp4"), isCancelled));
    EXPECT_TRUE(MovieFolder::finish(found[0], URL::fileURL(output), true));
    ASSERT_EQ(MovieFolder::finish(found[0], URL::fileURL(output), isCancelled), recording::Error());
    EXPECT_TRUE(folder.untaken().empty());
    EXPECT_EQ(factsOf(output).complaints, "");
    EXPECT_NEAR(factsOf(output).end(), 1, 0.1);

    // One whose writer was destroyed without finishing it.
    { Recording(folder, silent).showUntil(0.3); }
    ASSERT_EQ(folder.untaken().size(), 1U);
    EXPECT_NEAR(factsOf(folder.untaken()[0]).end(), 0.3, 0.1);
}

TEST_F(MovieTest, KeepsTheGrowingFormWithoutRoomForACopy) {
    Recording recording(folder, silent);
    recording.showUntil(1.2, 0.25);
    const fs::path output = scratch / "as it grew.mp4";
    {
        const SmallDisk disk(100000);
        ASSERT_EQ(recording.finish(output), recording::Error());
    }
    const fs::path plain = scratch / "plain.mp4";
    fs::rename(output, plain);
    const MovieFacts facts = factsOf(plain);
    EXPECT_EQ(facts.complaints, "");
    EXPECT_FALSE(facts.indexComesFirst);
    EXPECT_GT(facts.end(), 0.4);
    EXPECT_EQ(filesInFolder(), 0U);
}

// ---- Ownership

std::string permissionsOf(const fs::path& path) {
    struct stat status {};
    ::stat(path.c_str(), &status);
    char text[8];
    std::snprintf(text, sizeof text, "%03o", status.st_mode & 0777U);
    return text;
}

TEST_F(MovieTest, KeepsAFinishedMovieUntilItIsTaken) {
    const fs::path home = folder.outputDirectory();
    const fs::path first = home / "first.mp4";
    const fs::path second = home / "second.mp4";
    const fs::path foreign = home / "foreign.txt";
    {
        MovieFolder program(home);
        const MovieFolder otherProgram(home);
        for (const fs::path& output : {first, second}) {
            Recording recording(program, silent);
            EXPECT_EQ(permissionsOf(home), "700");
            for (const auto& entry : fs::directory_iterator(home)) EXPECT_EQ(permissionsOf(entry.path()), "600");
            recording.showUntil(0.2);
            EXPECT_TRUE(otherProgram.untaken().empty()) << "while it grows";
            ASSERT_EQ(recording.finish(output), recording::Error());
        }
        EXPECT_TRUE(otherProgram.untaken().empty()) << "its host has not taken it";
        EXPECT_EQ(filesInFolder(), 2U);
        std::ofstream(foreign) << "foreign";
        program.movieTaken(URL::fileURL(foreign));
        EXPECT_TRUE(fs::exists(foreign)) << "no movie of this folder";
        program.movieTaken(URL::fileURL(first));
        EXPECT_FALSE(fs::exists(first));
    }
    // The program has ended without taking the second.
    ASSERT_EQ(folder.untaken(), std::vector<std::string>{second});
    EXPECT_TRUE(MovieFolder::finish(second, URL::fileURL(scratch / "no such folder" / "taken.mp4"), false));
    ASSERT_TRUE(fs::exists(second));
    for (const fs::path& target : {scratch / "taken.mp4", fs::path("/dev/shm/" + scratch.filename().string())}) {
        SCOPED_TRACE(target);
        if (!fs::exists(second)) fs::copy_file(scratch / "taken.mp4", second);
        ASSERT_EQ(MovieFolder::finish(second, URL::fileURL(target), false), recording::Error());
        EXPECT_EQ(factsOf(target).complaints, "");
        EXPECT_FALSE(fs::exists(second));
    }
    fs::remove("/dev/shm/" + scratch.filename().string());
}

TEST_F(MovieTest, RemovesATakenMovieWithoutBlockingOthers) {
    FinishedMovies movies;
    const std::string taken = scratch / "taken.mp4";
    std::ofstream(taken) << "movie";
    movies.add(taken, LockedFile::tryLock(taken));
    std::future<void> added;
    duringUnlink = [&] {
        // Another recording finishes while the disk is slow.
        added = std::async(std::launch::async, [&] { movies.add(scratch / "other.mp4", {}); });
        EXPECT_EQ(added.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    };
    movies.remove(taken);
    duringUnlink = nullptr;
    EXPECT_FALSE(fs::exists(taken));
}

TEST_F(MovieTest, RemovesLeftoversAndKeepsForeignFiles) {
    const fs::path home = folder.outputDirectory();
    fs::create_directories(home);
    // Names under which an unfinished movie might be expected, one of them a link to a file of the user.
    const fs::path document = scratch / "document.txt";
    std::ofstream(document) << "text";
    const fs::path output = scratch / "out.mp4";
    fs::create_symlink(document, scratch / "out.mp4.part");
    std::ofstream(scratch / ".out.mp4") << "foreign";
    const std::string digits(32, 'a');
    std::ofstream(home / ("." + digits + ".tmp.mp4")) << "half";
    const fs::path used = home / ("." + std::string(32, 'b') + ".tmp.mp4");
    const Result<LockedFile> lock = LockedFile::create(used, 0600);
    std::ofstream(home / ".my.tmp.mp4") << "foreign";
    fs::create_symlink(document, home / "link.mp4");

    EXPECT_EQ(folder.untaken(), std::vector<std::string>{home / ".my.tmp.mp4"});
    EXPECT_FALSE(fs::exists(home / ("." + digits + ".tmp.mp4")));
    EXPECT_TRUE(fs::exists(used)) << "of a running program";
    Recording recording(folder, silent);
    recording.showUntil(0.2);
    ASSERT_EQ(recording.finish(output), recording::Error());
    EXPECT_EQ(fs::file_size(document), 4U);
    EXPECT_TRUE(fs::is_symlink(scratch / "out.mp4.part"));
    EXPECT_EQ(fs::file_size(scratch / ".out.mp4"), 7U);
    EXPECT_FALSE(fs::is_symlink(output));
}

TEST_F(MovieTest, RecreatesAFileThatAnotherProgramRemovedAsALeftover) {
    fs::create_directories(scratch / "growing");
    std::atomic<bool> isDone{false};
    std::thread otherProgram([&] {
        while (!isDone) (void)folder.untaken();
    });
    for (int i = 0; i < 2000; ++i) {
        const fs::path path = scratch / "growing" / (std::to_string(i) + ".mp4");
        const Result<LockedFile> file = LockedFile::create(path, 0600);
        ASSERT_TRUE(file);
        ASSERT_TRUE(fs::remove(path)) << i;
    }
    isDone = true;
    otherProgram.join();
}

TEST_F(MovieTest, CancelsFinishingInEveryPhaseWithoutLoss) {
    { Recording(folder, silent).showUntil(1, 0.25); }
    const std::string grown = folder.untaken().at(0);
    const auto size = fs::file_size(grown);
    const fs::path output = scratch / "growing" / "out.mp4";
    std::vector<std::uintmax_t> sizes;  // of the file under its hidden name, when it was asked
    const auto run = [&](std::size_t cancelledAt) {
        sizes.clear();
        return remuxMovie(grown, output, [&] {
            std::uintmax_t hidden = 0;
            for (const auto& entry : fs::directory_iterator(scratch / "growing")) {
                if (entry.path() != grown && entry.path() != output) hidden = entry.file_size();
            }
            sizes.push_back(hidden);
            return sizes.size() > cancelledAt;
        });
    };
    const std::string kept = scratch / "kept.mp4";
    fs::copy_file(grown, kept);
    ASSERT_TRUE(run(SIZE_MAX));
    const std::size_t asked = sizes.size();
    const auto finished = fs::file_size(output);
    // ftyp, then the index, which goes to the front when everything else has been written.
    std::ifstream file(output, std::ios::binary);
    const auto boxSize = [&file] {
        std::array<unsigned char, 4> bytes{};
        file.read(reinterpret_cast<char*>(bytes.data()), 4);
        return (std::uintmax_t{bytes[0]} << 24) + (bytes[1] << 16) + (bytes[2] << 8) + bytes[3];
    };
    file.seekg(static_cast<std::streamoff>(boxSize()));
    const std::uintmax_t copied = finished - boxSize();
    EXPECT_EQ(sizes.front(), 0U) << "before anything is written";
    EXPECT_TRUE(std::any_of(sizes.begin(), sizes.end(), [&](auto s) { return s > 0 && s < copied; })) << "copying";
    EXPECT_TRUE(std::any_of(sizes.begin(), sizes.end(), [&](auto s) { return s >= copied && s < finished; }))
        << "moving the index to the front";
    EXPECT_EQ(sizes.back(), finished) << "waiting for the disk";
    fs::remove(output);
    fs::copy_file(kept, grown);
    for (std::size_t moment = 0; moment < asked; moment += moment < asked - 20 ? asked / 40 + 1 : 1) {
        ASSERT_FALSE(run(moment)) << moment << " of " << asked;
        ASSERT_EQ(filesInFolder(), 1U) << moment;
        ASSERT_EQ(fs::file_size(grown), size) << moment;
    }
}

TEST_F(MovieTest, CancelsWritingAFileToTheDisk) {
    const fs::path target = scratch / "target.bin";
    {
        const auto file = TemporaryFile::make(target, 0600);
        ASSERT_TRUE(file) << file.failure().message;
        ASSERT_EQ(::write((*file)->descriptor(), "data", 4), 4);
        const Result<void> kept = (*file)->keep([] { return true; });
        ASSERT_FALSE(kept);
        EXPECT_NE(kept.failure().message, "");
    }
    EXPECT_TRUE(fs::is_empty(scratch)) << "nothing is left";
}

TEST_F(MovieTest, SyncsEachFragmentAndTheFinishedMovie) {
    Recording recording(folder, silent);
    const fs::path grown = fs::directory_iterator(scratch / "growing")->path();
    recording.showUntil(0.8);
    for (double next = 0.9; syncs(grown).count < 2 && next < 20; next += 0.1) recording.showUntil(next);
    EXPECT_GE(syncs(grown).count, 2) << "while it grows, for each fragment";
    const fs::path output = scratch / "growing" / "out.mp4";
    ASSERT_EQ(recording.finish(output), recording::Error());
    EXPECT_EQ(syncs(output).size, fs::file_size(output)) << "before it is renamed";

    { Recording(folder, silent).showUntil(0.2); }
    fs::remove(output);
    const fs::path left = fs::directory_iterator(scratch / "growing")->path();
    EXPECT_EQ(syncs(left).size, fs::file_size(left)) << "to its last byte, though it was not finished";
}

// VIDEOANALYSIS_KILLS sets the number of kills.
TEST_F(MovieTest, LosesAtMostOneSecondWhenKilled) {
    const char* wanted = std::getenv("VIDEOANALYSIS_KILLS");
    const int kills = wanted ? std::atoi(wanted) : 3;
    std::mt19937 random(static_cast<unsigned>(kills));
    double maxLost = 0;
    double lost = 0;
    for (int i = 0; i < kills; ++i) {
        const double moment = std::uniform_real_distribution<>(0.2, 3)(random);
        SCOPED_TRACE(moment);
        int begun[2];
        ASSERT_EQ(::pipe(begun), 0);
        const pid_t child = ::fork();
        if (child == 0) {
            Recording recording(folder, {width, height, 30, 1, 48000});
            recording.show();
            (void)!::write(begun[1], "!", 1);
            std::vector<float> silence(4800, 0.01F);
            recording.showUntil(0.02);
            while (true) {
                recording.showUntil(since(recording.start) + 0.1, 0.1);
                recording.writer->addSound(silence.data(), silence.size(), Clock::now());
            }
        }
        char byte = 0;
        ASSERT_EQ(::read(begun[0], &byte, 1), 1);
        const Clock::time_point start = Clock::now();
        sleepUntil(start, moment);
        const double killed = since(start);
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        ::close(begun[0]);
        ::close(begun[1]);

        const auto found = folder.untaken();
        const bool isThere = !found.empty();
        EXPECT_TRUE(isThere || killed < 1);
        if (!isThere) continue;
        const MovieFacts raw = factsOf(found[0]);
        EXPECT_EQ(raw.complaints, "") << "as it was left";
        EXPECT_GT(raw.end(), killed - 1);
        maxLost = std::max(maxLost, killed - raw.end());
        lost += (killed - raw.end()) / kills;
        const fs::path output = scratch / "offered.mp4";
        ASSERT_EQ(MovieFolder::finish(found[0], URL::fileURL(output), false), recording::Error());
        const MovieFacts facts = factsOf(output);
        EXPECT_EQ(facts.complaints, "");
        EXPECT_TRUE(facts.indexComesFirst);
        EXPECT_EQ(facts.pictureTimes.size(), raw.pictureTimes.size());
        EXPECT_EQ(facts.soundCodec, "aac");
        EXPECT_TRUE(folder.untaken().empty());
    }
    std::printf("%d kills: max %.2f s lost, mean %.2f s\n", kills, maxLost, lost);
}

// ---- Sound

TEST_F(MovieTest, KeepsSoundOnTheMoviesClock) {
    // A device whose second is a little short, whose blocks come late by up to 15 ms, and which pauses for three seconds.
    const double rate = 48000 * 1.0005;
    const auto opened = MovieSound::open(48000, 1);
    ASSERT_TRUE(opened) << opened.failure().message;
    MovieSound* sound = opened->get();
    std::mt19937 random(5);
    std::uniform_real_distribution<> late(0, 0.015);
    const auto drop = [](AVPacket&) { return Result<void>(); };
    const std::vector<float> block(1920, 0.1F);
    double worst = 0;
    const auto play = [&](double from, double to) {
        for (double end = from + 1920 / rate; end < to; end += 1920 / rate) {
            sound->add(block.data(), block.size(), end + late(random));
            ASSERT_TRUE(sound->encode(drop));
            if (end > from + 3) worst = std::max(worst, std::abs(sound->position() - end));
        }
    };
    play(0.04, 60);
    EXPECT_LT(worst, 0.012) << "half the sound's own 25 ms beside the picture's 33";
    sound->fill(61);
    sound->fill(62.5);
    EXPECT_NEAR(sound->position(), 62.5, 0.001);
    play(63, 90);
    EXPECT_LT(worst, 0.012);
    EXPECT_TRUE(sound->flush(drop));
}

TEST_F(MovieTest, PlacesSoundAtItsTimeAndFillsGapsWithSilence) {
    Recording recording(folder, {width, height, 30, 2, 44100});
    // Sound is there before the first picture, stops for a second in the middle, and a click marks each half second.
    const Clock::time_point begin = Clock::now();
    const double pictureStart = 0.2;
    std::int64_t made = 0;
    const auto playTo = [&](double moment) {
        std::vector<float> samples;
        for (; static_cast<double>(made) / 44100 < moment; ++made) {
            const bool isClick = made % 22050 < 400;
            const float value = isClick ? static_cast<float>(0.6 * std::sin(static_cast<double>(made) * 0.3)) : 0.0F;
            samples.push_back(value);
            samples.push_back(value);
        }
        recording.writer->addSound(samples.data(), samples.size() / 2, Clock::now());
    };
    double start = 0;
    for (double next = 0.04; next < 4; next += 0.04) {
        sleepUntil(begin, next);
        if (next > 1.8 && next < 2.9) {
            made = static_cast<std::int64_t>(next * 44100);
        } else {
            playTo(next);
        }
        if (next > pictureStart) recording.show();
        if (start == 0 && next > pictureStart) start = Seconds(recording.start - begin).count();
    }
    const fs::path output = scratch / "sound.mp4";
    ASSERT_EQ(recording.finish(output), recording::Error());
    const MovieFacts facts = factsOf(output);
    EXPECT_EQ(facts.soundCodec, "aac");
    EXPECT_EQ(facts.complaints, "");
    EXPECT_NEAR(facts.soundDuration, facts.end(), 0.1);

    const std::vector<float> heard = soundOf(output);
    std::vector<double> clicks;
    for (std::size_t i = 0; i < heard.size(); ++i) {
        if (std::abs(heard[i]) < 0.2F) continue;
        clicks.push_back(static_cast<double>(i) / 48000 + start);
        i += 4800;
    }
    ASSERT_EQ(clicks.size(), 5U) << "of 0.5, 1, 1.5, 3 and 3.5 s";
    const std::vector<double> due{0.5, 1, 1.5, 3, 3.5};
    for (std::size_t i = 0; i < due.size(); ++i) EXPECT_NEAR(clicks[i], due[i], 0.03);
}

}  // namespace
}  // namespace videoanalysis::media::ffmpeg
