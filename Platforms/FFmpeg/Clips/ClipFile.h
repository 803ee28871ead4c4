#pragma once
// One open clip: the demultiplexer and its selected stream. The frame loader, the index scan and the sound player each open
// their own, so that none moves another's reading position.

#include "Platforms/FFmpeg/LibraryHandles.h"
#include "Platforms/FFmpeg/Result.h"
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

/// One thread at a time.
class ClipFile {
public:
    enum class Content { video, audio };
    /// What the file stores about the order in which pictures are presented.
    enum class Order {
        stored,    ///< presentation times
        decoding,  ///< decoding times only
        none,      ///< no times; a packet is identified by its position in the file
    };

    enum class ReadStatus { packet, endOfStream };

    /// Opens `url` (a path, a file URL, or http / https) and selects the best stream of `content`; packets of all others are
    /// skipped. References inside the file are not opened, and an https server needs a trusted certificate. Blocks; fails
    /// early once `cancelled`, which must outlive the result, is true, or when the header takes more than 1.5 s of processor
    /// time.
    static Result<std::unique_ptr<ClipFile>> open(const URL& url, Content content, const std::atomic<bool>& cancelled);

    AVFormatContext* format() const { return format_.get(); }
    AVStream* stream() const { return stream_; }
    Order order() const { return order_; }
    /// The size of the file in bytes; 0 when it is not known.
    std::int64_t byteCount() const { return byteCount_; }

    /// Reads the next packet of the selected stream, in decoding order, into `packet`; it is never empty. Fails when cancelled
    /// and when the file cannot be read further.
    Result<ReadStatus> read(AVPacket& packet);
    /// Whether `read` has failed at a packet that needs a key.
    bool isEncrypted() const { return isEncrypted_; }
    /// Moves the reading position near the keyframe for `timestamp` (stream time base), at or before it in most containers.
    /// Returns whether the container supports that.
    bool seek(std::int64_t timestamp);
    /// The same, to before all time stamps: for containers with an index.
    bool seekToBeginning();
    /// The same, to a byte: for containers that can be read from any position.
    bool seekToByte(std::int64_t position);

private:
    /// Polled by the library during blocking work.
    struct Watch {
        const std::atomic<bool>& isCancelled;
        std::chrono::nanoseconds limit;  // of the thread's processor time; 0 for none
        bool isOver() const;
    };
    struct FilterDeleter {
        void operator()(AVBSFContext* filter) const { av_bsf_free(&filter); }
    };

    explicit ClipFile(const std::atomic<bool>& cancelled) : watch_{cancelled, {}} {}
    Result<void> openInput(const std::string& location, const char* protocols);
    Result<void> openContainer();
    Result<void> selectStream(Content content);
    /// Detects streams whose packets lack presentation times, and sets up the filter that splits pictures sharing a packet.
    void prepareOrder();
    /// Runs the packet through the filter, if there is one; false when the filter keeps the picture for a later packet.
    bool filterPacket(AVPacket& packet);
    AVIOInterruptCB interruptCallback();

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
