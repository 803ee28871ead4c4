// The rulers on the real screen: what a finger, the mouse or the wheel does to them, seen in the frames of real clips.

#include "QtQuick/OpenScreen.h"

#include "Platforms/QtQuick/TimelineViewItem.h"

#include <QWheelEvent>
#include <QtTest/QTest>

#include <cmath>

namespace videoanalysis {
namespace {

class TimelineScreenTest : public OpenScreen {
protected:
    void SetUp() override { open({clip("h264.mp4"), clip("h264.mp4")}); }

    TimelineViewItem& ruler(std::size_t index) {
        return *qobject_cast<TimelineViewItem*>(screen->item("timelineView", index));
    }
    QPoint middleOf(std::size_t index) { return host::ScreenDriver::rectOf(&ruler(index)).center().toPoint(); }

    /// Drags the ruler by `points` and lets go when the mouse has come to rest.
    void drag(std::size_t index, int points) {
        const QPoint start = middleOf(index);
        QTest::mousePress(&host->window(), Qt::LeftButton, {}, start);
        const int step = points > 0 ? 4 : -4;
        for (int moved = step; std::abs(moved) <= std::abs(points); moved += step) {
            QTest::mouseMove(&host->window(), start + QPoint(moved, 0), 5);
        }
        QTest::mouseRelease(&host->window(), Qt::LeftButton, {}, start + QPoint(points, 0), 200);
    }
};

TEST_F(TimelineScreenTest, OneTickIsOneFrameInBothDirections) {
    drag(0, -80);
    waitForFrame(0, 10);
    settle();
    EXPECT_EQ(shownFrame(0), 10);
    EXPECT_EQ(shownFrame(1), 0);
    drag(0, 32);
    waitForFrame(0, 6);
    settle();
    EXPECT_EQ(shownFrame(0), 6);
    drag(0, 120);
    waitForFrame(0, 0);
}

TEST_F(TimelineScreenTest, LockedRulersMoveBothPlayersAndKeepTheirOffset) {
    drag(1, -40);
    waitForFrame(1, 5);
    ASSERT_TRUE(screen->click("lockPlaybackButton"));
    ASSERT_TRUE(screen->wait([&] { return screen->items("timelineView").size() == 1; }));
    drag(0, -24);
    waitForFrame(0, 3);
    waitForFrame(1, 8);
    settle();
    EXPECT_EQ(shownFrame(0), 3);
    EXPECT_EQ(shownFrame(1), 8);
}

TEST_F(TimelineScreenTest, AThrowScrubsOnAndComesToRestWhereTheClosedFormSays) {
    double now = 0;
    ruler(0).clock = [&] { return now; };
    const QPoint start = middleOf(0);
    QTest::mousePress(&host->window(), Qt::LeftButton, {}, start);
    for (int i = 1; i <= 10; ++i) QTest::mouseMove(&host->window(), start - QPoint(4 * i, 0), 10);
    QTest::mouseRelease(&host->window(), Qt::LeftButton, {}, start - QPoint(40, 0));
    ASSERT_TRUE(ruler(0).isThrown());
    auto& timeline = static_cast<TimelineView&>(*ruler(0).view());
    EXPECT_TRUE(timeline.canDrag());
    const double before = timeline.collectionView()->contentOffset().x;
    double moved = 0;
    double last = 0;
    while (ruler(0).isThrown()) {
        now += 0.016;
        ruler(0).continueThrow();
        const double offset = timeline.collectionView()->contentOffset().x - before;
        EXPECT_GE(offset, moved);
        last = offset - moved;
        moved = offset;
    }
    EXPECT_LT(last, 1) << "it has come to rest gently";
    EXPECT_FALSE(timeline.canDrag());
    const auto frames = static_cast<std::int64_t>(std::lround((40 + moved) / TimelineView::cellWidth));
    EXPECT_TRUE(screen->wait([&] { return std::abs(screen->frameIndex(0).value_or(0) - std::min<std::int64_t>(frames, 119)) <= 1; }))
        << frames;
    settle();
    EXPECT_EQ(shownFrame(0), screen->frameIndex(0));
}

TEST_F(TimelineScreenTest, AThrowSurvivesResizingAndEndsWithItsPlayer) {
    const auto throwIt = [&] {
        const QPoint start = middleOf(0);
        QTest::mousePress(&host->window(), Qt::LeftButton, {}, start);
        for (int i = 1; i <= 5; ++i) QTest::mouseMove(&host->window(), start - QPoint(8 * i, 0), 5);
        QTest::mouseRelease(&host->window(), Qt::LeftButton, {}, start - QPoint(40, 0));
        ASSERT_TRUE(ruler(0).isThrown());
    };
    throwIt();
    host->window().resize(1100, 700);
    EXPECT_TRUE(screen->wait([&] { return !ruler(0).isThrown(); }));
    throwIt();
    close();  // in the middle of it
}

TEST_F(TimelineScreenTest, AWheelNotchIsOneFrame) {
    const QPointF middle = middleOf(0);
    for (int i = 0; i < 3; ++i) {
        QWheelEvent event(middle, host->window().mapToGlobal(middle), {}, {0, -120}, Qt::NoButton, Qt::NoModifier,
                          Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&host->window(), &event);
    }
    waitForFrame(0, 3);
    const auto& timeline = static_cast<const TimelineView&>(*ruler(0).view());
    EXPECT_TRUE(screen->wait([&] { return !timeline.canDrag(); })) << "the wheel comes to rest";
}

bool isMark(const QColor& color) {
    return color.red() <= 2 && std::abs(color.green() - 229) <= 2 && std::abs(color.blue() - 255) <= 2;
}

TEST_F(TimelineScreenTest, TicksFadeTowardsTheEndsAndTheMarkStandsInTheMiddle) {
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
        settle();
        const QImage later = screen->grab();
        EXPECT_TRUE(isMark(later.pixelColor(place.center()))) << points;
        for (int y = 0; y < place.height(); ++y) EXPECT_FALSE(isMark(later.pixelColor(place.center().x(), y))) << points;
    }
}

}  // namespace
}  // namespace videoanalysis
