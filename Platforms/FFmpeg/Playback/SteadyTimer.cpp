#include "Platforms/FFmpeg/Playback/SteadyTimer.h"

#include <utility>

namespace videoanalysis::media::ffmpeg {

SteadyTimer::~SteadyTimer() {
    {
        const std::lock_guard lock(shared_.mutex);
        shared_.isStopping = true;
    }
    shared_.changed.notify_one();
    thread_.join();
}

void SteadyTimer::at(Clock::time_point moment, std::function<void()> block) {
    {
        const std::lock_guard lock(shared_.mutex);
        shared_.pending.emplace(moment, std::move(block));
    }
    shared_.changed.notify_one();
}

void SteadyTimer::run() {
    while (const std::function<void()> block = takeDue()) block();
}

std::function<void()> SteadyTimer::takeDue() {
    std::unique_lock lock(shared_.mutex);
    while (!shared_.isStopping) {
        const auto first = shared_.pending.begin();
        if (first == shared_.pending.end()) {
            shared_.changed.wait(lock);
        } else if (const Clock::time_point due = first->first; due > Clock::now()) {
            shared_.changed.wait_until(lock, due);
        } else {
            std::function<void()> block = std::move(first->second);
            shared_.pending.erase(first);
            return block;
        }
    }
    return {};
}

}  // namespace videoanalysis::media::ffmpeg
