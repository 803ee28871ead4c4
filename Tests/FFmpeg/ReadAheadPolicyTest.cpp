// What the read-ahead policy decodes and keeps, alone and together with the cache that evicts by it.

#include "Platforms/FFmpeg/Playback/ReadAheadPolicy.h"
#include "Platforms/FFmpeg/Playback/FrameCache.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>

namespace videoanalysis::media::ffmpeg {
namespace {

using Goal = ReadAheadPolicy::Goal;

constexpr std::size_t bytesPerFrame = 4096;

std::shared_ptr<const DecodedFrame> makeFrame(std::int64_t index) {
    const std::shared_ptr<AVFrame> picture(av_frame_alloc(), LibraryDeleter{});
    picture->width = picture->height = 16;
    picture->buf[0] = av_buffer_alloc(bytesPerFrame);
    return std::make_shared<const DecodedFrame>(picture, Orientation{}, 1.0, index, Time(index, 30));
}

/// A clip with a keyframe every `groupSize` frames in a cache; `load` stands for the decoder.
class CachedClip : public ReadAheadClip {
public:
    CachedClip(FrameCache& cache, std::int64_t frames, std::int64_t groupSize)
        : cache_(cache), number_(cache.openClip()), frames_(frames), groupSize_(groupSize) {}

    std::int64_t frameCount() const override { return frames_; }
    std::int64_t groupStart(std::int64_t frame) const override { return frame / groupSize_ * groupSize_; }
    std::int64_t firstMissing(std::int64_t from, std::int64_t to) const override {
        return cache_.firstMissing(number_, from, to);
    }
    std::optional<std::int64_t> capacity() const override {
        return knowsFrameSize ? std::optional(cache_.capacity(bytesPerFrame)) : std::nullopt;
    }

    void moveTo(std::int64_t frame, Travel travel) { cache_.setPlayhead(number_, frame, travel); }
    /// Decodes up to the goal as a decoder would: from the group's start, or on from the last frame.
    void load(const Goal& goal) {
        const std::int64_t start = groupStart(std::max<std::int64_t>(goal.keepFrom, 0));
        const bool continues = lastDecoded_ < goal.frame && lastDecoded_ + 1 >= start;
        for (std::int64_t frame = continues ? lastDecoded_ + 1 : start; frame <= goal.frame; ++frame) {
            ++decodeCount;
            if (frame >= goal.keepFrom) cache_.insert(number_, makeFrame(frame));
        }
        lastDecoded_ = goal.frame;
    }
    /// Loads goals of `next` until there is none; false when that does not end.
    template <class Next>
    bool loadAll(const Next& next) {
        for (int count = 0; count < 1000; ++count) {
            const std::optional<Goal> goal = next();
            if (!goal) return true;
            load(*goal);
        }
        return false;
    }
    bool isCached(std::int64_t from, std::int64_t to) const { return firstMissing(from, to) == to + 1; }

    bool knowsFrameSize = true;
    int decodeCount = 0;

private:
    FrameCache& cache_;
    const FrameCache::ClipNumber number_;
    const std::int64_t frames_;
    const std::int64_t groupSize_;
    std::int64_t lastDecoded_ = -2;
};

TEST(ReadAheadPolicyTest, RequestKeepsSomeFramesOnTheWay) {
    const ReadAheadPolicy policy;
    FrameCache cache(bytesPerFrame * 400);
    CachedClip clip(cache, 1000, 100);
    // A seek: 4 and a third of the way from the keyframe, and no more than there is.
    EXPECT_EQ(policy.request(290, Travel::none, clip), (Goal{290, 290 - 34, true}));
    EXPECT_EQ(policy.request(202, Travel::none, clip), (Goal{202, 200, true}));
    EXPECT_EQ(policy.request(200, Travel::none, clip), (Goal{200, 200, true}));
    // Forward, the decoder continues its run; backward, the run reaches back to the keyframe.
    EXPECT_FALSE(policy.request(290, Travel::forward, clip).isJump);
    EXPECT_EQ(policy.request(290, Travel::backward, clip), (Goal{290, 200, false}));
    // Near a keyframe, a group that is long is not extended into the one before; short groups are.
    EXPECT_EQ(policy.request(220, Travel::backward, clip), (Goal{220, 200, false}));
    EXPECT_EQ(policy.request(203, Travel::backward, clip), (Goal{203, 180, false}));
    EXPECT_EQ(policy.request(3, Travel::backward, clip), (Goal{3, 0, false}));
    // Before the first frame is decoded, no capacity limits the run; nothing is prefetched.
    FrameCache smallCache(bytesPerFrame * 20);
    CachedClip unknown(smallCache, 1000, 100);
    EXPECT_EQ(policy.request(290, Travel::backward, unknown), (Goal{290, 290 - 14, false}));
    unknown.knowsFrameSize = false;
    EXPECT_EQ(policy.request(290, Travel::backward, unknown), (Goal{290, 200, false}));
    EXPECT_EQ(policy.prefetch(290, Travel::forward, unknown), std::nullopt);
    EXPECT_EQ(policy.play(290, unknown), std::nullopt);
}

TEST(ReadAheadPolicyTest, PlayingStaysAFewFramesAhead) {
    const ReadAheadPolicy policy;
    FrameCache cache(bytesPerFrame * 100);
    CachedClip clip(cache, 50, 10);
    clip.moveTo(20, Travel::forward);
    EXPECT_EQ(policy.play(20, clip), (Goal{20, 20, false}));
    EXPECT_TRUE(clip.loadAll([&] { return policy.play(20, clip); }));
    EXPECT_TRUE(clip.isCached(20, 28));
    EXPECT_FALSE(clip.isCached(29, 29));
    clip.moveTo(47, Travel::forward);
    EXPECT_TRUE(clip.loadAll([&] { return policy.play(47, clip); })) << "not past the last frame";
    EXPECT_TRUE(clip.isCached(47, 49));
}

/// Frames that must be cached once the window around the playhead is filled.
struct Window {
    Travel travel;
    std::int64_t playhead;
    std::int64_t first;
    std::int64_t last;
};

TEST(ReadAheadPolicyTest, PrefetchFillsTheWindowInTheDirectionOfTravel) {
    const ReadAheadPolicy policy;
    for (const Window& window :
         {Window{Travel::forward, 500, 484, 532}, Window{Travel::backward, 500, 425, 508},
          Window{Travel::none, 500, 460, 508}, Window{Travel::forward, 5, 0, 37}, Window{Travel::backward, 0, 0, 8},
          Window{Travel::none, 999, 959, 999}, Window{Travel::forward, 990, 974, 999}}) {
        for (const std::int64_t groupSize : {1, 12, 250, 1000}) {
            SCOPED_TRACE(testing::Message() << "from " << window.playhead << " in groups of " << groupSize);
            FrameCache cache(bytesPerFrame * 100);
            CachedClip clip(cache, 1000, groupSize);
            clip.moveTo(window.playhead, window.travel);
            ASSERT_TRUE(clip.loadAll([&] { return policy.prefetch(window.playhead, window.travel, clip); }));
            EXPECT_TRUE(clip.isCached(window.first, window.last));
        }
    }
    // The direction of travel comes first.
    FrameCache cache(bytesPerFrame * 100);
    CachedClip clip(cache, 1000, 50);
    clip.load({500, 500, true});
    EXPECT_EQ(policy.prefetch(500, Travel::forward, clip)->frame, 501);
    EXPECT_EQ(policy.prefetch(500, Travel::backward, clip)->frame, 499);
    EXPECT_EQ(policy.prefetch(500, Travel::none, clip)->frame, 501);
}

TEST(ReadAheadPolicyTest, StepsBackDecodeEachFrameOnceAndNeverWaitForPrefetch) {
    const ReadAheadPolicy policy;
    FrameCache cache(bytesPerFrame * 200);
    CachedClip clip(cache, 1000, 100);
    for (std::int64_t frame = 899; frame >= 300; --frame) {  // too fast for any prefetch
        clip.moveTo(frame, Travel::backward);
        if (!clip.isCached(frame, frame)) clip.load(policy.request(frame, Travel::backward, clip));
        ASSERT_TRUE(clip.isCached(frame, frame)) << frame;
    }
    EXPECT_EQ(clip.decodeCount, 600);
    for (std::int64_t frame = 299; frame > 0; --frame) {
        clip.moveTo(frame, Travel::backward);
        ASSERT_TRUE(clip.loadAll([&] { return policy.prefetch(frame, Travel::backward, clip); }));
        ASSERT_TRUE(clip.isCached(frame - 1, frame)) << frame;
    }
}

TEST(ReadAheadPolicyTest, PrefetchEndsWithAnyBudget) {
    const ReadAheadPolicy policy;
    for (const std::size_t frames : {0U, 5U, 8U, 9U, 13U, 24U, 60U}) {
        for (const std::int64_t groupSize : {1, 7, 30, 250}) {
            FrameCache cache(bytesPerFrame * frames);
            CachedClip clip(cache, 600, groupSize);
            for (const Travel travel : {Travel::none, Travel::forward, Travel::backward}) {
                for (const std::int64_t playhead : {0, 1, 29, 30, 251, 598, 599}) {
                    SCOPED_TRACE(testing::Message() << frames << " frames, groups of " << groupSize << ", at "
                                                    << playhead << ", travel " << static_cast<int>(travel));
                    clip.moveTo(playhead, travel);
                    clip.load(policy.request(playhead, travel, clip));
                    EXPECT_TRUE(clip.isCached(playhead, playhead));
                    EXPECT_TRUE(clip.loadAll([&] { return policy.prefetch(playhead, travel, clip); }));
                    EXPECT_TRUE(clip.isCached(playhead, playhead)) << "what is shown is not evicted for its neighbours";
                    clip.moveTo(playhead, Travel::forward);
                    EXPECT_TRUE(clip.loadAll([&] { return policy.play(playhead, clip); }));
                }
            }
        }
    }
}

TEST(ReadAheadPolicyTest, TwoClipsShareTheBudget) {
    const ReadAheadPolicy policy;
    FrameCache cache(bytesPerFrame * 100);
    CachedClip first(cache, 1000, 50);
    first.moveTo(500, Travel::backward);
    ASSERT_TRUE(first.loadAll([&] { return policy.prefetch(500, Travel::backward, first); }));
    EXPECT_TRUE(first.isCached(425, 508));

    CachedClip second(cache, 1000, 50);
    EXPECT_EQ(first.capacity(), 50);
    EXPECT_TRUE(first.isCached(463, 500)) << "what is nearest in the direction of travel stays";
    second.moveTo(200, Travel::none);
    ASSERT_TRUE(second.loadAll([&] { return policy.prefetch(200, Travel::none, second); }));
    ASSERT_TRUE(first.loadAll([&] { return policy.prefetch(500, Travel::backward, first); }));
    EXPECT_TRUE(second.isCached(180, 206));
    EXPECT_TRUE(first.isCached(463, 506));
    EXPECT_LE(cache.statistics().bytes, bytesPerFrame * 100);
}

}  // namespace
}  // namespace videoanalysis::media::ffmpeg
