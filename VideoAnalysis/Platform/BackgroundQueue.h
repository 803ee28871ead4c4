#pragma once
// A thread for work that would hold up the main thread. Its owner decides how long it lives: the sketch view keeps one for
// drawings that take long.

#include "VideoAnalysis/Platform/Dispatch.h"

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace videoanalysis::dispatch {

/// Runs blocks one at a time, in order. The thread starts with the first block.
class BackgroundQueue {
public:
    BackgroundQueue() = default;
    /// Discards what is waiting and waits for the block that is running.
    ~BackgroundQueue();
    BackgroundQueue(const BackgroundQueue&) = delete;
    BackgroundQueue& operator=(const BackgroundQueue&) = delete;

    /// The owner's thread. Returns at once; where the system grants no thread the block runs inside the call.
    void async(Block block);

private:
    void run();

    struct {
        std::mutex mutex;
        std::condition_variable hasChanged;
        std::vector<Block> waiting;
        bool isClosed = false;
    } shared_;
    std::thread thread_;
};

}  // namespace videoanalysis::dispatch
