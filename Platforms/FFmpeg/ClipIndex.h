#pragma once
// Every frame of a clip with its exact time, found by reading the packets once without decoding them. The player turns
// times into frame numbers with it, and the decoder finds out where to begin for a frame.

#include "VideoAnalysis/Platform/Media.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <vector>

extern "C" {
#include <libavcodec/packet.h>
#include <libavutil/rational.h>
}

namespace videoanalysis::media {

/// Immutable, so any thread may read it. While the scan is under way, an index describes the beginning of the clip.
///
/// Frames are numbered from 0 in presentation order, packets from 0 in decoding order; ticks are the stream's time base,
/// counted from the first frame.
class ClipIndex {
public:
    static constexpr std::int64_t noTimestamp = std::numeric_limits<std::int64_t>::min();

    /// False while the scan is under way.
    bool isComplete() const { return isComplete_; }
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
    /// The position in decoding order of a packet with these time stamps of the stream.
    std::optional<std::int64_t> packetWithTimestamps(std::int64_t pts, std::int64_t dts) const;
    std::int64_t packetOfFrame(std::int64_t frame) const { return frames_[static_cast<std::size_t>(frame)].packet; }

    /// The packet at which decoding must begin to get `frame` right: the last key frame that is not later in decoding nor
    /// in presentation order (frames that precede their key frame on the screen need the group before).
    std::int64_t startPacketFor(std::int64_t frame) const;
    /// The key frame before the one at `startPacket`; the same when there is none.
    std::int64_t startPacketBefore(std::int64_t startPacket) const;
    std::int64_t timestampOfPacket(std::int64_t packet) const { return packets_[static_cast<std::size_t>(packet)].pts; }
    std::int64_t decodingTimestampOfPacket(std::int64_t packet) const {
        return packets_[static_cast<std::size_t>(packet)].dts;
    }
    std::int64_t packetCount() const { return static_cast<std::int64_t>(packets_.size()); }
    /// The packets at which decoding can begin, in decoding order.
    const std::vector<std::int32_t>& keyPackets() const { return keyPackets_; }
    /// The first frame at or after the packet's time; the key frame itself when it is shown.
    std::int64_t firstFrameFrom(std::int64_t startPacket) const;

private:
    friend class ClipIndexBuilder;

    struct Frame {
        std::int64_t ticks;
        std::int32_t packet;
    };
    struct Packet {
        std::int64_t pts;
        std::int64_t dts;
    };

    std::vector<Frame> frames_;                 // in presentation order
    std::vector<Packet> packets_;               // in decoding order
    std::vector<std::int32_t> keyPackets_;      // increasing; the first packet counts as one
    std::vector<std::int32_t> byDecodingTime_;  // packets with a decoding time, by that time
    AVRational timeBase_{1, 1};
    std::int64_t zero_ = 0;  // the first frame's time stamp
    std::int64_t lastDuration_ = 1;
    std::int64_t minFrameTicks_ = 1;
    bool isComplete_ = false;
};

/// Collects packets in decoding order. One thread.
class ClipIndexBuilder {
public:
    /// Packets past this number are not taken: 46 hours at 60 frames a second.
    static constexpr std::size_t maxPackets = 10'000'000;

    /// `frameRate` (0/1 when unknown) gives the last frame's duration where the packets do not.
    ClipIndexBuilder(AVRational timeBase, AVRational frameRate) : timeBase_(timeBase), frameRate_(frameRate) {}

    /// False when the index is full.
    bool add(const AVPacket& packet);
    std::size_t packetCount() const { return packets_.size(); }
    /// What is known for certain: everything when `isComplete`, otherwise the frames that no later packet can precede.
    /// Null while there is no frame.
    std::shared_ptr<const ClipIndex> snapshot(bool isComplete) const;

private:
    struct Packet {
        std::int64_t pts;
        std::int64_t dts;
        std::int64_t duration;
        bool isKey;
        bool isShown;
    };

    AVRational timeBase_;
    AVRational frameRate_;
    std::vector<Packet> packets_;
    std::int64_t newestDts_ = ClipIndex::noTimestamp;
};

}  // namespace videoanalysis::media
