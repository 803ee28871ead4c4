#pragma once
// Runs and joins the media engine's threads. Destroying a player only tells its threads to stop, so that the main thread never
// waits for a decoder; those still running are joined once the engine and its last player are destroyed.

#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

namespace videoanalysis::media::ffmpeg {

class ThreadKeeper {
public:
    ThreadKeeper() = default;
    ThreadKeeper(const ThreadKeeper&) = delete;
    ThreadKeeper& operator=(const ThreadKeeper&) = delete;
    /// Joins all threads; none of them may own this keeper.
    ~ThreadKeeper() {
        for (Entry& entry : entries_) entry.thread.join();
    }

    /// Main thread. Runs `work` on a new thread, which also destroys it.
    void start(std::function<void()> work) {
        std::erase_if(entries_, [](Entry& entry) {
            if (!entry.isFinished->load()) return false;
            entry.thread.join();
            return true;
        });
        auto isFinished = std::make_shared<std::atomic<bool>>(false);
        std::thread thread([isFinished, work = std::move(work)]() mutable {
            work();
            work = {};
            isFinished->store(true);
        });
        entries_.push_back({std::move(thread), std::move(isFinished)});
    }

private:
    struct Entry {
        std::thread thread;
        std::shared_ptr<std::atomic<bool>> isFinished;
    };

    std::vector<Entry> entries_;
};

}  // namespace videoanalysis::media::ffmpeg
