#pragma once
// Decodes the pictures of one clip in presentation order, starting at any keyframe. The frame loader, the image generator and
// the export drive it, each on its own thread, and decide what is worth decoding.

#include "Platforms/FFmpeg/Clips/ClipFile.h"
#include "Platforms/FFmpeg/Clips/ClipIndex.h"
#include "Platforms/FFmpeg/Clips/PicturePool.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace videoanalysis::media::ffmpeg {

/// One thread. A run is what is decoded from one `start` on.
class ClipDecoder {
public:
    enum class Status { frame, pending, endOfStream };

    /// `threads` of the codec; 0 for as many as the machine has cores. Larger pictures than `maxPixels` are refused.
    static Result<std::unique_ptr<ClipDecoder>> make(std::unique_ptr<ClipFile> file, std::shared_ptr<PicturePool> pool,
                                                     int threads, std::int64_t maxPixels);

    ClipDecoder(const ClipDecoder&) = delete;
    ClipDecoder& operator=(const ClipDecoder&) = delete;
    ~ClipDecoder();

    ClipFile& file() { return *file_; }
    /// Must be set before `start`; may be replaced by a longer index of the same clip.
    void setIndex(std::shared_ptr<const ClipIndex> index) { index_ = std::move(index); }

    /// Starts a new run at the keyframe `startPacket` of the index. Fails when the file cannot be read there.
    Result<void> start(std::int64_t startPacket);
    /// Ends the run: `canContinueTo` is false until the next `start`.
    void endRun() { runStart_ = -1; }
    /// Whether continuing the run gives `frame` at a reasonable cost: false when its packet was passed over, or when nothing
    /// before `keepFrom` is wanted and a later keyframe is much nearer to that.
    bool canContinueTo(std::int64_t frame, std::int64_t keepFrom) const;
    /// The next packet to decode, in decoding order.
    std::int64_t nextPacket() const { return nextPacket_; }

    /// Reads and decodes at most one packet. `frame`: the next picture of this run is in `picture` and its number in `number`;
    /// `pending`: call again. Pictures before `keepFrom` that no other picture refers to are not decoded. Fails when the clip
    /// cannot be read further, which ends the run, as the end of the stream does.
    Result<Status> next(std::int64_t keepFrom, FrameHandle& picture, std::int64_t& number);

private:
    ClipDecoder() = default;
    bool seekTo(std::int64_t packet);
    /// Reads up to `startPacket`, which is then in `packet_`. False when that is not ahead.
    bool readUpTo(std::int64_t startPacket);
    /// Reads the next packet and sets its presentation time from the index where the file has none.
    Result<ClipFile::ReadStatus> readPacket();
    void sendNextPacket(std::int64_t keepFrom);

    std::unique_ptr<ClipFile> file_;
    std::shared_ptr<PicturePool> pool_;  // before the decoder that uses it
    CodecContextHandle codec_;
    PacketHandle packet_;
    bool hasPacket_ = false;  // `packet_` has not been sent yet
    std::optional<std::int64_t> packetNumber_;
    std::shared_ptr<const ClipIndex> index_;
    std::int64_t runStart_ = -1;  // the packet at which the run started; -1 without a run
    std::int64_t firstFrame_ = 0;
    std::int64_t nextPacket_ = 0;
    std::int64_t lastFrame_ = -1;
    bool isDraining_ = false;
    int failuresWhileDraining_ = 0;
    std::int64_t passedOverBefore_ = 0;   // frames before this one may not have been decoded
    std::optional<Failure> readFailure_;  // why draining began before the end of the stream
};

}  // namespace videoanalysis::media::ffmpeg
