// What the engine and the recorder write to FFmpeg's log, which belongs to the whole process and so to the host.

#include "FFmpeg/MediaTest.h"
#include "Platforms/FFmpeg/Recording/MovieFolder.h"

extern "C" {
#include <libavutil/log.h>
}

#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <filesystem>
#include <future>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <unistd.h>

namespace videoanalysis::media {
namespace {

namespace files = std::filesystem;

/// A host's own log level and callback, which notes what codecs print.
class HostLog {
public:
    static constexpr int level = AV_LOG_INFO;

    HostLog() {
        av_log_set_level(level);
        av_log_set_callback(&HostLog::receive);
    }
    ~HostLog() {
        av_log_set_callback(&av_log_default_callback);
        av_log_set_level(levelBefore_);
    }
    HostLog(const HostLog&) = delete;
    HostLog& operator=(const HostLog&) = delete;

    static bool isInstalled() {
        const int before = count;
        av_log(nullptr, level, "probe\n");
        return count == before + 1;
    }
    static std::vector<std::string> codecLines() {
        const std::lock_guard lock(mutex);
        return lines;
    }

private:
    static void receive(void* object, int messageLevel, const char* format, std::va_list) {
        if (messageLevel > level) return;
        ++count;
        const AVClass* kind = object ? *static_cast<AVClass**>(object) : nullptr;
        if (!kind || std::string(kind->class_name) != "AVCodecContext") return;
        const std::string codec = kind->item_name(object);
        // The containers' own parsers have contexts without a codec.
        if (codec == "NULL") return;
        const std::lock_guard lock(mutex);
        lines.push_back(codec + ": " + format);
    }

    static inline std::atomic<int> count = 0;
    static inline std::mutex mutex;
    static inline std::vector<std::string> lines;

    const int levelBefore_ = av_log_get_level();
};

class LibraryLogTest : public MediaTest {
protected:
    LibraryLogTest() { files::create_directories(folder); }
    ~LibraryLogTest() override { files::remove_all(folder); }

    void play(const std::string& name) {
        const auto player = openReady(name);
        ASSERT_TRUE(seekTo(*player, Time(3, 1)));
        ASSERT_TRUE(seekTo(*player, Time(1, 2)));
        player->play();
        ASSERT_TRUE(turnUntil([&] { return player->currentTime().seconds() > 1; }));
    }
    void save(const std::string& name) {
        std::optional<ExportResult> result;
        const auto session = engine->startExport(
            {clip(name), Time(5, 30), Time(110, 30), {0, 0, 0.9, 0.9}, URL((folder / "part.mp4").string())},
            [&](const ExportResult& ended) { result = ended; });
        ASSERT_TRUE(turnUntil([&] { return result.has_value(); }));
        EXPECT_EQ(result->error, "");
    }
    void record() {
        MovieFolder movies((folder / "growing").string());
        std::promise<recording::Error> opened;
        const auto writer =
            movies.makeMovie({64, 64, 30, 1, 48000}, [&](const recording::Error& error) { opened.set_value(error); });
        ASSERT_EQ(opened.get_future().get(), recording::Error());
        const std::vector<std::uint32_t> pixels(64 * 64);
        ASSERT_TRUE(writer->addPicture(reinterpret_cast<const std::uint8_t*>(pixels.data()), 64, 64, 4 * 64,
                                       recording::MovieWriter::Clock::now()));
        std::promise<recording::Error> finished;
        writer->finish(URL((folder / "movie.mp4").string()),
                       [&](const recording::Error& error) { finished.set_value(error); });
        ASSERT_EQ(finished.get_future().get(), recording::Error());
    }

    const files::path folder = files::temp_directory_path() / ("library-log-test-" + std::to_string(getpid()));
};

TEST_F(LibraryLogTest, KeepsTheHostsLogLevelAndCallbackAndItsCodecsQuiet) {
    const HostLog log;
    engine = std::make_unique<FFmpegEngine>();
    for (const char* name : {"damaged.mp4", "sound.webm"}) {
        SCOPED_TRACE(name);
        play(name);
        save(name);
    }
    record();
    engine = nullptr;
    EXPECT_EQ(av_log_get_level(), HostLog::level);
    EXPECT_TRUE(HostLog::isInstalled());
    const std::vector<std::string> lines = HostLog::codecLines();
    EXPECT_TRUE(lines.empty()) << lines.size() << " lines, the first: " << lines.front();
}

}  // namespace
}  // namespace videoanalysis::media
