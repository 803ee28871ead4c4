#pragma once
// A file that is written under a hidden name in its target's folder and gets its real name once it is complete, so that a
// half-written file is never found under that name. Exports and finished recordings are written through it.

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include <sys/types.h>

namespace videoanalysis::media::ffmpeg {

/// A descriptor with an exclusive lock on its file, which other programs that use the same folder respect. Closing unlocks.
class LockedFile {
public:
    LockedFile() = default;
    /// Creates `path`, which must not exist, and locks it. Empty on failure, with the reason in errno.
    static LockedFile create(const std::string& path, mode_t permissions);
    /// Locks an existing file; empty when it cannot be opened or another descriptor has locked it. Never waits.
    static LockedFile tryLock(const std::string& path);
    LockedFile(LockedFile&& other) noexcept;
    LockedFile& operator=(LockedFile&& other) noexcept;
    ~LockedFile();

    /// A second descriptor for the same lock, which lasts until both are closed.
    LockedFile share() const;
    int descriptor() const { return descriptor_; }
    explicit operator bool() const { return descriptor_ >= 0; }

private:
    explicit LockedFile(int descriptor) : descriptor_(descriptor) {}

    int descriptor_ = -1;
};

/// Used by one thread.
class TemporaryFile {
public:
    /// Creates the file that will be `target`, with `permissions` less the process's mask, under a name that cannot be guessed.
    /// Null on failure, with the reason in `error`.
    static std::unique_ptr<TemporaryFile> make(const std::string& target, mode_t permissions, std::string& error);
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    /// Unless it has its real name, the file is removed.
    ~TemporaryFile();

    /// Whether a file is called as temporary files are.
    static bool isTemporaryName(const std::string& name);

    /// Where the file is now. It is locked until this object is destroyed, or until the lock is taken over.
    const std::string& path() const { return path_; }
    /// For reading and writing; owned by this object.
    int descriptor() const { return file_.descriptor(); }
    /// Writes the file to the disk and gives it its real name, in place of a file that has this name already. False on failure or
    /// when `isCancelled` says so, with the reason in `error`. No bytes may be written afterwards.
    bool keep(const std::function<bool()>& isCancelled, std::string& error);
    /// After `keep`: the lock, for an owner that holds it longer.
    LockedFile takeLock() { return std::move(file_); }

private:
    TemporaryFile(std::string target, std::string path, LockedFile file);

    const std::string target_;
    const std::string path_;
    LockedFile file_;
    bool isKept_ = false;
};

/// Writes a folder's list of names to the disk.
void syncFolderOf(const std::string& path);

}  // namespace videoanalysis::media::ffmpeg
