#pragma once
// Decoded frames of all open clips under one budget. Each clip's frame loader puts frames in and keeps those near its
// playhead; hosts and tests read the statistics.

#include "Platforms/FFmpeg/CacheStatistics.h"
#include "Platforms/FFmpeg/Clips/DecodedFrame.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>

namespace videoanalysis::media::ffmpeg {

/// Where the frames asked for are going: `none` after a seek.
enum class Travel { none, forward, backward };

/// Any thread.
class FrameCache {
public:
    using ClipNumber = std::int64_t;
    /// However small the budget, a clip keeps this many frames: what stepping and playing need to go on at all.
    static constexpr std::int64_t minFramesPerClip = 4;

    /// Going forward, a clip keeps no more than this many frames that it has left behind.
    static constexpr std::int64_t framesKeptBehind = 64;

    explicit FrameCache(std::size_t budget) : budget_(budget) {}

    /// A clip's share is the budget divided by the clips that are open.
    ClipNumber openClip();
    void closeClip(ClipNumber clip);

    /// Which frame the clip stands at, and where it travels: the frames farthest from it go first, those that it leaves
    /// behind before those that it comes to.
    void setPlayhead(ClipNumber clip, std::int64_t frame, Travel travel);
    /// Puts a frame in and takes out what exceeds the clip's share, which may be that very frame.
    void insert(ClipNumber clip, std::shared_ptr<const DecodedFrame> frame);
    /// Null when it is not there.
    std::shared_ptr<const DecodedFrame> find(ClipNumber clip, std::int64_t frame) const;
    /// `find` for a frame that somebody waits for: counts as hit or miss.
    std::shared_ptr<const DecodedFrame> request(ClipNumber clip, std::int64_t frame);
    /// The frame that is there and nearest to `frame`; null when there is none.
    std::shared_ptr<const DecodedFrame> nearest(ClipNumber clip, std::int64_t frame) const;
    /// Walks from `from` to `to` (up or down, both included) to the first frame that is not there; `to` passed by one
    /// when all are.
    std::int64_t firstMissing(ClipNumber clip, std::int64_t from, std::int64_t to) const;
    /// How many frames of the clip are there.
    std::int64_t frameCount(ClipNumber clip) const;
    /// How many frames of `frameBytes` a clip's share holds.
    std::int64_t capacity(std::size_t frameBytes) const;

    CacheStatistics statistics() const;

private:
    struct Clip {
        std::map<std::int64_t, std::shared_ptr<const DecodedFrame>> frames;
        std::size_t bytes = 0;
        std::int64_t playhead = 0;
        Travel travel = Travel::none;
    };

    std::size_t share() const { return budget_ / (clips_.empty() ? 1 : clips_.size()); }
    void trim(Clip& clip);

    const std::size_t budget_;
    mutable std::mutex mutex_;
    std::map<ClipNumber, Clip> clips_;
    ClipNumber nextClip_ = 0;
    std::int64_t hits_ = 0;
    std::int64_t misses_ = 0;
    std::int64_t evictions_ = 0;
};

}  // namespace videoanalysis::media::ffmpeg
