// One visit from beginning to end on the real screen, as a host sees it: what it hands in, what it is asked, what it gets.

#include "Tests/QtQuick/OpenScreen.h"

#include "Platforms/QtQuick/QtQuickPlatform.h"
#include "Tests/Support/Movies.h"
#include "VideoAnalysis/Analysis/State.h"
#include "VideoAnalysis/Platform/Recording.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest/QTest>

namespace videoanalysis {
namespace {

/// A host that writes down what it hears and lets everything happen.
class Coach : public VideoAnalysisControllerDelegate {
public:
    std::vector<std::vector<Object>> finished;
    int closeRequests = 0;

    ui::DeviceOrientation preferredOrientation() const override { return ui::DeviceOrientation::unknown; }
    void videoAnalysisDidFinish(const std::optional<std::vector<Object>>& output) override {
        finished.push_back(output.value_or(std::vector<Object>()));
    }
    void videoAnalysisControllerDidRequestToDeleteMedia(const std::shared_ptr<ui::ViewController>&,
                                                        std::function<void()> completion) override {
        completion();
    }
    void videoAnalysisControllerDidRequestDiscardAndClose(const std::shared_ptr<ui::ViewController>&,
                                                          std::function<void()> completion) override {
        ++closeRequests;
        completion();
    }
    void videoAnalysisControllerDidRequestMedia(const std::shared_ptr<ui::ViewController>&, std::int64_t,
                                                std::function<void(Object)>) override {}
};

class StoryTest : public OpenScreen {
protected:
    using Object = VideoAnalysisController::Object;

    void SetUp() override {
        qputenv("XDG_DATA_HOME", folder.filePath(QStringLiteral("data")).toUtf8());
        qputenv("HOME", folder.path().toUtf8());
        host = std::make_shared<host::HostApplication>(QStringList(), [](const QString&) {});
        host->window().resize(1280, 800);
        host->show();
        screen = std::make_unique<host::ScreenDriver>(host->window());
        startScreen = host->window().rootObject()->findChild<QQuickItem*>(QStringLiteral("startScreen"));
    }

    VideoAnalysisController visit(const std::vector<Object>& media) {
        VideoAnalysisController analysis(media, VideoAnalysisConfiguration(true, true, {}, {}, coach));
        auto& qtPlatform = dynamic_cast<QtQuickPlatform&>(platform());
        analysis.present(qtPlatform.viewController(*startScreen), ui::ModalPresentationStyle::fullScreen);
        EXPECT_TRUE(until([&] {
            return screen->playerCount() == media.size() && screen->frameIndex(media.size() - 1) == 0 &&
                   screen->frameIndex(0) == 0 && screen->item("closeButton") && !startScreen->isVisible();
        }));
        return analysis;
    }
    testing::AssertionResult becomesInked(std::size_t player, double height) {
        return until("the drawing is on the picture", [&] { return isInked(player, 0.5, height); });
    }
    std::size_t drawings(const Object& media) const { return media.stack ? (*media.stack)["drawnStack"].size() : 0; }
    /// Drags the ruler so that the clip moves on by `frames`, and lets it rest before letting go.
    void scrub(std::size_t player, int frames) {
        const QPointF start = host::ScreenDriver::rectOf(screen->item("timelineView", player)).center();
        screen->pressMouse(start);
        for (int moved = 1; moved <= std::abs(frames); ++moved) {
            screen->rest(0.01);
            screen->moveMouse(start + QPointF(frames > 0 ? -8 * moved : 8 * moved, 0));
        }
        screen->rest(0.25);
        screen->releaseMouse(start + QPointF(-8 * frames, 0));
    }
    const MainViewControllerState& state() const { return mainStore().state().mainViewControllerState; }

    QTemporaryDir folder;
    std::shared_ptr<Coach> coach = std::make_shared<Coach>();
    QQuickItem* startScreen = nullptr;
};

TEST_F(StoryTest, StoredClipIsDrawnOnScrubbedLockedRotatedRecordedAndClosed) {
    const Object clipOnDisk{URL::fileURL(clip("h264.mp4").toStdString()), {}};

    // A first visit leaves a drawing, which the host stores.
    VideoAnalysisController first = visit({clipOnDisk});
    screen->drawWithMouse(stroke(0, 0.3));
    ASSERT_TRUE(until([&] { return drawings(first.currentMedia().at(0)) == 1; }));
    const Object stored{clipOnDisk.url, JSON::parse(first.currentMedia()[0].stack->serialized())};
    bool isGone = false;
    first.dismiss(true, [&] { isGone = true; });
    ASSERT_TRUE(until([&] { return isGone && screen->playerCount() == 0; }));

    // Opened again beside another clip, it is there; each clip takes its own strokes, at its own moment.
    VideoAnalysisController analysis = visit({stored, clipOnDisk});
    ASSERT_TRUE(becomesInked(0, 0.3)) << "the stored drawing";
    EXPECT_FALSE(isInked(1, 0.5, 0.3));
    screen->drawWithTouch(stroke(1, 0.5));
    ASSERT_TRUE(becomesInked(1, 0.5));
    scrub(0, 10);
    waitForFrame(0, 10);
    EXPECT_EQ(screen->frameIndex(1), 0) << "not locked yet";
    screen->drawWithMouse(stroke(0, 0.6));
    ASSERT_TRUE(becomesInked(0, 0.6));
    scrub(0, -10);
    waitForFrame(0, 0);
    EXPECT_TRUE(until([&] { return !isInked(0, 0.5, 0.6); })) << "not drawn yet at this time";
    EXPECT_TRUE(isInked(0, 0.5, 0.3));

    // Locked, a key steps both. Turned, everything is where it was on the picture.
    ASSERT_TRUE(screen->click("lockPlaybackButton"));
    ASSERT_TRUE(until([&] { return state().isMediaPlaybackLocked && screen->items("timelineView").size() == 1; }));
    QTest::keyClick(&host->window(), Qt::Key_Right);
    waitForFrame(0, 1);
    waitForFrame(1, 1);
    host->window().resize(700, 1000);
    ASSERT_TRUE(until([&] {
        const QRectF above = screen->pictureOf(0);
        const QRectF below = screen->pictureOf(1);
        return above.left() == below.left() && above.bottom() < below.top();
    })) << "one above the other";
    EXPECT_TRUE(becomesInked(0, 0.3));
    EXPECT_TRUE(becomesInked(1, 0.5));
    save(QStringLiteral("story-turned.png"));

    // Recorded while both play.
    ASSERT_TRUE(screen->click("recordButton"));
    ASSERT_TRUE(until([&] { return state().hasStartedRecording && platform().screenRecorder().isRecording(); }));
    EXPECT_FALSE(screen->item("closeButton")->isEnabled()) << "a recording is ended first";
    QTest::keyClick(&host->window(), Qt::Key_Space);
    EXPECT_TRUE(until([&] { return screen->frameIndex(0) > 15 && screen->frameIndex(1) > 15; }));
    QTest::keyClick(&host->window(), Qt::Key_Space);
    EXPECT_TRUE(becomesInked(0, 0.6)) << "its moment has come";
    ASSERT_TRUE(screen->click("recordButton"));
    ASSERT_TRUE(until([&] { return !coach->finished.empty(); }));

    // What the host gets: the recording, then each clip with its drawings.
    const std::vector<Object>& output = coach->finished.front();
    ASSERT_EQ(output.size(), 3U);
    EXPECT_FALSE(output[0].stack);
    const MovieFacts movie = factsOf(output[0].url.path());
    EXPECT_EQ(movie.videoCodec, "h264");
    EXPECT_EQ(QSize(movie.width, movie.height), QSize(700, 1000));
    EXPECT_GT(movie.pictureTimes.size(), 5U);
    EXPECT_EQ(movie.complaints, "");
    EXPECT_EQ(output[1].url, clipOnDisk.url);
    EXPECT_EQ(output[2].url, clipOnDisk.url);
    EXPECT_EQ(drawings(output[1]), 2U);
    EXPECT_EQ(drawings(output[2]), 1U);

    ASSERT_TRUE(until([&] { return screen->item("closeButton")->isEnabled(); }));
    ASSERT_TRUE(screen->click("closeButton"));
    ASSERT_TRUE(until([&] { return screen->playerCount() == 0 && startScreen->isVisible(); }));
    EXPECT_EQ(coach->closeRequests, 1);
    EXPECT_EQ(coach->finished.size(), 1U) << "closing delivers nothing";
    EXPECT_TRUE(mainStore().state().media->empty());
    EXPECT_FALSE(analysis.isOpen());
}

}  // namespace
}  // namespace videoanalysis
