#pragma once
// A delay that its owner can restart and cancel, such as the max interval between the taps of a double tap.

#include <functional>
#include <memory>

namespace videoanalysis::dispatch {

class Timer;

/// Uses the installed platform's timers. Main thread only. Destroying it cancels the call.
class OneShotTimer {
public:
    OneShotTimer() = default;
    ~OneShotTimer() { cancel(); }
    OneShotTimer(const OneShotTimer&) = delete;
    OneShotTimer& operator=(const OneShotTimer&) = delete;

    /// Calls `fire` once, `seconds` (0 or more) from now; replaces a pending call.
    void start(double seconds, std::function<void()> fire);
    void cancel();
    bool isPending() const;

private:
    std::shared_ptr<Timer> timer_;
};

}  // namespace videoanalysis::dispatch
