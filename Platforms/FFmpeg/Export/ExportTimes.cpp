#include "Platforms/FFmpeg/Export/ExportTimes.h"

namespace videoanalysis::media::ffmpeg {

std::int64_t reorderingOf(const std::vector<std::int64_t>& times) {
    std::vector<std::int64_t> sorted = times;
    std::sort(sorted.begin(), sorted.end());
    std::int64_t reordering = 0;
    for (std::size_t i = 0; i < times.size(); ++i) {
        const auto rank = std::lower_bound(sorted.begin(), sorted.end(), times[i]) - sorted.begin();
        reordering = std::max(reordering, static_cast<std::int64_t>(i) - rank);
    }
    return reordering;
}

void ExportTimes::stamp(AVPacket& packet) {
    const auto frame = index_->frameWithTimestamp(packet.pts + startTimestamp());
    // Decoding times are the sorted presentation times, earlier by as many pictures as decoding runs ahead.
    const std::int64_t slot = firstFrame_ + stamped_ - reordering_;
    packet.dts =
        slot >= firstFrame_ ? ticksOf(std::min(slot, lastFrame_)) : (slot - firstFrame_) * index_->minFrameTicks();
    packet.dts = std::min(packet.dts, packet.pts);
    packet.duration = frame ? index_->endTicksOf(*frame) - index_->ticksOf(*frame) : 0;
    ++stamped_;
}

}  // namespace videoanalysis::media::ffmpeg
