#include "Platforms/Headless/HeadlessClock.h"

namespace videoanalysis {

class HeadlessMainQueue::ClockTimer final : public dispatch::Timer, public std::enable_shared_from_this<ClockTimer> {
public:
    ClockTimer(HeadlessMainQueue& queue, double interval, bool repeats, std::function<void()> fire)
        : queue_(queue), interval_(interval), repeats_(repeats), fire_(std::move(fire)) {}

    bool isValid() const override { return isValid_; }
    void invalidate() override { isValid_ = false; }

    void scheduleNext() {
        queue_.schedule(queue_.now() + interval_, [self = shared_from_this()] {
            if (!self->isValid_) return;
            if (!self->repeats_) self->isValid_ = false;
            self->fire_();
            if (self->isValid_) self->scheduleNext();
        });
    }

private:
    HeadlessMainQueue& queue_;
    double interval_;
    bool repeats_;
    bool isValid_ = true;
    std::function<void()> fire_;
};

void HeadlessMainQueue::asyncAfter(double seconds, dispatch::Block block) {
    schedule(now_ + seconds, [shared = std::make_shared<dispatch::Block>(std::move(block))] { (*shared)(); });
}

std::shared_ptr<dispatch::Timer> HeadlessMainQueue::scheduleTimer(double interval, bool repeats,
                                                                  std::function<void()> fire) {
    auto timer = std::make_shared<ClockTimer>(*this, interval, repeats, std::move(fire));
    timer->scheduleNext();
    return timer;
}

void HeadlessMainQueue::drain() {
    while (runTurn()) {
    }
}

void HeadlessMainQueue::advance(double seconds) {
    const double end = now_ + seconds;
    drain();
    while (!due_.empty() && due_.begin()->first.first <= end + 1e-9) {
        const auto next = due_.extract(due_.begin());
        now_ = std::max(now_, next.key().first);
        next.mapped()();
        drain();
    }
    now_ = end;
}

void HeadlessMainQueue::schedule(double moment, std::function<void()> work) {
    due_.emplace(std::make_pair(moment, order_++), std::move(work));
}

}  // namespace videoanalysis
