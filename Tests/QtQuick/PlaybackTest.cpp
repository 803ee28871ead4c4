#include "QtQuick/OpenScreen.h"

#include "Platforms/QtQuick/VideoViewItem.h"
#include "VideoAnalysis/Analysis/Actions.h"
#include "VideoAnalysis/Platform/Media.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCellController.h"
#include "VideoAnalysis/Screen/MainViewController.h"
#include "VideoAnalysis/Screen/PlayersManager.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QtTest/QTest>

namespace videoanalysis {
namespace {

class PlaybackTest : public OpenScreen {
protected:
    void SetUp() override { open({clip("h264.mp4"), clip("h264.mp4")}); }
};

// The number in the pixels of the window, not only the player's word for it, follows every control.
TEST_F(PlaybackTest, PlayingPausingAndSteppingShowTheReportedFrames) {
    EXPECT_EQ(shownFrame(0), 0);
    EXPECT_EQ(shownFrame(1), 0);

    ASSERT_TRUE(screen->click("playPauseButton", 0));
    ASSERT_TRUE(until([&] { return screen->frameIndex(0).value_or(0) >= 10; }));
    ASSERT_TRUE(screen->click("playPauseButton", 0));
    ASSERT_TRUE(until([&] { return screen->player(0)->rate() == 0; }));
    waitUntilIdle();
    const std::int64_t paused = *screen->frameIndex(0);
    EXPECT_EQ(shownFrame(0), paused);

    for (int i = 0; i < 3; ++i) ASSERT_TRUE(screen->click("forwardButton", 0));
    waitForFrame(0, paused + 3);
    ASSERT_TRUE(screen->click("rewindButton", 0));
    waitForFrame(0, paused + 2);
    waitUntilIdle();
    EXPECT_EQ(shownFrame(0), paused + 2);
    EXPECT_EQ(shownFrame(1), 0) << "the other player stays where it is";
}

TEST_F(PlaybackTest, HeldStepButtonMovesByTensAndItsReleaseAddsNoStep) {
    const auto hold = [&](std::size_t player) {
        const QPointF button = host::ScreenDriver::rectOf(screen->item("forwardButton", player)).center();
        screen->pressMouse(button);
        EXPECT_TRUE(until("it has run twice", [&] { return *screen->frameIndex(player) >= 20; }));
        screen->releaseMouse(button);
        waitUntilIdle();
    };
    hold(1);
    const std::int64_t released = *screen->frameIndex(1);
    EXPECT_EQ(released % 10, 0);
    hold(0);  // two more runs of the first player would have come before these
    EXPECT_EQ(screen->frameIndex(1), released);
    EXPECT_EQ(shownFrame(1), released);
}

TEST_F(PlaybackTest, SeekBarShowsTheFrameUnderItsThumb) {
    const QRectF bar = host::ScreenDriver::rectOf(screen->item("seekbar", 0));
    screen->drawWithMouse({{bar.left() + 20, bar.center().y()}, {bar.center().x(), bar.center().y()}});
    ASSERT_TRUE(until([&] { return std::abs(screen->frameIndex(0).value_or(0) - 60) <= 1; }));
    waitUntilIdle();
    EXPECT_EQ(shownFrame(0), screen->frameIndex(0));
    EXPECT_EQ(screen->frameIndex(1), 0);
}

TEST_F(PlaybackTest, LockedPlayersMoveTogetherAndOnlyTheLastKeepsItsMediaControls) {
    EXPECT_EQ(screen->items("seekbar").size(), 2U);
    ASSERT_TRUE(screen->click("lockPlaybackButton"));
    ASSERT_TRUE(until([&] { return screen->items("seekbar").size() == 1; }));
    ASSERT_TRUE(screen->click("forwardButton"));
    ASSERT_TRUE(screen->click("forwardButton"));
    waitForFrame(0, 2);
    waitForFrame(1, 2);
    waitUntilIdle();
    EXPECT_EQ(shownFrame(0), 2);
    EXPECT_EQ(shownFrame(1), 2);
}

TEST_F(PlaybackTest, HiddenRatePanelTakesNoPresses) {
    const auto selector = [&](std::size_t index) { return screen->item("videoPlayRateSelectorButton", index); };
    EXPECT_TRUE(screen->items("videoPlaybackSpeedButtons").empty());
    ASSERT_TRUE(screen->click("videoPlayRateSelectorButton", 0));
    ASSERT_TRUE(until([&] { return screen->items("videoPlaybackSpeedButtons").size() == 7; }));
    waitUntilIdle();
    ASSERT_TRUE(screen->click("videoPlaybackSpeedButtons", 2));
    EXPECT_TRUE(until([&] { return selector(0)->property("title") == "0.5x"; }));
    EXPECT_TRUE(until([&] { return screen->items("videoPlaybackSpeedButtons").empty(); }));
    EXPECT_EQ(selector(1)->property("title"), "1x");

    ASSERT_TRUE(screen->click("playPauseButton", 0));
    EXPECT_TRUE(until([&] { return screen->player(0)->rate() == 0.5F; }));
}

TEST_F(PlaybackTest, RatePanelClosesOnATouchOutside) {
    const auto open = [&] {
        ASSERT_TRUE(screen->click("videoPlayRateSelectorButton", 0));
        ASSERT_TRUE(until([&] { return screen->items("videoPlaybackSpeedButtons").size() == 7; }));
    };
    const auto closes = [&] { return until([&] { return screen->items("videoPlaybackSpeedButtons").empty(); }); };
    open();
    save(QStringLiteral("rates.png"));
    screen->drawWithMouse(stroke(1, 0.5));
    EXPECT_TRUE(closes());
    EXPECT_TRUE(isInked(1, 0.5, 0.5)) << "the touch does what it does besides";
    open();
    screen->drawWithTouch(stroke(0, 0.3));
    EXPECT_TRUE(closes());
    EXPECT_TRUE(isInked(0, 0.5, 0.3));
    open();
    ASSERT_TRUE(screen->click("forwardButton", 0));
    EXPECT_TRUE(closes());
    waitForFrame(0, 1);
    open();
    QTest::keyClick(&host->window(), Qt::Key_Escape);
    EXPECT_TRUE(closes());
    open();
    ASSERT_TRUE(screen->click("videoPlayRateSelectorButton", 0));
    EXPECT_TRUE(closes()) << "its own button closes it";
    open();
    screen->clickAt(at(0, 0.5, 0.3));  // hides all controls
    EXPECT_TRUE(closes());
    screen->clickAt(at(0, 0.5, 0.3));
    EXPECT_TRUE(until([&] { return screen->item("forwardButton", 0) != nullptr; }));
    EXPECT_TRUE(closes()) << "with the controls it does not come back";
}

TEST_F(PlaybackTest, KeyboardReachesEveryControl) {
    QQuickItem* forward = screen->item("forwardButton", 0);
    forward->forceActiveFocus(Qt::TabFocusReason);
    EXPECT_TRUE(forward->property("focusVisible").toBool());
    QTest::keyClick(&host->window(), Qt::Key_Space);
    waitForFrame(0, 1);
    QTest::keyClick(&host->window(), Qt::Key_Tab);
    EXPECT_FALSE(forward->property("focusVisible").toBool());
    ASSERT_TRUE(screen->click("forwardButton", 0));
    EXPECT_FALSE(forward->property("focusVisible").toBool()) << "the ring is for the keyboard only";
}

TEST_F(PlaybackTest, KeysActOnThePlayerTouchedLast) {
    const auto press = [&](Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(&host->window(), key, modifiers);
    };
    press(Qt::Key_Right);
    waitForFrame(0, 1);
    press(Qt::Key_Right, Qt::ShiftModifier);
    waitForFrame(0, 11);
    EXPECT_EQ(shownFrame(0), 11);

    screen->drawWithMouse(stroke(1, 0.5));
    press(Qt::Key_End);
    waitForFrame(1, 119);
    press(Qt::Key_Left);
    waitForFrame(1, 118);
    EXPECT_EQ(screen->frameIndex(0), 11);
    EXPECT_TRUE(isInked(1, 0.5, 0.5));
    press(Qt::Key_Z, Qt::ControlModifier);
    waitUntilIdle();
    EXPECT_FALSE(isInked(1, 0.5, 0.5));
    press(Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    waitUntilIdle();
    EXPECT_TRUE(isInked(1, 0.5, 0.5));
    press(Qt::Key_Home);
    waitForFrame(1, 0);

    const QRectF fitted = screen->pictureOf(1);
    press(Qt::Key_F);
    EXPECT_TRUE(until([&] { return screen->pictureOf(1).height() > fitted.height() * 1.5; }));
    for (const auto& [key, rate] :
         {std::pair{Qt::Key_BracketLeft, "0.75x"}, {Qt::Key_BracketLeft, "0.5x"}, {Qt::Key_BracketRight, "0.75x"}}) {
        press(key);
        EXPECT_TRUE(until([&] {
            return screen->item("videoPlayRateSelectorButton", 1)->property("title").toString() == QLatin1String(rate);
        })) << rate;
    }

    // Locked, all follow.
    ASSERT_TRUE(screen->click("lockPlaybackButton"));
    press(Qt::Key_Space);
    EXPECT_TRUE(until([&] { return *screen->frameIndex(0) > 15 && *screen->frameIndex(1) > 3; }));
    press(Qt::Key_Space);
    EXPECT_TRUE(until([&] { return screen->player(0)->rate() == 0 && screen->player(1)->rate() == 0; }));
    press(Qt::Key_Home);
    waitForFrame(0, 0);
    waitForFrame(1, 0);
}

// The picture may fill its place, in which case it is cut off at its cell and does not reach into the neighbour's.
TEST_F(PlaybackTest, FillModeAffectsOnePlayerOnly) {
    const QRectF fitted = screen->pictureOf(0);
    const QImage before = screen->grab();
    ASSERT_TRUE(screen->click("changeFillModeButton", 0));
    ASSERT_TRUE(until([&] { return screen->pictureOf(0).height() > fitted.height() * 1.5; }));
    waitUntilIdle();
    const QImage after = screen->grab();
    EXPECT_GT(screen->pictureOf(0).width(), 1000);
    const QRect neighbour = screen->pictureOf(1).toAlignedRect().adjusted(2, 0, -2, 0);
    EXPECT_EQ(after.copy(neighbour), before.copy(neighbour));
    EXPECT_NE(after.pixelColor(320, 150), before.pixelColor(320, 150)) << "what was empty above the picture is filled";
}

class BrokenClipTest : public OpenScreen {
protected:
    static PlayerCollectionViewCellController& controller() {
        return *MainViewController::of(mainStore().state())->playersManager()->cellControllers.at(0);
    }
};

TEST_F(BrokenClipTest, UnreadableClipIsReportedOnceWithoutAffectingTheOther) {
    for (const char* name : {"text.mp4", "empty.mp4", "audio-only.mp4", "missing.mp4"}) {
        SCOPED_TRACE(name);
        reports.clear();
        open({clip(name), clip("h264.mp4")});
        EXPECT_EQ(reports.size(), 1);
        EXPECT_TRUE(reports.value(0).contains(QLatin1String(name)));
        EXPECT_FALSE(reports.value(0).contains(QLatin1Char('\n')));
        // The first player's cell shows its notice instead of a blank rectangle.
        const QImage window = screen->grab();
        const QRect middle(QPoint(320, 400) - QPoint(150, 60), QSize(300, 120));
        int bright = 0;
        for (int y = middle.top(); y <= middle.bottom(); ++y) {
            for (int x = middle.left(); x <= middle.right(); ++x) bright += window.pixelColor(x, y).lightness() > 100;
        }
        EXPECT_GT(bright, 200);
        const QQuickItem* video = screen->item("playerView", 0);
        EXPECT_EQ(video->property("clipName").toString(), QLatin1String(name));
        EXPECT_FALSE(video->property("failure").toString().isEmpty());
        EXPECT_FALSE(video->property("failure").toString().contains(QLatin1Char('/'))) << "the reason, not the place";
        save(QStringLiteral("failed-%1.png").arg(QLatin1String(name)));
        // It takes no strokes and does not play.
        const QRectF cell = host::ScreenDriver::rectOf(video);
        screen->drawWithMouse({cell.center(), cell.center() + QPointF(90, 40)});
        ASSERT_TRUE(screen->click("playPauseButton", 0));
        waitForFirstLoads();
        EXPECT_FALSE(controller().localStore->state().canUndo);
        EXPECT_FALSE(controller().localStore->state().isMediaPlaying);
        ASSERT_TRUE(screen->click("forwardButton", 1));
        waitForFrame(1, 1);
        EXPECT_EQ(shownFrame(1), 1);
        close();
    }
}

TEST_F(BrokenClipTest, TruncatedClipIsReportedOnceAndPlaysToItsEnd) {
    open({clip("truncated.mp4")});
    ASSERT_TRUE(until([&] { return !reports.isEmpty(); }));
    EXPECT_TRUE(reports.value(0).contains(QLatin1String("breaks off after")));
    ASSERT_TRUE(screen->click("forwardButton"));
    waitForFrame(0, 1);
    waitUntilIdle();
    EXPECT_EQ(shownFrame(0), 1);
    screen->player(0)->currentItem()->step(1000);
    ASSERT_TRUE(until([&] { return !screen->player(0)->currentItem()->canStepForward(); }));
    ASSERT_TRUE(until([&] { return screen->frameIndex(0).value_or(0) > 30; }));
    waitUntilIdle();
    // The very last packet may be cut in half, and its picture then shows what the one before showed.
    EXPECT_NEAR(static_cast<double>(shownFrame(0)), static_cast<double>(*screen->frameIndex(0)), 1);
    EXPECT_EQ(reports.size(), 1);
}

TEST_F(BrokenClipTest, PlaybackPausesWithANoticeAtDamage) {
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("shrinking.mp4"));
    ASSERT_TRUE(QFile::copy(clip("gop250.mp4"), file));
    open({file});
    ASSERT_TRUE(QFile::resize(file, QFileInfo(file).size() / 2));
    const auto isBrokenOff = [&] {
        return screen->item("playerView")->property("status").toInt() ==
               static_cast<int>(qt::VideoViewItem::Status::BrokenOff);
    };
    const auto playToTheBreak = [&] {
        ASSERT_TRUE(screen->click("playPauseButton"));
        ASSERT_TRUE(until([&] { return isBrokenOff(); }, 20000));
        const std::int64_t frame = *screen->frameIndex(0);
        waitUntilIdle();
        EXPECT_FALSE(controller().localStore->state().isMediaPlaying);
        EXPECT_EQ(screen->player(0)->rate(), 0);
        EXPECT_EQ(screen->frameIndex(0), frame) << "it seeks nowhere";
        EXPECT_TRUE(isBrokenOff());
    };
    controller().localStore->dispatch(player::SetCellVideoPlaybackRateAction(4));
    playToTheBreak();
    save(QStringLiteral("broken-off.png"));
    ASSERT_TRUE(screen->click("rewindButton"));
    EXPECT_TRUE(until([&] { return !isBrokenOff(); })) << "another frame is shown";
    playToTheBreak();
    EXPECT_TRUE(until([&] { return !isBrokenOff(); }));
}

}  // namespace
}  // namespace videoanalysis
