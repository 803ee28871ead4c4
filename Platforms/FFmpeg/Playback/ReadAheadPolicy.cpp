#include "Platforms/FFmpeg/Playback/ReadAheadPolicy.h"

#include <algorithm>
#include <cstdlib>

namespace videoanalysis::media::ffmpeg {

std::int64_t CacheShare::of(std::int64_t capacity) const { return std::min(capacity * numerator / denominator, max); }

ReadAheadPolicy::Goal ReadAheadPolicy::request(std::int64_t frame, Travel travel, const ReadAheadClip& clip) const {
    if (travel == Travel::backward) return runBackward(frame, 0, clip);
    const std::int64_t way = std::max<std::int64_t>(frame - clip.groupStart(frame), 0);
    const std::int64_t kept = std::min(way, options_.minKeptBySeek + options_.keptBySeek.of(way));
    return {frame, frame - kept, travel == Travel::none};
}

std::optional<ReadAheadPolicy::Goal> ReadAheadPolicy::play(std::int64_t playhead, const ReadAheadClip& clip) const {
    const auto capacity = clip.capacity();
    if (!capacity) return std::nullopt;
    // Leaves room for the frame at the playhead and one behind it.
    const std::int64_t ahead = std::min(options_.framesAheadWhilePlaying, *capacity - 2);
    const std::int64_t end = std::min(playhead + ahead, clip.frameCount() - 1);
    const std::int64_t missing = clip.firstMissing(playhead, end);
    if (missing > end) return std::nullopt;
    return Goal{missing, playhead, false};
}

std::optional<ReadAheadPolicy::Goal> ReadAheadPolicy::prefetch(std::int64_t playhead, Travel travel,
                                                               const ReadAheadClip& clip) const {
    const auto capacity = clip.capacity();
    if (!capacity) return std::nullopt;
    const bool isBackward = travel == Travel::backward;
    const CacheShare& ahead = travel == Travel::forward ? options_.aheadForward : options_.aheadOtherwise;
    const CacheShare& behind = isBackward               ? options_.behindBackward
                               : travel == Travel::none ? options_.behindAfterSeek
                                                        : options_.behindForward;
    const std::int64_t max = std::min(playhead + ahead.of(*capacity), clip.frameCount() - 1);
    const std::int64_t min = std::max<std::int64_t>(playhead - behind.of(*capacity), 0);
    for (const bool goesBack : {isBackward, !isBackward}) {
        const std::int64_t missing = clip.firstMissing(playhead, goesBack ? min : max);
        if (goesBack && missing >= min && missing <= playhead) return runBackward(missing, min, clip);
        if (!goesBack && missing <= max) return Goal{missing, missing, false};
    }
    return std::nullopt;
}

ReadAheadPolicy::Goal ReadAheadPolicy::runBackward(std::int64_t missing, std::int64_t min,
                                                   const ReadAheadClip& clip) const {
    const std::int64_t groupStart = clip.groupStart(missing);
    const std::int64_t way = std::max<std::int64_t>(missing - groupStart, 0);
    std::int64_t kept = std::max(options_.minBackwardRun, way + 1);
    if (const auto capacity = clip.capacity()) kept = std::min(kept, options_.maxBackwardRun.of(*capacity));
    std::int64_t keepFrom = std::max(missing - kept + 1, min);
    // Extending the run into the previous group pays only when groups are short.
    if (keepFrom < groupStart && way * 2 >= kept) keepFrom = groupStart;
    return {missing, std::max<std::int64_t>(keepFrom, 0), false};
}

std::int64_t ReadAheadPolicy::evictionCost(std::int64_t frame, std::int64_t playhead, Travel travel) const {
    if (travel == Travel::none) return std::abs(frame - playhead);
    const std::int64_t ahead = travel == Travel::backward ? playhead - frame : frame - playhead;
    return ahead >= 0 ? ahead : -ahead * options_.costOfFramesBehind;
}

}  // namespace videoanalysis::media::ffmpeg
