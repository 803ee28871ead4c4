#include "QtQuick/OpenScreen.h"

#include "Platforms/Cairo/CairoEngine.h"
#include "Platforms/Headless/HeadlessPlatform.h"
#include "Platforms/QtQuick/SketchViewItem.h"
#include "VideoAnalysis/Sketch/SketchView.h"

namespace videoanalysis {
namespace {

class DrawingTest : public OpenScreen {
protected:
    void SetUp() override { open({clip("h264.mp4"), clip("h264.mp4")}); }
};

TEST_F(DrawingTest, MouseAndFingerDrawOnTheirOwnPlayerAndUndoTakesItBack) {
    const QImage empty = screen->grab();
    screen->drawWithMouse(stroke(0, 0.4));
    waitUntilIdle();
    EXPECT_TRUE(isInked(0, 0.5, 0.4));
    EXPECT_FALSE(isInked(0, 0.5, 0.45));
    EXPECT_FALSE(isInked(1, 0.5, 0.4));

    screen->drawWithTouch(stroke(1, 0.6));
    waitUntilIdle();
    EXPECT_TRUE(isInked(1, 0.5, 0.6));
    EXPECT_FALSE(isInked(0, 0.5, 0.6));

    ASSERT_TRUE(screen->click("undoButton", 0));
    waitUntilIdle();
    EXPECT_FALSE(isInked(0, 0.5, 0.4));
    EXPECT_TRUE(isInked(1, 0.5, 0.6)) << "each player has its own history";
    const QRect picture = screen->pictureOf(0).toAlignedRect().adjusted(1, 1, -1, -1);
    EXPECT_EQ(screen->grab().copy(picture), empty.copy(picture)) << "nothing of the stroke is left";

    ASSERT_TRUE(screen->click("redoButton", 0));
    waitUntilIdle();
    EXPECT_TRUE(isInked(0, 0.5, 0.4));
    ASSERT_TRUE(screen->click("clearButton", 1));
    waitUntilIdle();
    EXPECT_FALSE(isInked(1, 0.5, 0.6));

    waitForFirstLoads();
    const auto media = host->analysis()->currentMedia();
    ASSERT_EQ(media.size(), 2U);
    EXPECT_EQ((*media[0].stack)["drawnStack"].size(), 1U);
    EXPECT_EQ((*media[1].stack)["drawnStack"].size(), 0U);
}

// Something that is not a stroke: a touch on the spot, a press on a bar, a second finger.
TEST_F(DrawingTest, PressWithoutMovementDrawsNothing) {
    const auto drawn = [&](std::size_t player) {
        return (*host->analysis()->currentMedia().at(player).stack)["drawnStack"].size();
    };
    waitForFirstLoads();  // there is a stack from then on
    EXPECT_NE(screen->item("seekbar"), nullptr);
    screen->clickAt(at(0, 0.5, 0.5));
    EXPECT_TRUE(until([&] { return !screen->item("seekbar"); })) << "a tap hides the controls";
    screen->clickAt(at(0, 0.5, 0.5));
    EXPECT_TRUE(until([&] { return screen->item("seekbar") != nullptr; }));

    const QPointF hand = at(0, 0.5, 0.5);
    screen->drawWithTouch({hand, hand + QPointF(3, 3), hand + QPointF(-2, 4)});  // a finger is never quite still
    EXPECT_TRUE(until([&] { return !screen->item("seekbar"); }));
    screen->clickAt(hand);
    EXPECT_TRUE(until([&] { return screen->item("seekbar") != nullptr; }));
    waitUntilIdle();
    EXPECT_EQ(drawn(0), 0U);

    const QRectF undo = host::ScreenDriver::rectOf(screen->item("undoButton"));  // there is nothing to undo
    screen->drawWithMouse({undo.center(), undo.center() + QPointF(60, 0), undo.center() + QPointF(120, -200)});
    screen->drawWithMouse({{400, 26}, {500, 30}, {500, 300}});
    EXPECT_EQ(drawn(0), 0U) << "the bars keep presses from the picture";

    const QPointF start = at(1, 0.3, 0.3);
    const QPointF second = start + QPointF(0, 100);
    screen->touch({{0, QEventPoint::Pressed, start}});
    screen->touch({{0, QEventPoint::Updated, start + QPointF(60, 0)}});
    screen->touch({{0, QEventPoint::Updated, start + QPointF(120, 0)}});
    screen->rest(0.5);
    screen->passFrames(30);
    screen->touch({{0, QEventPoint::Stationary, start + QPointF(120, 0)}, {1, QEventPoint::Pressed, second}});
    EXPECT_EQ(drawn(1), 1U) << "the second finger has ended the stroke, which is long enough to stay";
    screen->touch({{0, QEventPoint::Updated, start + QPointF(160, 0)}, {1, QEventPoint::Stationary, second}});
    screen->touch({{0, QEventPoint::Released, start + QPointF(160, 0)}, {1, QEventPoint::Released, second}});
    waitUntilIdle();
    EXPECT_EQ(drawn(1), 1U);
}

TEST_F(DrawingTest, SelectedToolDrawsInItsColour) {
    ASSERT_TRUE(screen->click("expandToolbarButton"));
    ASSERT_TRUE(until([&] { return screen->items("drawingToolButtons").size() == 5; }));
    ASSERT_TRUE(screen->click("drawingToolButtons", 3));  // the rectangle
    waitUntilIdle();
    const QRectF arrow = host::ScreenDriver::rectOf(screen->item("arrowImage"));
    const QRectF button = host::ScreenDriver::rectOf(screen->item("drawingToolButtons", 3));
    EXPECT_NEAR(arrow.center().y(), button.center().y(), 0.01) << "the marker stands beside the chosen tool";

    screen->drawWithMouse({at(1, 0.3, 0.3), at(1, 0.4, 0.4), at(1, 0.6, 0.7)});
    waitUntilIdle();
    const QImage grabbed = screen->grab();
    const QColor blue(0, 176, 255);
    const auto hasBlueNear = [&](QPointF point) {
        for (int y = -3; y <= 3; ++y) {
            for (int x = -3; x <= 3; ++x) {
                if (isNear(grabbed.pixelColor(point.toPoint() + QPoint(x, y)), blue)) return true;
            }
        }
        return false;
    };
    EXPECT_TRUE(hasBlueNear(at(1, 0.45, 0.3)));
    EXPECT_TRUE(hasBlueNear(at(1, 0.6, 0.5)));
    EXPECT_FALSE(hasBlueNear(at(1, 0.45, 0.5)));
}

TEST_F(DrawingTest, DrawingsKeepTheirPlaceOnThePictureWhenTheWindowIsResized) {
    screen->drawWithMouse(stroke(0, 0.4));
    screen->drawWithMouse(stroke(1, 0.7));
    waitUntilIdle();
    EXPECT_EQ(screen->pictureOf(0).top(), screen->pictureOf(1).top()) << "wide: side by side";
    EXPECT_LT(screen->pictureOf(0).right(), screen->pictureOf(1).left() + 1);

    host->window().resize(700, 1000);
    waitUntilIdle();
    EXPECT_EQ(screen->pictureOf(0).left(), screen->pictureOf(1).left()) << "tall: stacked";
    EXPECT_LT(screen->pictureOf(0).bottom(), screen->pictureOf(1).top() + 1);
    EXPECT_NEAR(screen->pictureOf(0).width(), 700, 1);
    EXPECT_TRUE(isInked(0, 0.5, 0.4));
    EXPECT_TRUE(isInked(1, 0.5, 0.7));

    host->window().resize(1000, 700);
    waitUntilIdle();
    EXPECT_EQ(screen->pictureOf(0).top(), screen->pictureOf(1).top());
    EXPECT_TRUE(isInked(0, 0.5, 0.4));
    EXPECT_TRUE(isInked(1, 0.5, 0.7));
    EXPECT_FALSE(isInked(1, 0.5, 0.4));
}

// Nothing costs anything while nothing happens: no frame of the screen is made.
TEST_F(DrawingTest, IdleScreenIsNotRepainted) {
    screen->drawWithMouse(stroke(0, 0.4));
    screen->moveMouse({640, 200});
    waitForFirstLoads();
    int frames = 0;
    const auto connection =
        QObject::connect(&host->window(), &QQuickWindow::frameSwapped, &host->window(), [&] { ++frames; });
    screen->passFrames(20);
    EXPECT_EQ(frames, 0);
    ASSERT_TRUE(screen->click("forwardButton", 0));
    EXPECT_TRUE(until("the next frame is painted", [&] { return frames > 0; }));
    QObject::disconnect(connection);
}

class ReopeningTest : public OpenScreen {};

int itemCount(const QQuickItem& item) {
    int count = 1;
    for (const QQuickItem* child : item.childItems()) count += itemCount(*child);
    return count;
}

TEST_F(ReopeningTest, RepeatedOpeningAndClosingLeaksNothing) {
    open({clip("h264.mp4"), clip("h264.mp4")});
    int itemsAfterFirst = 0;
    for (int round = 0; round < 3; ++round) {
        SCOPED_TRACE(round);
        const QPointer<QQuickItem> video = screen->item("playerView");
        const QPointer<QQuickItem> controls = screen->item("hudView");
        const QPointer<QQuickItem> bar = screen->item("topBarView");
        const std::weak_ptr<media::Player> player = screen->player(0);
        screen->drawWithMouse(stroke(0, 0.4));
        close();
        EXPECT_TRUE(video.isNull());
        EXPECT_TRUE(controls.isNull());
        EXPECT_TRUE(bar.isNull());
        EXPECT_TRUE(player.expired());
        EXPECT_EQ(screen->item("playersCollectionView"), nullptr);
        if (round == 0) itemsAfterFirst = itemCount(*host->window().contentItem());
        EXPECT_EQ(itemCount(*host->window().contentItem()), itemsAfterFirst);
        reopen();
        EXPECT_EQ(shownFrame(0), 0);
        EXPECT_FALSE(isInked(0, 0.5, 0.4)) << "what was discarded does not come back";
    }
}

TEST_F(ReopeningTest, ClipsAreAddedReplacedAndRemoved) {
    open({clip("h264.mp4")});
    screen->drawWithMouse(stroke(0, 0.4));
    ASSERT_TRUE(screen->click("addButton"));
    ASSERT_TRUE(until([&] { return host->isChoosing(); }));
    host->chooseFile(QUrl::fromLocalFile(clip("h264.mp4")));
    ASSERT_TRUE(until([&] { return screen->playerCount() == 2 && screen->frameIndex(1) == 0; }));
    waitUntilIdle();
    EXPECT_TRUE(isInked(0, 0.5, 0.4)) << "the first player shrinks, its drawing with it";
    EXPECT_EQ(screen->item("addButton"), nullptr) << "two are enough";

    ASSERT_TRUE(screen->click("forwardButton", 1));
    waitForFrame(1, 1);
    ASSERT_TRUE(screen->click("deleteButton", 0));
    ASSERT_TRUE(until([&] { return screen->playerCount() == 1; }));
    waitUntilIdle();
    EXPECT_EQ(shownFrame(0), 1) << "the second player is the first one now, where it was";
    EXPECT_NEAR(screen->pictureOf(0).width(), 1280, 2);
    EXPECT_FALSE(isInked(0, 0.5, 0.4));

    ASSERT_TRUE(screen->click("replaceButton", 0));
    ASSERT_TRUE(until([&] { return host->isChoosing(); }));
    host->chooseFile(QUrl::fromLocalFile(clip("h264.mp4")));
    ASSERT_TRUE(until([&] { return screen->frameIndex(0) == 0; }));
    ASSERT_TRUE(screen->click("forwardButton", 0));
    waitForFrame(0, 1);
}

/// Hears of another screen as from a window that has moved there.
class MovedSketchViewItem : public qt::SketchViewItem {
public:
    void moveToScreen(qreal scale) { itemChange(ItemDevicePixelRatioHasChanged, scale); }
};

TEST(SketchViewItemTest, PausedDrawingsAreRedrawnForANewScreenScale) {
    const auto platform = std::make_shared<HeadlessPlatform>(std::make_unique<graphics::CairoEngine>());
    installPlatform(platform);
    {
        MovedSketchViewItem item;
        auto& sketch = *static_cast<SketchView*>(item.view());
        sketch.setFrame(Rect(0, 0, 100, 100));
        sketch.beginDrawing({10, 10});
        sketch.continueDrawing({10, 10}, {50, 50});
        sketch.continueDrawing({50, 50}, {90, 10});
        sketch.endDrawing();
        ASSERT_TRUE(sketch.image().bitmap());
        EXPECT_EQ(sketch.image().bitmap()->scale, 1);
        platform->screen.pixelsPerPoint = 2;
        item.moveToScreen(2);
        EXPECT_EQ(sketch.image().bitmap()->scale, 2);
    }
    installPlatform(nullptr);
}

}  // namespace
}  // namespace videoanalysis
