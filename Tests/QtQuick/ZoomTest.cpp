// Two fingers, the wheel and the middle button on the picture: what is zoomed stays under the fingers, and drawings stay on
// their spot of the picture.

#include "Platforms/QtQuick/ViewItem.h"
#include "QtQuick/OpenScreen.h"
#include "VideoAnalysis/Sketch/SketchView.h"
#include "VideoAnalysis/Video/GesturedScrollView.h"

#include <cmath>

namespace videoanalysis {
namespace {

class ZoomTest : public OpenScreen {
protected:
    GesturedScrollView& scrollView(std::size_t player = 0) const {
        return dynamic_cast<GesturedScrollView&>(
            *qobject_cast<qt::ViewItem*>(screen->item(QStringLiteral("playerScrollView"), player))->view());
    }
    std::size_t strokes(std::size_t player = 0) const { return scrollView(player).sketchView.lock()->pathArray.size(); }

    void pinchBy(double factor, QPointF centre) const {
        const QPointF reach(60, 20);
        screen->pinch({centre - reach, centre + reach}, {centre - reach * factor, centre + reach * factor});
        waitUntilIdle();
    }
};

TEST_F(ZoomTest, FingersWheelAndMiddleButtonMoveThePicture) {
    open({clip("h264.mp4")});
    screen->drawWithMouse(stroke(0, 0.5));
    ASSERT_TRUE(isInked(0, 0.5, 0.5));
    const QPointF inked = at(0, 0.5, 0.5);

    pinchBy(2.5, inked);
    EXPECT_NEAR(scrollView().zoomScale(), 2.5, 0.1);
    EXPECT_EQ(strokes(), 1U);
    EXPECT_LT((at(0, 0.5, 0.5) - inked).manhattanLength(), 2);  // the spot between the fingers has stayed
    EXPECT_TRUE(isInked(0, 0.45, 0.5));                         // and the drawing on its spot of the picture

    // A stroke on the enlarged picture goes where the finger is.
    const QPointF from = at(0, 0.42, 0.46);
    screen->drawWithTouch({from, from + QPointF(30, 0), from + QPointF(60, 0), from + QPointF(90, 0)});
    waitUntilIdle();
    EXPECT_EQ(strokes(), 2U);
    EXPECT_TRUE(isInked(screen->grab(), from + QPointF(30, 0)));

    const QPointF before = at(0, 0.5, 0.5);
    screen->pressMouse(before, Qt::MiddleButton);
    screen->moveMouse(before + QPointF(40, 25));
    screen->releaseMouse(before + QPointF(40, 25), Qt::MiddleButton);
    EXPECT_LT((at(0, 0.5, 0.5) - before - QPointF(40, 25)).manhattanLength(), 2);
    EXPECT_EQ(strokes(), 2U);

    screen->turnWheel(inked, -20, Qt::ControlModifier);
    EXPECT_EQ(scrollView().zoomScale(), 1);
    EXPECT_EQ(scrollView().contentOffset(), Point());
    EXPECT_TRUE(until("the drawing is sharp again", [&] { return isInked(0, 0.5, 0.5); }));
    screen->turnWheel(inked, 30, Qt::ControlModifier);
    EXPECT_EQ(scrollView().zoomScale(), 8);
    screen->turnWheel(inked, -1);
    EXPECT_EQ(scrollView().zoomScale(), 8);
}

TEST_F(ZoomTest, SecondFingerUndoesAFreshStrokeAndKeepsALongOne) {
    open({clip("h264.mp4"), clip("h264.mp4")});
    const QPointF centre = at(1, 0.5, 0.5);
    const QLineF fingers(centre - QPointF(40, 0), centre + QPointF(40, 0));
    const QLineF spread(centre - QPointF(80, 0), centre + QPointF(80, 0));
    const QImage empty = screen->grab();
    screen->pinch(fingers, spread, {fingers.p1() - QPointF(0, 30), fingers.p1() - QPointF(0, 15), fingers.p1()});
    waitUntilIdle();
    EXPECT_EQ(strokes(1), 0U);
    EXPECT_NEAR(scrollView(1).zoomScale(), 2, 0.1);
    EXPECT_EQ(scrollView(0).zoomScale(), 1);

    // A double tap shows the whole picture again; nothing of the stroke is left on it.
    screen->drawWithTouch({centre});
    screen->drawWithTouch({centre});
    EXPECT_TRUE(until("the whole picture is shown", [&] { return scrollView(1).zoomScale() == 1; }));
    waitUntilIdle();
    const QRect whole = screen->pictureOf(1).toAlignedRect();
    EXPECT_EQ(screen->grab().copy(whole), empty.copy(whole));

    // One finger zooms nothing, and a pan that begins beside the picture draws nothing.
    const QRectF cell = screen->rectOf(screen->item(QStringLiteral("playerScrollView"), 1));
    const QRectF picture = screen->pictureOf(1);
    ASSERT_GT(picture.top() - cell.top(), 120);
    screen->drawWithTouch({picture.center() - QPointF(0, picture.height() / 2 + 40), picture.center()});
    EXPECT_EQ(strokes(1), 0U);
}

TEST_F(ZoomTest, ZoomedPartStaysVisibleWhenTheWindowIsResized) {
    open({clip("h264.mp4")}, QSize(1024, 768));
    screen->drawWithMouse(stroke(0, 0.5));
    pinchBy(3, at(0, 0.5, 0.5));
    const Point offset = scrollView().contentOffset();
    const double part = offset.x / scrollView().bounds().size.width;
    host->window().resize(768, 1024);
    waitUntilIdle();
    EXPECT_NEAR(scrollView().contentOffset().x / scrollView().bounds().size.width, part, 0.02);
    EXPECT_TRUE(isInked(0, 0.48, 0.5));
}

}  // namespace
}  // namespace videoanalysis
