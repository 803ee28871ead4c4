#pragma once
// Decides which frames of a clip to decode next and which cached ones to give up first. Pure arithmetic on frame numbers: no
// threads, no media library. The frame loader asks it what to decode, the frame cache what to evict.

#include <cstdint>
#include <optional>

namespace videoanalysis::media::ffmpeg {

/// The direction in which frames are requested; `none` after a seek.
enum class Travel { none, forward, backward };

/// A part of the frames that fit into a clip's share of the memory, and a limit in frames.
struct CacheShare {
    std::int64_t numerator;
    std::int64_t denominator;
    std::int64_t max = INT64_MAX;

    std::int64_t of(std::int64_t capacity) const;
    friend bool operator==(const CacheShare&, const CacheShare&) = default;
};

/// Figures in comments were measured on 1080p60 H.264 with a keyframe every 250 frames, 512 MB of cache and two cores.
struct ReadAheadOptions {
    /// Frames decoded ahead of the playhead while playing.
    std::int64_t framesAheadWhilePlaying = 8;

    // What a seek keeps of the frames that it decodes from the keyframe on: stepping back then starts without a wait,
    // which is the time to decode the frames before. Not all of them, as frames that are kept go to memory outside the
    // processor's cache, which makes the seek slower: 4 and a third of the way.
    std::int64_t minKeptBySeek = 4;
    CacheShare keptBySeek{1, 3};

    // The window around the playhead that is filled when nothing is requested. While travelling, frames behind the playhead are
    // evicted earlier than those ahead (`costOfFramesBehind`): both sides must fit into the cache in that proportion. After a
    // seek most of the window is behind the playhead: going back is what cannot be decoded in time.
    CacheShare aheadForward{2, 5, 32};
    CacheShare behindForward{1, 6, 24};
    CacheShare aheadOtherwise{1, 8, 8};
    CacheShare behindAfterSeek{2, 5};
    CacheShare behindBackward{3, 4};

    // Going back, all frames from the keyframe on must be decoded to get the missing one, so as many as fit are kept with it:
    // another pass over the group would cost nearly as much again. Measured flat out from an empty cache: 64 frames per second
    // back, 95 % of the steps within 2.4 ms, one of 824 ms.
    std::int64_t minBackwardRun = 24;
    CacheShare maxBackwardRun{3, 4};

    /// While travelling, a frame behind the playhead is evicted like one that is this many times as far ahead.
    std::int64_t costOfFramesBehind = 4;

    friend bool operator==(const ReadAheadOptions&, const ReadAheadOptions&) = default;
};

/// What the policy asks about a clip. Frames are numbered from 0 in presentation order.
class ReadAheadClip {
public:
    virtual ~ReadAheadClip() = default;
    /// 1 or more; grows while the clip is being scanned.
    virtual std::int64_t frameCount() const = 0;
    /// The first frame of the group of pictures that must be decoded to get `frame`; may be greater than `frame`.
    virtual std::int64_t groupStart(std::int64_t frame) const = 0;
    /// The first frame that is not cached from `from` to `to` (up or down, both included); one past `to` when all are cached.
    virtual std::int64_t firstMissing(std::int64_t from, std::int64_t to) const = 0;
    /// How many frames fit into the clip's share of the cache; nothing until the first frame is decoded.
    virtual std::optional<std::int64_t> capacity() const = 0;
};

/// Any thread.
class ReadAheadPolicy {
public:
    struct Goal {
        std::int64_t frame;     ///< to decode next
        std::int64_t keepFrom;  ///< of the frames decoded on the way, those from here on are to be cached
        bool isJump;            ///< the frames between the last one decoded and this one are not wanted

        friend bool operator==(const Goal&, const Goal&) = default;
    };

    explicit ReadAheadPolicy(const ReadAheadOptions& options = {}) : options_(options) {}

    /// For a requested frame that is not cached.
    Goal request(std::int64_t frame, Travel travel, const ReadAheadClip& clip) const;
    /// While playing at `playhead`; nothing when enough is cached.
    std::optional<Goal> play(std::int64_t playhead, const ReadAheadClip& clip) const;
    /// While nothing is requested; nothing when the window around `playhead` is cached.
    std::optional<Goal> prefetch(std::int64_t playhead, Travel travel, const ReadAheadClip& clip) const;

    /// Of two cached frames, the one with the higher cost is evicted first. 0 at the playhead, growing to both sides.
    std::int64_t evictionCost(std::int64_t frame, std::int64_t playhead, Travel travel) const;

private:
    Goal runBackward(std::int64_t missing, std::int64_t min, const ReadAheadClip& clip) const;

    ReadAheadOptions options_;
};

}  // namespace videoanalysis::media::ffmpeg
