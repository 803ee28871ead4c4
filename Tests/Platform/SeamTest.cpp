// The value types and queues of the seams.

#include "Tests/Support/ComponentTest.h"
#include "VideoAnalysis/Platform/Media.h"
#include "VideoAnalysis/Platform/URL.h"

#include <array>
#include <atomic>
#include <memory>
#include <thread>

namespace videoanalysis {
namespace {

using SeamTest = ComponentTest;

TEST_F(SeamTest, TurnRunsTheBlocksPendingWhenItBegan) {
    std::string order;
    dispatch::MainQueue& queue = platform->queue;
    queue.async([&] {
        order += "a";
        queue.async([&] { order += "c"; });
        EXPECT_FALSE(queue.runTurn()) << "a nested turn would change the order";
    });
    queue.async([&] { order += "b"; });
    EXPECT_TRUE(queue.runTurn());
    EXPECT_EQ(order, "ab");
    EXPECT_TRUE(queue.runTurn());
    EXPECT_EQ(order, "abc");
    EXPECT_FALSE(queue.runTurn());
}

TEST_F(SeamTest, BlocksOwnTheirCallable) {
    auto token = std::make_shared<int>(1);
    std::array<char, 200> large{};
    int sum = 0;
    dispatch::Block small([token, &sum] { sum += *token; });
    dispatch::Block big([token, large, &sum] { sum += *token + large[0]; });
    EXPECT_EQ(token.use_count(), 3);
    dispatch::Block moved = std::move(small);
    EXPECT_FALSE(small);  // NOLINT: a moved-from block is empty
    moved();
    big();
    EXPECT_EQ(sum, 2);
    moved = std::move(big);
    EXPECT_EQ(token.use_count(), 2);
    moved = {};
    EXPECT_EQ(token.use_count(), 1);
}

TEST_F(SeamTest, AnyThreadMayPost) {
    constexpr int perThread = 1000;
    std::array<int, 4> last{};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([this, thread, &last] {
            for (int i = 1; i <= perThread; ++i) {
                platform->queue.async([thread, i, &last] {
                    EXPECT_EQ(last[static_cast<std::size_t>(thread)], i - 1);
                    last[static_cast<std::size_t>(thread)] = i;
                });
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    platform->drainMainQueue();
    EXPECT_EQ(last, (std::array{perThread, perThread, perThread, perThread}));
}

/// Lets the owner's thread continue during a wake, and detects if the queue is destroyed at that time.
class SlowlyWokenQueue final : public dispatch::MainQueue {
public:
    struct Witness {
        std::atomic<bool> isWaking = false;
        std::atomic<bool> isGone = false;
        std::atomic<int> wakesOfTheDead = 0;
    };

    explicit SlowlyWokenQueue(Witness& witness) : witness_(witness) {}
    ~SlowlyWokenQueue() override {
        close();
        witness_.isGone = true;
    }
    void asyncAfter(double, dispatch::Block) override {}

private:
    void wake() override {
        Witness& witness = witness_;
        witness.isWaking = true;
        for (int i = 0; i < 300; ++i) {
            std::this_thread::yield();
            if (witness.isGone) ++witness.wakesOfTheDead;
        }
    }

    Witness& witness_;
};

TEST_F(SeamTest, QueueMayBeDestroyedWhileOtherThreadsPost) {
    for (int round = 0; round < 5; ++round) {
        SlowlyWokenQueue::Witness witness;
        auto queue = std::make_unique<SlowlyWokenQueue>(witness);
        const auto token = std::make_shared<int>();
        const auto inbox = queue->inbox();
        std::thread poster([&witness, token, inbox] {
            do {
                inbox->post([token] {});
            } while (!witness.isGone);
            inbox->post([token] { FAIL() << "a block ran after its queue was destroyed"; });
        });
        while (!witness.isWaking) std::this_thread::yield();
        queue = nullptr;
        poster.join();
        EXPECT_EQ(witness.wakesOfTheDead, 0);
        EXPECT_EQ(token.use_count(), 1) << "all blocks are discarded";
    }
}

TEST_F(SeamTest, ClockFiresTimersInOrder) {
    std::string order;
    platform->queue.asyncAfter(0.5, [&] { order += "b"; });
    const auto timer = platform->scheduleTimer(0.2, true, [&] { order += "t"; });
    const auto once = platform->scheduleTimer(0.1, false, [&] { order += "1"; });
    platform->advance(0.45);
    EXPECT_EQ(order, "1tt");
    EXPECT_FALSE(once->isValid());
    platform->advance(0.1);
    timer->invalidate();
    platform->advance(5);
    EXPECT_EQ(order, "1ttb");
}

TEST_F(SeamTest, TimesAreRationalAndCompareExactly) {
    using media::Time;
    EXPECT_EQ(media::compare(Time(1, 3), Time(2, 6)), 0);
    EXPECT_NE(Time(1, 3), Time(2, 6));
    EXPECT_LT(media::compare(Time(1001, 30000), Time(1, 29)), 0);
    EXPECT_LT(media::compare(Time(-1, 3), Time(0, 1)), 0);
    EXPECT_GT(media::compare(Time(9'000'000'000'000'000'000, 1), Time(9'000'000'000'000'000'000 - 1, 1)), 0);
    EXPECT_GT(
        media::compare(Time(9'000'000'000'000'000'001, 2'000'000'000), Time(9'000'000'000'000'000'000, 2'000'000'000)),
        0);
    EXPECT_EQ(Time::fromSeconds(1.5, 600), Time(900, 600));
    EXPECT_FALSE(Time::fromSeconds(1e300, 600).isValid());
    EXPECT_FALSE(Time(1, 0).isValid());
    EXPECT_EQ(Time(1, 0).seconds(), 0.0);
}

TEST_F(SeamTest, PicturesFitTheirViewByGravity) {
    using media::PlayerLayer;
    using media::VideoGravity;
    const Rect bounds(0, 0, 400, 400);
    EXPECT_EQ(PlayerLayer::pictureRect(bounds, {200, 100}, VideoGravity::resizeAspect), Rect(0, 100, 400, 200));
    EXPECT_EQ(PlayerLayer::pictureRect(bounds, {200, 100}, VideoGravity::resizeAspectFill), Rect(-200, 0, 800, 400));
    EXPECT_EQ(PlayerLayer::pictureRect(bounds, {200, 100}, VideoGravity::resize), bounds);
    EXPECT_EQ(PlayerLayer::pictureRect(bounds, {}, VideoGravity::resizeAspect), bounds);
}

TEST_F(SeamTest, FileURLsEncodeEveryPath) {
    const std::string path = "/tmp/a b%20ü#?.mp4";
    const URL url = URL::fileURL(path);
    EXPECT_EQ(url.path(), path);
    EXPECT_TRUE(url.isFileURL());
    EXPECT_EQ(url.absoluteString().find('#'), std::string::npos);
    EXPECT_EQ(URL("/plain/path").path(), "/plain/path");
    EXPECT_EQ(URL("https://example.org/x.mp4").path(), "");
    EXPECT_EQ(URL("file:///a%2").path(), "/a%2");
}

TEST_F(SeamTest, MissingPlatformIsFatalAndNamesTheFunctionToCall) {
    EXPECT_DEATH(
        {
            installPlatform(nullptr);
            (void)videoanalysis::platform();
        },
        "installPlatform");
}

}  // namespace
}  // namespace videoanalysis
