#pragma once
// Fixture of the media tests: a platform whose main queue runs in real time, an engine, and functions that read the frame number
// from a player's picture.

#include "Platforms/FFmpeg/FFmpegEngine.h"
#include "Platforms/Headless/HeadlessPlatform.h"
#include "Testing/FrameNumber.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace videoanalysis::media {

/// Turns `queue` in real time until `isDone`; false after `seconds`.
inline bool turnUntil(HeadlessMainQueue& queue, const std::function<bool()>& isDone, double seconds = 20) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (!isDone()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        if (!queue.runTurn()) std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    return true;
}

class MediaTest : public testing::Test {
protected:
    MediaTest() { installPlatform(platform); }

    static URL clip(const std::string& name) { return URL(VIDEOANALYSIS_TEST_CLIPS_DIR "/" + name); }

    /// Runs turns of the main queue until `isDone`; false after `seconds`.
    bool turnUntil(const std::function<bool()>& isDone, double seconds = 20) {
        return media::turnUntil(platform->queue, isDone, seconds);
    }
    void turnFor(double seconds) {
        turnUntil([] { return false; }, seconds);
    }

    /// Opens a clip and waits until it is ready or has failed.
    std::shared_ptr<Player> open(const URL& url) {
        std::shared_ptr<Player> player = engine->makePlayer(engine->makePlayerItem(url));
        EXPECT_TRUE(turnUntil([&] { return player->currentItem()->status() != ItemStatus::unknown; }))
            << url.absoluteString();
        while (platform->queue.runTurn()) {
        }  // its events
        return player;
    }
    std::shared_ptr<Player> openReady(const std::string& name) {
        std::shared_ptr<Player> player = open(clip(name));
        EXPECT_EQ(player->currentItem()->status(), ItemStatus::readyToPlay)
            << name << ": " << player->currentItem()->errorDescription();
        return player;
    }

    /// The number in the frame's pixels; -1 when there is none.
    static int numberOf(const VideoFrame& frame) {
        const Bitmap bitmap = frame.scaled(320, 180);
        return readFrameNumber(reinterpret_cast<const std::uint8_t*>(bitmap.pixels.data()), bitmap.width, bitmap.height,
                               bitmap.bytesPerRow())
            .value_or(-1);
    }
    static int shownNumber(const Player& player) {
        return player.currentFrame() ? numberOf(*player.currentFrame()) : -1;
    }

    /// Seeks exactly and waits. False when the seek was not finished.
    bool seekTo(Player& player, const Time& time) {
        std::optional<bool> finished;
        player.seek(time, Time::zero(), Time::zero(), [&](bool isFinished) { finished = isFinished; });
        return turnUntil([&] { return finished.has_value(); }) && *finished;
    }
    /// Steps and waits until that frame of the index is shown.
    bool stepTo(Player& player, std::int64_t count, std::int64_t expected) {
        player.currentItem()->step(count);
        return turnUntil([&] { return player.currentFrame()->index() == expected; });
    }

    std::shared_ptr<HeadlessPlatform> platform = std::make_shared<HeadlessPlatform>();
    std::unique_ptr<FFmpegEngine> engine = std::make_unique<FFmpegEngine>();
};

}  // namespace videoanalysis::media
