// Random walks of steps and seeks over clips of every kind: each frame shown must be the requested one, by the number in its
// pixels, at its exact time.

#include "FFmpeg/MediaTest.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <random>
#include <string>

namespace videoanalysis::media {
namespace {

struct WalkedClip {
    const char* name;
    int frames = 120;
    int firstNumber = 0;  // in the pixels of the clip's first frame
    bool isVariable = false;
    bool isRotated = false;
};

void PrintTo(const WalkedClip& clip, std::ostream* stream) { *stream << clip.name; }

/// Seconds from the first frame, as the clips of variable frame rate were made.
double timeOf(int frame, bool isVariable) {
    const auto ticks = [](int n) { return n * 3000 + 250 * (n * n % 7) - (n % 11 == 0 ? 1000 : 0); };
    return isVariable ? (ticks(frame) - ticks(0)) / 90000.0 : frame / 30.0;
}

std::string nameOf(const testing::TestParamInfo<WalkedClip>& clip) {
    std::string name = clip.param.name;
    for (char& c : name) {
        if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
    }
    return name;
}

class FrameExactnessTest : public MediaTest, public testing::WithParamInterface<WalkedClip> {
protected:
    int numberShown(const Player& player) const {
        if (!GetParam().isRotated) return shownNumber(player);
        // Rotated by a quarter turn to the left; rotated back to be read.
        const Bitmap upright = player.currentFrame()->scaled(180, 320);
        Bitmap stored(320, 180, 1);
        for (int y = 0; y < 180; ++y) {
            for (int x = 0; x < 320; ++x) {
                stored.pixels[static_cast<std::size_t>(y * 320 + x)] =
                    upright.pixels[static_cast<std::size_t>((319 - x) * 180 + y)];
            }
        }
        return readFrameNumber(reinterpret_cast<const std::uint8_t*>(stored.pixels.data()), 320, 180,
                               stored.bytesPerRow())
            .value_or(-1);
    }
};

TEST_P(FrameExactnessTest, RandomWalkShowsEachRequestedFrame) {
    const WalkedClip& clip = GetParam();
    const auto player = openReady(clip.name);
    ASSERT_TRUE(player->currentFrame());
    const auto item = player->currentItem();
    std::mt19937 random(4711);
    const auto below = [&random](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    // Containers with millisecond time stamps round both this frame's and the first one's time.
    const double tolerance =
        std::string(clip.name).ends_with(".mkv") || std::string(clip.name).ends_with(".webm") ? 0.00101 : 1e-9;
    EXPECT_NEAR(item->duration().seconds(), timeOf(clip.frames - 1, clip.isVariable) + 1 / 30.0, 0.03);

    const char* scale = std::getenv("VIDEOANALYSIS_WALK_SCALE");
    const int moves = 150 * (scale ? std::atoi(scale) : 1);
    int asked = 0;
    for (int move = 0; move < moves; ++move) {
        const int kind = below(10);
        if (kind < 3) {
            asked = below(clip.frames);
            // To the middle of the frame, so that rounded times do not matter.
            const double end = asked + 1 < clip.frames ? timeOf(asked + 1, clip.isVariable)
                                                       : timeOf(asked, clip.isVariable) + 1 / 30.0;
            const double middle = (timeOf(asked, clip.isVariable) + end) / 2;
            player->seek(Time::fromSeconds(middle, 1'000'000), Time::zero(), Time::zero());
        } else {
            const int count = kind < 6 ? -1 : kind < 8 ? 1 : below(61) - 30;
            asked = std::clamp(asked + count, 0, clip.frames - 1);
            item->step(count);
        }
        if (below(4) == 0) continue;  // replaced before it is shown
        ASSERT_TRUE(turnUntil([&] { return player->currentFrame()->index() == asked; })) << asked << ", move " << move;
        ASSERT_EQ(numberShown(*player), clip.firstNumber + asked) << "move " << move;
        ASSERT_NEAR(player->currentTime().seconds(), timeOf(asked, clip.isVariable), tolerance) << "move " << move;
    }
    EXPECT_TRUE(platform->log.empty()) << platform->log.front();
}

INSTANTIATE_TEST_SUITE_P(AllKinds, FrameExactnessTest,
                         testing::Values(WalkedClip{"h264.mp4"}, WalkedClip{"gop1.mp4"}, WalkedClip{"gop250.mp4", 300},
                                         WalkedClip{"open-group.mp4"}, WalkedClip{"hevc.mp4"}, WalkedClip{"vp9.webm"},
                                         WalkedClip{"mpeg4.avi"}, WalkedClip{"mjpeg.avi"}, WalkedClip{"h264.mkv"},
                                         WalkedClip{"h264.avi"}, WalkedClip{"open-group.avi"}, WalkedClip{"bare.h264"},
                                         WalkedClip{"bare.hevc"}, WalkedClip{"bare.m4v"}, WalkedClip{"offset.ts"},
                                         WalkedClip{"offset.mp4"}, WalkedClip{"variable.mp4", 120, 0, true},
                                         WalkedClip{"variable.mkv", 120, 0, true}, WalkedClip{"edited.mp4", 81, 39},
                                         WalkedClip{"rotated.mp4", 120, 0, false, true}),
                         nameOf);

TEST_F(MediaTest, SplitsPicturesThatShareAPacket) {
    const auto player = openReady("packed.avi");
    const auto decoded = openReady("packed-decoded.mkv");
    ASSERT_GT(shownNumber(*player), -1);
    std::int64_t frame = 0;
    const auto follow = [&](std::int64_t step) {
        frame += step;
        ASSERT_TRUE(stepTo(*player, step, frame) && stepTo(*decoded, step, frame)) << frame;
        ASSERT_EQ(shownNumber(*player), shownNumber(*decoded)) << frame;
    };
    while (decoded->currentItem()->canStepForward()) follow(1);
    EXPECT_FALSE(player->currentItem()->canStepForward());
    EXPECT_GT(frame, 100);
    while (frame >= 7) follow(-7);
    EXPECT_TRUE(platform->log.empty()) << platform->log.front();
}

TEST_F(MediaTest, ClipStartingInsideAGroupShowsItsFirstDecodableFrame) {
    const auto player = openReady("cut.ts");
    const int first = shownNumber(*player);
    EXPECT_GT(first, 0);
    EXPECT_EQ(compare(player->currentTime(), Time::zero()), 0);
    player->currentItem()->step(1000);
    ASSERT_TRUE(turnUntil([&] { return shownNumber(*player) == 119; }));
    const std::int64_t last = player->currentFrame()->index();
    for (int back = 1; back < 60; ++back) {
        ASSERT_TRUE(stepTo(*player, -1, last - back));
        ASSERT_EQ(shownNumber(*player), 119 - back);
    }
}

}  // namespace
}  // namespace videoanalysis::media
