#include "VideoAnalysis/Trimming/TrimmerView.h"
#include "Support/ComponentTest.h"
#include "Support/Pointers.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace videoanalysis {
namespace {

class TrimmerViewTest : public ComponentTest {
protected:
    TrimmerViewTest() {
        trimmer->setFrame({0, 0, 1040, 50});  // a row of 1000 points
        trimmer->setClip(100, 0.1);
        for (const auto event :
             {ui::ControlEvent::touchDown, ui::ControlEvent::valueChanged, ui::ControlEvent::touchUpInside}) {
            trimmer->addAction(event, [this, event](ui::Control&) { events.push_back(event); });
        }
        trimmer->rowObserver = [this] { ++rowChanges; };
    }

    void drag(double from, double to) { finger.drag({from, 25}, {to, 25}); }

    const std::shared_ptr<TrimmerView> trimmer = std::make_shared<TrimmerView>();
    Finger finger{trimmer};
    std::vector<ui::ControlEvent> events;
    int rowChanges = 0;
};

TEST_F(TrimmerViewTest, HandlesFollowTheFingerFrameByFrameAndCannotCross) {
    drag(10, 110);  // the start handle's middle is 10 points left of its moment
    EXPECT_NEAR(trimmer->start(), 10, 1e-9);
    EXPECT_EQ(events, (std::vector{ui::ControlEvent::touchDown, ui::ControlEvent::valueChanged,
                                   ui::ControlEvent::touchUpInside}));
    drag(1030, 533.4);
    EXPECT_NEAR(trimmer->end(), 50.3, 1e-9) << "rounded to frames";
    EXPECT_EQ(trimmer->trackedPart(), TrimmerView::Part::none);

    // Past each other: the minimum duration stays between them.
    trimmer->setMinimumDuration(2);
    drag(trimmer->xOf(trimmer->start()) - 10, 1035);
    EXPECT_NEAR(trimmer->start(), 48.3, 1e-9);
    EXPECT_NEAR(trimmer->end(), 50.3, 1e-9);
    drag(trimmer->xOf(trimmer->end()) + 10, -500);
    EXPECT_NEAR(trimmer->end(), 50.3, 1e-9);
    drag(trimmer->xOf(trimmer->start()) - 10, -500);
    EXPECT_EQ(trimmer->start(), 0);
    trimmer->setStart(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(trimmer->start(), 0);
}

TEST_F(TrimmerViewTest, FingerTakesTheNearestHandleOrTheBar) {
    drag(700, 720);
    EXPECT_NEAR(trimmer->position(), 70, 1e-9);
    EXPECT_EQ(trimmer->start(), 0);
    // Both handles within reach: what is nearer.
    trimmer->setStart(50);
    trimmer->setEnd(51);
    finger.press({trimmer->xOf(50) - 4, 25});
    EXPECT_EQ(trimmer->trackedPart(), TrimmerView::Part::start);
    finger.release();
    finger.press({trimmer->xOf(51) + 4, 25});
    EXPECT_EQ(trimmer->trackedPart(), TrimmerView::Part::end);
    finger.release();
    // The bar stays between the handles.
    drag(200, 300);
    EXPECT_EQ(trimmer->position(), 50);
    // Taken off its middle, a handle does not jump.
    events.clear();
    finger.press({trimmer->xOf(51) + 20, 25});
    finger.moveTo({trimmer->xOf(51) + 20, 25});
    EXPECT_NEAR(trimmer->end(), 51, 1e-9);
    finger.release();
    EXPECT_EQ(events, (std::vector{ui::ControlEvent::touchDown, ui::ControlEvent::touchUpInside}));

    trimmer->setEnabled(false);
    drag(10, 500);
    trimmer->nudge(TrimmerView::Part::start, 1);
    EXPECT_EQ(trimmer->start(), 50);
}

TEST_F(TrimmerViewTest, HandleHeldStillZoomsIn) {
    trimmer->setStart(40);
    const double handle = trimmer->xOf(40) - 10;
    finger.press({handle, 25});
    platform->advance(0.3);
    finger.moveTo({handle + 20, 25});  // not still
    platform->advance(0.4);
    EXPECT_FALSE(trimmer->isZoomed());
    platform->advance(0.2);
    ASSERT_TRUE(trimmer->isZoomed());
    EXPECT_EQ(rowChanges, 1);
    EXPECT_NEAR(trimmer->visibleEnd() - trimmer->visibleStart(), 12.5, 1e-9);
    EXPECT_NEAR(trimmer->xOf(trimmer->start()), handle + 30, 1) << "the handle stays under the finger";
    const double before = trimmer->start();
    finger.moveTo({handle + 20 + 80, 25});
    EXPECT_NEAR(trimmer->start() - before, 1, 0.11) << "eight times finer";
    finger.moveTo({5000, 25});
    EXPECT_LE(trimmer->start(), trimmer->visibleEnd() + trimmer->step());
    finger.release();
    EXPECT_FALSE(trimmer->isZoomed());
    EXPECT_EQ(rowChanges, 2);
    platform->advance(1);
    EXPECT_FALSE(trimmer->isZoomed());

    // There is nothing to see closer in a short clip; and a view that is gone is left alone.
    trimmer->setClip(1.5, 0.1);
    finger.press({10, 25});
    platform->advance(1);
    EXPECT_FALSE(trimmer->isZoomed());
    finger.release();
    auto other = std::make_shared<TrimmerView>();
    other->setFrame({0, 0, 200, 50});
    other->setClip(60, 0);
    Finger(other).press({10, 25});
    other.reset();
    platform->advance(1);
}

TEST_F(TrimmerViewTest, ShortClipsAreKeptWhole) {
    for (const double duration : {0.5, 1.0, 1 / 30.0, 0.0}) {
        trimmer->setClip(duration, 1 / 30.0);
        drag(10, 500);
        drag(1030, 100);
        EXPECT_EQ(trimmer->start(), 0) << duration;
        EXPECT_EQ(trimmer->end(), duration) << duration;
    }
}

TEST_F(TrimmerViewTest, KeyboardMovesByFrames) {
    trimmer->setClip(10.04, 0.1);  // its end is between two frames
    trimmer->nudge(TrimmerView::Part::start, 3);
    EXPECT_NEAR(trimmer->start(), 0.3, 1e-9);
    trimmer->nudge(TrimmerView::Part::end, -1);
    EXPECT_NEAR(trimmer->end(), 10.0, 1e-9);
    trimmer->nudge(TrimmerView::Part::end, 1);
    EXPECT_NEAR(trimmer->end(), 10.04, 1e-9);
    trimmer->nudge(TrimmerView::Part::position, -1);
    EXPECT_NEAR(trimmer->position(), trimmer->start(), 1e-9);
}

TEST_F(TrimmerViewTest, EveryPressIsOneFrameAtVariableRate) {
    // 120 frames, each of 33 to 145 ms; times come with the rounding of a player's clock.
    std::vector<double> times = {0};
    for (int frame = 0; frame < 120; ++frame) times.push_back(times.back() + 0.0333 + 0.0279 * (frame * frame % 5));
    const double duration = times.back();
    const auto frameTime = [&](double time, int count) {
        const auto after = std::upper_bound(times.begin(), times.end(), std::floor(time * 1e6) * 1e-6);
        const auto frame = std::clamp<std::ptrdiff_t>(after - times.begin() - 1 + count, 0, 120);
        return times[static_cast<std::size_t>(frame)];
    };
    trimmer->setClip(duration, 0.0333, frameTime);
    for (std::size_t press = 1; press < 120; ++press) {
        trimmer->nudge(TrimmerView::Part::position, 1);
        ASSERT_EQ(trimmer->position(), times[press]);
    }
    trimmer->nudge(TrimmerView::Part::position, 1);
    EXPECT_EQ(trimmer->position(), times[119]) << "after the last frame there is nothing to see";
    for (std::size_t press = 119; press-- > 0;) {
        trimmer->nudge(TrimmerView::Part::position, -1);
        ASSERT_EQ(trimmer->position(), times[press]);
    }
    // The handles as well, as far as the minimum duration allows: there they stand where frames meet, too.
    for (std::size_t press = 1; press < 120; ++press) {
        trimmer->nudge(TrimmerView::Part::start, 1);
        ASSERT_EQ(trimmer->start(), duration - times[press] >= 1 ? times[press] : trimmer->start());
    }
    EXPECT_TRUE(std::binary_search(times.begin(), times.end(), trimmer->start()));
    EXPECT_GE(trimmer->end() - trimmer->start(), 1);
    EXPECT_LT(trimmer->end() - trimmer->start(), 1.15);
    trimmer->setStart(0);
    for (std::size_t press = 119; press > 20; --press) {
        trimmer->nudge(TrimmerView::Part::end, -1);
        ASSERT_EQ(trimmer->end(), times[press]);
    }
    // A finger takes a handle from frame to frame, and the bar not onto the first frame that is left out.
    drag(trimmer->xOf(0) - 10, trimmer->xOf(times[7]) - 9.5);
    EXPECT_EQ(trimmer->start(), times[7]);
    drag(trimmer->xOf(times[14]), 1000);
    EXPECT_EQ(trimmer->position(), times[20]);
}

TEST_F(TrimmerViewTest, DisablingDuringADragKeepsTheRange) {
    finger.press({10, 25});
    finger.moveTo({60, 25});
    const double start = trimmer->start();
    trimmer->setEnabled(false);
    finger.moveTo({200, 25});
    EXPECT_EQ(trimmer->start(), start);
    finger.release();
    EXPECT_EQ(trimmer->trackedPart(), TrimmerView::Part::none);
}

TEST_F(TrimmerViewTest, ThumbnailsFillTheRowAndServeAsPlaceholders) {
    trimmer->layOutThumbnails(2);  // 100 points wide each
    ASSERT_EQ(trimmer->thumbnails().size(), 10U);
    EXPECT_NEAR(trimmer->thumbnails()[0].time, 5, 1e-9);
    EXPECT_NEAR(trimmer->thumbnails()[9].time, 95, 1e-9);
    const Image first(std::make_shared<const Bitmap>(2, 1, 1));
    const Image last(std::make_shared<const Bitmap>(2, 1, 1));
    trimmer->setThumbnail(1, first);
    trimmer->setThumbnail(8, last);
    trimmer->setThumbnail(10, last);  // no such one
    trimmer->setFrame({0, 0, 540, 50});
    trimmer->layOutThumbnails(2);
    ASSERT_EQ(trimmer->thumbnails().size(), 5U);
    EXPECT_EQ(trimmer->thumbnails()[1].image, first);
    EXPECT_EQ(trimmer->thumbnails()[3].image, last);
    // Neither a strange shape nor an endless row makes too many.
    trimmer->layOutThumbnails(1e-9);
    EXPECT_LE(trimmer->thumbnails().size(), 200U);
    trimmer->layOutThumbnails(0);
    trimmer->layOutThumbnails(1e9);
    EXPECT_EQ(trimmer->thumbnails().size(), 1U);
}

}  // namespace
}  // namespace videoanalysis
