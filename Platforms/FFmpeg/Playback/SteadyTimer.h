#pragma once
// Runs blocks at moments of the steady clock on a thread of its own. Playback takes its ticks from it.

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
    /// Blocks that are not due yet never run.
    ~SteadyTimer();

    /// Any thread. `block` runs once, on the timer's thread, and should be short.
    void at(Clock::time_point moment, std::function<void()> block);

private:
    void run();

    std::mutex mutex_;
    std::condition_variable changed_;
    std::multimap<Clock::time_point, std::function<void()>> waiting_;
    bool isStopping_ = false;
    std::thread thread_;
};

}  // namespace videoanalysis::media::ffmpeg
