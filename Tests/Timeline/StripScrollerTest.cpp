// Drags and throws of a strip, from events with explicit times.

#include "VideoAnalysis/Timeline/StripScroller.h"
#include "Tests/Support/ComponentTest.h"
#include "Tests/Support/Pointers.h"
#include "VideoAnalysis/Timeline/InfiniteLayout.h"
#include "VideoAnalysis/Timeline/TimelineView.h"

#include <cmath>
#include <limits>

namespace videoanalysis {
namespace {

class StripScrollerTest : public ComponentTest {
protected:
    struct Target : ui::ScrollViewDelegate {
        std::optional<double> adjusted;
        double proposed = 0;
        double velocity = 0;
        std::vector<std::string> calls;
        void scrollViewWillBeginDragging(ui::ScrollView&) override { calls.push_back("begin"); }
        void scrollViewWillEndDragging(ui::ScrollView&, Point speed, Point& target) override {
            velocity = speed.x;
            proposed = target.x;
            if (adjusted) target.x = *adjusted;
        }
        void scrollViewDidEndDragging(ui::ScrollView&, bool willDecelerate) override {
            calls.push_back(willDecelerate ? "thrown" : "left");
        }
        void scrollViewDidEndDecelerating(ui::ScrollView&) override { calls.push_back("rest"); }
    };
    StripScrollerTest() {
        strip.setFrame({0, 0, 400, 44});
        strip.setContentSize({100000, 44});
        strip.setContentOffset({50000, 0});
        strip.setDelegate(target);
    }
    double offset() const { return strip.contentOffset().x; }
    /// Drags one pointer along `path` of (seconds, position) and releases it at `end`. Returns the velocity reported to the
    /// delegate.
    double stroke(const std::vector<std::pair<double, double>>& path, double end) {
        press(scroller, 1, path.front().second, path.front().first);
        for (const auto& [seconds, position] : path) move(scroller, 1, position, seconds);
        release(scroller, 1, path.back().second, end);
        return target->velocity;
    }
    /// Starts a throw of 1,000 points per second at offset 50,000.
    void throwStrip() {
        press(scroller, 1, 0, 0);
        for (int i = 1; i <= 10; ++i) move(scroller, 1, -10 * i, 0.01 * i);
        release(scroller, 1, -100, 0.1);
        ASSERT_TRUE(scroller.isThrown());
        strip.setContentOffset({50000, 0});
        target->calls.clear();
    }

    ui::ScrollView strip;
    const std::shared_ptr<Target> target = std::make_shared<Target>();
    StripScroller scroller{strip};
};

TEST_F(StripScrollerTest, ThrowFollowsTheClosedFormUntilItRests) {
    throwStrip();
    EXPECT_NEAR(target->velocity, 1000, 1e-6);
    // The speed falls by exp(-2 t) and ends at 5 points per second: 497.5 points in ln(200) / 2 seconds.
    EXPECT_NEAR(target->proposed - 50100, 497.5, 1e-6);
    scroller.continueThrow(0.5);
    EXPECT_NEAR(offset() - 50000, 500 * (1 - std::exp(-1)), 1e-6);
    scroller.continueThrow(2.64);
    EXPECT_TRUE(scroller.isThrown());
    scroller.continueThrow(2.66);
    EXPECT_FALSE(scroller.isThrown());
    EXPECT_NEAR(offset() - 50000, 497.5, 1e-6);
    EXPECT_EQ(target->calls, (std::vector<std::string>{"rest"}));
    scroller.continueThrow(3);
    EXPECT_NEAR(offset() - 50000, 497.5, 1e-6) << "a late frame does not move it further";
}

TEST_F(StripScrollerTest, PointersAndStopEndAThrowAtItsPosition) {
    const std::vector<std::function<void()>> ends{
        [&] { press(scroller, 2, 300, 1); },
        [&] { scroller.wheel(0); },
        [&] { scroller.stop(); },
        [&] { strip.stopScrolling(); },
    };
    for (std::size_t i = 0; i < ends.size(); ++i) {
        throwStrip();
        scroller.continueThrow(0.1);
        const double before = offset();
        ends[i]();
        EXPECT_FALSE(scroller.isThrown()) << i;
        EXPECT_EQ(target->calls.front(), "rest") << i;
        scroller.continueThrow(1);
        EXPECT_EQ(offset(), before) << i;
        scroller.stop();
    }
}

TEST_F(StripScrollerTest, ACancellationEndsTheDragWhereTheStripIs) {
    press(scroller, 1, 0, 0);
    for (int i = 1; i <= 10; ++i) move(scroller, 1, -10 * i, 0.01 * i);
    const ui::PointerEvent cancelled = finger(1, ui::PointerPhase::cancelled, {});
    scroller.handle({&cancelled, 1});
    EXPECT_FALSE(scroller.isDragging());
    EXPECT_FALSE(scroller.isThrown());
    EXPECT_EQ(target->calls, (std::vector<std::string>{"begin", "left"}));
    EXPECT_EQ(offset(), 50100);
    move(scroller, 1, -300, 0.2);
    release(scroller, 1, -300, 0.2);
    EXPECT_EQ(offset(), 50100);
}

TEST_F(StripScrollerTest, ThrowVelocityIsMeasuredJustBeforeTheRelease) {
    using Path = std::vector<std::pair<double, double>>;
    Path fast;
    for (int i = 0; i <= 10; ++i) fast.push_back({0.01 * i, -10.0 * i});
    EXPECT_NEAR(stroke(fast, 0.1), 1000, 1e-6);
    EXPECT_TRUE(scroller.isThrown());
    EXPECT_NEAR(stroke(fast, 0.12), 600, 1e-6) << "a short pause lowers the velocity";
    EXPECT_EQ(stroke(fast, 0.18), 0) << "a pointer at rest does not throw";
    EXPECT_FALSE(scroller.isThrown());

    Path slowing = fast;
    for (int i = 1; i <= 6; ++i) slowing.push_back({0.1 + 0.01 * i, -100 - 0.2 * i});
    EXPECT_NEAR(stroke(slowing, 0.16), 20, 1e-6);
    EXPECT_FALSE(scroller.isThrown()) << "too slow";

    Path turning = fast;
    turning.push_back({0.11, -95});
    EXPECT_NEAR(stroke(turning, 0.11), -500, 1e-6) << "after a reversal the throw goes back";
    Path slipping = fast;
    slipping.push_back({0.105, -99});
    EXPECT_GT(stroke(slipping, 0.105), 800) << "slipping back on release still throws";

    // 60 Hz events; the release has the last position.
    press(scroller, 1, 0, 10);
    move(scroller, 1, -16, 10.016);
    release(scroller, 1, -32, 10.032);
    EXPECT_NEAR(target->velocity, 1000, 1e-6);
    // Zero or non-finite elapsed time.
    EXPECT_EQ(stroke({{5, 0}, {5, -40}}, 5), 0);
    EXPECT_EQ(stroke({{5, 0}, {4, -40}}, 3), 0);
    press(scroller, 1, 0, 1);
    move(scroller, 1, std::numeric_limits<double>::quiet_NaN(), 1.01);
    move(scroller, 1, -8, std::numeric_limits<double>::infinity());
    release(scroller, 1, 0, std::numeric_limits<double>::quiet_NaN());
    EXPECT_TRUE(std::isfinite(offset()));
    EXPECT_EQ(target->velocity, 0);
}

TEST_F(StripScrollerTest, LatestPointerDragsAndLastReleasedPointerThrows) {
    press(scroller, 1, 100, 0);
    move(scroller, 1, 90, 0.01);
    EXPECT_EQ(offset(), 50010);
    press(scroller, 2, 300, 0.02);
    EXPECT_EQ(offset(), 50010) << "taking over does not move the strip";
    move(scroller, 1, 50, 0.03);
    EXPECT_EQ(offset(), 50010);
    move(scroller, 2, 295, 0.04);
    EXPECT_EQ(offset(), 50015);
    release(scroller, 2, 295, 0.05);
    EXPECT_TRUE(scroller.isDragging()) << "the other finger is still down";
    move(scroller, 1, 48, 0.06);
    EXPECT_EQ(offset(), 50017) << "continues from the pointer's current position";
    press(scroller, 2, 0, 0.07);
    release(scroller, 1, 48, 0.08);
    move(scroller, 2, -10, 0.08);
    EXPECT_EQ(offset(), 50027);
    move(scroller, 2, -20, 0.09);
    release(scroller, 2, -20, 0.09);
    EXPECT_NEAR(target->velocity, 1000, 1e-6) << "only the released pointer counts";
    EXPECT_TRUE(scroller.isThrown());
    EXPECT_EQ(target->calls, (std::vector<std::string>{"begin", "thrown"})) << "one drag for all pointers";
}

TEST_F(StripScrollerTest, ThrowReachesTheTargetAdjustedByTheDelegate) {
    for (const double adjusted : {50400.0, 49900.0, 50101.0}) {
        strip.setContentOffset({50000, 0});
        target->adjusted = adjusted;
        press(scroller, 1, 0, 0);
        for (int i = 1; i <= 10; ++i) move(scroller, 1, -10 * i, 0.01 * i);
        release(scroller, 1, -100, 0.1);
        double last = offset();
        for (double seconds = 0; scroller.isThrown() && seconds < 10; seconds += 0.016) {
            scroller.continueThrow(seconds);
            EXPECT_LT(std::abs(offset() - last), 16);
            last = offset();
        }
        EXPECT_NEAR(offset(), adjusted, 1e-6);
    }
    // Also without velocity, and for the wheel.
    target->adjusted = 50003;
    strip.setContentOffset({50000, 0});
    target->calls.clear();
    scroller.wheel(1);
    platform->advance(0.2);
    EXPECT_EQ(target->calls, (std::vector<std::string>{"begin", "thrown"}));
    scroller.continueThrow(10);
    EXPECT_NEAR(offset(), 50003, 1e-6);
}

TEST_F(StripScrollerTest, ReducedMotionSkipsTheThrowAndJumpsToAnAdjustedTarget) {
    scroller.isMotionReduced = true;
    stroke({{0, 0}, {0.01, -10}, {0.02, -20}}, 0.02);
    EXPECT_FALSE(scroller.isThrown());
    EXPECT_EQ(offset(), 50020);
    EXPECT_EQ(target->calls, (std::vector<std::string>{"begin", "left"}));
    target->adjusted = 50064;
    stroke({{0, 0}, {0.01, -10}, {0.02, -20}}, 0.02);
    EXPECT_FALSE(strip.isDecelerating());
    EXPECT_NEAR(offset(), 50064, 1e-9);
}

TEST_F(StripScrollerTest, StripStopsAtItsEnds) {
    strip.setContentOffset({5, 0});
    press(scroller, 1, 0, 0);
    move(scroller, 1, 50, 0.01);
    EXPECT_EQ(offset(), 0);
    release(scroller, 1, 50, 0.01);
    EXPECT_FALSE(scroller.isThrown()) << "already at the end";
    strip.setContentOffset({99500, 0});
    stroke({{0, 0}, {0.01, -10}, {0.02, -20}}, 0.02);
    EXPECT_NEAR(target->proposed, 99600, 1e-9) << "the proposed target is clamped";
    scroller.continueThrow(20);
    EXPECT_EQ(offset(), 99600);
    EXPECT_FALSE(strip.isDecelerating());

    strip.setContentOffset({99000, 0});
    target->adjusted = 2e9;
    stroke({{0, 0}, {0.01, -10}, {0.02, -20}}, 0.02);
    scroller.continueThrow(20);
    EXPECT_EQ(offset(), 99600);

    strip.setContentSize({300, 44});  // shorter than the visible width
    target->adjusted.reset();
    stroke({{0, 0}, {0.01, -10}, {0.02, -20}}, 0.02);
    EXPECT_EQ(offset(), 0);
}

// ---- On the whole screen

class ThrownRulerTest : public ComponentTest {
protected:
    ThrownRulerTest() {
        for (const char* name : {"a", "b"}) store().dispatch(AddMediaAction(clip(name)));
        show();
        for (std::size_t i = 0; i < 2; ++i) {
            ruler(i).setFrame({0, 0, 400, 44});
            platform->drainMainQueue();
        }
    }
    TimelineView& ruler(std::size_t index) { return *hudOf(index).timelineView.lock(); }
    void throwRuler(std::size_t index) {
        StripScroller& scroller = ruler(index).scroller();
        press(scroller, 1, 0, 0);
        for (int i = 1; i <= 4; ++i) move(scroller, 1, -8 * i, 0.01 * i);
        release(scroller, 1, -32, 0.04);
        ASSERT_TRUE(scroller.isThrown());
        scroller.continueThrow(0.1);
        platform->drainMainQueue();
        ASSERT_TRUE(ruler(index).canDrag());
    }
    /// Whether the ruler's throw has ended and a later display frame does not step.
    testing::AssertionResult isOver(std::size_t index) {
        platform->drainMainQueue();
        const std::int64_t frame = frameOf(index);
        ruler(index).scroller().continueThrow(1);
        platform->drainMainQueue();
        if (ruler(index).canDrag()) return testing::AssertionFailure() << "still scrubs";
        if (ruler(index).scroller().isThrown()) return testing::AssertionFailure() << "still thrown";
        if (frameOf(index) != frame) return testing::AssertionFailure() << "has stepped to " << frameOf(index);
        return testing::AssertionSuccess();
    }
};

TEST_F(ThrownRulerTest, ThrowStepsUntilAnotherCommand) {
    throwRuler(0);
    const std::int64_t before = frameOf(0);
    ruler(0).scroller().continueThrow(0.4);
    platform->drainMainQueue();
    EXPECT_GT(frameOf(0), before) << "the ruler's own steps do not end the throw";

    tap(hudOf(1).forwardButton);
    EXPECT_TRUE(ruler(0).scroller().isThrown()) << "the command was for the other player";
    tap(hudOf(0).playPauseButton);
    EXPECT_TRUE(isOver(0));
    EXPECT_TRUE(playerOf(0).rate() > 0) << "playback continues";
    tap(hudOf(0).playPauseButton);

    throwRuler(0);
    tap(hudOf(0).rewindButton);
    EXPECT_TRUE(isOver(0));

    throwRuler(0);
    const auto seekbar = hudOf(0).seekbar.lock();
    seekbar->setValue(0.5F);
    seekbar->sendActions(ui::ControlEvent::valueChanged);
    EXPECT_TRUE(isOver(0));
    EXPECT_NEAR(seekbar->value(), 0.5, 0.02) << "the seek bar keeps its position";
}

TEST_F(ThrownRulerTest, LockingAndLockedCommandsEndThrows) {
    throwRuler(0);
    throwRuler(1);
    store().dispatch(SetPlaybackLockStateAction(true));
    EXPECT_TRUE(isOver(0));
    EXPECT_TRUE(isOver(1));
    throwRuler(1);
    EXPECT_EQ(frameOf(0), frameOf(1)) << "both step";
    store().dispatch(SetCellVideoPlayingStateAction(true, {}));
    EXPECT_TRUE(isOver(1));
    store().dispatch(SetCellVideoPlayingStateAction(false, {}));
    throwRuler(1);
    store().dispatch(SetPlaybackLockStateAction(false));
    EXPECT_TRUE(isOver(1));
}

TEST_F(ThrownRulerTest, HiddenOrReplacedRulerStopsScrubbing) {
    throwRuler(0);
    store().dispatch(SetHUDVisibleAction(false));
    EXPECT_TRUE(isOver(0));
    store().dispatch(SetHUDVisibleAction(true));
    platform->drainMainQueue();

    StripScroller& scroller = ruler(0).scroller();
    press(scroller, 1, 0, 0);
    store().dispatch(SetHUDVisibleAction(false));
    platform->drainMainQueue();
    const std::int64_t frame = frameOf(0);
    move(scroller, 1, -80, 0.1);
    EXPECT_FALSE(ruler(0).canDrag()) << "the drag ends, too";
    platform->drainMainQueue();
    EXPECT_EQ(frameOf(0), frame);
    release(scroller, 1, -80, 0.1);
    store().dispatch(SetHUDVisibleAction(true));
    platform->drainMainQueue();

    throwRuler(0);
    const auto thrown = hudOf(0).timelineView.lock();
    store().dispatch(UpdateMediaAction(0, clip("c")));
    EXPECT_FALSE(thrown->canDrag()) << "ends immediately";
    platform->advance(1);
    EXPECT_EQ(frameOf(0), 0);
    thrown->scroller().continueThrow(1);
    platform->drainMainQueue();
    EXPECT_EQ(frameOf(0), 0);
}

}  // namespace
}  // namespace videoanalysis
