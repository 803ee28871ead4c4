#pragma once
// One open clip: the demultiplexer and its video and audio streams. The frame loader, the index scan and the sound each
// open one of their own, so that none disturbs another's reading position.

#include "Platforms/FFmpeg/LibraryHandles.h"
#include "VideoAnalysis/Platform/URL.h"

extern "C" {
#include <libavcodec/bsf.h>
}

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

namespace videoanalysis::media::ffmpeg {

/// Used by one thread at a time.
class ClipFile {
public:
    enum class Content { video, audio };
    /// What the file says of the order in which pictures are presented.
    enum class Order {
        stored,    ///< everything: packets have presentation times
        decoding,  ///< only the times at which they are decoded
        none,      ///< nothing: packets have no times, only places in the file
    };

    /// Opens `url` (a path, a file URL, or http / https) and selects the stream of `content`, all others being skipped.
    /// Nothing but `url` itself is ever opened, whatever the file refers to, and a server must prove who it is. Blocks;
    /// returns early when `cancelled`, which must outlive the result, becomes true, or when a header takes more than a
    /// second and a half of computing. Null on failure, with the reason in `error`.
    static std::unique_ptr<ClipFile> open(const URL& url, Content content, const std::atomic<bool>& cancelled,
                                          std::string& error);

    AVFormatContext* format() const { return format_.get(); }
    AVStream* stream() const { return stream_; }
    Order order() const { return order_; }
    /// The size of the file; 0 when it is not known.
    std::int64_t byteCount() const { return byteCount_; }

    /// The next packet of the selected stream, in decoding order; never an empty one. 0, or the library's error: AVERROR_EOF
    /// at the end, AVERROR_EXIT when cancelled.
    int read(AVPacket* packet);
    /// Whether `read` has come to a packet that it cannot read without a key.
    bool isEncrypted() const { return isEncrypted_; }
    /// Puts the reading position near the key frame for `timestamp` (stream time base), at or before it in most containers.
    /// False when the container cannot.
    bool seek(std::int64_t timestamp);
    /// Before all time stamps, for containers with an index.
    bool seekToBeginning();
    /// For containers that can be read from anywhere.
    bool seekToByte(std::int64_t position);

private:
    /// What the library asks now and then during blocking work.
    struct Watch {
        const std::atomic<bool>& isCancelled;
        std::chrono::nanoseconds limit;  // of the thread's processor time; 0 for none
        bool isOver() const;
    };
    struct FilterDeleter {
        void operator()(AVBSFContext* filter) const { av_bsf_free(&filter); }
    };

    explicit ClipFile(const std::atomic<bool>& cancelled) : watch_{cancelled, {}} {}
    int openContainer(const std::string& location, const char* protocols, std::string& error);
    bool selectStream(Content content, std::string& error);
    /// Recognises streams whose packets lack presentation times, and takes pictures apart that share a packet.
    void prepareOrder();
    /// False when the packet has no picture after the filter, which then holds it.
    bool isWhole(AVPacket* packet);

    Watch watch_;
    IOContextHandle io_;  // before the format context, which reads through it until it is closed
    FormatContextHandle format_;
    AVStream* stream_ = nullptr;
    std::unique_ptr<AVBSFContext, FilterDeleter> filter_;
    Order order_ = Order::stored;
    std::int64_t byteCount_ = 0;
    bool isEncrypted_ = false;
};

}  // namespace videoanalysis::media::ffmpeg
