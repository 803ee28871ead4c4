#pragma once
// A file that is written under a hidden name in its target's folder and renamed once it is complete, so that the target is never
// half-written. Exports and finished recordings are written through it.

#include "Platforms/FFmpeg/Result.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include <sys/types.h>

namespace videoanalysis::media::ffmpeg {

/// A descriptor with an exclusive lock on its file, which other programs that use the same folder respect. Destroying the last
/// one that shares the lock releases it.
class LockedFile {
public:
    LockedFile() = default;
    /// Creates `path`, which must not exist, and locks it.
    static Result<LockedFile> create(const std::string& path, mode_t permissions);
    /// Locks an existing file; empty when it cannot be opened or another descriptor has locked it. Never waits.
    static LockedFile tryLock(const std::string& path);
    LockedFile(LockedFile&& other) noexcept;
    LockedFile& operator=(LockedFile&& other) noexcept;
    ~LockedFile();

    /// A second descriptor that shares the lock.
    LockedFile share() const;
    int descriptor() const { return descriptor_; }
    explicit operator bool() const { return descriptor_ >= 0; }

private:
    friend class TemporaryFile;

    explicit LockedFile(int descriptor) : descriptor_(descriptor) {}
    /// As `create`; empty on failure, with the reason in errno.
    static LockedFile tryCreate(const std::string& path, mode_t permissions);

    int descriptor_ = -1;
};

/// Used by one thread.
class TemporaryFile {
public:
    /// Creates the file that will become `target`, with `permissions` minus the process's umask, under a random name.
    static Result<std::unique_ptr<TemporaryFile>> make(const std::string& target, mode_t permissions);
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    /// Removes the file unless it was kept.
    ~TemporaryFile();

    /// Whether `name` (without a folder) is one that this class gives.
    static bool isTemporaryName(const std::string& name);

    /// Where the file is until it is kept. It is locked while this object exists, or longer when the lock is taken.
    const std::string& path() const { return path_; }
    /// For reading and writing; owned by this object.
    int descriptor() const { return file_.descriptor(); }
    /// Writes the file to the disk and renames it to its target, replacing a file of that name. Fails when `isCancelled`, which
    /// is asked every few megabytes, returns true. No bytes may be written afterwards.
    Result<void> keep(const std::function<bool()>& isCancelled);
    /// After `keep`: transfers the lock to the caller.
    LockedFile takeLock() { return std::move(file_); }

private:
    TemporaryFile(std::string target, std::string path, LockedFile file);

    const std::string target_;
    const std::string path_;
    LockedFile file_;
    bool isKept_ = false;
};

/// Writes the directory entries of the folder of `path` to the disk.
void syncFolderOf(const std::string& path);

}  // namespace videoanalysis::media::ffmpeg
