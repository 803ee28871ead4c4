// The developer's figures over the picture.

#include "Host/StatisticsOverlay.h"
#include "Platforms/FFmpeg/CacheStatistics.h"
#include "Platforms/QtQuick/RecordingOptions.h"
#include "QtQuick/OpenScreen.h"
#include "VideoAnalysis/Platform/Movie.h"

#include <QtTest/QTest>

namespace videoanalysis {
namespace {

TEST(StatisticsOverlay, NamesEveryFigureInOneLinePerSubject) {
    media::CacheStatistics cache;
    cache.budget = 512U << 20U;
    cache.bytes = 100U << 20U;
    cache.frames = 33;
    cache.clips = 2;
    cache.hits = 30;
    cache.misses = 10;
    cache.evictions = 5;
    recording::MovieStatistics movie;
    movie.taken = 120;
    movie.repeated = 7;
    movie.dropped = 1;
    movie.failure = "the disk is full";
    CaptureStatistics capture;
    capture.count = 15;
    capture.max = 3.24;
    capture.maxComputed = 1.5;
    capture.histogram = {1, 2, 3, 4, 5};
    EXPECT_EQ(host::StatisticsOverlay::describe(cache, movie, capture).toStdString(),
              "cache    100 of 512 MiB · clips 2 · frames 33 · hits 75.0 % of 40 · evicted 5\n"
              "encoder  pictures 120 · repeated 7 · dropped 1 · the disk is full\n"
              "capture  pictures 15 · max 3.2 ms, computed 1.5 ms · ms <0.5: 1 <1: 2 <2: 3 <4: 4 >=4: 5");
}

using StatisticsOverlayScreen = OpenScreen;

TEST_F(StatisticsOverlayScreen, F12ShowsTheFiguresOverTheAnalysisWithoutTakingClicks) {
    open({clip("h264.mp4")});
    const auto* overlay =
        host->window().rootObject()->parentItem()->findChild<QQuickItem*>(QStringLiteral("statisticsOverlay"));
    ASSERT_TRUE(overlay);
    EXPECT_FALSE(overlay->isVisible());
    QTest::keyClick(&host->window(), Qt::Key_F12);
    EXPECT_TRUE(overlay->isVisible());
    EXPECT_TRUE(until(
        "the clip's frames are counted", [&] { return host->statistics()->text().contains(QStringLiteral("clips 1")); },
        [&] { return host->statistics()->text().toStdString(); }));
    save(QStringLiteral("statistics.png"));

    screen->clickAt(host::ScreenDriver::rectOf(overlay).center());
    EXPECT_TRUE(until("the tap has hidden the controls", [&] { return screen->item("closeButton") == nullptr; }));
    screen->clickAt(host::ScreenDriver::rectOf(overlay).center());
    EXPECT_TRUE(until("the next one has shown them", [&] { return screen->item("closeButton") != nullptr; }));

    QTest::keyClick(&host->window(), Qt::Key_F12);
    EXPECT_FALSE(overlay->isVisible());
    EXPECT_TRUE(host->statistics()->text().isEmpty());
}

}  // namespace
}  // namespace videoanalysis
