#pragma once
// The file of a movie that is being recorded: it grows by whole fragments, so that whatever has reached the disk plays up to
// its end, and is locked while somebody writes it. The movie encoder writes it; the movie folder finds those left behind.

#include "Platforms/FFmpeg/LibraryHandles.h"
#include "Platforms/FFmpeg/TemporaryFile.h"
#include "VideoAnalysis/Platform/Recording.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace videoanalysis::media::ffmpeg {

/// Used by one thread.
class MovieFile {
public:
    /// Makes the file `path`, which must not exist. Null with one line in `error` when it cannot be made.
    static std::unique_ptr<MovieFile> create(const std::string& path, std::string& error);
    /// A file without any fragment is removed; otherwise it stays as it is.
    ~MovieFile();
    MovieFile(const MovieFile&) = delete;
    MovieFile& operator=(const MovieFile&) = delete;

    /// Locked while this object lives.
    const LockedFile& lock() const { return file_; }
    bool hasContent() const { return wholeSize_ > 0; }

    // Each of these says whether it worked; after a failure `error` says why, and the file ends with its last whole fragment.

    /// Before `begin`. The index of the stream, from 0 in the order of the calls.
    bool addStream(const AVCodecContext& encoder);
    bool begin();
    /// Takes the packet, with times in those of `encoder`.
    bool write(AVPacket& packet, int stream, const AVCodecContext& encoder);
    /// Ends the fragment, and has everything up to here carried to the disk itself, without waiting for it.
    bool cut();
    /// Ends the last fragment and waits for the disk. Nothing may be written afterwards.
    bool end();

    const std::string& error() const { return error_; }

private:
    MovieFile(std::string path, LockedFile file);

    bool check(int result);
    static int writeBytes(void* opaque, std::uint8_t* bytes, int count);
    void carryToDisk();

    const std::string path_;
    const LockedFile file_;
    AVFormatContext* context_ = nullptr;
    std::string error_;
    std::int64_t size_ = 0;       ///< bytes
    std::int64_t wholeSize_ = 0;  ///< up to the end of the last whole fragment
    bool hasBegun_ = false;
    bool hasCut_ = false;
    int writeError_ = 0;

    // The disk may take long; the thread that writes does not wait for it.
    std::mutex mutex_;
    std::condition_variable changed_;
    bool isSyncDue_ = false;
    bool isEnding_ = false;
    std::thread syncing_;
};

/// Makes an ordinary movie, its index in front, in the file `to` of the one that a MovieFile wrote, whole or cut off, into `from`,
/// which is then removed. `to` appears only when it is complete and on the disk. Where there is no room for that, `from` itself
/// gets the name `to`: it plays as well. The reason in one line when neither works or `isCancelled`, which is asked often in
/// every phase, says so; `from` is left alone then. `lock` becomes the one on `to`, empty where it is the one on `from`. Any
/// thread.
recording::Error finishMovie(const std::string& from, const std::string& to, const std::function<bool()>& isCancelled,
                             LockedFile& lock);

}  // namespace videoanalysis::media::ffmpeg
