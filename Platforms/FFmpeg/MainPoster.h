#pragma once
// How the media engine's threads reach the main queue: through one of these for each player, which its end closes, so
// that no thread touches a queue of a platform that is gone.

#include "VideoAnalysis/Platform/Dispatch.h"

#include <mutex>
#include <utility>

namespace videoanalysis::media {

class MainPoster {
public:
    /// Main thread. Posts to the main queue of the platform that is installed now.
    MainPoster() : queue_(&dispatch::mainQueue()) {}

    /// Any thread. Nothing is posted after `close`.
    void post(dispatch::Block block) {
        const std::lock_guard lock(mutex_);
        if (queue_) queue_->async(std::move(block));
    }
    /// Main thread.
    void close() {
        const std::lock_guard lock(mutex_);
        queue_ = nullptr;
    }

private:
    std::mutex mutex_;
    dispatch::MainQueue* queue_;
};

}  // namespace videoanalysis::media
