// Fingers, the mouse and the wheel on the crop view.

#include "VideoAnalysis/Trimming/CropView.h"

#include "Support/ComponentTest.h"
#include "Support/Pointers.h"

#include <vector>

namespace videoanalysis {
namespace {

using ui::PointerPhase;

class CropGesturesTest : public ComponentTest {
protected:
    CropGesturesTest() {
        view->setFrame({0, 0, 400, 400});
        view->setPictureSize({1000, 1000});
        view->setCropping(true);
        mask = view->maskRect();
        middle = mask.center();
    }
    void pass(const std::vector<ui::PointerEvent>& events) { view->handlePointers(events); }
    bool turnWheel(double notches) const {
        ui::WheelEvent event;
        event.position = middle;
        event.notches.y = notches;
        return view->handleWheel(event);
    }
    /// Twice as large, so that the picture can be moved in every direction.
    void enlarge() { view->zoom(2, middle); }
    Point offsetFrom(const Rect& before) const {
        const Rect now = view->pictureRect();
        return {now.origin.x - before.origin.x, now.origin.y - before.origin.y};
    }

    const std::shared_ptr<CropView> view = std::make_shared<CropView>();
    Finger first{view, 1};
    Finger second{view, 2};
    Finger third{view, 3};
    Rect mask;
    Point middle;
};

TEST_F(CropGesturesTest, OneFingerMovesThePictureUntilItIsReleasedOrCancelled) {
    enlarge();
    const Rect before = view->pictureRect();
    EXPECT_TRUE(first.press(middle));
    first.moveTo({middle.x + 30, middle.y - 20});
    first.moveTo({middle.x + 50, middle.y - 20});
    EXPECT_NEAR(offsetFrom(before).x, 50, 1e-6);
    EXPECT_NEAR(offsetFrom(before).y, -20, 1e-6);
    first.cancel();
    first.moveTo({middle.x, middle.y});
    EXPECT_NEAR(offsetFrom(before).x, 50, 1e-6);

    // The right button moves nothing, and neither does anything while locked.
    pass({mouse(ui::PointerButton::right, PointerPhase::began, middle)});
    pass({mouse(ui::PointerButton::right, PointerPhase::moved, {0, 0})});
    view->setLocked(true);
    first.drag(middle, {0, 0});
    EXPECT_NEAR(offsetFrom(before).x, 50, 1e-6);
}

TEST_F(CropGesturesTest, PressNearACornerOfAFreeMaskMovesTheCorner) {
    const Point corner{mask.minX(), mask.minY()};
    const Rect picture = view->pictureRect();
    first.press({corner.x + 12, corner.y + 16});
    EXPECT_NEAR(view->maskRect().minX(), corner.x + 12, 1e-6) << "it jumps under the finger";
    first.moveTo({corner.x + 92, corner.y + 92});
    EXPECT_NEAR(view->maskRect().minX(), corner.x + 92, 1e-6);
    EXPECT_NEAR(view->maskRect().maxX(), mask.maxX(), 1e-6);
    EXPECT_EQ(view->pictureRect(), picture);
    first.release();
    EXPECT_NEAR(view->maskRect().midX(), 200, 1e-6) << "the mask goes back to the middle";

    // Out of reach and without free corners it is the picture that moves.
    const Rect cropped = view->crop();
    const Rect moved = view->maskRect();
    first.drag({moved.minX() + 20, moved.minY() + 20}, {moved.minX() + 15, moved.minY() + 15});
    EXPECT_NEAR(view->crop().size.width, cropped.size.width, 1e-9);
    EXPECT_GT(view->crop().minX(), cropped.minX() - 1e-9);
    view->setAspect(CropView::Aspect::square);
    enlarge();
    const Rect square = view->crop();
    first.drag({view->maskRect().minX(), view->maskRect().minY()}, view->maskRect().center());
    EXPECT_NEAR(view->crop().size.width, square.size.width, 1e-9);
}

TEST_F(CropGesturesTest, MouseMovesACornerFromItsFirstMovement) {
    const Point near{mask.maxX() - 12, mask.maxY() - 12};
    pass({mouse(ui::PointerButton::left, PointerPhase::began, near)});
    EXPECT_EQ(view->maskRect(), mask);
    pass({mouse(ui::PointerButton::none, PointerPhase::moved, {near.x - 1, near.y})});
    EXPECT_NEAR(view->maskRect().maxX(), near.x - 1, 1e-6);
    pass({mouse(ui::PointerButton::left, PointerPhase::ended, near)});
    EXPECT_NEAR(view->maskRect().midX(), 200, 1e-6);
}

TEST_F(CropGesturesTest, TwoFingersZoomAndMoveAndAThirdOneIsIgnored) {
    first.press({middle.x - 20, middle.y});
    second.press({middle.x + 20, middle.y});
    const double width = view->pictureRect().size.width;
    pass({finger(1, PointerPhase::moved, {middle.x - 40, middle.y}),
          finger(2, PointerPhase::moved, {middle.x + 40, middle.y})});
    EXPECT_NEAR(view->pictureRect().size.width, 2 * width, 1e-6);
    const Rect before = view->pictureRect();
    pass({finger(1, PointerPhase::moved, {middle.x - 30, middle.y + 5}),
          finger(2, PointerPhase::moved, {middle.x + 50, middle.y + 5})});
    EXPECT_NEAR(offsetFrom(before).x, 10, 1e-6);
    EXPECT_NEAR(offsetFrom(before).y, 5, 1e-6);

    const Rect held = view->pictureRect();
    third.press({middle.x, middle.y + 150});
    third.moveTo({middle.x, middle.y + 100});
    EXPECT_EQ(view->pictureRect(), held);
    // The pair is another one now: nothing jumps.
    first.release();
    EXPECT_EQ(view->pictureRect(), held);
    second.release();
    EXPECT_EQ(view->pictureRect(), held);
    third.moveTo({middle.x + 7, middle.y + 100});
    EXPECT_NEAR(offsetFrom(held).x, 7, 1e-6);
}

TEST_F(CropGesturesTest, WheelZoomsAroundThePointer) {
    const double width = view->pictureRect().size.width;
    EXPECT_TRUE(turnWheel(1));
    EXPECT_NEAR(view->pictureRect().size.width / width, 1.1274, 1e-4);
    EXPECT_NEAR(view->pictureRect().midX(), middle.x, 1e-6);
    turnWheel(-1);
    EXPECT_NEAR(view->pictureRect().size.width, width, 1e-6);
}

TEST_F(CropGesturesTest, InputPassesThroughWithoutCropping) {
    view->setCropping(false);
    const Rect picture = view->pictureRect();
    EXPECT_FALSE(first.press(middle));
    EXPECT_FALSE(turnWheel(1));
    view->setCropping(true);
    enlarge();
    const Rect enlarged = view->pictureRect();
    first.moveTo({0, 0});
    EXPECT_EQ(view->pictureRect(), enlarged) << "the press was not for the crop view";
    view->setCropping(false);
    EXPECT_EQ(view->pictureRect(), picture);
}

}  // namespace
}  // namespace videoanalysis
