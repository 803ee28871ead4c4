// What fingers, the mouse and the wheel mean on a picture.

#include "VideoAnalysis/Video/PictureGestures.h"
#include "Tests/Support/ComponentTest.h"
#include "Tests/Support/Pointers.h"
#include "VideoAnalysis/Sketch/SketchView.h"
#include "VideoAnalysis/Video/GesturedScrollView.h"

#include <limits>

namespace videoanalysis {
namespace {

using ui::PointerButton;
using ui::PointerPhase;

class PictureGesturesTest : public ComponentTest {
protected:
    struct ZoomsSketch : ui::ScrollViewDelegate {
        std::shared_ptr<ui::View> content;
        std::shared_ptr<ui::View> viewForZooming(ui::ScrollView&) override { return content; }
    };
    PictureGesturesTest() {
        view->setFrame({0, 0, 400, 400});
        sketch->setFrame({0, 0, 400, 400});
        view->sketchView = sketch;
        view->setZoomRange(1, 8);
        zooms->content = sketch;
        view->setDelegate(zooms);
        view->didTap = [this] { ++taps; };
        view->didCancelDrawing = [this] { ++takenBack; };
    }
    void send(const std::vector<ui::PointerEvent>& events) { EXPECT_TRUE(view->handlePointers(events)); }
    void down(std::int64_t pointer, Point at) { send({finger(pointer, PointerPhase::began, at)}); }
    void to(std::int64_t pointer, Point at) { send({finger(pointer, PointerPhase::moved, at)}); }
    void up(std::int64_t pointer, Point at) { send({finger(pointer, PointerPhase::ended, at)}); }
    void tapAt(Point at) {
        down(1, at);
        up(1, at);
    }
    /// Two fingers at (100, 200) and (300, 200) whose distance becomes `factor` times as large.
    void pinch(double factor) {
        send({finger(1, PointerPhase::began, {100, 200}), finger(2, PointerPhase::began, {300, 200})});
        send({finger(1, PointerPhase::moved, {200 - 100 * factor, 200}),
              finger(2, PointerPhase::moved, {200 + 100 * factor, 200})});
    }
    void lift() {
        up(1, {});
        up(2, {});
    }
    bool wheel(double notches, bool isControlDown = true) {
        return view->handleWheel(
            {.position = {100, 100}, .notches = {0, notches}, .points = {}, .isControlDown = isControlDown});
    }
    std::size_t strokes() const { return sketch->pathArray.size(); }

    std::shared_ptr<GesturedScrollView> view = std::make_shared<GesturedScrollView>();
    const std::shared_ptr<SketchView> sketch = std::make_shared<SketchView>();
    const std::shared_ptr<ZoomsSketch> zooms = std::make_shared<ZoomsSketch>();
    int taps = 0;
    int takenBack = 0;
};

TEST_F(PictureGesturesTest, FingerDrawsBeyondTheSlopAndTapsWithinIt) {
    down(1, {100, 100});
    to(1, {104, 104});
    to(1, {95, 103});
    up(1, {105, 106});
    EXPECT_EQ(strokes(), 0U);
    EXPECT_EQ(taps, 1) << "a finger is never quite still";

    down(1, {100, 100});
    to(1, {108, 100});
    to(1, {101, 100});  // back inside the slop: it goes on drawing
    up(1, {101, 100});
    EXPECT_EQ(strokes(), 1U);
    EXPECT_EQ(taps, 1);
}

TEST_F(PictureGesturesTest, MouseDrawsFromItsFirstMovement) {
    send({mouse(PointerButton::left, PointerPhase::began, {100, 100})});
    send({mouse(PointerButton::left, PointerPhase::moved, {101, 100})});
    send({mouse(PointerButton::left, PointerPhase::ended, {101, 100})});
    EXPECT_EQ(strokes(), 1U);
    send({mouse(PointerButton::left, PointerPhase::began, {100, 100})});
    send({mouse(PointerButton::left, PointerPhase::moved, {100, 100})});
    send({mouse(PointerButton::left, PointerPhase::ended, {100, 100})});
    EXPECT_EQ(strokes(), 1U);
    EXPECT_EQ(taps, 1);
    send({mouse(PointerButton::right, PointerPhase::began, {100, 100})});
    send({mouse(PointerButton::right, PointerPhase::moved, {200, 100})});
    send({mouse(PointerButton::right, PointerPhase::ended, {200, 100})});
    EXPECT_EQ(strokes(), 1U) << "the right button has no meaning here";
}

TEST_F(PictureGesturesTest, TapOnAZoomedPictureWaitsForADoubleTap) {
    tapAt({50, 50});
    EXPECT_EQ(taps, 1) << "at once while the whole picture is shown";
    pinch(2);
    lift();
    ASSERT_EQ(view->zoomScale(), 2);

    tapAt({50, 50});
    platform->advance(0.29);
    EXPECT_EQ(taps, 1);
    platform->advance(0.02);
    EXPECT_EQ(taps, 2);
    EXPECT_EQ(view->zoomScale(), 2);

    tapAt({50, 50});
    platform->advance(0.29);
    tapAt({50, 50});
    EXPECT_EQ(view->zoomScale(), 1);
    EXPECT_EQ(view->contentOffset(), Point());
    platform->advance(1);
    EXPECT_EQ(taps, 2) << "a double tap is no tap";
}

TEST_F(PictureGesturesTest, SecondFingerUndoesAFreshOrShortStroke) {
    const auto strokeThenPinch = [&](double length, double seconds) {
        down(1, {100, 100});
        to(1, {100 + length, 100});
        platform->advance(seconds);
        down(2, {200, 300});
        const std::size_t drawn = strokes();
        send({finger(1, PointerPhase::ended, {}), finger(2, PointerPhase::ended, {})});
        sketch->clear();
        return drawn;
    };
    EXPECT_EQ(strokeThenPinch(150, 0.39), 0U) << "within the time";
    EXPECT_EQ(takenBack, 1);
    EXPECT_EQ(strokeThenPinch(63, 5), 0U) << "too short to be meant";
    EXPECT_EQ(takenBack, 2);
    EXPECT_EQ(strokeThenPinch(64, 0.41), 1U) << "drawn on purpose";
    EXPECT_EQ(takenBack, 2);
    EXPECT_EQ(taps, 0);
}

TEST_F(PictureGesturesTest, PinchZoomsAroundItsCentreAndMovesWithIt) {
    pinch(2);
    EXPECT_EQ(view->zoomScale(), 2);
    EXPECT_EQ(view->contentOffset(), (Point{200, 200})) << "what lay between the fingers still does";
    send({finger(1, PointerPhase::moved, {20, 190}), finger(2, PointerPhase::moved, {420, 190})});
    EXPECT_EQ(view->zoomScale(), 2);
    EXPECT_EQ(view->contentOffset(), (Point{180, 210}));

    // Fingers that move together at the limit keep it, in whichever order they are listed.
    send({finger(1, PointerPhase::moved, {-980, 190}), finger(2, PointerPhase::moved, {1420, 190})});
    ASSERT_EQ(view->zoomScale(), 8);
    send({finger(2, PointerPhase::moved, {1450, 190}), finger(1, PointerPhase::moved, {-950, 190})});
    EXPECT_EQ(view->zoomScale(), 8);
    lift();
    EXPECT_GT(sketch->contentScale(), 1) << "the drawings are as fine as they are shown";
    EXPECT_EQ(strokes(), 0U);
}

TEST_F(PictureGesturesTest, CoincidentFingersDoNotZoomWithoutBound) {
    send({finger(1, PointerPhase::began, {200, 200}), finger(2, PointerPhase::began, {200, 200})});
    send({finger(2, PointerPhase::moved, {207, 200})});
    EXPECT_EQ(view->zoomScale(), 1) << "less than eight points apart";
    send({finger(2, PointerPhase::moved, {216, 200})});
    EXPECT_EQ(view->zoomScale(), 2);
}

TEST_F(PictureGesturesTest, LastFingerOfAPinchDoesNothing) {
    pinch(2);
    const Point offset = view->contentOffset();
    up(2, {400, 200});
    to(1, {300, 300});
    down(3, {10, 10});
    to(3, {200, 10});
    EXPECT_EQ(strokes(), 0U);
    EXPECT_EQ(view->zoomScale(), 2) << "nor does one that comes back";
    EXPECT_EQ(view->contentOffset(), offset);
    up(3, {200, 10});
    up(1, {300, 300});
    EXPECT_EQ(taps, 0);
    down(1, {100, 100});
    to(1, {150, 100});
    up(1, {150, 100});
    EXPECT_EQ(strokes(), 1U) << "once all have left";
}

TEST_F(PictureGesturesTest, ThirdFingerIsIgnoredInAPinchAndEndsAStroke) {
    pinch(2);
    down(3, {10, 10});
    to(3, {300, 300});
    EXPECT_EQ(view->zoomScale(), 2);
    send({finger(1, PointerPhase::moved, {-200, 200}), finger(2, PointerPhase::moved, {600, 200})});
    EXPECT_EQ(view->zoomScale(), 4) << "the first two go on";
    lift();
    up(3, {});

    down(1, {100, 100});
    to(1, {300, 100});
    platform->advance(1);
    send({finger(2, PointerPhase::began, {10, 10}), finger(3, PointerPhase::began, {20, 20})});
    EXPECT_EQ(strokes(), 1U);
    to(1, {350, 100});
    to(2, {60, 10});
    EXPECT_EQ(view->zoomScale(), 4);
    EXPECT_EQ(strokes(), 1U);
}

TEST_F(PictureGesturesTest, CancellationReleasesEverything) {
    ui::PointerEvent cancelled;
    cancelled.phase = PointerPhase::cancelled;
    down(1, {100, 100});
    to(1, {300, 100});
    send({cancelled});
    EXPECT_EQ(strokes(), 0U) << "a fresh stroke is taken back";
    to(1, {350, 100});
    up(1, {350, 100});
    EXPECT_EQ(strokes(), 0U);
    EXPECT_EQ(taps, 0);

    down(1, {100, 100});
    to(1, {300, 100});
    platform->advance(1);
    send({cancelled});
    EXPECT_EQ(strokes(), 1U) << "one that was drawn on purpose stays";

    pinch(2);
    send({cancelled});
    EXPECT_GT(sketch->contentScale(), 1) << "the end of a pinch";
    send({finger(1, PointerPhase::moved, {0, 200}), finger(2, PointerPhase::moved, {400, 200})});
    EXPECT_EQ(view->zoomScale(), 2);
    down(1, {100, 100});
    to(1, {300, 100});
    up(1, {300, 100});
    EXPECT_EQ(strokes(), 2U) << "the next finger draws at once";
}

TEST_F(PictureGesturesTest, WheelZoomsWithControlAndDrawingsAreRefinedAfterwards) {
    EXPECT_FALSE(wheel(1, false)) << "left to what lies below";
    EXPECT_EQ(view->zoomScale(), 1);
    EXPECT_TRUE(wheel(1));
    EXPECT_EQ(view->zoomScale(), 1.25);
    EXPECT_EQ(view->contentOffset(), (Point{25, 25}));
    platform->advance(0.1);
    EXPECT_TRUE(wheel(1));
    platform->advance(0.1);
    EXPECT_EQ(sketch->contentScale(), 1) << "every notch starts the rest over";
    platform->advance(0.06);
    EXPECT_EQ(sketch->contentScale(), 1.5625);

    EXPECT_TRUE(view->handleMagnify({{0, 0}, 1.28}));
    EXPECT_EQ(view->zoomScale(), 2);
    EXPECT_TRUE(view->handleMagnify({{0, 0}, std::numeric_limits<double>::quiet_NaN()}));
    EXPECT_TRUE(view->handleMagnify({{0, 0}, -1}));
    EXPECT_EQ(view->zoomScale(), 2);
}

TEST_F(PictureGesturesTest, MiddleButtonMovesTheZoomedPicture) {
    pinch(2);
    lift();
    send({mouse(PointerButton::middle, PointerPhase::began, {100, 100})});
    send({mouse(PointerButton::middle, PointerPhase::moved, {140, 125})});
    EXPECT_EQ(view->contentOffset(), (Point{160, 175}));
    send({mouse(PointerButton::left, PointerPhase::began, {140, 125})});
    send({mouse(PointerButton::left, PointerPhase::ended, {140, 125})});
    send({mouse(PointerButton::middle, PointerPhase::moved, {150, 125})});
    EXPECT_EQ(view->contentOffset(), (Point{150, 175})) << "the left button does not end it";
    send({mouse(PointerButton::middle, PointerPhase::ended, {150, 125})});
    send({mouse(PointerButton::middle, PointerPhase::moved, {300, 300})});
    EXPECT_EQ(view->contentOffset(), (Point{150, 175}));

    send({mouse(PointerButton::left, PointerPhase::began, {100, 100})});
    send({mouse(PointerButton::left, PointerPhase::moved, {300, 100})});
    platform->advance(1);
    send({mouse(PointerButton::middle, PointerPhase::began, {300, 100})});
    EXPECT_EQ(strokes(), 1U) << "it ends a stroke";
    send({mouse(PointerButton::left, PointerPhase::moved, {290, 100})});
    EXPECT_EQ(strokes(), 1U);
    EXPECT_EQ(view->contentOffset(), (Point{160, 175}));
}

TEST_F(PictureGesturesTest, DestroyedViewLeavesNoPendingTap) {
    pinch(2);
    lift();
    tapAt({50, 50});
    const std::weak_ptr<GesturedScrollView> weak = view;
    view.reset();
    EXPECT_TRUE(weak.expired());
    platform->advance(1);
    EXPECT_EQ(taps, 0);
}

}  // namespace
}  // namespace videoanalysis
