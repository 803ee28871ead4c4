#pragma once
// One open clip: the demultiplexer and its video and audio streams. The frame loader, the index scan and the sound each
// open one of their own, so that none disturbs another's reading position.

#include "Platforms/FFmpeg/LibraryHandles.h"
#include "VideoAnalysis/Platform/URL.h"

#include <atomic>
#include <memory>
#include <string>

namespace videoanalysis::media {

/// Used by one thread at a time.
class ClipFile {
public:
    enum class Content { video, audio };

    /// Opens `url` (a path, a file URL, or http / https) and selects the stream of `content`, all others being skipped.
    /// Nothing but `url` itself is ever opened, whatever the file refers to. Blocks; returns early when `cancelled` becomes
    /// true, which must outlive the result. Null on failure, with the reason in `error`.
    static std::unique_ptr<ClipFile> open(const URL& url, Content content, const std::atomic<bool>& cancelled,
                                          std::string& error);

    AVFormatContext* format() const { return format_.get(); }
    AVStream* stream() const { return stream_; }

    /// The next packet of the selected stream, in decoding order. 0, or the library's error: AVERROR_EOF at the end.
    int read(AVPacket* packet);
    /// Whether `read` has come to a packet that it cannot read without a key.
    bool isEncrypted() const { return isEncrypted_; }
    /// Puts the reading position near the key frame for `timestamp` (stream time base), at or before it in most containers.
    /// False when the container cannot.
    bool seek(std::int64_t timestamp);
    /// Before all time stamps, for containers with an index.
    bool seekToBeginning();
    /// For containers that can be read from anywhere.
    bool seekToFirstByte();

private:
    ClipFile() = default;

    IOContextHandle io_;  // before the format context, which reads through it until it is closed
    FormatContextHandle format_;
    AVStream* stream_ = nullptr;
    bool isEncrypted_ = false;
};

}  // namespace videoanalysis::media
