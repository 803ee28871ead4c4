#include "VideoAnalysis/Store/Throttle.h"

#include "VideoAnalysis/Platform/Platform.h"

#include <utility>

namespace videoanalysis {
namespace {

constexpr double margin = 0.01;  // seconds added to the remaining delay

}  // namespace

std::shared_ptr<Throttle> Throttle::make(double minimumDelay, dispatch::Queue& queue) {
    return std::make_shared<Throttle>(Private{}, minimumDelay, queue);
}

void Throttle::updateMinimumDelay(double interval) {
    const std::lock_guard lock(executeLock_);
    minimumDelay_ = interval;
}

double Throttle::minimumDelay() const {
    const std::lock_guard lock(executeLock_);
    return minimumDelay_;
}

std::optional<double> Throttle::lastExecute() const {
    const std::lock_guard lock(executeLock_);
    return lastExecute_;
}

bool Throttle::lastRequestWasCanceled() const {
    const std::lock_guard lock(executeLock_);
    return lastRequestWasCanceled_;
}

bool Throttle::scheduled() const {
    const std::lock_guard lock(executeLock_);
    return scheduled_;
}

Throttle::Job Throttle::assignment() const {
    const std::lock_guard lock(assignmentLock_);
    return assignment_;
}

void Throttle::setAssignment(Job job) {
    const std::lock_guard lock(assignmentLock_);
    assignment_.swap(job);
}

void Throttle::step(Job job, bool usesStoredJob) {
    const std::lock_guard lock(executeLock_);
    if (usesStoredJob) {
        job = assignment();
    } else {
        setAssignment(job);
    }
    if (!job) return;
    const double sinceLast = lastExecute_ ? platform().wallClock() - *lastExecute_ : 0;
    if (!lastExecute_ || minimumDelay_ <= sinceLast) {
        execute(std::move(job));
        return;
    }
    lastRequestWasCanceled_ = true;
    if (std::exchange(scheduled_, true)) return;
    workingQueue_.asyncAfter(minimumDelay_ - sinceLast + margin, [self = shared_from_this()] {
        self->step({}, true);
        // Cleared after the step: a run that is still too early must not schedule another one.
        const std::lock_guard trailing(self->executeLock_);
        self->scheduled_ = false;
    });
}

void Throttle::execute(Job job) {
    lastExecute_ = platform().wallClock();
    workingQueue_.async(std::move(job));
}

}  // namespace videoanalysis
