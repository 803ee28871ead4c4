#pragma once
// A delay that its owner can start over and cancel, such as the time in which a second tap makes a double tap.

#include <functional>
#include <memory>

namespace videoanalysis::dispatch {

class Timer;

/// Runs on the installed platform's timers. Main thread. Destroying it cancels the call.
class OneShotTimer {
public:
    OneShotTimer() = default;
    ~OneShotTimer() { cancel(); }
    OneShotTimer(const OneShotTimer&) = delete;
    OneShotTimer& operator=(const OneShotTimer&) = delete;

    /// Calls `fire` once, `seconds` (0 or more) from now, instead of what was pending.
    void start(double seconds, std::function<void()> fire);
    void cancel();
    bool isPending() const;

private:
    std::shared_ptr<Timer> timer_;
};

}  // namespace videoanalysis::dispatch
