#pragma once
// Posts from the media engine's threads to the main queue. Each player, image generator and export owns one, which may outlive
// the platform, and closes it when it is destroyed.

#include "VideoAnalysis/Platform/Dispatch.h"

#include <memory>
#include <mutex>
#include <utility>

namespace videoanalysis::media::ffmpeg {

class MainPoster {
public:
    /// Main thread. Posts to the main queue of the platform that is installed now.
    MainPoster() : inbox_(dispatch::mainQueue().inbox()) {}

    /// Any thread. Drops `block`, on the calling thread, after `close` and once the queue is gone. A block that is posted while
    /// another thread closes may still run.
    void post(dispatch::Block block) {
        if (const auto target = inbox()) target->post(std::move(block));
    }
    /// Any thread.
    void close() {
        const std::lock_guard lock(mutex_);
        inbox_ = nullptr;
    }

private:
    std::shared_ptr<dispatch::MainQueue::Inbox> inbox() {
        const std::lock_guard lock(mutex_);
        return inbox_;
    }

    std::mutex mutex_;
    std::shared_ptr<dispatch::MainQueue::Inbox> inbox_;
};

}  // namespace videoanalysis::media::ffmpeg
