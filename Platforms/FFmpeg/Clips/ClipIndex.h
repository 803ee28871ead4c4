#pragma once
// Every frame of a clip with its exact time, collected by reading the packets once without decoding them. Playback maps times
// to frame numbers with it, and the decoder looks up the keyframe to start at for a frame.

#include "Platforms/FFmpeg/Clips/ClipFile.h"
#include "Platforms/FFmpeg/Clips/PictureOrder.h"
#include "Platforms/FFmpeg/Result.h"
#include "VideoAnalysis/Platform/Media.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <vector>

namespace videoanalysis::media::ffmpeg {

/// Immutable; any thread. During the scan, an index covers the beginning of the clip.
///
/// Frames are numbered from 0 in presentation order, packets from 0 in decoding order; ticks are the stream's time base,
/// counted from the first frame.
class ClipIndex {
public:
    static constexpr std::int64_t noTimestamp = std::numeric_limits<std::int64_t>::min();

    /// False during the scan.
    bool isComplete() const { return isComplete_; }
    /// Whether the presentation times come from the pictures' headers because the container has none.
    bool hasDerivedTimes() const { return keyKind_ != PacketKey::time; }
    /// 1 or more.
    std::int64_t frameCount() const { return static_cast<std::int64_t>(frames_.size()); }
    /// Seconds per tick.
    AVRational timeBase() const { return timeBase_; }
    /// The first frame's time stamp in the stream.
    std::int64_t zeroTimestamp() const { return zero_; }
    /// From the first frame to the end of the last one known, more than 0.
    std::int64_t durationTicks() const { return frames_.back().ticks + lastDuration_; }
    /// The minimum distance between two frames; of a single frame its duration.
    std::int64_t minFrameTicks() const { return minFrameTicks_; }

    std::int64_t ticksOf(std::int64_t frame) const { return frames_[static_cast<std::size_t>(frame)].ticks; }
    /// The presentation time of the next frame, or the end of the last one.
    std::int64_t endTicksOf(std::int64_t frame) const {
        return frame + 1 < frameCount() ? ticksOf(frame + 1) : durationTicks();
    }
    /// The frame shown at `ticks`; the first or last one for moments outside.
    std::int64_t frameAtTicks(std::int64_t ticks) const;

    /// Exact: value over the time base's denominator.
    Time timeOfTicks(std::int64_t ticks) const;
    /// The last tick at or before `time`, clamped to +-2^52; 0 for an invalid time.
    std::int64_t ticksAtTime(const Time& time) const;

    /// The frame with this presentation time stamp of the stream.
    std::optional<std::int64_t> frameWithTimestamp(std::int64_t pts) const;
    /// The number of a packet that was read from the clip; nothing when it is not in the index.
    std::optional<std::int64_t> numberOfPacket(const AVPacket& packet) const;
    std::int64_t packetOfFrame(std::int64_t frame) const { return frames_[static_cast<std::size_t>(frame)].packet; }

    /// The packet at which decoding must start to give `frame`: the last keyframe that is later neither in decoding nor in
    /// presentation order (the leading frames of an open group of pictures need the group before).
    std::int64_t startPacketFor(std::int64_t frame) const;
    /// The keyframe before the one at `startPacket`; the same when there is none.
    std::int64_t startPacketBefore(std::int64_t startPacket) const;
    std::int64_t timestampOfPacket(std::int64_t packet) const { return packets_[static_cast<std::size_t>(packet)].pts; }
    /// Where to seek in the file for a packet: a byte position when `isSoughtByPosition`, otherwise a time stamp.
    std::int64_t seekTargetOfPacket(std::int64_t packet) const {
        const Packet& entry = packets_[static_cast<std::size_t>(packet)];
        return hasDerivedTimes() ? entry.key : entry.pts;
    }
    bool isSoughtByPosition() const { return keyKind_ == PacketKey::position; }
    std::int64_t packetCount() const { return static_cast<std::int64_t>(packets_.size()); }
    /// The packets at which decoding can start, in decoding order.
    const std::vector<std::int32_t>& keyPackets() const { return keyPackets_; }
    /// The first frame at or after the packet's time; the keyframe itself when it is presented.
    std::int64_t firstFrameFrom(std::int64_t startPacket) const;

private:
    friend class ClipIndexBuilder;

    /// What identifies a packet: either of its times, its decoding time alone, or its position in the file.
    enum class PacketKey : std::uint8_t { time, decodingTime, position };
    struct Frame {
        std::int64_t ticks;
        std::int32_t packet;
    };
    struct Packet {
        std::int64_t pts;
        std::int64_t key;  // the decoding time, or the byte position
    };

    static std::int64_t keyOf(const AVPacket& packet, PacketKey kind);

    std::vector<Frame> frames_;             // in presentation order
    std::vector<Packet> packets_;           // in decoding order
    std::vector<std::int32_t> keyPackets_;  // increasing; the first packet counts as one
    std::vector<std::int32_t> byKey_;       // packets with a key, by it
    PacketKey keyKind_ = PacketKey::time;
    AVRational timeBase_{1, 1};
    std::int64_t zero_ = 0;  // the first frame's time stamp
    std::int64_t lastDuration_ = 1;
    std::int64_t minFrameTicks_ = 1;
    bool isComplete_ = false;
};

/// Collects the packets of a clip in decoding order. One thread.
class ClipIndexBuilder {
public:
    /// The capacity in packets: 46 hours at 60 frames per second.
    static constexpr std::size_t maxPackets = 10'000'000;

    /// For the selected stream of `file`, which must outlive the builder.
    explicit ClipIndexBuilder(const ClipFile& file);

    bool isFull() const { return packets_.size() >= maxPackets; }
    /// Only while not full. Fails when the file has given far more bytes than it holds, as forged sample tables make it.
    Result<void> add(const AVPacket& packet);
    std::size_t packetCount() const { return packets_.size(); }
    /// As the container counts them: AVI also counts empty slots, in which the previous picture stays.
    std::int64_t storedCount() const {
        return countsByTime_ ? newestDts_ + 1 : static_cast<std::int64_t>(packets_.size());
    }
    /// The frames that no later packet can precede. Null while there is none.
    std::shared_ptr<const ClipIndex> snapshot() const { return build(false); }
    /// The whole clip. Fails when it has no frame.
    Result<std::shared_ptr<const ClipIndex>> finish() const;

private:
    struct Packet {
        std::int64_t pts;
        std::int64_t key;
        std::int64_t duration;
        bool isKey;
        bool isShown;
    };

    std::shared_ptr<const ClipIndex> build(bool isComplete) const;
    /// Sorts the index's frames and converts their time stamps to ticks from the first one.
    void normalizeFrames(ClipIndex& index, const std::vector<Packet>& packets) const;
    /// The packets with presentation times in the derived order.
    std::vector<Packet> derived() const;

    const ClipFile& file_;
    const AVRational timeBase_;
    const AVRational frameRate_;
    const std::unique_ptr<PictureOrder> order_;  // null for a clip that stores its presentation times
    const ClipIndex::PacketKey keyKind_;
    const bool countsByTime_;
    std::vector<Packet> packets_;
    std::int64_t newestDts_ = ClipIndex::noTimestamp;
    std::int64_t bytesLeft_;  // that the file can plausibly still give
};

}  // namespace videoanalysis::media::ffmpeg
