#include "Testing/AnimationClock.h"

#include <QCoreApplication>
#include <QPointer>

namespace videoanalysis::host {
namespace {

constexpr int frameMilliseconds = 16;

}  // namespace

AnimationClock::AnimationClock(QObject* parent) : QAnimationDriver(parent) {
    ticks_.setTimerType(Qt::PreciseTimer);
    ticks_.setInterval(frameMilliseconds);
    ticks_.callOnTimeout(this, [this] { advance(); });
    install();
}

AnimationClock& AnimationClock::shared() {
    static const QPointer<AnimationClock> clock(new AnimationClock(QCoreApplication::instance()));
    return *clock;
}

void AnimationClock::hold() {
    before_ = elapsed();
    isHeld_ = true;
    sinceResumed_.invalidate();
    ticks_.stop();
}

void AnimationClock::release() {
    isHeld_ = false;
    if (!isRunning()) return;
    sinceResumed_.start();
    ticks_.start();
}

void AnimationClock::advanceBy(int milliseconds) {
    QCoreApplication::processEvents();
    advance();  // the next step counts from here
    before_ += milliseconds;
    advance();
}

qint64 AnimationClock::elapsed() const { return before_ + (sinceResumed_.isValid() ? sinceResumed_.elapsed() : 0); }

void AnimationClock::start() {
    before_ = 0;
    if (!isHeld_) {
        sinceResumed_.start();
        ticks_.start();
    }
    QAnimationDriver::start();
}

void AnimationClock::stop() {
    ticks_.stop();
    before_ = elapsed();
    sinceResumed_.invalidate();
    QAnimationDriver::stop();
}

}  // namespace videoanalysis::host
