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
    TimelineView& timeline(std::size_t index) { return static_cast<TimelineView&>(*ruler(index).view()); }
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
        for (int y = 0; y < place.height(); ++y)
            EXPECT_FALSE(isMark(later.pixelColor(place.center().x(), y))) << points;
    }
}

TEST_F(TimelineScreenTest, EveryTickIsPaintedOneDevicePixelWideWhereverTheRulerLies) {
    for (const int width : {1000, 1001, 1005}) {  // the right ruler begins on a pixel or beside one
        host->window().resize(width, 800);
        settle();
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
