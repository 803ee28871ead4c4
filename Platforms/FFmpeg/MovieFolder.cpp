#include "Platforms/FFmpeg/MovieFolder.h"

extern "C" {
#include <libavutil/log.h>
}

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <system_error>
#include <utility>

namespace videoanalysis::media {
namespace {

constexpr const char* suffix = ".mp4";

/// The local time to the millisecond: names sort as the movies were recorded.
std::string nameOfNow() {
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
    std::tm local{};
    ::localtime_r(&seconds, &local);
    char date[32];
    std::strftime(date, sizeof date, "%Y-%m-%d %H.%M.%S", &local);
    char text[48];
    std::snprintf(text, sizeof text, "%s.%03d", date, static_cast<int>(milliseconds));
    return text;
}

}  // namespace

MovieFolder::MovieFolder(std::string path, MovieOptions options)
    : path_(std::move(path)), options_(std::move(options)) {
    av_log_set_level(AV_LOG_QUIET);  // what goes wrong is told in one line
}

std::unique_ptr<recording::MovieWriter> MovieFolder::makeMovie(const recording::MovieFormat& format,
                                                               std::function<void(recording::Error)> opened) {
    return std::make_unique<MovieEncoder>(path_ + "/" + nameOfNow() + suffix, format, options_, std::move(opened));
}

std::vector<std::string> MovieFolder::unfinished() const {
    std::vector<std::string> movies;
    std::error_code code;
    for (std::filesystem::directory_iterator entry(path_, code), end; entry != end; entry.increment(code)) {
        const std::filesystem::path& path = entry->path();
        if (path.extension() != suffix || !entry->is_regular_file(code) || !MovieFile::isAbandoned(path)) continue;
        if (entry->file_size(code) > 0) {
            movies.push_back(path);
        } else {
            std::filesystem::remove(path, code);
        }
    }
    std::sort(movies.begin(), movies.end());
    return movies;
}

recording::Error MovieFolder::finish(const std::string& movie, const URL& output,
                                     const std::atomic<bool>& isCancelled) {
    return finishMovie(movie, output.path(), isCancelled);
}

}  // namespace videoanalysis::media
