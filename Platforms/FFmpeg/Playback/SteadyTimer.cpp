#include "Platforms/FFmpeg/Playback/SteadyTimer.h"

#include <utility>

namespace videoanalysis::media::ffmpeg {

SteadyTimer::~SteadyTimer() {
    {
        const std::lock_guard lock(mutex_);
        isStopping_ = true;
    }
    changed_.notify_one();
    thread_.join();
}

void SteadyTimer::at(Clock::time_point moment, std::function<void()> block) {
    {
        const std::lock_guard lock(mutex_);
        waiting_.emplace(moment, std::move(block));
    }
    changed_.notify_one();
}

void SteadyTimer::run() {
    std::unique_lock lock(mutex_);
    while (!isStopping_) {
        if (waiting_.empty()) {
            changed_.wait(lock);
        } else if (const auto first = waiting_.begin(); first->first > Clock::now()) {
            const Clock::time_point moment = first->first;
            changed_.wait_until(lock, moment);
        } else {
            const std::function<void()> block = std::move(first->second);
            waiting_.erase(first);
            lock.unlock();
            block();
            lock.lock();
        }
    }
}

}  // namespace videoanalysis::media::ffmpeg
