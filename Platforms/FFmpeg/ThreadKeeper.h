#pragma once
// Joins the threads of players that are gone. Closing a player only asks its threads to stop, so that the main thread never
// waits for a decoder; whatever still runs is waited for when the engine and its last player have gone.

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
    /// Waits for all threads; none of them may own this keeper.
    ~ThreadKeeper() {
        for (Entry& entry : entries_) entry.thread.join();
    }

    /// Runs `work` on a thread of its own. Main thread.
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
