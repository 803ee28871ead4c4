#include "VideoAnalysis/Trimming/CropView.h"
#include "Tests/Support/ComponentTest.h"

#include <memory>
#include <random>

namespace videoanalysis {
namespace {

class CropViewTest : public ComponentTest {
protected:
    CropViewTest() {
        view->setFrame({0, 0, 400, 300});
        view->setPictureSize({1920, 1080});
    }

    /// Whatever has been done: the mask shows only picture, has its shape, and lies in the view.
    void expectSound() const {
        const Rect crop = view->crop();
        EXPECT_GE(crop.minX(), 0);
        EXPECT_GE(crop.minY(), 0);
        EXPECT_LE(crop.maxX(), 1 + 1e-9);
        EXPECT_LE(crop.maxY(), 1 + 1e-9);
        EXPECT_GT(crop.size.width, 0);
        EXPECT_GT(crop.size.height, 0);
        const double ratio = CropView::ratioOf(view->aspect());
        const double shape =
            crop.size.width * view->pictureSize().width / (crop.size.height * view->pictureSize().height);
        EXPECT_NEAR(shape, ratio > 0 ? ratio : shape, 1e-6);
        const Rect mask = view->maskRect();
        const Rect picture = view->pictureRect();
        EXPECT_NEAR(mask.size.width / mask.size.height, shape, 1e-6);
        EXPECT_NEAR((mask.minX() - picture.minX()) / picture.size.width, crop.origin.x, 1e-6);
        EXPECT_NEAR((mask.minY() - picture.minY()) / picture.size.height, crop.origin.y, 1e-6);
        EXPECT_GE(mask.minX(), -1e-6);
        EXPECT_LE(mask.maxX(), 400 + 1e-6);
        EXPECT_LE(mask.maxY(), 300 + 1e-6);
    }

    const std::shared_ptr<CropView> view = std::make_shared<CropView>();
};

TEST_F(CropViewTest, PictureIsWholeAndFixedWithoutCropping) {
    view->pan(50, 50);
    view->zoom(2, {200, 150});
    view->moveCorner(CropView::Corner::topLeft, {100, 100});
    EXPECT_EQ(view->crop(), Rect(0, 0, 1, 1));
    EXPECT_EQ(view->pictureRect(), Rect(0, 37.5, 400, 225));
}

TEST_F(CropViewTest, MaskIsAsLargeAsThePictureAllows) {
    view->setCropping(true);
    EXPECT_EQ(view->crop(), Rect(0, 0, 1, 1));
    view->setAspect(CropView::Aspect::square);
    EXPECT_EQ(view->crop(), Rect((1 - 1080.0 / 1920) / 2, 0, 1080.0 / 1920, 1));
    EXPECT_NEAR(view->maskRect().size.width, 300 - 2 * CropView::margin, 1e-9);
    view->setAspect(CropView::Aspect::landscape16To9);
    EXPECT_NEAR(view->crop().size.width, 1, 1e-9);
    EXPECT_NEAR(view->crop().size.height, 1, 1e-9);
    expectSound();

    // Around what was in the middle; and it is remembered.
    view->setAspect(CropView::Aspect::portrait9To16);
    view->pan(-1000, 0);
    EXPECT_NEAR(view->crop().maxX(), 1, 1e-9);
    const Rect right = view->crop();
    view->setCropping(false);
    EXPECT_EQ(view->crop(), Rect(0, 0, 1, 1));
    view->setCropping(true);
    EXPECT_EQ(view->crop(), right);
    view->setAspect(CropView::Aspect::portrait4To5);
    EXPECT_NEAR(view->crop().maxX(), 1, 1e-9);
    view->setPictureSize({1080, 1920});
    EXPECT_NEAR(view->crop().midX(), 0.5, 1e-9);
    expectSound();
}

TEST_F(CropViewTest, PictureMovesAndZoomsUnderTheMask) {
    view->setCropping(true);
    view->setAspect(CropView::Aspect::square);
    const Rect mask = view->maskRect();
    const double left = view->crop().minX();
    view->pan(20, 0);  // the picture to the right: the mask shows what is further left
    EXPECT_NEAR(view->crop().minX(), left - 20 / view->pictureRect().size.width, 1e-9);
    EXPECT_EQ(view->maskRect(), mask);

    // What is under the fingers stays there.
    const Point anchor{mask.minX() + 30, mask.minY() + 50};
    const Rect before = view->pictureRect();
    const double x = (anchor.x - before.minX()) / before.size.width;
    view->zoom(1.5, anchor);
    EXPECT_NEAR(view->pictureRect().size.width, before.size.width * 1.5, 1e-6);
    EXPECT_NEAR(view->pictureRect().minX() + x * view->pictureRect().size.width, anchor.x, 1e-6);
    EXPECT_NEAR(view->maskRect().size.width, mask.size.width, 1e-6);
    view->zoom(1e9, anchor);
    EXPECT_NEAR(view->crop().size.height, 1 / CropView::maxZoom, 1e-9);
    view->zoom(1e-9, anchor);
    EXPECT_NEAR(view->crop().size.height, 1, 1e-9);
    expectSound();
}

TEST_F(CropViewTest, FreeMaskIsResizedByItsCorners) {
    view->setCropping(true);
    const Rect picture = view->pictureRect();
    view->moveCorner(CropView::Corner::topLeft, {picture.minX() + picture.size.width / 4, picture.midY()});
    EXPECT_EQ(view->pictureRect(), picture) << "it stands still while the corner moves";
    EXPECT_NEAR(view->crop().minX(), 0.25, 1e-9);
    EXPECT_NEAR(view->crop().minY(), 0.5, 1e-9);
    EXPECT_NEAR(view->crop().maxX(), 1, 1e-9);
    view->endMovingCorner();
    EXPECT_NEAR(view->maskRect().midX(), 200, 1e-6);
    expectSound();
    // Not through the opposite one, not out of the picture.
    view->moveCorner(CropView::Corner::topLeft, {5000, 5000});
    view->moveCorner(CropView::Corner::bottomRight, {5000, -5000});
    view->endMovingCorner();
    expectSound();
    // Only a free mask has such corners.
    view->setAspect(CropView::Aspect::square);
    const Rect crop = view->crop();
    view->moveCorner(CropView::Corner::topLeft, {200, 150});
    EXPECT_EQ(view->crop(), crop);
}

TEST_F(CropViewTest, RandomInputKeepsTheMaskValid) {
    view->setCropping(true);
    std::mt19937 random(3);
    const auto between = [&random](double low, double high) {
        return low + (high - low) * static_cast<double>(random()) / static_cast<double>(std::mt19937::max());
    };
    for (int round = 0; round < 3000; ++round) {
        switch (random() % 6) {
            case 0: view->pan(between(-300, 300), between(-300, 300)); break;
            case 1: view->zoom(between(0.3, 3), {between(-100, 500), between(-100, 400)}); break;
            case 2: view->setAspect(CropView::allAspects[random() % CropView::allAspects.size()]); break;
            case 3:
                view->moveCorner(static_cast<CropView::Corner>(random() % 4), {between(-100, 500), between(-100, 400)});
                break;
            case 4: view->endMovingCorner(); break;
            case 5: view->setPictureSize({between(1, 4000), between(1, 4000)}); break;
        }
        view->endMovingCorner();
        expectSound();
        if (HasFailure()) FAIL() << "round " << round;
    }
}

}  // namespace
}  // namespace videoanalysis
