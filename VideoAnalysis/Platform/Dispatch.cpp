#include "VideoAnalysis/Platform/Dispatch.h"

#include "VideoAnalysis/Platform/Platform.h"

namespace videoanalysis::dispatch {

MainQueue::MainQueue() {
    constexpr std::size_t usualBurst = 256;  // blocks, so that ordinary traffic never allocates
    waiting_.reserve(usualBurst);
    running_.reserve(usualBurst);
}

MainQueue::~MainQueue() {
    std::vector<Block> dropped;
    {
        const std::lock_guard lock(mutex_);
        isClosed_ = true;
        dropped.swap(waiting_);
    }
    dropped.clear();  // may post: screens and players go with the last block that holds them
}

void MainQueue::async(Block block) {
    bool wasEmpty;
    {
        const std::lock_guard lock(mutex_);
        if (isClosed_) return;
        wasEmpty = waiting_.empty();
        waiting_.push_back(std::move(block));
    }
    if (wasEmpty) wake();
}

bool MainQueue::runTurn() {
    if (isRunning_) return false;
    {
        const std::lock_guard lock(mutex_);
        if (waiting_.empty()) return false;
        waiting_.swap(running_);
    }
    isRunning_ = true;
    for (Block& block : running_) {
        block();
        block = {};  // what a block holds is released before the next one runs
    }
    running_.clear();
    isRunning_ = false;
    return true;
}

bool MainQueue::isEmpty() const {
    const std::lock_guard lock(mutex_);
    return waiting_.empty();
}

MainQueue& mainQueue() { return platform().mainQueue(); }

}  // namespace videoanalysis::dispatch
