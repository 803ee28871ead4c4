#include "Platforms/FFmpeg/Export/ExportPlan.h"

#include <algorithm>

namespace videoanalysis::media::ffmpeg {

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

ExportPlan ExportPlan::copyingMost(const ClipIndex& index, const std::vector<KeyframeKind>& kinds, const Time& start,
                                   const Time& end) {
    const ExportPlan all = encodingAll(index, start, end);
    if (index.hasDerivedTimes()) return all;  // such packets may be presented before they are decoded
    for (const std::int64_t key : index.keyPackets()) {
        if (kinds[static_cast<std::size_t>(key)] == KeyframeKind::unfit) continue;
        const auto shown = index.frameWithTimestamp(index.timestampOfPacket(key));
        if (!shown || *shown < all.firstFrame || index.packetOfFrame(*shown) != key) continue;
        if (*shown > all.lastFrame) break;

        // In decoding order, as long as every packet shows a frame. A cut is clean after a packet when the frames decoded so far
        // are exactly those up to one moment; the last clean cut inside the range ends the copy.
        ExportPlan plan = all;
        plan.firstPacket = key;
        plan.endPacket = key;
        plan.firstCopied = *shown;
        plan.endCopied = *shown;
        std::int64_t newest = *shown - 1;
        std::int64_t count = 0;
        constexpr std::int64_t maxReordering = 64;
        for (std::int64_t packet = key; packet < index.packetCount(); ++packet) {
            const auto frame = index.frameWithTimestamp(index.timestampOfPacket(packet));
            if (!frame || index.packetOfFrame(*frame) != packet) break;
            if (*frame < *shown) continue;  // refers to frames before the keyframe; part of the head
            newest = std::max(newest, *frame);
            ++count;
            if (newest > all.lastFrame + maxReordering) break;
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
