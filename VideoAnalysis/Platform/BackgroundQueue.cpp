#include "VideoAnalysis/Platform/BackgroundQueue.h"

#include <system_error>
#include <utility>

namespace videoanalysis::dispatch {

BackgroundQueue::~BackgroundQueue() {
    {
        const std::lock_guard lock(shared_.mutex);
        shared_.isClosed = true;
    }
    shared_.hasChanged.notify_one();
    if (thread_.joinable()) thread_.join();
}

void BackgroundQueue::async(Block block) {
    if (!thread_.joinable()) {
        try {
            thread_ = std::thread([this] { run(); });
        } catch (const std::system_error&) {
            block();
            return;
        }
    }
    {
        const std::lock_guard lock(shared_.mutex);
        shared_.waiting.push_back(std::move(block));
    }
    shared_.hasChanged.notify_one();
}

void BackgroundQueue::run() {
    std::unique_lock lock(shared_.mutex);
    for (;;) {
        shared_.hasChanged.wait(lock, [this] { return shared_.isClosed || !shared_.waiting.empty(); });
        if (shared_.isClosed) return;
        Block block = std::move(shared_.waiting.front());
        shared_.waiting.erase(shared_.waiting.begin());
        lock.unlock();
        block();
        block = {};  // destroyed without holding the lock
        lock.lock();
    }
}

}  // namespace videoanalysis::dispatch
