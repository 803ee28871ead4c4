#pragma once
// A thread for work that would block the main thread, with the lifetime of its owner. Used by the sketch view for slow
// drawings.

#include "VideoAnalysis/Platform/Dispatch.h"

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace videoanalysis::dispatch {

/// A serial queue. Its thread starts with the first block.
class BackgroundQueue {
public:
    BackgroundQueue() = default;
    /// Discards pending blocks and waits for the running one.
    ~BackgroundQueue();
    BackgroundQueue(const BackgroundQueue&) = delete;
    BackgroundQueue& operator=(const BackgroundQueue&) = delete;

    /// Owner's thread only. Does not block, except that the block runs inside the call if no thread can be created.
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
