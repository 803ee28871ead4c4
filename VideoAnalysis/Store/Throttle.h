#pragma once
// Runs at most one job per `minimumDelay`: the first one immediately, then the latest of a burst once the delay has passed.
// Limits how often a player updates its ruler.

#include "VideoAnalysis/Platform/Dispatch.h"

#include <functional>
#include <memory>
#include <mutex>
#include <optional>

namespace videoanalysis {

/// Any thread. Created by `make`; a pending trailing run keeps the throttle alive.
class Throttle : public std::enable_shared_from_this<Throttle> {
    struct Private {};

public:
    using Job = std::function<void()>;

    /// `minimumDelay` in seconds. Jobs run on `queue`, which must outlive the throttle and its posted blocks.
    static std::shared_ptr<Throttle> make(double minimumDelay, dispatch::Queue& queue);
    Throttle(Private, double minimumDelay, dispatch::Queue& queue)
        : minimumDelay_(minimumDelay), workingQueue_(queue) {}

    /// Never runs the job before returning. An empty job clears the pending one.
    void throttle(Job job) { step(std::move(job), false); }
    void updateMinimumDelay(double interval);

    double minimumDelay() const;
    dispatch::Queue& workingQueue() const { return workingQueue_; }
    /// Time of the latest run in seconds on the platform's wall clock; empty before the first.
    std::optional<double> lastExecute() const;
    /// Whether any call has been deferred so far.
    bool lastRequestWasCanceled() const;
    /// Whether a trailing run is pending.
    bool scheduled() const;
    /// The most recent job.
    Job assignment() const;

private:
    void step(Job job, bool usesStoredJob);
    void setAssignment(Job job);
    void execute(Job job);

    double minimumDelay_;
    dispatch::Queue& workingQueue_;
    mutable std::mutex executeLock_;
    std::optional<double> lastExecute_;
    bool lastRequestWasCanceled_ = false;
    bool scheduled_ = false;
    mutable std::mutex assignmentLock_;
    Job assignment_;
};

}  // namespace videoanalysis
