#pragma once
// Runs a job at most once per `minimumDelay`: the first call at once, the latest of a burst when the delay has passed. A
// player's controller keeps one for the updates of its ruler.

#include "VideoAnalysis/Platform/Dispatch.h"

#include <functional>
#include <memory>
#include <mutex>
#include <optional>

namespace videoanalysis {

/// Any thread. Made with `make`: a trailing run that is pending keeps the throttle alive.
class Throttle : public std::enable_shared_from_this<Throttle> {
    struct Private {};

public:
    using Job = std::function<void()>;

    /// `minimumDelay` in seconds. `queue`, on which jobs run, must outlive the throttle and what it has posted.
    static std::shared_ptr<Throttle> make(double minimumDelay, dispatch::Queue& queue);
    Throttle(Private, double minimumDelay, dispatch::Queue& queue)
        : minimumDelay_(minimumDelay), workingQueue_(queue) {}

    /// Never runs the job before it returns. An empty job is remembered too: a trailing run then finds nothing to do.
    void throttle(Job job) { step(std::move(job), false); }
    void updateMinimumDelay(double interval);

    double minimumDelay() const;
    dispatch::Queue& workingQueue() const { return workingQueue_; }
    /// Seconds on the platform's wall clock; absent before the first run.
    std::optional<double> lastExecute() const;
    /// A call has been deferred at some time.
    bool lastRequestWasCanceled() const;
    /// A trailing run is pending.
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
