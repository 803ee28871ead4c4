// The rulers on the real screen: what a finger, the mouse or the wheel does to them, seen in the frames of real clips.

#include "QtQuick/OpenScreen.h"

#include "Platforms/QtQuick/Motion.h"
#include "Platforms/QtQuick/TimelineViewItem.h"
#include "Testing/AnimationClock.h"

#include <QTouchEvent>
#include <QtTest/QTest>

#include <cmath>

namespace videoanalysis {
namespace {

using host::Finger;

class TimelineScreenTest : public OpenScreen {
protected:
    void SetUp() override { open({clip("h264.mp4"), clip("h264.mp4")}); }

    qt::TimelineViewItem& ruler(std::size_t index) {
        return *qobject_cast<qt::TimelineViewItem*>(screen->item("timelineView", index));
    }
    TimelineView& timeline(std::size_t index) { return static_cast<TimelineView&>(*ruler(index).view()); }
    QPoint middleOf(std::size_t index) { return host::ScreenDriver::rectOf(&ruler(index)).center().toPoint(); }

    /// A touch of one finger, as the screen hands it to the ruler, `x` points right of the ruler's middle at `seconds`.
    void touch(std::size_t index, QEventPoint::State state, double x, double seconds) {
        const QPointF place = host::ScreenDriver::rectOf(&ruler(index)).center() + QPointF(x, 0);
        const auto type = state == QEventPoint::Pressed    ? QEvent::TouchBegin
                          : state == QEventPoint::Released ? QEvent::TouchEnd
                                                           : QEvent::TouchUpdate;
        QTouchEvent event(type, device(), {}, {QEventPoint(0, state, place, place)});
        event.setTimestamp(static_cast<quint64>(std::lround(seconds * 1000)));
        QCoreApplication::sendEvent(&ruler(index), &event);
    }
    /// 100 points to the left in 0.1 s: a throw of 1,000 points a second.
    void throwRuler(std::size_t index) {
        touch(index, QEventPoint::Pressed, 0, 1);
        for (int i = 1; i <= 10; ++i) touch(index, QEventPoint::Updated, -10 * i, 1 + 0.01 * i);
        touch(index, QEventPoint::Released, -100, 1.1);
    }
    bool isThrown(std::size_t index) { return timeline(index).scroller().isThrown(); }
    double offset(std::size_t index) { return timeline(index).collectionView()->contentOffset().x; }
    static QPointingDevice* device() {
        static QPointingDevice* const device = QTest::createTouchDevice();
        return device;
    }

    /// Drags the ruler by `points` and lets go when the mouse has come to rest.
    void drag(std::size_t index, int points) {
        const QPoint start = middleOf(index);
        screen->pressMouse(start);
        const int step = points > 0 ? 4 : -4;
        for (int moved = step; std::abs(moved) <= std::abs(points); moved += step) {
            screen->rest(0.005);
            screen->moveMouse(start + QPoint(moved, 0));
        }
        screen->rest(0.2);
        screen->releaseMouse(start + QPoint(points, 0));
    }
};

TEST_F(TimelineScreenTest, OneTickIsOneFrameInBothDirections) {
    drag(0, -80);
    waitForFrame(0, 10);
    waitUntilIdle();
    EXPECT_EQ(shownFrame(0), 10);
    EXPECT_EQ(shownFrame(1), 0);
    drag(0, 32);
    waitForFrame(0, 6);
    waitUntilIdle();
    EXPECT_EQ(shownFrame(0), 6);
    drag(0, 120);
    waitForFrame(0, 0);
}

TEST_F(TimelineScreenTest, LockedRulersMoveBothPlayersAndKeepTheirOffset) {
    drag(1, -40);
    waitForFrame(1, 5);
    ASSERT_TRUE(screen->click("lockPlaybackButton"));
    ASSERT_TRUE(until([&] { return screen->items("timelineView").size() == 1; }));
    drag(0, -24);
    waitForFrame(0, 3);
    waitForFrame(1, 8);
    waitUntilIdle();
    EXPECT_EQ(shownFrame(0), 3);
    EXPECT_EQ(shownFrame(1), 8);
}

/// The clock of the animations, moved by hand.
class DisplayClock {
public:
    DisplayClock() { host::AnimationClock::shared().hold(); }
    ~DisplayClock() { host::AnimationClock::shared().release(); }
    void frame(int milliseconds) { host::AnimationClock::shared().advanceBy(milliseconds); }
};

TEST_F(TimelineScreenTest, ThrowAdvancesWithDisplayFramesAndScrubsToItsEnd) {
    DisplayClock display;
    const double start = offset(0);
    throwRuler(0);
    ASSERT_TRUE(isThrown(0));
    EXPECT_NEAR(offset(0) - start, 100, 1e-6);
    for (const int milliseconds : {8, 17, 100}) display.frame(milliseconds);
    EXPECT_NEAR(offset(0) - start, 100 + Deceleration{1000}.distance(0.125), 1e-3);
    const double before = offset(0);
    screen->passFrames(3);
    EXPECT_EQ(offset(0), before) << "between frames nothing moves";
    display.frame(3000);
    EXPECT_FALSE(isThrown(0));
    EXPECT_FALSE(timeline(0).canDrag());
    EXPECT_NEAR(offset(0) - start, 597.5, 1e-3);
    waitForFrame(0, 75);
}

TEST_F(TimelineScreenTest, ResizingDuringAThrowDoesNotStep) {
    DisplayClock display;
    throwRuler(0);
    for (const QSize size : {QSize(1100, 700), QSize(1281, 800), QSize(640, 480), QSize(1000, 900)}) {
        host->window().resize(size);
        display.frame(50);
        ASSERT_TRUE(until([&] { return timeline(0).collectionView()->isLayoutValid(); }));
        display.frame(50);
    }
    display.frame(3000);
    EXPECT_FALSE(isThrown(0));
    waitForFrame(0, 75);
    EXPECT_EQ(screen->frameIndex(1), 0);
}

TEST_F(TimelineScreenTest, HidingTheRulerEndsItsThrow) {
    throwRuler(0);
    ASSERT_TRUE(isThrown(0));
    ruler(0).setVisible(false);
    EXPECT_FALSE(isThrown(0));
    EXPECT_FALSE(timeline(0).canDrag());
}

TEST_F(TimelineScreenTest, ReducedMotionThrowsNothing) {
    throwRuler(0);
    ASSERT_TRUE(isThrown(0));
    const bool wasReduced = qt::Motion::shared().isReduced();
    qt::Motion::shared().setReduced(true);
    EXPECT_FALSE(isThrown(0)) << "a running one ends";
    throwRuler(0);
    EXPECT_FALSE(isThrown(0));
    qt::Motion::shared().setReduced(wasReduced);
    throwRuler(0);
    EXPECT_EQ(isThrown(0), !wasReduced);
    close();  // in the middle of it
}

TEST_F(TimelineScreenTest, LayoutChangeUnderAStillPointerDoesNotStep) {
    for (const bool isTouch : {false, true}) {
        host->window().resize(1280, 800);
        waitUntilIdle();
        const QPoint start = middleOf(1);  // the right ruler, which moves
        const double place = ruler(1).mapToScene({}).x();
        if (isTouch) {
            screen->touch({{7, QEventPoint::Pressed, start}});
        } else {
            screen->pressMouse(start);
        }
        ASSERT_TRUE(timeline(1).canDrag());
        host->window().resize(1120, 800);
        ASSERT_TRUE(screen->wait(
            [&] { return ruler(1).mapToScene({}).x() < place - 70 && timeline(1).collectionView()->isLayoutValid(); }));
        const double before = offset(1);
        if (isTouch) {
            screen->touch({{7, QEventPoint::Updated, start + QPoint(1, 0)}});
        } else {
            screen->moveMouse(start + QPoint(1, 0));
        }
        EXPECT_TRUE(until([&] { return offset(1) != before; }));
        EXPECT_NEAR(offset(1), before - 1, 1e-3) << (isTouch ? "touch" : "mouse");
        screen->rest(0.2);
        if (isTouch) {
            screen->touch({{7, QEventPoint::Released, start + QPoint(1, 0)}});
        } else {
            screen->releaseMouse(start + QPoint(1, 0));
        }
        EXPECT_TRUE(until([&] { return !timeline(1).canDrag(); }));
    }
    EXPECT_EQ(screen->frameIndex(1), 0);
}

TEST_F(TimelineScreenTest, SecondFingerTakesOverADrag) {
    const QPoint start = middleOf(0);
    const QPoint second = start + QPoint(100, 0);
    const double before = offset(0);
    const auto isAt = [&](double points) {
        return until([&] { return std::abs(offset(0) - before - points) < 1e-6; });
    };
    screen->touch({{1, QEventPoint::Pressed, start}});
    screen->touch({{1, QEventPoint::Updated, start - QPoint(40, 0)}});
    EXPECT_TRUE(isAt(40));
    const Finger first{1, QEventPoint::Stationary, start - QPoint(40, 0)};
    screen->touch({first, {2, QEventPoint::Pressed, second}});
    screen->touch({first, {2, QEventPoint::Updated, second - QPoint(16, 0)}});
    EXPECT_TRUE(isAt(56));
    screen->touch({{1, QEventPoint::Released, first.position}, {2, QEventPoint::Stationary, second - QPoint(16, 0)}});
    EXPECT_TRUE(timeline(0).canDrag());
    screen->touch({{2, QEventPoint::Updated, second - QPoint(40, 0)}});
    EXPECT_TRUE(isAt(80));
    screen->rest(0.2);
    screen->touch({{2, QEventPoint::Released, second - QPoint(40, 0)}});
    EXPECT_TRUE(until([&] { return !timeline(0).canDrag(); }));
    waitForFrame(0, 10);
}

TEST_F(TimelineScreenTest, WheelNotchStepsOneFrame) {
    for (int i = 0; i < 3; ++i) screen->turnWheel(middleOf(0), -1);
    waitForFrame(0, 3);
    const auto& timeline = static_cast<const TimelineView&>(*ruler(0).view());
    EXPECT_TRUE(until([&] { return !timeline.canDrag(); })) << "the wheel comes to rest";
}

bool isMark(const QColor& color) {
    return color.red() <= 2 && std::abs(color.green() - 229) <= 2 && std::abs(color.blue() - 255) <= 2;
}

TEST_F(TimelineScreenTest, TicksFadeTowardsTheEndsAndTheMarkIsCentred) {
    const QImage window = screen->grab();
    const QRect place = host::ScreenDriver::rectOf(&ruler(0)).toAlignedRect();
    const auto brightest = [&](int from, int to) {
        int value = 0;
        for (int x = from; x < to; ++x) value = std::max(value, window.pixelColor(x, place.center().y()).value());
        return value;
    };
    const int ground = window.pixelColor(place.left() + 1, place.top() + 1).value();
    EXPECT_LT(brightest(place.left(), place.left() + 20), ground + 60);
    EXPECT_GT(brightest(place.center().x() - 40, place.center().x() - 10), 180);
    EXPECT_TRUE(isMark(window.pixelColor(place.center())));

    // It stays there, and nowhere else, while ticks come and go.
    for (const int points : {-12, -4, 8}) {
        drag(0, points);
        waitUntilIdle();
        const QImage later = screen->grab();
        EXPECT_TRUE(isMark(later.pixelColor(place.center()))) << points;
        for (int y = 0; y < place.height(); ++y)
            EXPECT_FALSE(isMark(later.pixelColor(place.center().x(), y))) << points;
    }
}

TEST_F(TimelineScreenTest, EveryTickIsOneDevicePixelWide) {
    for (const int width : {1000, 1001, 1005}) {  // the right ruler begins on a pixel or beside one
        host->window().resize(width, 800);
        waitUntilIdle();
        for (std::size_t index = 0; index < 2; ++index) {
            InfiniteCollectionView& strip = *timeline(index).collectionView();
            const QRectF place = host::ScreenDriver::rectOf(&ruler(index));
            const int y = qRound(place.center().y());
            for (const double fraction : {0.0, 0.25, 0.5, 0.75, 0.95}) {
                strip.setContentOffset({std::floor(strip.contentOffset().x) + fraction, 0});
                const QImage window = screen->grab();
                for (const auto& [path, cell] : strip.visibleCells()) {
                    const double x = cell->frame().midX() - strip.contentOffset().x;
                    const double fromMark = std::abs(x - place.width() / 2);
                    if (fromMark < 12 || fromMark > place.width() * 0.15) continue;  // beneath the mark, or faded
                    const int column = qRound(place.left() + x);
                    const auto value = [&](int at) { return window.pixelColor(at, y).value(); };
                    EXPECT_TRUE(value(column) > value(column - 1) + 150 && value(column) > value(column + 1) + 150)
                        << "window " << width << ", ruler " << index << ", offset " << fraction << ", column "
                        << column;
                }
            }
        }
    }
}

}  // namespace
}  // namespace videoanalysis
