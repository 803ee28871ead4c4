#pragma once
// Every frame of a clip with its exact time, found by reading the packets once without decoding them. The player turns
// times into frame numbers with it, and the decoder finds out where to begin for a frame.

#include "Platforms/FFmpeg/Clips/ClipFile.h"
#include "Platforms/FFmpeg/Clips/PictureOrder.h"
#include "VideoAnalysis/Platform/Media.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <vector>

namespace videoanalysis::media::ffmpeg {

/// Immutable, so any thread may read it. During the scan, an index describes the beginning of the clip.
///
/// Frames are numbered from 0 in presentation order, packets from 0 in decoding order; ticks are the stream's time base,
/// counted from the first frame.
class ClipIndex {
public:
    static constexpr std::int64_t noTimestamp = std::numeric_limits<std::int64_t>::min();

    /// False during the scan.
    bool isComplete() const { return isComplete_; }
    /// Whether the presentation times are not in the container but found by reading the pictures' headers.
    bool hasDerivedTimes() const { return keyKind_ != PacketKey::time; }
    /// 1 or more.
    std::int64_t frameCount() const { return static_cast<std::int64_t>(frames_.size()); }
    /// Seconds a tick.
    AVRational timeBase() const { return timeBase_; }
    /// The first frame's time stamp in the stream.
    std::int64_t zeroTimestamp() const { return zero_; }
    /// From the first frame to the end of the last one known, more than 0.
    std::int64_t durationTicks() const { return frames_.back().ticks + lastDuration_; }
    /// The shortest distance between two frames known; of a single frame its duration.
    std::int64_t minFrameTicks() const { return minFrameTicks_; }

    std::int64_t ticksOf(std::int64_t frame) const { return frames_[static_cast<std::size_t>(frame)].ticks; }
    /// The moment at which the frame after `frame` begins, or the last one ends.
    std::int64_t endTicksOf(std::int64_t frame) const {
        return frame + 1 < frameCount() ? ticksOf(frame + 1) : durationTicks();
    }
    /// The frame shown at `ticks`; the first or last one for moments outside.
    std::int64_t frameAtTicks(std::int64_t ticks) const;

    /// Exact: value over the time base's denominator.
    Time timeOfTicks(std::int64_t ticks) const;
    /// The last tick at or before `time`, limited to the range of a clip; 0 for an invalid time.
    std::int64_t ticksAtTime(const Time& time) const;

    /// The frame with this presentation time stamp of the stream.
    std::optional<std::int64_t> frameWithTimestamp(std::int64_t pts) const;
    /// The position in decoding order of a packet as the clip's file gives it.
    std::optional<std::int64_t> numberOfPacket(const AVPacket& packet) const;
    std::int64_t packetOfFrame(std::int64_t frame) const { return frames_[static_cast<std::size_t>(frame)].packet; }

    /// The packet at which decoding must begin to get `frame` right: the last key frame that is not later in decoding nor
    /// in presentation order (frames that precede their key frame on the screen need the group before).
    std::int64_t startPacketFor(std::int64_t frame) const;
    /// The key frame before the one at `startPacket`; the same when there is none.
    std::int64_t startPacketBefore(std::int64_t startPacket) const;
    std::int64_t timestampOfPacket(std::int64_t packet) const { return packets_[static_cast<std::size_t>(packet)].pts; }
    /// Where the file is to be sought for a packet: a byte position when `isSoughtByPosition`, otherwise a time stamp.
    std::int64_t seekTargetOfPacket(std::int64_t packet) const {
        const Packet& entry = packets_[static_cast<std::size_t>(packet)];
        return hasDerivedTimes() ? entry.key : entry.pts;
    }
    bool isSoughtByPosition() const { return keyKind_ == PacketKey::position; }
    std::int64_t packetCount() const { return static_cast<std::int64_t>(packets_.size()); }
    /// The packets at which decoding can begin, in decoding order.
    const std::vector<std::int32_t>& keyPackets() const { return keyPackets_; }
    /// The first frame at or after the packet's time; the key frame itself when it is shown.
    std::int64_t firstFrameFrom(std::int64_t startPacket) const;

private:
    friend class ClipIndexBuilder;

    /// What a packet is recognised by: either of its times, its decoding time alone, or its place in the file.
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
    /// Packets past this number are not taken: 46 hours at 60 frames a second.
    static constexpr std::size_t maxPackets = 10'000'000;

    /// For the selected stream of `file`, which must outlive this.
    explicit ClipIndexBuilder(const ClipFile& file);

    /// False when the index is full, or when the file has given more than can be in it: `isImplausible` then.
    bool add(const AVPacket& packet);
    bool isImplausible() const { return isImplausible_; }
    std::size_t packetCount() const { return packets_.size(); }
    /// As the container counts them: some count places left empty, at which the picture before stays.
    std::int64_t storedCount() const {
        return countsByTime_ ? newestDts_ + 1 : static_cast<std::int64_t>(packets_.size());
    }
    /// What is known for certain: everything when `isComplete`, otherwise the frames that no later packet can precede.
    /// Null while there is no frame.
    std::shared_ptr<const ClipIndex> snapshot(bool isComplete) const;

private:
    struct Packet {
        std::int64_t pts;
        std::int64_t key;
        std::int64_t duration;
        bool isKey;
        bool isShown;
    };

    /// The packets with presentation times in the derived order.
    std::vector<Packet> derived() const;

    const AVRational timeBase_;
    const AVRational frameRate_;
    const std::unique_ptr<PictureOrder> order_;  // null for a clip that stores its presentation times
    const ClipIndex::PacketKey keyKind_;
    const bool countsByTime_;
    std::vector<Packet> packets_;
    std::int64_t newestDts_ = ClipIndex::noTimestamp;
    std::int64_t bytesLeft_;  // that the file can still give
    bool isImplausible_ = false;
};

}  // namespace videoanalysis::media::ffmpeg
