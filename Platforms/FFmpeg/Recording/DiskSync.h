#pragma once
// Writes a growing file to the disk on its own thread, so that the writer never waits for the disk. The movie file uses it.

#include <unistd.h>

#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

namespace videoanalysis::media::ffmpeg {

/// Used by one thread.
class DiskSync {
public:
    /// `descriptor` must outlive this object.
    explicit DiskSync(int descriptor) : descriptor_(descriptor), thread_([this] { run(); }) {}
    /// Waits for a running sync. One that is only scheduled may be skipped.
    ~DiskSync() {
        {
            const std::lock_guard lock(shared_.mutex);
            shared_.isStopping = true;
        }
        shared_.changed.notify_one();
        thread_.join();
    }
    DiskSync(const DiskSync&) = delete;
    DiskSync& operator=(const DiskSync&) = delete;

    /// Schedules an `fdatasync` of what has been written so far.
    void schedule() {
        {
            const std::lock_guard lock(shared_.mutex);
            shared_.isDue = true;
        }
        shared_.changed.notify_one();
    }

private:
    /// Guarded by `mutex`.
    struct Shared {
        std::mutex mutex;
        std::condition_variable changed;
        bool isDue = false;
        bool isStopping = false;
    };

    void run() {
        std::unique_lock lock(shared_.mutex);
        while (!shared_.isStopping) {
            shared_.changed.wait(lock, [this] { return shared_.isDue || shared_.isStopping; });
            if (!std::exchange(shared_.isDue, false)) continue;
            lock.unlock();
            ::fdatasync(descriptor_);
            lock.lock();
        }
    }

    const int descriptor_;
    Shared shared_;
    std::thread thread_;  // last: it uses the others
};

}  // namespace videoanalysis::media::ffmpeg
