#include "Platforms/FFmpeg/Export/ExportPlan.h"

#include <algorithm>

namespace videoanalysis::media::ffmpeg {
namespace {

// NAL unit types of the two standards (H.264 table 7-1, H.265 table 7-1).
constexpr int h264IdrSlice = 5;
constexpr int h264LastSlice = 5;
constexpr int hevcIdrWithLeading = 19;
constexpr int hevcIdr = 20;
constexpr int hevcCleanRandomAccess = 21;
constexpr int hevcLastSlice = 31;

/// The type of the first slice in `packet`, stored with start codes or with lengths; -1 for none.
int firstSliceType(const AVPacket& packet, const AVCodecParameters& parameters) {
    const bool isHevc = parameters.codec_id == AV_CODEC_ID_HEVC;
    const auto sliceType = [isHevc](std::uint8_t header) {
        const int type = isHevc ? (header >> 1) & 0x3F : header & 0x1F;
        const bool isSlice = isHevc ? type <= hevcLastSlice : type >= 1 && type <= h264LastSlice;
        return isSlice ? type : -1;
    };
    const std::uint8_t* data = packet.data;
    const int size = packet.size;
    // The configuration record begins with its version, 1; start codes begin with zeros.
    if (parameters.extradata_size > 22 && parameters.extradata[0] == 1) {
        const int lengthSize = (parameters.extradata[isHevc ? 21 : 4] & 3) + 1;
        for (std::int64_t at = 0; at + lengthSize < size;) {
            std::int64_t length = 0;
            for (int i = 0; i < lengthSize; ++i) length = length << 8 | data[at + i];
            const int type = sliceType(data[at + lengthSize]);
            if (type >= 0) return type;
            at += lengthSize + length;
        }
        return -1;
    }
    for (int at = 0; at + 3 < size; ++at) {
        if (data[at] != 0 || data[at + 1] != 0 || data[at + 2] != 1) continue;
        const int type = sliceType(data[at + 3]);
        if (type >= 0) return type;
    }
    return -1;
}

}  // namespace

KeyFrameKind keyFrameKind(const AVPacket& packet, const AVCodecParameters& parameters) {
    switch (parameters.codec_id) {
        case AV_CODEC_ID_H264:
            return firstSliceType(packet, parameters) == h264IdrSlice ? KeyFrameKind::closed : KeyFrameKind::unfit;
        case AV_CODEC_ID_HEVC:
            switch (firstSliceType(packet, parameters)) {
                case hevcIdrWithLeading:
                case hevcIdr: return KeyFrameKind::closed;
                case hevcCleanRandomAccess: return KeyFrameKind::open;
                default: return KeyFrameKind::unfit;
            }
        case AV_CODEC_ID_VP9: return KeyFrameKind::closed;
        default: {
            const AVCodecDescriptor* codec = avcodec_descriptor_get(parameters.codec_id);
            const bool isIntraOnly = codec && (codec->props & AV_CODEC_PROP_INTRA_ONLY) != 0;
            return isIntraOnly ? KeyFrameKind::closed : KeyFrameKind::unfit;
        }
    }
}

ExportPlan ExportPlan::encodingAll(const ClipIndex& index, const Time& start, const Time& end) {
    ExportPlan plan;
    if (start.isValid()) plan.firstFrame = index.frameAtTicks(index.ticksAtTime(start));
    plan.lastFrame = index.frameCount() - 1;
    if (end.isValid()) {
        const std::int64_t ticks = index.ticksAtTime(end);
        const bool beginsThere = compare(index.timeOfTicks(ticks), end) >= 0;
        plan.lastFrame = std::max(index.frameAtTicks(beginsThere ? ticks - 1 : ticks), plan.firstFrame);
    }
    return plan;
}

ExportPlan ExportPlan::copyingMost(const ClipIndex& index, const std::vector<KeyFrameKind>& kinds, const Time& start,
                                   const Time& end) {
    const ExportPlan all = encodingAll(index, start, end);
    if (index.hasDerivedTimes()) return all;  // such packets are presented before they are decoded
    for (const std::int64_t key : index.keyPackets()) {
        if (kinds[static_cast<std::size_t>(key)] == KeyFrameKind::unfit) continue;
        const auto shown = index.frameWithTimestamp(index.timestampOfPacket(key));
        if (!shown || *shown < all.firstFrame || index.packetOfFrame(*shown) != key) continue;
        if (*shown > all.lastFrame) break;

        // From here on in decoding order, as long as every packet shows a frame. A cut is clean after a packet up to which
        // exactly the frames up to one moment have been decoded; the last clean cut inside the range ends the copy.
        ExportPlan plan = all;
        plan.firstPacket = key;
        plan.endPacket = key;
        plan.firstCopied = *shown;
        plan.endCopied = *shown;
        std::int64_t newest = *shown - 1;
        std::int64_t count = 0;
        constexpr std::int64_t furthestReordering = 64;
        for (std::int64_t packet = key; packet < index.packetCount(); ++packet) {
            const auto frame = index.frameWithTimestamp(index.timestampOfPacket(packet));
            if (!frame || index.packetOfFrame(*frame) != packet) break;
            if (*frame < *shown) continue;  // refers to what is before the key frame; the head has it
            newest = std::max(newest, *frame);
            ++count;
            if (newest > all.lastFrame + furthestReordering) break;
            if (count == newest - *shown + 1 && newest <= all.lastFrame) {
                plan.endPacket = packet + 1;
                plan.endCopied = newest + 1;
            }
        }
        if (plan.copies()) return plan;
    }
    return all;
}

}  // namespace videoanalysis::media::ffmpeg
