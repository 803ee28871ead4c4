#pragma once
// Decoded frames of all open clips, sharing one memory budget. Each clip's frame loader inserts frames, and playback looks them
// up; those far from the clip's playhead are evicted. Hosts and tests read the statistics.

#include "Platforms/FFmpeg/CacheStatistics.h"
#include "Platforms/FFmpeg/Clips/DecodedFrame.h"
#include "Platforms/FFmpeg/Playback/ReadAheadPolicy.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>

namespace videoanalysis::media::ffmpeg {

/// Any thread. Frames are never freed under the cache's lock.
class FrameCache {
public:
    using ClipNumber = std::int64_t;
    /// However small the budget, a clip keeps this many frames: the minimum that stepping and playing need.
    static constexpr std::int64_t minFramesPerClip = 4;
    /// While travelling forward, a clip keeps at most this many frames behind its playhead: the memory of older ones serves the
    /// next pictures better than memory that has never been touched.
    static constexpr std::int64_t maxFramesBehind = 64;

    explicit FrameCache(std::size_t budget) : budget_(budget) {}

    /// A clip's share is the budget divided by the number of open clips.
    ClipNumber openClip();
    void closeClip(ClipNumber clip);

    /// Sets the frame and the direction by which the clip's frames are evicted.
    void setPlayhead(ClipNumber clip, std::int64_t frame, Travel travel);
    /// Adds a frame unless there is one with its number, then evicts what exceeds the clip's share, possibly that very frame.
    void insert(ClipNumber clip, std::shared_ptr<const DecodedFrame> frame);
    /// Null when it is not cached.
    std::shared_ptr<const DecodedFrame> find(ClipNumber clip, std::int64_t frame) const;
    /// `find` for a requested frame: counts as hit or miss.
    std::shared_ptr<const DecodedFrame> request(ClipNumber clip, std::int64_t frame);
    /// The cached frame nearest to `frame`; null when there is none.
    std::shared_ptr<const DecodedFrame> nearest(ClipNumber clip, std::int64_t frame) const;
    /// The first frame that is not cached from `from` to `to` (up or down, both included); one past `to` when all are cached.
    std::int64_t firstMissing(ClipNumber clip, std::int64_t from, std::int64_t to) const;
    /// The number of cached frames of the clip.
    std::int64_t frameCount(ClipNumber clip) const;
    /// The number of frames of `frameBytes` each that a clip's share holds.
    std::int64_t capacity(std::size_t frameBytes) const;

    CacheStatistics statistics() const;

private:
    using Frames = std::map<std::int64_t, std::shared_ptr<const DecodedFrame>>;
    /// Moved out of the cache under the lock, to be freed after it.
    using Evicted = std::multimap<std::int64_t, std::shared_ptr<const DecodedFrame>>;
    struct Clip {
        Frames frames;
        std::size_t bytes = 0;
        std::int64_t playhead = 0;
        Travel travel = Travel::none;
    };

    struct Shared {
        mutable std::mutex mutex;
        std::map<ClipNumber, Clip> clips;
        ClipNumber nextClip = 0;
        std::int64_t hits = 0;
        std::int64_t misses = 0;
        std::int64_t evictions = 0;
    };

    // The next four with the lock held.
    std::size_t share() const { return budget_ / (shared_.clips.empty() ? 1 : shared_.clips.size()); }
    const Frames* framesOf(ClipNumber clip) const;
    void evict(Clip& clip, Frames::iterator frame, Evicted& evicted);
    void trim(Clip& clip, Evicted& evicted);

    const std::size_t budget_;
    const ReadAheadPolicy policy_;
    Shared shared_;
};

}  // namespace videoanalysis::media::ffmpeg
