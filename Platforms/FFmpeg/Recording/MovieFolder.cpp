#include "Platforms/FFmpeg/Recording/MovieFolder.h"

#include "Platforms/FFmpeg/Recording/FinishedMovies.h"
#include "Platforms/FFmpeg/Recording/MovieEncoder.h"
#include "Platforms/FFmpeg/Recording/MovieRemux.h"
#include "Platforms/FFmpeg/Result.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <system_error>
#include <utility>

namespace videoanalysis::media {

using ffmpeg::Failure;
using ffmpeg::LockedFile;
using ffmpeg::Result;
using ffmpeg::TemporaryFile;

namespace {

constexpr const char* suffix = ".mp4";
constexpr const char* growingSuffix = ".growing.mp4";

/// The local time to the millisecond, so that names sort by the time of the recording.
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

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

Failure systemFailure() { return Failure{std::strerror(errno)}; }

Result<void> copyBytes(std::FILE* input, int output, const std::function<bool()>& isCancelled) {
    constexpr std::size_t blockSize = std::size_t{1} << 20;
    std::vector<char> block(blockSize);
    std::size_t count = 0;
    while ((count = std::fread(block.data(), 1, block.size(), input)) > 0) {
        if (isCancelled()) return Failure{"it was cancelled"};
        for (std::size_t written = 0; written < count;) {
            const ssize_t result = ::write(output, block.data() + written, count - written);
            if (result < 0 && errno != EINTR) return systemFailure();
            if (result > 0) written += static_cast<std::size_t>(result);
        }
    }
    if (std::ferror(input)) return Failure{std::strerror(EIO)};
    return {};
}

Result<void> copyFile(const std::string& from, const std::string& to, const std::function<bool()>& isCancelled) {
    const auto temporary = TemporaryFile::make(to, 0600);
    if (!temporary) return temporary.failure();
    const std::unique_ptr<std::FILE, FileCloser> input(std::fopen(from.c_str(), "rbe"));
    if (!input) return systemFailure();
    if (Result<void> copied = copyBytes(input.get(), (*temporary)->descriptor(), isCancelled); !copied) return copied;
    return (*temporary)->keep(isCancelled);
}

/// Renames `from` to `to`, or copies and removes it where they are on different file systems.
Result<void> moveFile(const std::string& from, const std::string& to, const std::function<bool()>& isCancelled) {
    if (std::rename(from.c_str(), to.c_str()) == 0) {
        ffmpeg::syncFolderOf(to);
        return {};
    }
    if (errno != EXDEV) return systemFailure();
    Result<void> copied = copyFile(from, to, isCancelled);
    if (copied) ::unlink(from.c_str());
    return copied;
}

}  // namespace

MovieFolder::MovieFolder(const std::string& path, MovieOptions options)
    : path_(std::filesystem::absolute(path).lexically_normal()), options_(std::move(options)),
      finished_(std::make_shared<ffmpeg::FinishedMovies>()) {}

std::unique_ptr<recording::MovieWriter> MovieFolder::makeMovie(const recording::MovieFormat& format,
                                                               std::function<void(recording::Error)> opened,
                                                               std::function<void(const std::string&)> brokeOff) {
    return std::make_unique<ffmpeg::MovieEncoder>(path_ + "/" + nameOfNow() + growingSuffix, format, options_,
                                                  finished_,
                                                  ffmpeg::MovieEvents{std::move(opened), std::move(brokeOff)});
}

void MovieFolder::movieTaken(const URL& movie) { finished_->remove(movie.path()); }

std::vector<std::string> MovieFolder::untaken() const {
    std::vector<std::pair<std::filesystem::file_time_type, std::string>> movies;
    std::error_code code;
    for (std::filesystem::directory_iterator entry(path_, code), end; !code && entry != end; entry.increment(code)) {
        std::error_code ignored;
        const std::filesystem::path path = entry->path();
        const bool isLeftover = TemporaryFile::isTemporaryName(path.filename());
        if (!isLeftover && path.extension() != suffix) continue;
        if (entry->is_symlink(ignored) || !entry->is_regular_file(ignored)) continue;
        const LockedFile lock = LockedFile::tryLock(path);
        if (!lock) continue;
        if (isLeftover || entry->file_size(ignored) == 0) {
            std::filesystem::remove(path, ignored);
        } else {
            movies.emplace_back(entry->last_write_time(ignored), path);
        }
    }
    std::sort(movies.begin(), movies.end());
    std::vector<std::string> paths;
    paths.reserve(movies.size());
    for (auto& movie : movies) paths.push_back(std::move(movie.second));
    return paths;
}

recording::Error MovieFolder::finish(const std::string& movie, const URL& output,
                                     const std::atomic<bool>& isCancelled) {
    const auto ask = [&isCancelled] { return isCancelled.load(); };
    if (movie.ends_with(growingSuffix)) {
        const Result<LockedFile> finished = ffmpeg::remuxMovie(movie, output.path(), ask);
        return finished ? recording::Error() : recording::Error(finished.failure().message);
    }
    if (const Result<void> moved = moveFile(movie, output.path(), ask); !moved) {
        return "cannot save the recording as " + output.path() + ": " + moved.failure().message;
    }
    return {};
}

}  // namespace videoanalysis::media
