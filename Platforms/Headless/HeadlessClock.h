#pragma once
// The main queue and the timers of a platform without a screen, under a clock that a test moves by hand.

#include "VideoAnalysis/Platform/Dispatch.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <utility>

namespace videoanalysis {

class HeadlessMainQueue final : public dispatch::MainQueue {
public:
    ~HeadlessMainQueue() override { close(); }

    /// Main thread here: delayed blocks wait for the clock.
    void asyncAfter(double seconds, dispatch::Block block) override;

    std::shared_ptr<dispatch::Timer> scheduleTimer(double interval, bool repeats, std::function<void()> fire);

    /// Runs turns until nothing is waiting.
    void drain();
    /// Drains, then lets `seconds` pass: what is due on the way runs at its moment, in order, each followed by a drain.
    void advance(double seconds);
    /// Seconds since the queue was made.
    double now() const { return now_; }

private:
    class ClockTimer;

    void wake() override {}
    void schedule(double moment, std::function<void()> work);

    double now_ = 0;
    std::uint64_t order_ = 0;
    std::map<std::pair<double, std::uint64_t>, std::function<void()>> due_;
};

}  // namespace videoanalysis
