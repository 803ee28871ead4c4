#include "Platforms/FFmpeg/Clips/ClipIndex.h"

extern "C" {
#include <libavutil/avutil.h>
#include <libavutil/mathematics.h>
}

#include <algorithm>
#include <string_view>

namespace videoanalysis::media::ffmpeg {
namespace {

// Cannot overflow when multiplied by a time base's numerator or shifted by another time stamp.
constexpr std::int64_t maxTimestamp = std::int64_t{1} << 52;

bool isUsable(std::int64_t timestamp) {
    return timestamp != AV_NOPTS_VALUE && timestamp > -maxTimestamp && timestamp < maxTimestamp;
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
    return std::clamp(ticks, -maxTimestamp, maxTimestamp);
}

std::optional<std::int64_t> ClipIndex::frameWithTimestamp(std::int64_t pts) const {
    if (!isUsable(pts)) return std::nullopt;
    const auto found = std::lower_bound(frames_.begin(), frames_.end(), pts - zero_,
                                        [](const Frame& frame, std::int64_t value) { return frame.ticks < value; });
    if (found == frames_.end() || found->ticks != pts - zero_) return std::nullopt;
    return found - frames_.begin();
}

std::int64_t ClipIndex::keyOf(const AVPacket& packet, PacketKey kind) {
    const std::int64_t key = kind == PacketKey::position ? packet.pos : packet.dts;
    return isUsable(key) && (kind != PacketKey::position || key >= 0) ? key : noTimestamp;
}

std::optional<std::int64_t> ClipIndex::numberOfPacket(const AVPacket& packet) const {
    if (keyKind_ == PacketKey::time) {
        if (const auto frame = frameWithTimestamp(packet.pts)) return packetOfFrame(*frame);
    }
    const std::int64_t key = keyOf(packet, keyKind_);
    if (key == noTimestamp) return std::nullopt;
    const auto keyAt = [this](std::int32_t number) { return packets_[static_cast<std::size_t>(number)].key; };
    const auto found = std::lower_bound(byKey_.begin(), byKey_.end(), key,
                                        [&](std::int32_t number, std::int64_t value) { return keyAt(number) < value; });
    if (found == byKey_.end() || keyAt(*found) != key) return std::nullopt;
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

ClipIndexBuilder::ClipIndexBuilder(const ClipFile& file)
    : file_(file), timeBase_(file.stream()->time_base), frameRate_(file.stream()->avg_frame_rate),
      order_(file.order() == ClipFile::Order::stored ? nullptr : PictureOrder::make(*file.stream()->codecpar)),
      keyKind_(!order_                                     ? ClipIndex::PacketKey::time
               : file.order() == ClipFile::Order::decoding ? ClipIndex::PacketKey::decodingTime
                                                           : ClipIndex::PacketKey::position),
      countsByTime_(std::string_view(file.format()->iformat->name) == "avi"),
      bytesLeft_(std::numeric_limits<std::int64_t>::max()) {
    // Packets may share bytes, as when an edit list repeats a part, but not many times over.
    constexpr std::int64_t maxReadsOfEachByte = 4;
    constexpr std::int64_t extraBytes = std::int64_t{1} << 20;
    const std::int64_t size = file.byteCount();
    if (size > 0 && size < bytesLeft_ / (2 * maxReadsOfEachByte)) bytesLeft_ = size * maxReadsOfEachByte + extraBytes;
}

Result<void> ClipIndexBuilder::add(const AVPacket& packet) {
    bytesLeft_ -= packet.size;
    if (bytesLeft_ < 0) return Failure{"its sample table claims more than the file holds"};
    Packet entry{ClipIndex::noTimestamp, ClipIndex::keyOf(packet, keyKind_), packet.duration,
                 (packet.flags & AV_PKT_FLAG_KEY) != 0, (packet.flags & AV_PKT_FLAG_DISCARD) == 0};
    if (order_) {
        entry.isKey = order_->add(packet);
    } else {
        entry.pts = isUsable(packet.pts) ? packet.pts : entry.key;
        if (entry.pts == ClipIndex::noTimestamp) entry.isShown = false;
    }
    newestDts_ = std::max(newestDts_, entry.key);
    packets_.push_back(entry);
    return {};
}

std::vector<ClipIndexBuilder::Packet> ClipIndexBuilder::derived() const {
    std::vector<Packet> packets = packets_;
    for (Packet& packet : packets) packet.isShown = false;
    const std::vector<std::int32_t> presented = order_->presented();
    // The sorted decoding times are the presentation times; a bare stream has neither.
    std::vector<std::int64_t> times;
    times.reserve(presented.size());
    std::int64_t next = 0;
    for (const std::int32_t number : presented) {
        const Packet& packet = packets_[static_cast<std::size_t>(number)];
        times.push_back(keyKind_ == ClipIndex::PacketKey::decodingTime ? packet.key : next);
        next += std::max<std::int64_t>(packet.duration, 1);
    }
    std::sort(times.begin(), times.end());
    for (std::size_t i = 0; i < presented.size(); ++i) {
        Packet& packet = packets[static_cast<std::size_t>(presented[i])];
        packet.pts = times[i];
        packet.isShown = packet.pts != ClipIndex::noTimestamp;
    }
    return packets;
}

Result<std::shared_ptr<const ClipIndex>> ClipIndexBuilder::finish() const {
    std::shared_ptr<const ClipIndex> index = build(true);
    if (index) return index;
    return Failure{file_.isEncrypted() ? "it is encrypted" : "it has no pictures"};
}

std::shared_ptr<const ClipIndex> ClipIndexBuilder::build(bool isComplete) const {
    if (order_ && !isComplete) return nullptr;  // a later packet may precede any
    const std::vector<Packet> packets = order_ ? derived() : packets_;
    auto index = std::make_shared<ClipIndex>();
    index->isComplete_ = isComplete;
    index->timeBase_ = timeBase_;
    index->keyKind_ = keyKind_;
    index->packets_.reserve(packets.size());
    index->frames_.reserve(packets.size());
    for (std::size_t i = 0; i < packets.size(); ++i) {
        const Packet& packet = packets[i];
        const auto number = static_cast<std::int32_t>(i);
        index->packets_.push_back({packet.pts, packet.key});
        if (i == 0 || (packet.isKey && packet.pts != ClipIndex::noTimestamp)) index->keyPackets_.push_back(number);
        if (packet.key != ClipIndex::noTimestamp) index->byKey_.push_back(number);
        // A frame that is decoded later is presented no earlier than its own decoding time.
        if (packet.isShown && (isComplete || packet.pts < newestDts_)) index->frames_.push_back({packet.pts, number});
    }
    if (index->frames_.empty()) return nullptr;
    std::stable_sort(index->byKey_.begin(), index->byKey_.end(), [&packets](std::int32_t a, std::int32_t b) {
        return packets[static_cast<std::size_t>(a)].key < packets[static_cast<std::size_t>(b)].key;
    });
    normalizeFrames(*index, packets);
    return index;
}

void ClipIndexBuilder::normalizeFrames(ClipIndex& index, const std::vector<Packet>& packets) const {
    auto& frames = index.frames_;
    const auto earlier = [](const auto& a, const auto& b) { return a.ticks < b.ticks; };
    std::stable_sort(frames.begin(), frames.end(), earlier);
    frames.erase(
        std::unique(frames.begin(), frames.end(), [](const auto& a, const auto& b) { return a.ticks == b.ticks; }),
        frames.end());
    index.zero_ = frames.front().ticks;
    std::int64_t minDistance = std::numeric_limits<std::int64_t>::max();
    for (std::size_t i = frames.size(); i-- > 0;) {
        if (i > 0) minDistance = std::min(minDistance, frames[i].ticks - frames[i - 1].ticks);
        frames[i].ticks -= index.zero_;
    }
    std::int64_t last = packets[static_cast<std::size_t>(frames.back().packet)].duration;
    if (last <= 0 || last > maxTimestamp) {
        last = frameRate_.num > 0 && frameRate_.den > 0 ? av_rescale_q(1, av_inv_q(frameRate_), timeBase_) : 0;
        if (last <= 0)
            last = frames.size() > 1 ? minDistance : std::max<std::int64_t>(av_rescale_q(1, {1, 25}, timeBase_), 1);
    }
    index.lastDuration_ = last;
    index.minFrameTicks_ = frames.size() > 1 ? minDistance : last;
}

}  // namespace videoanalysis::media::ffmpeg
