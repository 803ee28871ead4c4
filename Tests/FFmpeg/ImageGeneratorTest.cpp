// The order in which thumbnails come, and those of clips that are turned, damaged or none.

#include "FFmpeg/MediaTest.h"

#include <optional>
#include <utility>
#include <vector>

namespace videoanalysis::media {
namespace {

class ImageGeneratorTest : public MediaTest {
protected:
    static int numberOf(const Bitmap& bitmap) {
        return readFrameNumber(reinterpret_cast<const std::uint8_t*>(bitmap.pixels.data()), bitmap.width, bitmap.height,
                               bitmap.bytesPerRow())
            .value_or(-1);
    }
    static Time middleOf(int frame) { return {frame * 2 + 1, 60}; }  // of the clips at 30 a second
};

TEST_F(ImageGeneratorTest, DeliversKeyframesAsPlaceholdersFirst) {
    const auto generator = engine->makeImageGenerator(clip("h264.mp4"));
    std::vector<std::pair<int, bool>> delivered;  // number in the pixels, final
    const std::vector<Time> times = {middleOf(100), middleOf(30), middleOf(5), middleOf(44)};
    generator->generate(times, {320, 320}, ImageGenerator::Order::approximateFirst, [&](const GeneratedImage& image) {
        delivered.emplace_back(numberOf(*image.bitmap), image.isFinal);
    });
    ASSERT_TRUE(turnUntil([&] { return delivered.size() == 7; }));
    turnFor(0.05);
    // Frame 30 is a keyframe itself. Placeholders come first, and all in decoding order.
    EXPECT_EQ(delivered, (std::vector<std::pair<int, bool>>{
                             {0, false}, {30, false}, {90, false}, {5, true}, {30, true}, {44, true}, {100, true}}));
}

TEST_F(ImageGeneratorTest, NewestRequestGoesFirstAndCancelStopsDelivery) {
    const auto generator = engine->makeImageGenerator(clip("gop250.mp4"));
    std::vector<Time> many;
    for (int frame = 0; frame < 300; ++frame) many.push_back(middleOf(frame));
    std::size_t old = 0;
    generator->generate(many, {}, ImageGenerator::Order::exact, [&](const GeneratedImage& image) {
        EXPECT_EQ(image.bitmap->width, 320) << "without a size, the clip's own";
        ++old;
    });
    ASSERT_TRUE(turnUntil([&] { return old >= 3; }));
    bool isThere = false;
    generator->generate({middleOf(290)}, {100, 100}, ImageGenerator::Order::exact, [&](const GeneratedImage& image) {
        EXPECT_EQ(image.bitmap->width, 100);
        isThere = true;
    });
    ASSERT_TRUE(turnUntil([&] { return isThere; }));
    EXPECT_LT(old, many.size());
    generator->cancelAll();
    const std::size_t before = old;
    turnFor(0.1);
    EXPECT_EQ(old, before);
    // New requests work after cancelling.
    isThere = false;
    generator->generate({middleOf(2)}, {}, ImageGenerator::Order::exact,
                        [&](const GeneratedImage&) { isThere = true; });
    ASSERT_TRUE(turnUntil([&] { return isThere; }));
}

TEST_F(ImageGeneratorTest, DestroysHandlersOnTheMainThread) {
    auto generator = engine->makeImageGenerator(clip("h264.mp4"));
    int destroyed = 0;
    int destroyedElsewhere = 0;
    const auto recordDestruction = [&, mainThread = std::this_thread::get_id()](void*) {
        destroyedElsewhere += std::this_thread::get_id() == mainThread ? 0 : 1;
        ++destroyed;
    };
    const auto generate = [&] {
        int delivered = 0;
        const auto handler = [&delivered, owned = std::shared_ptr<void>(nullptr, recordDestruction)](
                                 const GeneratedImage&) { ++delivered; };
        generator->generate({middleOf(3), middleOf(5)}, {90, 90}, ImageGenerator::Order::exact, handler);
        return turnUntil([&] { return delivered == 2; });
    };
    for (int request = 1; request <= 3; ++request) ASSERT_TRUE(generate());
    generator->generate({}, {}, ImageGenerator::Order::exact,
                        [owned = std::shared_ptr<void>(nullptr, recordDestruction)](const GeneratedImage&) {});
    EXPECT_EQ(destroyed, 4) << "a request that is complete keeps nothing";
    generator->generate({middleOf(110)}, {}, ImageGenerator::Order::exact,
                        [owned = std::shared_ptr<void>(nullptr, recordDestruction)](const GeneratedImage&) {});
    generator = nullptr;
    EXPECT_EQ(destroyed, 5);
    EXPECT_EQ(destroyedElsewhere, 0);
}

TEST_F(ImageGeneratorTest, AppliesOrientationAndDeliversNullForBadClips) {
    auto generator = engine->makeImageGenerator(clip("rotated.mp4"));
    std::optional<GeneratedImage> image;
    const auto ask = [&] {
        image.reset();
        generator->generate({Time(900, 1)}, {90, 90}, ImageGenerator::Order::exact,
                            [&](const GeneratedImage& made) { image = made; });
        return turnUntil([&] { return image.has_value(); });
    };
    ASSERT_TRUE(ask());
    ASSERT_TRUE(image->bitmap);
    EXPECT_EQ(image->bitmap->width, 51);
    EXPECT_EQ(image->bitmap->height, 90);
    EXPECT_NEAR(image->actualTime.seconds(), 119 / 30.0, 0.001) << "limited to the clip";
    for (const char* name : {"text.mp4", "audio-only.mp4", "missing.mp4"}) {
        generator = engine->makeImageGenerator(clip(name));
        ASSERT_TRUE(ask()) << name;
        EXPECT_FALSE(image->bitmap) << name;
        EXPECT_TRUE(image->isFinal) << name;
    }
    // Damaged and truncated clips: some picture for every time.
    for (const char* name : {"damaged.mp4", "truncated.mp4", "one-frame.mp4"}) {
        generator = engine->makeImageGenerator(clip(name));
        std::vector<Time> times;
        for (int frame = 0; frame < 120; frame += 6) times.push_back(middleOf(frame));
        std::size_t pictures = 0;
        generator->generate(times, {100, 100}, ImageGenerator::Order::exact,
                            [&](const GeneratedImage& made) { pictures += made.bitmap ? 1 : 0; });
        EXPECT_TRUE(turnUntil([&] { return pictures == times.size(); })) << name << " " << pictures;
    }
    // Destroyed while it works: nothing is delivered, and the engine is destroyed without a long wait.
    generator = engine->makeImageGenerator(clip("gop250.mp4"));
    generator->generate({middleOf(299)}, {}, ImageGenerator::Order::exact, [](const GeneratedImage&) { FAIL(); });
    generator = nullptr;
    turnFor(0.05);
}

}  // namespace
}  // namespace videoanalysis::media
