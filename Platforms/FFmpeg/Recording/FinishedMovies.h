#pragma once
// The finished movies of a movie folder that their host has not taken yet, with the locks that keep other programs from offering
// them.

#include "Platforms/FFmpeg/TemporaryFile.h"

#include <unistd.h>

#include <map>
#include <mutex>
#include <string>
#include <utility>

namespace videoanalysis::media::ffmpeg {

/// Any thread.
class FinishedMovies {
public:
    /// Takes ownership of `lock`, which is on the file `path`.
    void add(const std::string& path, LockedFile lock) {
        const std::lock_guard guard(mutex_);
        std::swap(locks_[path], lock);
    }
    /// Removes the file and unlocks it; ignores a path that was not added.
    void remove(const std::string& path) {
        std::map<std::string, LockedFile>::node_type removed;  // the disk may be slow: unlocked after the mutex
        {
            const std::lock_guard guard(mutex_);
            removed = locks_.extract(path);
        }
        if (removed) ::unlink(path.c_str());
    }

private:
    std::mutex mutex_;
    std::map<std::string, LockedFile> locks_;
};

}  // namespace videoanalysis::media::ffmpeg
