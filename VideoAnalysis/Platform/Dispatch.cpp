#include "VideoAnalysis/Platform/Dispatch.h"

#include "VideoAnalysis/Platform/Platform.h"

#include <utility>

namespace videoanalysis::dispatch {

MainQueue::MainQueue() : inbox_(std::make_shared<Inbox>()) {
    constexpr std::size_t usualBurst = 256;  // blocks; reserved, so that ordinary traffic does not allocate
    inbox_->queue_ = this;
    inbox_->waiting_.reserve(usualBurst);
    running_.reserve(usualBurst);
}

MainQueue::~MainQueue() { close(); }

void MainQueue::close() {
    {
        const std::lock_guard lock(inbox_->wakeMutex_);
        inbox_->queue_ = nullptr;
    }
    std::vector<Block> dropped;
    {
        const std::lock_guard lock(inbox_->mutex_);
        inbox_->isClosed_ = true;
        dropped.swap(inbox_->waiting_);
    }
    dropped.clear();  // may post: destroys screens and players that only blocks keep alive
}

void MainQueue::Inbox::post(Block block) {
    bool wasEmpty = false;
    {
        const std::lock_guard lock(mutex_);
        if (isClosed_) return;
        wasEmpty = waiting_.empty();
        waiting_.push_back(std::move(block));
    }
    if (!wasEmpty) return;
    const std::lock_guard lock(wakeMutex_);
    if (queue_) queue_->wake();
}

bool MainQueue::runTurn(bool isNested) {
    if (isRunning_ && !isNested) return false;
    if (next_ == running_.size()) {
        const std::lock_guard lock(inbox_->mutex_);
        if (inbox_->waiting_.empty()) return false;
        running_.clear();
        next_ = 0;
        inbox_->waiting_.swap(running_);
    }
    const bool wasRunning = std::exchange(isRunning_, true);
    while (next_ < running_.size()) {
        Block block = std::move(running_[next_++]);  // moved out, because a nested turn replaces the list
        block();
    }
    running_.clear();
    next_ = 0;
    isRunning_ = wasRunning;
    return true;
}

bool MainQueue::isEmpty() const {
    const std::lock_guard lock(inbox_->mutex_);
    return inbox_->waiting_.empty();
}

MainQueue& mainQueue() { return platform().mainQueue(); }

}  // namespace videoanalysis::dispatch
