#pragma once
// The clock that drives every animation of the process, in place of the toolkit's own. It knows whether anything is moving,
// and a test can hold it and advance it frame by frame. The screen driver installs it.

#include <QAnimationDriver>
#include <QElapsedTimer>
#include <QTimer>

namespace videoanalysis::host {

/// Main thread. `isRunning` says whether an animation is running.
class AnimationClock : public QAnimationDriver {
public:
    /// Installed by the first call, which needs an application object; that object owns it.
    static AnimationClock& shared();

    /// Stops the clock: until `release`, animations move only by `advanceBy`.
    void hold();
    void release();
    /// Runs the event loop once, so that animations that were just started take part, and advances the held clock.
    void advanceBy(int milliseconds);

    qint64 elapsed() const override;

protected:
    void start() override;
    void stop() override;

private:
    explicit AnimationClock(QObject* parent);

    QTimer ticks_;
    QElapsedTimer sinceResumed_;  ///< valid while the clock runs by itself
    qint64 before_ = 0;           ///< milliseconds before that, since the animations were started
    bool isHeld_ = false;
};

}  // namespace videoanalysis::host
