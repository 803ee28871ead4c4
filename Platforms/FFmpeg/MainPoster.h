#pragma once
// How the media engine's threads reach the main queue: through one of these for each player, which closes it when it is
// destroyed. The platform may be gone before the player.

#include "VideoAnalysis/Platform/Dispatch.h"

#include <memory>
#include <mutex>
#include <utility>

namespace videoanalysis::media::ffmpeg {

class MainPoster {
public:
    /// Main thread. Posts to the main queue of the platform that is installed now.
    MainPoster() : inbox_(dispatch::mainQueue().inbox()) {}

    /// Any thread. Nothing is posted after `close`.
    void post(dispatch::Block block) {
        const std::lock_guard lock(mutex_);
        if (inbox_) inbox_->post(std::move(block));
    }
    /// Main thread.
    void close() {
        const std::lock_guard lock(mutex_);
        inbox_ = nullptr;
    }

private:
    std::mutex mutex_;
    std::shared_ptr<dispatch::MainQueue::Inbox> inbox_;
};

}  // namespace videoanalysis::media::ffmpeg
