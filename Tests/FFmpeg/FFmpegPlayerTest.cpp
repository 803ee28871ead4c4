// A player on real clips: opening, stepping, seeking, playing, and its events.

#include "FFmpeg/MediaTest.h"
#include "Support/WebServer.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <vector>

namespace videoanalysis::media {
namespace {

using PlayerTest = MediaTest;

TEST_F(PlayerTest, AnswersOvertakenSeeksWithFalse) {
    const auto player = openReady("h264.mp4");
    EXPECT_FALSE(seekTo(*player, Time()));

    std::vector<bool> results;
    const auto completion = [&](bool finished) { results.push_back(finished); };
    player->seek(Time(20, 30), Time::zero(), Time::zero(), completion);
    player->seek(Time(90, 30), Time::zero(), Time::zero(), completion);
    player->currentItem()->step(-2);
    EXPECT_TRUE(results.empty());
    ASSERT_TRUE(turnUntil([&] { return player->currentFrame()->index() == 88; }));
    EXPECT_EQ(results, (std::vector<bool>{false, false}));
}

TEST_F(PlayerTest, KeepsRequestsMadeBeforeTheClipIsOpen) {
    const auto player = engine->makePlayer(engine->makePlayerItem(clip("h264.mp4")));
    player->seek(Time(2, 1), Time::zero(), Time::zero());
    player->currentItem()->step(-1);
    player->currentItem()->step(-1);
    ASSERT_TRUE(turnUntil([&] { return player->currentItem()->status() == ItemStatus::readyToPlay; }));
    EXPECT_EQ(shownNumber(*player), 58);
}

TEST_F(PlayerTest, ShowsTheFirstFrameBeforeTheScanEndsAndIsReadyAfterwards) {
    WebServer server(clip("long.mp4").path());
    server.holdBack(2'000'000);
    const auto item = engine->makePlayerItem(URL(server.address()));
    const auto player = engine->makePlayer(item);
    ASSERT_TRUE(turnUntil([&] { return player->currentFrame() != nullptr; }));
    turnFor(0.05);
    EXPECT_EQ(shownNumber(*player), 0);
    EXPECT_EQ(item->presentationSize(), (Size{320, 180}));
    EXPECT_EQ(item->status(), ItemStatus::unknown);
    EXPECT_EQ(compare(item->duration(), Time::zero()), 0);
    ASSERT_TRUE(stepTo(*player, 3, 3)) << "frames found so far can be stepped to";
    player->play();
    turnFor(0.05);
    EXPECT_EQ(player->currentFrame()->index(), 3);

    server.release();
    ASSERT_TRUE(turnUntil([&] { return item->status() == ItemStatus::readyToPlay; }));
    EXPECT_EQ(compare(item->duration(), Time(164, 1)), 0);
    EXPECT_TRUE(turnUntil([&] { return player->currentFrame()->index() > 3; })) << "starts as requested before";
    player->pause();
    ASSERT_TRUE(seekTo(*player, Time(500, 1)));
    EXPECT_EQ(player->currentFrame()->index(), 4919);
    EXPECT_EQ(compare(item->duration(), Time(164, 1)), 0);
    EXPECT_TRUE(platform->log.empty()) << platform->log.front();

    // A server that stops sending does not delay destruction.
    server.holdBack(2'000'000);
    auto other = engine->makePlayer(engine->makePlayerItem(URL(server.address())));
    ASSERT_TRUE(turnUntil([&] { return other->currentFrame() != nullptr; }));
    const auto start = std::chrono::steady_clock::now();
    other = nullptr;
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
}

TEST_F(PlayerTest, BufferIsEmptyOnlyWhilePlaybackIsStalled) {
    WebServer server(clip("long.mp4").path());
    FFmpegOptions options;
    options.cacheBudget = 4'000'000;  // some 46 frames
    engine = std::make_unique<FFmpegEngine>(options);
    const auto player = open(URL(server.address()));
    const auto item = player->currentItem();
    ASSERT_EQ(item->status(), ItemStatus::readyToPlay);
    const auto playUntilStalled = [&] {
        server.holdBack(1);
        player->setRate(8);
        return turnUntil([&] { return item->isPlaybackBufferEmpty(); });
    };
    const auto canPlayOn = [&](std::int64_t frame) {
        server.release();
        player->play();
        return turnUntil([&] { return player->currentFrame()->index() > frame && !item->isPlaybackBufferEmpty(); });
    };
    ASSERT_TRUE(playUntilStalled());
    const std::int64_t stalledAt = player->currentFrame()->index();
    player->pause();
    EXPECT_FALSE(item->isPlaybackBufferEmpty()) << "paused";
    ASSERT_TRUE(canPlayOn(stalledAt));

    // A step, and a seek, to a frame that is cached, with a pause before it is shown.
    ASSERT_TRUE(playUntilStalled());
    const std::int64_t stepTo = player->currentFrame()->index() - 1;
    item->step(-1);
    player->pause();
    ASSERT_TRUE(turnUntil([&] { return player->currentFrame()->index() == stepTo; }));
    EXPECT_FALSE(item->isPlaybackBufferEmpty()) << "stepped and paused";
    ASSERT_TRUE(canPlayOn(stepTo));

    ASSERT_TRUE(playUntilStalled());
    const Time shown = player->currentFrame()->time();
    player->seek(shown, Time::zero(), Time::zero());
    player->pause();
    ASSERT_TRUE(turnUntil([&] { return compare(player->currentTime(), shown) == 0; }));
    EXPECT_FALSE(item->isPlaybackBufferEmpty()) << "sought and paused";
}

TEST_F(PlayerTest, InvalidSeekDisturbsNothing) {
    const auto player = openReady("h264.mp4");
    std::vector<bool> results;
    const auto completion = [&](bool finished) { results.push_back(finished); };
    player->seek(Time(1, 1), Time::zero(), Time::zero(), completion);
    player->seek(Time(), Time::zero(), Time::zero(), completion);
    ASSERT_TRUE(turnUntil([&] { return results.size() == 2; }));
    EXPECT_EQ(player->currentFrame()->index(), 30) << "the request before is still met";
    player->play();
    player->seek(Time(), Time::zero(), Time::zero(), completion);
    EXPECT_TRUE(turnUntil([&] { return player->currentFrame()->index() > 32; })) << "playback continues";
    player->pause();
    EXPECT_EQ(std::count(results.begin(), results.end(), true), 1);
    EXPECT_EQ(results.size(), 3U);
}

TEST_F(PlayerTest, PlayerMayOutliveThePlatform) {
    for (int round = 0; round < 10; ++round) {
        const auto player = engine->makePlayer(engine->makePlayerItem(clip("h264.mp4")));
        player->play();
        if (round % 2 == 0) turnUntil([&] { return player->currentTime().seconds() > 0.05; });
        platform = std::make_shared<HeadlessPlatform>();
        installPlatform(platform);  // destroys the previous one and its queue, while the player's threads post to it
        player->seek(Time(2, 1), Time::zero(), Time::zero());
    }
}

TEST_F(PlayerTest, TellsNoTimeWhilePlayingAtTheEnd) {
    const auto player = openReady("h264.mp4");
    const auto item = player->currentItem();
    int ends = 0;
    const auto eventToken = item->observe([&](PlayerItem::Event) { ++ends; });
    ASSERT_TRUE(seekTo(*player, Time(118, 30)));
    player->play();
    ASSERT_TRUE(turnUntil([&] { return ends == 1; }));
    EXPECT_EQ(compare(player->currentTime(), item->duration()), 0);
    int ticks = 0;
    const auto timeToken = player->addPeriodicTimeObserver(Time(1, 30), [&](const Time&) {
        for (int i = 0; ++ticks < 1000 && i < 3; ++i) player->play();
    });
    player->play();
    ASSERT_TRUE(turnUntil([&] { return ends >= 2; }));
    EXPECT_EQ(ends, 2);
    EXPECT_EQ(ticks, 0);
}

TEST_F(PlayerTest, PlaysAtItsRateAndStopsAtTheEnd) {
    const auto player = openReady("h264.mp4");
    const auto item = player->currentItem();
    std::vector<int> shown;
    std::vector<PlayerItem::Event> events;
    std::vector<float> rates;
    const auto frameToken = player->observeFrame([&] { shown.push_back(shownNumber(*player)); });
    const auto eventToken = item->observe([&](PlayerItem::Event event) { events.push_back(event); });
    const auto rateToken = player->observeRate([&] { rates.push_back(player->rate()); });
    ASSERT_TRUE(seekTo(*player, Time(60, 30)));
    shown.clear();

    player->setRate(2);
    EXPECT_EQ(player->rate(), 2);
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(turnUntil([&] { return !events.empty(); }));
    const double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_NEAR(elapsed, 1.0, 0.1);
    EXPECT_EQ(events, std::vector{PlayerItem::Event::playedToEnd});
    EXPECT_EQ(rates, (std::vector<float>{2, 0}));
    EXPECT_EQ(compare(player->currentTime(), item->duration()), 0);
    EXPECT_EQ(shownNumber(*player), 119);
    ASSERT_GT(shown.size(), 40U);
    for (std::size_t i = 1; i < shown.size(); ++i) ASSERT_GT(shown[i], shown[i - 1]);

    // Pausing keeps the frame shown, and its time.
    ASSERT_TRUE(seekTo(*player, Time::zero()));
    player->setRate(100);
    EXPECT_EQ(player->rate(), 8);
    player->setRate(0.01F);
    EXPECT_EQ(player->rate(), 0.1F);
    player->play();
    turnFor(0.5);
    EXPECT_GT(player->currentTime().seconds(), 0.3);
    player->pause();
    const int paused = shownNumber(*player);
    EXPECT_EQ(compare(player->currentTime(), Time(paused, 30)), 0);
    turnFor(0.1);
    EXPECT_EQ(shownNumber(*player), paused);
    ASSERT_TRUE(stepTo(*player, -1, paused - 1));
}

TEST_F(PlayerTest, TimeObserversFireWhilePlayingAndOnEachStepAndSeek) {
    const auto player = openReady("h264.mp4");
    std::vector<double> everyFrame;
    std::vector<double> everySecond;
    const auto frameToken =
        player->addPeriodicTimeObserver(Time(1, 30), [&](const Time& t) { everyFrame.push_back(t.seconds()); });
    const auto secondToken =
        player->addPeriodicTimeObserver(Time(1, 1), [&](const Time& t) { everySecond.push_back(t.seconds()); });
    ASSERT_TRUE(stepTo(*player, 1, 1));
    ASSERT_TRUE(seekTo(*player, Time(15, 30)));
    turnFor(0.01);
    EXPECT_EQ(everyFrame, (std::vector<double>{1 / 30.0, 0.5}));
    EXPECT_EQ(everySecond, everyFrame);

    everyFrame.clear();
    everySecond.clear();
    player->setRate(2);
    ASSERT_TRUE(turnUntil([&] { return player->currentTime().seconds() > 2.25; }));
    EXPECT_GT(everyFrame.size(), 45U);
    EXPECT_LT(everyFrame.size(), 56U);
    EXPECT_EQ(everySecond.size(), 2U);
}

TEST_F(PlayerTest, ReleasedPlayerCallsNoObservers) {
    auto player = openReady("h264.mp4");
    auto item = player->currentItem();
    bool isReleased = false;
    int lateCalls = 0;
    const auto count = [&] { lateCalls += isReleased ? 1 : 0; };
    const auto frameToken = player->observeFrame(count);
    const auto rateToken = player->observeRate(count);
    const auto timeToken = player->addPeriodicTimeObserver(Time(1, 30), [&](const Time&) { count(); });
    player->play();
    turnFor(0.1);
    player->seek(Time(3, 1), Time::zero(), Time::zero(), [&](bool) { count(); });
    player->seek(Time(1, 1), Time::zero(), Time::zero(), [&](bool) { count(); });
    isReleased = true;
    player = nullptr;
    turnFor(0.1);
    EXPECT_EQ(lateCalls, 0);

    // Items outlive the engine, and everything may be destroyed while it works.
    engine = nullptr;
    item->step(30);
    turnFor(0.001);
    item = nullptr;
    turnFor(0.01);
}

TEST_F(PlayerTest, UnplayableClipFailsWithOneLine) {
    for (const char* name : {"nonexistent.mp4", "text.mp4", "empty.mp4", "audio-only.mp4", "encrypted.mp4", "."}) {
        platform->log.clear();
        const auto player = engine->makePlayer(engine->makePlayerItem(clip(name)));
        const auto item = player->currentItem();
        std::vector<PlayerItem::Event> events;
        const auto token = item->observe([&](PlayerItem::Event event) { events.push_back(event); });
        std::optional<bool> finished;
        player->seek(Time(1, 1), Time::zero(), Time::zero(), [&](bool isFinished) { finished = isFinished; });
        player->play();
        ASSERT_TRUE(turnUntil([&] { return !events.empty(); })) << name;
        EXPECT_EQ(item->status(), ItemStatus::failed) << name;
        EXPECT_EQ(finished, false) << name;
        EXPECT_EQ(player->rate(), 0) << name;
        player->play();
        item->step(3);
        turnFor(0.01);
        ASSERT_EQ(platform->log.size(), 1U) << name;
        EXPECT_EQ(platform->log[0], item->errorDescription());
        EXPECT_NE(platform->log[0].find(name), std::string::npos);
        EXPECT_EQ(platform->log[0].find("it is encrypted") != std::string::npos, name == std::string("encrypted.mp4"));
    }
    const auto player = open(URL("concat:a|b"));
    EXPECT_EQ(player->currentItem()->status(), ItemStatus::failed);
}

TEST_F(PlayerTest, RejectsAnUntrustedServer) {
    const SecureWebServer server(VIDEOANALYSIS_TEST_CLIPS_DIR);
    ASSERT_FALSE(server.address().empty()) << "needs the openssl program";
    const auto player = open(URL(server.address() + "/h264.mp4"));
    EXPECT_EQ(player->currentItem()->status(), ItemStatus::failed);
    ASSERT_EQ(platform->log.size(), 1U);
    EXPECT_NE(platform->log[0].find("certificate"), std::string::npos) << platform->log[0];
}

TEST_F(PlayerTest, OpensFilesByPathAndByEveryFormOfURL) {
    // Bytes that are not valid UTF-8, and characters that URLs reserve.
    const std::string path = testing::TempDir() + "videoanalysis-\xE9\xFF #1?%41.mp4";
    std::filesystem::copy_file(clip("h264.mp4").path(), path, std::filesystem::copy_options::overwrite_existing);
    const std::string address = URL::fileURL(path).absoluteString();
    const std::string encoded = address.substr(std::string("file://").size());
    for (const std::string& name :
         {path, address, "FILE://" + encoded, "file://localhost" + encoded, "File://LocalHost" + encoded}) {
        EXPECT_EQ(open(URL(name))->currentItem()->status(), ItemStatus::readyToPlay) << name;
    }
    std::filesystem::remove(path);
    EXPECT_EQ(open(URL("file://" + clip("h264.mp4").path() + "%00.txt"))->currentItem()->status(), ItemStatus::failed);
}

TEST_F(PlayerTest, TruncatedClipPlaysToItsLastGoodFrame) {
    const auto player = openReady("truncated.mp4");
    const auto item = player->currentItem();
    item->step(119);
    ASSERT_TRUE(turnUntil([&] { return !item->canStepForward(); }));
    ASSERT_TRUE(turnUntil([&] { return player->currentFrame()->index() > 30; }));
    const int last = shownNumber(*player);
    EXPECT_GT(last, 30);
    EXPECT_LT(last, 119);
    ASSERT_EQ(platform->log.size(), 1U);
    EXPECT_NE(platform->log[0].find("breaks off"), std::string::npos) << platform->log[0];
    std::vector<PlayerItem::Event> events;
    const auto token = item->observe([&](PlayerItem::Event event) {
        if (event != PlayerItem::Event::damageFound) events.push_back(event);
    });
    player->play();
    ASSERT_TRUE(turnUntil([&] { return !events.empty(); }));
    EXPECT_EQ(shownNumber(*player), last);
}

TEST_F(PlayerTest, AppliesThePixelAspectRatio) {
    const auto player = openReady("wide-pixels.mp4");
    EXPECT_EQ(player->currentItem()->presentationSize(), (Size{1024, 576}));
    EXPECT_TRUE(stepTo(*player, 7, 7));
    EXPECT_EQ(shownNumber(*player), 7);
}

/// VIDEOANALYSIS_LONG_CLIP names a clip to play instead of the short one.
TEST_F(PlayerTest, TwoPlayersStayInSync) {
    const char* longClip = std::getenv("VIDEOANALYSIS_LONG_CLIP");
    const URL url = longClip ? URL::fileURL(longClip) : clip("h264.mp4");
    const std::shared_ptr<Player> players[] = {open(url), open(url)};
    int shown = 0;
    int apart = 0;
    std::vector<std::shared_ptr<void>> tokens;
    for (const auto& player : players) {
        tokens.push_back(player->observeFrame([&] {
            ++shown;
            apart += std::abs(players[0]->currentFrame()->index() - players[1]->currentFrame()->index()) > 1 ? 1 : 0;
        }));
    }
    for (const auto& player : players) player->play();
    const double seconds = players[0]->currentItem()->duration().seconds();
    ASSERT_TRUE(turnUntil([&] { return players[0]->rate() == 0 && players[1]->rate() == 0; }, seconds + 20));
    EXPECT_LE(apart, shown / 50);  // a busy machine may delay one of them for a moment
    EXPECT_EQ(players[0]->currentFrame()->index(), players[1]->currentFrame()->index());
}

}  // namespace
}  // namespace videoanalysis::media
