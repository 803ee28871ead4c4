#include "Testing/MediaConformance.h"

#include "Testing/FrameNumber.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>

#include <unistd.h>

namespace videoanalysis::conformance {

using namespace media;

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(MediaConformance);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(MediaExportConformance);

std::shared_ptr<Player> MediaConformance::open(const URL& url) {
    std::shared_ptr<Player> player = subject->engine().makePlayer(subject->engine().makePlayerItem(url));
    bool isKnown = false;
    const auto token = player->currentItem()->observe([&](PlayerItem::Event event) {
        if (event == PlayerItem::Event::statusChanged) isKnown = true;
    });
    EXPECT_TRUE(wait([&] {
        return isKnown && (player->currentFrame() || player->currentItem()->status() == ItemStatus::failed);
    })) << url.absoluteString();
    if (player->currentFrame()) settle(*player);
    return player;
}

std::optional<bool> MediaConformance::seek(Player& player, const Time& time) {
    std::optional<bool> finished;
    call([&] {
        player.seek(time, Time::zero(), Time::zero(), [&](bool isFinished) {
            expectLaterTurn();
            finished = isFinished;
        });
    });
    EXPECT_TRUE(wait([&] { return finished.has_value(); })) << time.seconds();
    return finished;
}

bool MediaConformance::isShown(const Player& player, std::int64_t frame) {
    return wait([&] { return player.currentFrame() && player.currentFrame()->index() == frame; });
}

void MediaConformance::settle(Player& player) { EXPECT_TRUE(seek(player, player.currentTime())); }

int MediaConformance::numberOf(const Bitmap& bitmap) {
    return readFrameNumber(reinterpret_cast<const std::uint8_t*>(bitmap.pixels.data()), bitmap.width, bitmap.height,
                           bitmap.bytesPerRow())
        .value_or(-1);
}

testing::AssertionResult MediaConformance::shows(const Player& player, std::int64_t frame) const {
    const std::shared_ptr<const VideoFrame> shown = player.currentFrame();
    if (!shown) return testing::AssertionFailure() << "no frame is shown";
    if (shown->index() != frame)
        return testing::AssertionFailure() << "frame " << shown->index() << " is shown instead of " << frame;
    if (compare(shown->time(), player.currentItem()->frameTime(Time::zero(), frame)) != 0)
        return testing::AssertionFailure() << "frame " << frame << " has the time " << shown->time().seconds();
    if (!subject->hasNumberedFrames()) return testing::AssertionSuccess();
    const int number = numberOf(shown->scaled(320, 180));
    if (number != frame) return testing::AssertionFailure() << "frame " << frame << " has the pixels of " << number;
    return testing::AssertionSuccess();
}

namespace {

TEST_P(MediaConformance, KnowsAClipOnceItIsReady) {
    for (const MediaClip& clip : subject->clips()) {
        SCOPED_TRACE(clip.url.absoluteString());
        const auto item = subject->engine().makePlayerItem(clip.url);
        const auto player = subject->engine().makePlayer(item);
        EXPECT_EQ(item->url(), clip.url);
        EXPECT_EQ(player->currentItem(), item);
        EXPECT_EQ(item->status(), ItemStatus::unknown);
        EXPECT_EQ(compare(item->duration(), Time::zero()), 0);
        EXPECT_EQ(compare(item->frameTime(Time(1, 1), 1), Time::zero()), 0);
        EXPECT_TRUE(item->videoTracks().empty());
        EXPECT_EQ(player->currentFrame(), nullptr);
        EXPECT_EQ(player->rate(), 0);

        std::vector<PlayerItem::Event> events;
        int frames = 0;
        const auto eventToken = item->observe([&](PlayerItem::Event event) {
            expectLaterTurn();
            events.push_back(event);
        });
        const auto frameToken = player->observeFrame([&] {
            expectLaterTurn();
            ++frames;
        });
        ASSERT_TRUE(wait([&] { return !events.empty() && frames > 0; }));
        EXPECT_EQ(events, std::vector{PlayerItem::Event::statusChanged});
        EXPECT_EQ(item->status(), ItemStatus::readyToPlay);
        EXPECT_EQ(item->errorDescription(), "");
        EXPECT_EQ(item->presentationSize(), clip.size);
        EXPECT_FALSE(item->isPlaybackBufferEmpty());
        ASSERT_EQ(item->videoTracks().size(), 1U);
        EXPECT_EQ(item->videoTracks()[0].naturalSize, clip.size);
        if (clip.frameDuration.isValid()) {
            EXPECT_NEAR(item->videoTracks()[0].minFrameDuration.seconds(), clip.frameDuration.seconds(),
                        clip.timeTolerance);
            EXPECT_NEAR(item->duration().seconds(), clip.frameDuration.seconds() * static_cast<double>(clip.frames),
                        std::max(clip.timeTolerance, 0.0));
        }
        EXPECT_TRUE(shows(*player, 0));
        EXPECT_EQ(compare(player->currentTime(), Time::zero()), 0);
        EXPECT_FALSE(item->canStepBackward());
        EXPECT_TRUE(item->canStepForward());
    }
}

TEST_P(MediaConformance, ReportsUnplayableClipsInOneLine) {
    for (const URL& url : subject->unplayable()) {
        SCOPED_TRACE(url.absoluteString());
        const auto player = subject->engine().makePlayer(subject->engine().makePlayerItem(url));
        const auto item = player->currentItem();
        std::vector<PlayerItem::Event> events;
        const auto token = item->observe([&](PlayerItem::Event event) { events.push_back(event); });
        ASSERT_TRUE(wait([&] { return !events.empty(); }));
        EXPECT_EQ(events, std::vector{PlayerItem::Event::statusChanged});
        EXPECT_EQ(item->status(), ItemStatus::failed);
        EXPECT_NE(item->errorDescription(), "");
        EXPECT_EQ(item->errorDescription().find('\n'), std::string::npos) << item->errorDescription();
        item->step(3);
        seek(*player, Time(1, 1));
        EXPECT_EQ(player->currentFrame(), nullptr);
        EXPECT_EQ(compare(item->duration(), Time::zero()), 0);
        EXPECT_FALSE(item->canStepForward());
        EXPECT_FALSE(item->canStepBackward());
    }
}

TEST_P(MediaConformance, KnowsWhereFramesBegin) {
    for (const MediaClip& clip : subject->clips()) {
        SCOPED_TRACE(clip.url.absoluteString());
        const auto player = open(clip.url);
        const PlayerItem& item = *player->currentItem();
        Time time = Time::zero();
        for (std::int64_t frame = 0; frame < clip.frames; ++frame) {
            if (clip.frameDuration.isValid()) {
                ASSERT_NEAR(time.seconds(), clip.frameDuration.seconds() * static_cast<double>(frame),
                            clip.timeTolerance);
            }
            const Time next = item.frameTime(time, 1);
            ASSERT_GT(compare(next, time), 0) << frame;
            ASSERT_EQ(compare(item.frameTime(next, -1), time), 0) << frame;
            ASSERT_EQ(compare(item.frameTime(Time::zero(), frame), time), 0) << frame;
            time = next;
        }
        EXPECT_EQ(compare(time, item.duration()), 0) << "the end counts as one more";
        EXPECT_EQ(compare(item.frameTime(item.duration(), 1'000'000'000'000), item.duration()), 0);
        EXPECT_EQ(compare(item.frameTime(Time::zero(), -3), Time::zero()), 0);
    }
}

TEST_P(MediaConformance, StepsOverEveryFrame) {
    for (const MediaClip& clip : subject->clips()) {
        SCOPED_TRACE(clip.url.absoluteString());
        const auto player = open(clip.url);
        const auto item = player->currentItem();
        for (std::int64_t frame = 1; frame < clip.frames; ++frame) {
            ASSERT_TRUE(item->canStepForward());
            item->step(1);
            ASSERT_TRUE(isShown(*player, frame)) << frame;
            ASSERT_TRUE(shows(*player, frame));
        }
        EXPECT_FALSE(item->canStepForward());
        item->step(1);
        for (std::int64_t frame = clip.frames - 2; frame >= 0; --frame) {
            ASSERT_TRUE(item->canStepBackward());
            item->step(-1);
            ASSERT_TRUE(isShown(*player, frame)) << frame;
            ASSERT_TRUE(shows(*player, frame));
        }
        EXPECT_FALSE(item->canStepBackward());
        EXPECT_EQ(compare(player->currentTime(), Time::zero()), 0);
    }
}

TEST_P(MediaConformance, CountsStepsFromTheFrameAskedForLast) {
    const MediaClip clip = firstClip();
    const auto player = open(clip.url);
    const auto item = player->currentItem();
    for (int i = 0; i < 5; ++i) item->step(10);
    item->step(-3);
    ASSERT_TRUE(isShown(*player, 47));
    EXPECT_TRUE(shows(*player, 47));
    item->step(1'000'000'000'000);
    ASSERT_TRUE(isShown(*player, clip.frames - 1));
    item->step(-1'000'000'000'000);
    item->step(2);
    ASSERT_TRUE(isShown(*player, 2));
    EXPECT_TRUE(shows(*player, 2));
}

TEST_P(MediaConformance, SeeksToTheFrameThatCoversATime) {
    for (const MediaClip& clip : subject->clips()) {
        SCOPED_TRACE(clip.url.absoluteString());
        const auto player = open(clip.url);
        const PlayerItem& item = *player->currentItem();
        std::vector<std::int64_t> frames = {
            clip.frames - 1, 0, 1, clip.frames / 2, clip.frames / 2 - 1, clip.frames - 2, 29, 30, 31};
        std::mt19937 random(5);
        for (int i = 0; i < 10; ++i)
            frames.push_back(static_cast<std::int64_t>(random() % static_cast<unsigned>(clip.frames)));
        for (const std::int64_t frame : frames) {
            const Time begin = item.frameTime(Time::zero(), frame);
            const Time end = item.frameTime(Time::zero(), frame + 1);
            const auto at = [&](double share) {
                return Time::fromSeconds(begin.seconds() + share * (end.seconds() - begin.seconds()), 1'000'000'000);
            };
            for (const Time& time : {begin, at(0.5), at(0.999)}) {
                EXPECT_EQ(seek(*player, time), true);
                ASSERT_TRUE(shows(*player, frame)) << time.seconds();
                ASSERT_EQ(compare(player->currentTime(), begin), 0);
            }
        }
        EXPECT_EQ(seek(*player, Time(-7, 1)), true);
        EXPECT_TRUE(shows(*player, 0)) << "limited to the clip";
        EXPECT_EQ(seek(*player, Time(100'000, 1)), true);
        EXPECT_TRUE(shows(*player, clip.frames - 1));
    }
}

TEST_P(MediaConformance, AnswersEverySeekOnceAndShowsTheNewest) {
    const auto player = open(firstClip().url);
    const PlayerItem& item = *player->currentItem();
    std::map<int, int> answers;
    for (int i = 0; i < 8; ++i) {
        call([&] {
            player->seek(item.frameTime(Time::zero(), i % 2 == 0 ? 50 + i : 3 + i), Time::zero(), Time::zero(),
                         [&, i](bool) {
                             expectLaterTurn();
                             ++answers[i];
                         });
        });
    }
    player->currentItem()->step(4);  // from the frame of the newest seek
    ASSERT_TRUE(isShown(*player, 14));
    settle(*player);
    EXPECT_TRUE(shows(*player, 14));
    EXPECT_EQ(answers.size(), 8U);
    for (const auto& [number, count] : answers) EXPECT_EQ(count, 1) << number;
    // Without a completion, and with room for any frame nearby.
    player->seek(item.frameTime(Time::zero(), 40), Time::zero(), Time::zero());
    ASSERT_TRUE(isShown(*player, 40));
    bool isAnswered = false;
    player->seek(item.frameTime(Time::zero(), 20), Time(1, 5), Time(1, 5), [&](bool) { isAnswered = true; });
    ASSERT_TRUE(wait([&] { return isAnswered; }));
    EXPECT_NEAR(player->currentTime().seconds(), item.frameTime(Time::zero(), 20).seconds(), 0.2001);
}

TEST_P(MediaConformance, EndsEachAttemptToPlayOnce) {
    const MediaClip clip = firstClip();
    const auto player = open(clip.url);
    const auto item = player->currentItem();
    ASSERT_EQ(seek(*player, item->frameTime(Time::zero(), clip.frames - 20)), true);
    std::vector<PlayerItem::Event> events;
    std::vector<float> rates;
    std::vector<std::int64_t> shown;
    const auto eventToken = item->observe([&](PlayerItem::Event event) {
        expectLaterTurn();
        events.push_back(event);
    });
    const auto rateToken = player->observeRate([&] {
        expectLaterTurn();
        rates.push_back(player->rate());
    });
    const auto frameToken = player->observeFrame([&] {
        expectLaterTurn();
        shown.push_back(player->currentFrame()->index());
    });
    for (std::size_t attempt = 1; attempt <= 3; ++attempt) {
        call([&] { player->play(); });
        EXPECT_EQ(player->rate(), 1);
        ASSERT_TRUE(wait([&] { return events.size() >= attempt; }));
        EXPECT_EQ(player->rate(), 0);
        settle(*player);
        EXPECT_EQ(events, std::vector(attempt, PlayerItem::Event::playedToEnd));
        EXPECT_EQ(rates.size(), 2 * attempt) << "playing is seen to begin and to end";
        EXPECT_TRUE(shows(*player, clip.frames - 1));
    }
    EXPECT_GT(shown.size(), 10U);
    EXPECT_TRUE(std::is_sorted(shown.begin(), shown.end()));
}

TEST_P(MediaConformance, LimitsRatesAndKeepsThePictureWhenPaused) {
    const auto player = open(firstClip().url);
    player->setRate(100);
    EXPECT_EQ(player->rate(), 8);
    player->setRate(0.01F);
    EXPECT_EQ(player->rate(), 0.1F);
    player->setRate(2);
    ASSERT_TRUE(wait([&] { return player->currentFrame()->index() >= 10; }));
    call([&] { player->pause(); });
    EXPECT_EQ(player->rate(), 0);
    const std::int64_t paused = player->currentFrame()->index();
    EXPECT_EQ(compare(player->currentTime(), player->currentFrame()->time()), 0);
    settle(*player);
    EXPECT_TRUE(shows(*player, paused));
    player->currentItem()->step(-1);
    ASSERT_TRUE(isShown(*player, paused - 1));
}

TEST_P(MediaConformance, PlaysAtTheRateAskedFor) {
    const MediaClip clip = firstClip();
    const auto player = open(clip.url);
    // One player at the clip's own speed and one at twice that: the second advances twice as far on any clock.
    const auto other = open(clip.url);
    player->play();
    other->setRate(2);
    ASSERT_TRUE(wait([&] { return other->currentTime().seconds() >= 60 * clip.frameDuration.seconds(); }));
    EXPECT_NEAR(player->currentTime().seconds() / other->currentTime().seconds(), 0.5, 0.1);
}

TEST_P(MediaConformance, StaysInThePlaybackRange) {
    const std::vector<MediaClip> clips = subject->clips();
    for (const MediaClip& clip : {clips.front(), clips.back()}) {
        SCOPED_TRACE(clip.url.absoluteString());
        const auto player = open(clip.url);
        const auto item = player->currentItem();
        // Frames 30 to 41; both moments lie inside a frame.
        const auto inside = [&](std::int64_t frame) {
            return Time::fromSeconds(item->frameTime(Time::zero(), frame).seconds() + 0.002, 1'000'000);
        };
        player->setPlaybackRange(inside(30), inside(41));
        std::vector<std::int64_t> shown;
        int rounds = 0;
        const auto frameToken = player->observeFrame([&] { shown.push_back(player->currentFrame()->index()); });
        const auto eventToken = item->observe([&](PlayerItem::Event event) {
            EXPECT_EQ(event, PlayerItem::Event::playedToEnd);
            EXPECT_EQ(player->currentFrame()->index(), 41);
            if (++rounds == 3) return;
            player->seek(inside(30), Time::zero(), Time::zero());
            player->play();
        });
        ASSERT_EQ(seek(*player, inside(30)), true);
        settle(*player);
        shown.clear();
        player->play();
        ASSERT_TRUE(wait([&] { return rounds == 3; }));
        EXPECT_GT(shown.size(), 10U);
        EXPECT_GE(*std::min_element(shown.begin(), shown.end()), 30);
        EXPECT_LE(*std::max_element(shown.begin(), shown.end()), 41);
        // It does not limit seeks and steps, and invalid times end it.
        EXPECT_EQ(seek(*player, inside(50)), true);
        EXPECT_TRUE(shows(*player, 50));
        player->setPlaybackRange({}, {});
        player->setRate(2);
        ASSERT_TRUE(wait([&] { return player->currentFrame()->index() > 52; }));
    }
}

TEST_P(MediaConformance, TellsTimeObserversOfEveryJump) {
    const auto player = open(firstClip().url);
    const PlayerItem& item = *player->currentItem();
    const Time interval = firstClip().frameDuration;
    std::vector<double> times;
    auto token = player->addPeriodicTimeObserver(interval, [&](const Time& time) {
        expectLaterTurn();
        times.push_back(time.seconds());
    });
    call([&] { player->currentItem()->step(1); });
    ASSERT_TRUE(isShown(*player, 1));
    ASSERT_TRUE(wait([&] { return !times.empty(); }));
    ASSERT_EQ(seek(*player, item.frameTime(Time::zero(), 15)), true);
    ASSERT_TRUE(wait([&] { return times.size() >= 2; }));
    ASSERT_EQ(times.size(), 2U);
    EXPECT_NEAR(times[0], item.frameTime(Time::zero(), 1).seconds(), 1e-9);
    EXPECT_NEAR(times[1], item.frameTime(Time::zero(), 15).seconds(), 1e-9);

    times.clear();
    player->setRate(2);
    ASSERT_TRUE(wait([&] { return player->currentTime().seconds() > item.frameTime(Time::zero(), 50).seconds(); }));
    player->pause();
    EXPECT_GT(times.size(), 10U) << "about one for each frame, when the machine is not busy";
    EXPECT_LE(times.size(), 45U);
    EXPECT_TRUE(std::is_sorted(times.begin(), times.end()));
    settle(*player);

    // Once removed it is not called, not even for what has happened already.
    const std::size_t count = times.size();
    player->currentItem()->step(5);
    player->removeTimeObserver(token);
    settle(*player);
    EXPECT_EQ(times.size(), count);
}

TEST_P(MediaConformance, CallsNoObserverWhoseTokenIsReleased) {
    const auto player = open(firstClip().url);
    const auto item = player->currentItem();
    int calls = 0;
    auto frameToken = player->observeFrame([&] { ++calls; });
    auto rateToken = player->observeRate([&] { ++calls; });
    auto eventToken = item->observe([&](PlayerItem::Event) { ++calls; });
    item->step(3);
    player->setRate(8);
    frameToken = rateToken = eventToken = nullptr;
    ASSERT_TRUE(wait([&] { return player->rate() == 0; })) << "played to the end";
    settle(*player);
    EXPECT_EQ(calls, 0);
}

TEST_P(MediaConformance, ReleasesEverythingWithThePlayer) {
    const auto witness = open(firstClip().url);
    for (int round = 0; round < 2; ++round) {
        auto player = open(firstClip().url);
        auto item = player->currentItem();
        const auto carried = std::make_shared<int>();
        int calls = 0;
        auto frameToken = player->observeFrame([carried, &calls] { ++calls; });
        auto timeToken = player->addPeriodicTimeObserver(Time(1, 30), [carried, &calls](const Time&) { ++calls; });
        if (round == 1) player->play();

        player->seek(item->frameTime(Time::zero(), 50), Time::zero(), Time::zero(),
                     [carried, &calls](bool) { ++calls; });
        const std::weak_ptr<Player> weakPlayer = player;
        const std::weak_ptr<PlayerItem> weakItem = item;
        const int before = calls;
        player = nullptr;
        frameToken = timeToken = nullptr;
        item->step(30);
        item = nullptr;
        settle(*witness);
        ASSERT_TRUE(wait([&] { return weakPlayer.expired() && weakItem.expired() && carried.use_count() == 1; }))
            << "round " << round << ": " << carried.use_count() << " references";
        EXPECT_LE(calls - before, 1) << "at most the answer to the seek";
    }
}

TEST_P(MediaConformance, KeepsFramesForTheirHolders) {
    auto player = open(firstClip().url);
    player->currentItem()->step(7);
    ASSERT_TRUE(isShown(*player, 7));
    const std::shared_ptr<const VideoFrame> frame = player->currentFrame();
    player = nullptr;
    EXPECT_EQ(frame->index(), 7);
    EXPECT_EQ(frame->size(), firstClip().size);
    std::thread([&] {
        for (const auto& [width, height] : {std::pair{1, 1}, std::pair{33, 200}, std::pair{320, 180}}) {
            const Bitmap bitmap = frame->scaled(width, height);
            ASSERT_EQ(bitmap.width, width);
            ASSERT_EQ(bitmap.height, height);
            EXPECT_TRUE(std::all_of(bitmap.pixels.begin(), bitmap.pixels.end(), [](std::uint32_t pixel) {
                return pixel >> 24 == 0xFF;
            })) << "opaque";
        }
        if (subject->hasNumberedFrames()) {
            EXPECT_EQ(numberOf(frame->scaled(320, 180)), 7);
        }
    }).join();
}

TEST_P(MediaConformance, GeneratesThePictureOfEachTime) {
    for (const MediaClip& clip : subject->clips()) {
        SCOPED_TRACE(clip.url.absoluteString());
        const auto player = open(clip.url);
        std::vector<Time> times;
        std::mt19937 random(7);
        for (int i = 0; i < 30; ++i) {
            const auto frame = static_cast<std::int64_t>(random() % static_cast<unsigned>(clip.frames));
            const double begin = player->currentItem()->frameTime(Time::zero(), frame).seconds();
            const double end = player->currentItem()->frameTime(Time::zero(), frame + 1).seconds();
            times.push_back(Time::fromSeconds(begin + 0.4 * (end - begin), 1'000'000));
        }
        const auto generator = subject->engine().makeImageGenerator(clip.url);
        for (const auto order : {ImageGenerator::Order::exact, ImageGenerator::Order::approximateFirst}) {
            std::size_t finals = 0;
            call([&] {
                generator->generate(times, {200, 200}, order, [&](const GeneratedImage& image) {
                    expectLaterTurn();
                    ASSERT_TRUE(image.bitmap);
                    EXPECT_LE(image.bitmap->width, 200);
                    EXPECT_LE(image.bitmap->height, 200);
                    EXPECT_TRUE(image.bitmap->width == 200 || image.bitmap->height == 200) << "fitted";
                    if (!image.isFinal) {
                        EXPECT_EQ(order, ImageGenerator::Order::approximateFirst);
                        return;
                    }
                    ++finals;
                    const PlayerItem& item = *player->currentItem();
                    EXPECT_EQ(compare(item.frameTime(image.requestedTime, 0), item.frameTime(image.actualTime, 0)), 0);
                    if (!subject->hasNumberedFrames()) return;
                    const int number = numberOf(*image.bitmap);
                    EXPECT_EQ(compare(item.frameTime(Time::zero(), number), item.frameTime(image.requestedTime, 0)), 0)
                        << "the picture of frame " << number << " for " << image.requestedTime.seconds();
                });
            });
            ASSERT_TRUE(wait([&] { return finals == times.size(); }));
        }
    }
}

TEST_P(MediaConformance, StopsGeneratingPicturesWhenCancelled) {
    const auto generator = subject->engine().makeImageGenerator(firstClip().url);
    const std::vector<Time> times(40, Time(1, 2));
    int calls = 0;
    generator->generate(times, {100, 100}, ImageGenerator::Order::exact, [&](const GeneratedImage&) { ++calls; });
    generator->cancelAll();
    bool isDone = false;
    generator->generate({Time::zero()}, {100, 100}, ImageGenerator::Order::exact,
                        [&](const GeneratedImage&) { isDone = true; });
    ASSERT_TRUE(wait([&] { return isDone; }));
    EXPECT_EQ(calls, 0);
    auto released = subject->engine().makeImageGenerator(firstClip().url);
    released->generate(times, {100, 100}, ImageGenerator::Order::exact, [&](const GeneratedImage&) { ++calls; });
    released = nullptr;
    isDone = false;
    generator->generate({Time::zero()}, {100, 100}, ImageGenerator::Order::exact,
                        [&](const GeneratedImage&) { isDone = true; });
    ASSERT_TRUE(wait([&] { return isDone; }));
    EXPECT_EQ(calls, 0);
    for (const URL& url : subject->unplayable()) {
        std::optional<GeneratedImage> image;
        const auto none = subject->engine().makeImageGenerator(url);
        none->generate({Time::zero()}, {100, 100}, ImageGenerator::Order::exact,
                       [&](const GeneratedImage& made) { image = made; });
        ASSERT_TRUE(wait([&] { return image.has_value(); })) << url.absoluteString();
        EXPECT_TRUE(image->isFinal);
        EXPECT_EQ(image->bitmap, nullptr);
    }
}

/// A temporary folder for exports.
class MediaExport {
public:
    MediaExport() { std::filesystem::create_directories(folder_); }
    ~MediaExport() { std::filesystem::remove_all(folder_); }

    URL target(const std::string& name = "part.mp4") const { return URL((folder_ / name).string()); }
    std::size_t fileCount() const {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder_), {}));
    }

private:
    const std::filesystem::path folder_ =
        std::filesystem::temp_directory_path() / ("media-conformance-" + std::to_string(::getpid()));
};

TEST_P(MediaExportConformance, ExportsAPartFrameByFrame) {
    const MediaExport folder;
    const MediaClip clip = firstClip();
    const auto original = open(clip.url);
    const PlayerItem& item = *original->currentItem();
    // Inside frame 17, and inside frame 52, which is the last one.
    const Time start = Time::fromSeconds(item.frameTime(Time::zero(), 17).seconds() + 0.002, 1'000'000);
    const Time end = Time::fromSeconds(item.frameTime(Time::zero(), 52).seconds() + 0.002, 1'000'000);
    for (const Rect& crop : {Rect{0, 0, 1, 1}, Rect{0, 0, 0.5, 0.5}}) {
        std::optional<ExportResult> result;
        double progress = 0;
        std::shared_ptr<ExportSession> session;
        std::ofstream(folder.target().path()) << "an earlier file";
        call([&] {
            session = subject->engine().startExport({clip.url, start, end, crop, folder.target()},
                                                    [&](const ExportResult& ended) {
                                                        expectLaterTurn();
                                                        EXPECT_FALSE(result) << "once";
                                                        result = ended;
                                                    });
        });
        ASSERT_TRUE(wait([&] {
            EXPECT_GE(session->progress(), progress);
            progress = session->progress();
            return result.has_value();
        }));
        ASSERT_EQ(result->status, ExportResult::Status::finished) << result->error;
        EXPECT_EQ(progress, 1);
        session->cancel();  // too late to do anything
        EXPECT_EQ(folder.fileCount(), 1U);

        const auto part = open(folder.target());
        ASSERT_EQ(part->currentItem()->status(), ItemStatus::readyToPlay);
        EXPECT_EQ(part->currentItem()->presentationSize(),
                  (Size{clip.size.width * crop.size.width, clip.size.height * crop.size.height}));
        for (std::int64_t frame = 17; frame <= 52; ++frame) {
            ASSERT_TRUE(isShown(*part, frame - 17)) << frame;
            if (crop == Rect{0, 0, 1, 1}) {
                ASSERT_EQ(numberOf(part->currentFrame()->scaled(320, 180)), frame);
            }
            part->currentItem()->step(1);
        }
        EXPECT_FALSE(part->currentItem()->canStepForward());
    }
}

TEST_P(MediaExportConformance, LeavesNothingOfAnExportThatDoesNotFinish) {
    const MediaExport folder;
    const MediaClip clip = firstClip();
    std::optional<ExportResult> result;
    const auto start = [&](const URL& source) {
        result.reset();
        return subject->engine().startExport({source, {}, {}, {0, 0, 0.9, 0.9}, folder.target()},
                                             [&](const ExportResult& ended) { result = ended; });
    };
    for (const URL& url : subject->unplayable()) {
        SCOPED_TRACE(url.absoluteString());
        const auto session = start(url);
        ASSERT_TRUE(wait([&] { return result.has_value(); }));
        EXPECT_EQ(result->status, ExportResult::Status::failed);
        EXPECT_NE(result->error, "");
        EXPECT_EQ(result->error.find('\n'), std::string::npos) << result->error;
        EXPECT_EQ(folder.fileCount(), 0U);
    }
    auto session = start(clip.url);
    session->cancel();
    ASSERT_TRUE(wait([&] { return result.has_value(); }));
    EXPECT_EQ(result->status, ExportResult::Status::cancelled);
    EXPECT_EQ(folder.fileCount(), 0U);
    session = start(clip.url);
    session = nullptr;
    ASSERT_TRUE(wait([&] { return folder.fileCount() == 0; }));
    settle(*open(clip.url));
    EXPECT_FALSE(result) << "destroying an export cancels its completion";
}

}  // namespace
}  // namespace videoanalysis::conformance
