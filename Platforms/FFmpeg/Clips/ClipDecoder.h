#pragma once
// Decodes the pictures of one clip in presentation order, from any key frame on. The frame loader's thread drives it and
// decides what is worth decoding.

#include "Platforms/FFmpeg/Clips/ClipFile.h"
#include "Platforms/FFmpeg/Clips/ClipIndex.h"
#include "Platforms/FFmpeg/Clips/PicturePool.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace videoanalysis::media::ffmpeg {

/// Used by one thread.
class ClipDecoder {
public:
    /// `threads` as for the library: 0 for as many as the machine has cores. `maxPixels` limits a picture's size. Null on
    /// failure, with the reason in `error`.
    static std::unique_ptr<ClipDecoder> make(std::unique_ptr<ClipFile> file, std::shared_ptr<PicturePool> pool,
                                             int threads, std::int64_t maxPixels, std::string& error);

    ClipDecoder(const ClipDecoder&) = delete;
    ClipDecoder& operator=(const ClipDecoder&) = delete;
    ~ClipDecoder();

    ClipFile& file() { return *file_; }
    /// A longer index of the same clip.
    void setIndex(std::shared_ptr<const ClipIndex> index) { index_ = std::move(index); }

    /// Begins anew at the key frame `startPacket` of the index. False when the clip cannot be read there any more.
    bool start(std::int64_t startPacket);
    /// `canGoOnTo` is false until the next `start`.
    void endRun() { runStart_ = -1; }
    /// Whether going on from here gives `frame`, in time to be worth it: false when its packet has been passed over, or
    /// when nothing before `keepFrom` is wanted and a later key frame is much nearer to that.
    bool canGoOnTo(std::int64_t frame, std::int64_t keepFrom) const;
    /// The next packet to be decoded, in decoding order.
    std::int64_t nextPacket() const { return nextPacket_; }
    /// The frame that `next` returned last in this run, or the one before the run's first.
    std::int64_t lastFrame() const { return lastFrame_; }

    enum class Result { frame, pending, end, failed };
    /// Reads and decodes at most one packet. `frame`: the next picture of this run is in `picture`, its number in `number`;
    /// `pending`: call again. Pictures before `keepFrom` to which no other one refers are passed over. `failed` when the clip
    /// cannot be read on; the run is over then, as after `end`.
    Result next(std::int64_t keepFrom, FrameHandle& picture, std::int64_t& number);

private:
    ClipDecoder() = default;
    /// Seeks to where `packet` is stored.
    bool seekTo(std::int64_t packet);
    /// Reads up to the packet at which the run begins.
    bool reach(std::int64_t startPacket);
    /// The next packet, with the presentation time that the index has for it. 0, or the library's error.
    int readPacket();

    std::unique_ptr<ClipFile> file_;
    std::shared_ptr<PicturePool> pool_;  // before the decoder that uses it
    CodecContextHandle codec_;
    PacketHandle packet_;
    bool hasPacket_ = false;  // `packet_` is still to be sent
    std::optional<std::int64_t> packetNumber_;
    std::shared_ptr<const ClipIndex> index_;
    std::int64_t runStart_ = -1;
    std::int64_t firstFrame_ = 0;
    std::int64_t nextPacket_ = 0;
    std::int64_t lastFrame_ = -1;
    bool isDraining_ = false;
    int failuresWhileDraining_ = 0;
    std::int64_t passedOverBefore_ = 0;  // frames before this one may have been passed over
    int readError_ = 0;
};

}  // namespace videoanalysis::media::ffmpeg
