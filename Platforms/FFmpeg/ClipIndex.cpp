#include "Platforms/FFmpeg/ClipIndex.h"

extern "C" {
#include <libavutil/avutil.h>
#include <libavutil/mathematics.h>
}

#include <algorithm>

namespace videoanalysis::media {
namespace {

// Far from overflowing when multiplied by a time base's numerator or shifted by another time stamp.
constexpr std::int64_t largestTimestamp = std::int64_t{1} << 52;

bool isUsable(std::int64_t timestamp) {
    return timestamp != AV_NOPTS_VALUE && timestamp > -largestTimestamp && timestamp < largestTimestamp;
}

}  // namespace

std::int64_t ClipIndex::frameAtTicks(std::int64_t ticks) const {
    const auto after = std::upper_bound(frames_.begin(), frames_.end(), ticks,
                                        [](std::int64_t value, const Frame& frame) { return value < frame.ticks; });
    return std::max<std::int64_t>(after - frames_.begin() - 1, 0);
}

Time ClipIndex::timeOfTicks(std::int64_t ticks) const {
    std::int64_t value = 0;
    if (!__builtin_mul_overflow(ticks, std::int64_t{timeBase_.num}, &value)) return {value, timeBase_.den};
    return Time::fromSeconds(static_cast<double>(ticks) * av_q2d(timeBase_), 1);
}

std::int64_t ClipIndex::ticksAtTime(const Time& time) const {
    if (!time.isValid()) return 0;
    const std::int64_t ticks =
        av_rescale_rnd(time.value, timeBase_.den, std::int64_t{timeBase_.num} * time.timescale, AV_ROUND_DOWN);
    return std::clamp(ticks, -largestTimestamp, largestTimestamp);
}

std::optional<std::int64_t> ClipIndex::frameWithTimestamp(std::int64_t pts) const {
    if (!isUsable(pts)) return std::nullopt;
    const auto found = std::lower_bound(frames_.begin(), frames_.end(), pts - zero_,
                                        [](const Frame& frame, std::int64_t value) { return frame.ticks < value; });
    if (found == frames_.end() || found->ticks != pts - zero_) return std::nullopt;
    return found - frames_.begin();
}

std::optional<std::int64_t> ClipIndex::packetWithTimestamps(std::int64_t pts, std::int64_t dts) const {
    if (const auto frame = frameWithTimestamp(pts)) return packetOfFrame(*frame);
    if (!isUsable(dts)) return std::nullopt;
    const auto found = std::lower_bound(byDecodingTime_.begin(), byDecodingTime_.end(), dts,
                                        [this](std::int32_t packet, std::int64_t value) {
                                            return packets_[static_cast<std::size_t>(packet)].dts < value;
                                        });
    if (found == byDecodingTime_.end() || decodingTimestampOfPacket(*found) != dts) return std::nullopt;
    return *found;
}

std::int64_t ClipIndex::startPacketFor(std::int64_t frame) const {
    const Frame& wanted = frames_[static_cast<std::size_t>(frame)];
    auto key = std::upper_bound(keyPackets_.begin(), keyPackets_.end(), wanted.packet) - 1;
    while (key != keyPackets_.begin() && timestampOfPacket(*key) - zero_ > wanted.ticks) --key;
    return *key;
}

std::int64_t ClipIndex::startPacketBefore(std::int64_t startPacket) const {
    const auto key = std::lower_bound(keyPackets_.begin(), keyPackets_.end(), startPacket);
    return key == keyPackets_.begin() ? *key : *(key - 1);
}

std::int64_t ClipIndex::firstFrameFrom(std::int64_t startPacket) const {
    const std::int64_t pts = timestampOfPacket(startPacket);
    const auto found = std::lower_bound(frames_.begin(), frames_.end(), pts - zero_,
                                        [](const Frame& frame, std::int64_t value) { return frame.ticks < value; });
    return std::min<std::int64_t>(found - frames_.begin(), frameCount() - 1);
}

bool ClipIndexBuilder::add(const AVPacket& packet) {
    if (packets_.size() >= maxPackets) return false;
    Packet entry{ClipIndex::noTimestamp, ClipIndex::noTimestamp, packet.duration, (packet.flags & AV_PKT_FLAG_KEY) != 0,
                 (packet.flags & AV_PKT_FLAG_DISCARD) == 0};
    if (isUsable(packet.pts)) entry.pts = packet.pts;
    if (isUsable(packet.dts)) entry.dts = packet.dts;
    if (entry.pts == ClipIndex::noTimestamp) entry.pts = entry.dts;
    if (entry.pts == ClipIndex::noTimestamp) entry.isShown = false;
    newestDts_ = std::max(newestDts_, entry.dts);
    packets_.push_back(entry);
    return true;
}

std::shared_ptr<const ClipIndex> ClipIndexBuilder::snapshot(bool isComplete) const {
    auto index = std::make_shared<ClipIndex>();
    index->isComplete_ = isComplete;
    index->timeBase_ = timeBase_;
    index->packets_.reserve(packets_.size());
    index->frames_.reserve(packets_.size());
    for (std::size_t i = 0; i < packets_.size(); ++i) {
        const Packet& packet = packets_[i];
        const auto number = static_cast<std::int32_t>(i);
        index->packets_.push_back({packet.pts, packet.dts});
        if (i == 0 || (packet.isKey && packet.pts != ClipIndex::noTimestamp)) index->keyPackets_.push_back(number);
        if (packet.dts != ClipIndex::noTimestamp) index->byDecodingTime_.push_back(number);
        // A frame that is decoded later is presented at its own decoding time or after it.
        if (packet.isShown && (isComplete || packet.pts < newestDts_)) index->frames_.push_back({packet.pts, number});
    }
    auto& frames = index->frames_;
    if (frames.empty()) return nullptr;
    const auto earlier = [](const auto& a, const auto& b) { return a.ticks < b.ticks; };
    std::stable_sort(frames.begin(), frames.end(), earlier);
    frames.erase(
        std::unique(frames.begin(), frames.end(), [](const auto& a, const auto& b) { return a.ticks == b.ticks; }),
        frames.end());
    std::stable_sort(index->byDecodingTime_.begin(), index->byDecodingTime_.end(),
                     [this](std::int32_t a, std::int32_t b) {
                         return packets_[static_cast<std::size_t>(a)].dts < packets_[static_cast<std::size_t>(b)].dts;
                     });

    index->zero_ = frames.front().ticks;
    std::int64_t shortest = std::numeric_limits<std::int64_t>::max();
    for (std::size_t i = frames.size(); i-- > 0;) {
        if (i > 0) shortest = std::min(shortest, frames[i].ticks - frames[i - 1].ticks);
        frames[i].ticks -= index->zero_;
    }
    std::int64_t last = packets_[static_cast<std::size_t>(frames.back().packet)].duration;
    if (last <= 0 || last > largestTimestamp) {
        last = frameRate_.num > 0 && frameRate_.den > 0 ? av_rescale_q(1, av_inv_q(frameRate_), timeBase_) : 0;
        if (last <= 0)
            last = frames.size() > 1 ? shortest : std::max<std::int64_t>(av_rescale_q(1, {1, 25}, timeBase_), 1);
    }
    index->lastDuration_ = last;
    index->minFrameTicks_ = frames.size() > 1 ? shortest : last;
    return index;
}

}  // namespace videoanalysis::media
