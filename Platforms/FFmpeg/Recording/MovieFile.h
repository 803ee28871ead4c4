#pragma once
// The file of a movie that is being recorded. It grows by complete fragments, so that what has reached the disk plays up to its
// end, and stays locked while it is written. The movie encoder writes it; the movie folder finds the ones left behind.

#include "Platforms/FFmpeg/Compatibility.h"
#include "Platforms/FFmpeg/LibraryHandles.h"
#include "Platforms/FFmpeg/Recording/DiskSync.h"
#include "Platforms/FFmpeg/Result.h"
#include "Platforms/FFmpeg/TemporaryFile.h"

#include <cstdint>
#include <memory>
#include <string>

namespace videoanalysis::media::ffmpeg {

/// Used by one thread. The functions that write fail with one line; from then on they all fail with it, and the file ends with
/// its last complete fragment.
class MovieFile {
public:
    /// Creates the file `path`, which must not exist.
    static Result<std::unique_ptr<MovieFile>> create(const std::string& path);
    /// Removes a file without any fragment and keeps any other as it is.
    ~MovieFile();
    MovieFile(const MovieFile&) = delete;
    MovieFile& operator=(const MovieFile&) = delete;

    /// Held until this object is destroyed.
    const LockedFile& lock() const { return file_; }
    /// Whether there is a complete fragment.
    bool hasContent() const { return wholeSize_ > 0; }

    /// Adds the stream of `encoder`, before `begin`. Streams are numbered from 0 in the order of these calls.
    Result<void> addStream(const AVCodecContext& encoder);
    Result<void> begin();
    /// Takes ownership of the packet's data; its times are in the time base of `encoder`.
    Result<void> write(AVPacket& packet, int stream, const AVCodecContext& encoder);
    /// Ends the fragment and schedules writing everything up to here to the disk.
    Result<void> cut();
    /// Ends the last fragment and waits for the disk. Only destruction is valid afterwards.
    Result<void> end();

private:
    enum class Phase : std::uint8_t {
        setup,  ///< streams are added
        begun,  ///< packets are taken; the index is written with the first fragment, which knows the sound's leading samples
        growing,  ///< the index and at least one fragment are written
        ended,
        failed,  ///< truncated to its last complete fragment; `error_` says why
    };
    struct Closer {
        void operator()(AVFormatContext* context) const;
    };

    MovieFile(std::string path, LockedFile file);

    /// The only place where the phase changes.
    void enter(Phase next);
    /// Fails when `result` is an error of the library or a write has failed.
    Result<void> check(int result);
    static int writeBytes(void* opaque, WrittenByte* bytes, int count);

    const std::string path_;
    const LockedFile file_;
    Phase phase_ = Phase::setup;
    std::string error_;
    std::int64_t size_ = 0;       ///< bytes
    std::int64_t wholeSize_ = 0;  ///< bytes up to the end of the last complete fragment
    int writeError_ = 0;          ///< an errno
    std::unique_ptr<AVFormatContext, Closer> context_;
    DiskSync sync_;
};

}  // namespace videoanalysis::media::ffmpeg
