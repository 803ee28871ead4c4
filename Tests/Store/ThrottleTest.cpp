#include "VideoAnalysis/Store/Throttle.h"

#include "Tests/Support/ComponentTest.h"

namespace videoanalysis {
namespace {

class ThrottleTest : public ComponentTest {
protected:
    void call(const char* name) {
        throttle->throttle([this, name] { ran += name; });
    }
    std::string ran;
    const std::shared_ptr<Throttle> throttle = Throttle::make(0.5, platform->queue);
};

TEST_F(ThrottleTest, BurstRunsItsFirstAndLastJob) {
    call("A");
    EXPECT_EQ(ran, "") << "jobs never run inside the call";
    platform->advance(0.1);
    call("B");
    platform->advance(0.1);
    call("C");
    EXPECT_TRUE(throttle->scheduled() && throttle->lastRequestWasCanceled());
    platform->advance(0.305);
    EXPECT_EQ(ran, "A");
    platform->advance(0.01);
    EXPECT_EQ(ran, "AC");
    EXPECT_FALSE(throttle->scheduled());
    platform->advance(5);
    EXPECT_EQ(ran, "AC");
    call("D");
    platform->drainMainQueue();
    EXPECT_EQ(ran, "ACD");
}

TEST_F(ThrottleTest, EmptyJobClearsThePendingRun) {
    call("A");
    call("B");
    throttle->throttle(nullptr);
    platform->advance(2);
    EXPECT_EQ(ran, "A");
}

TEST_F(ThrottleTest, RunsEveryCallWithoutADelay) {
    throttle->updateMinimumDelay(0);
    for (const char* name : {"A", "B", "C"}) call(name);
    platform->drainMainQueue();
    EXPECT_EQ(ran, "ABC");
    EXPECT_FALSE(throttle->lastRequestWasCanceled());
}

TEST_F(ThrottleTest, TrailingRunThatIsStillTooEarlyDropsItsJob) {
    call("A");
    call("B");
    throttle->updateMinimumDelay(10);
    platform->advance(2);
    EXPECT_EQ(ran, "A");
    EXPECT_FALSE(throttle->scheduled());
    call("C");
    platform->advance(20);
    EXPECT_EQ(ran, "AC") << "the next call starts over";
}

}  // namespace
}  // namespace videoanalysis
