#pragma once
// Runs blocks at given times of the steady clock. Playback schedules its ticks with it.

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <thread>

namespace videoanalysis::media::ffmpeg {

class SteadyTimer {
public:
    using Clock = std::chrono::steady_clock;

    SteadyTimer() : thread_([this] { run(); }) {}
    SteadyTimer(const SteadyTimer&) = delete;
    SteadyTimer& operator=(const SteadyTimer&) = delete;
    /// Joins the timer's thread. Blocks that are not due yet never run.
    ~SteadyTimer();

    /// Any thread. Runs and destroys `block` on the timer's thread; it should be short. Blocks that have not run are destroyed
    /// with the timer.
    void at(Clock::time_point moment, std::function<void()> block);

private:
    struct Shared {
        std::mutex mutex;
        std::condition_variable changed;
        std::multimap<Clock::time_point, std::function<void()>> pending;
        bool isStopping = false;
    };

    void run();
    /// Waits until the first pending block is due and takes it; empty once the timer is stopping.
    std::function<void()> takeDue();

    Shared shared_;
    std::thread thread_;
};

}  // namespace videoanalysis::media::ffmpeg
