// No lock of the media engine is held while objects that callers gave it are destroyed: their destructors may come back to it
// from any thread.

#include "FFmpeg/MediaTest.h"
#include "Platforms/FFmpeg/MainPoster.h"
#include "Platforms/FFmpeg/Playback/FrameCache.h"
#include "Platforms/FFmpeg/Playback/SteadyTimer.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <utility>

namespace videoanalysis::media::ffmpeg {
namespace {

/// Its destructor calls `use` on another thread, and counts itself in `destroyed` or, when that did not return, in `blocked`.
class UseOnDestruction {
public:
    UseOnDestruction(std::function<void()> use, std::atomic<int>& destroyed, std::atomic<int>& blocked)
        : use_(std::move(use)), destroyed_(destroyed), blocked_(blocked) {}
    UseOnDestruction(const UseOnDestruction&) = delete;
    UseOnDestruction& operator=(const UseOnDestruction&) = delete;
    ~UseOnDestruction() {
        std::packaged_task<void()> task(use_);
        const std::future<void> used = task.get_future();
        std::thread(std::move(task)).detach();  // joining it would wait for the lock
        ++(used.wait_for(std::chrono::seconds(2)) == std::future_status::ready ? destroyed_ : blocked_);
    }

private:
    const std::function<void()> use_;
    std::atomic<int>& destroyed_;
    std::atomic<int>& blocked_;
};

class LockingTest : public MediaTest {
protected:
    /// Waits for `count` destructions, and fails when one of them found a lock held.
    void expectDestroyed(int count) {
        EXPECT_TRUE(turnUntil([&] { return destroyed + blocked == count; }));
        EXPECT_EQ(blocked, 0) << "a lock was held";
    }
    std::shared_ptr<UseOnDestruction> probe(std::function<void()> use) {
        return std::make_shared<UseOnDestruction>(std::move(use), destroyed, blocked);
    }

    std::atomic<int> destroyed = 0;
    std::atomic<int> blocked = 0;
};

TEST_F(LockingTest, TimerDestroysBlocksUnlocked) {
    SteadyTimer timer;
    timer.at(SteadyTimer::Clock::now(), [owned = probe([&] { timer.at(SteadyTimer::Clock::now(), [] {}); })] {});
    expectDestroyed(1);
}

TEST_F(LockingTest, PosterDestroysBlocksOfAClosedQueueUnlocked) {
    MainPoster poster;
    platform = std::make_shared<HeadlessPlatform>();
    installPlatform(platform);  // the queue that the poster posts to is gone
    poster.post([owned = probe([&] { poster.close(); })] {});
    expectDestroyed(1);
}

TEST_F(LockingTest, CacheFreesFramesUnlocked) {
    FrameCache cache(0);  // keeps the minimum of frames for each clip
    const FrameCache::ClipNumber clip = cache.openClip();
    const auto frame = [&](std::int64_t index) {
        std::shared_ptr<const AVFrame> picture(
            av_frame_alloc(), [owned = probe([&] { cache.statistics(); })](const AVFrame* freed) mutable {
                auto* handle = const_cast<AVFrame*>(freed);
                av_frame_free(&handle);
                owned = nullptr;
            });
        const auto mutablePicture = std::const_pointer_cast<AVFrame>(picture);
        mutablePicture->width = mutablePicture->height = 16;
        mutablePicture->buf[0] = av_buffer_alloc(256);
        return std::make_shared<const DecodedFrame>(std::move(picture), Orientation{}, 1.0, index, Time(index, 30));
    };
    int evicted = 0;
    for (std::int64_t index = 0; index < FrameCache::minFramesPerClip; ++index) cache.insert(clip, frame(index));
    expectDestroyed(evicted);
    cache.insert(clip, frame(0));  // is there already
    expectDestroyed(++evicted);
    cache.insert(clip, frame(7));  // exceeds the budget
    expectDestroyed(++evicted);
    cache.setPlayhead(clip, 1000, Travel::forward);
    evicted += FrameCache::minFramesPerClip;
    expectDestroyed(evicted);
    cache.insert(clip, frame(1000));
    cache.closeClip(clip);
    expectDestroyed(++evicted);
}

}  // namespace
}  // namespace videoanalysis::media::ffmpeg
