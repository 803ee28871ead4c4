#include "Platforms/FFmpeg/TemporaryFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <random>
#include <utility>

namespace videoanalysis::media::ffmpeg {
namespace {

constexpr int maxAttempts = 8;
constexpr off_t syncStep = off_t{8} << 20;  // bytes written to the disk between checks for a cancellation
constexpr char marker[] = ".tmp";           // before the extension, from which the container is chosen

std::string randomText() {
    std::random_device device;
    std::string text;
    for (int i = 0; i < 4; ++i) {
        char part[9];
        std::snprintf(part, sizeof part, "%08x", static_cast<unsigned>(device()));
        text += part;
    }
    return text;
}

/// False on failure, with the reason in errno: ECANCELED for a cancellation.
bool sync(int descriptor, const std::function<bool()>& isCancelled) {
    struct stat status {};
    if (::fstat(descriptor, &status) != 0) return false;
    for (off_t start = 0; start < status.st_size; start += syncStep) {
        if (isCancelled()) {
            errno = ECANCELED;
            return false;
        }
#ifdef SYNC_FILE_RANGE_WRITE
        // In steps so that a cancellation is noticed; only `fdatasync` guarantees that everything is written.
        ::sync_file_range(descriptor, start, syncStep,
                          SYNC_FILE_RANGE_WAIT_BEFORE | SYNC_FILE_RANGE_WRITE | SYNC_FILE_RANGE_WAIT_AFTER);
#endif
    }
    return ::fdatasync(descriptor) == 0;
}

}  // namespace

LockedFile::LockedFile(LockedFile&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}

LockedFile& LockedFile::operator=(LockedFile&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
}

LockedFile::~LockedFile() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

Result<LockedFile> LockedFile::create(const std::string& path, mode_t permissions) {
    LockedFile file = tryCreate(path, permissions);
    if (!file) return Failure{std::strerror(errno)};
    return file;
}

LockedFile LockedFile::tryCreate(const std::string& path, mode_t permissions) {
    for (int attempt = 0; attempt < maxAttempts; ++attempt) {
        LockedFile file(::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, permissions));
        if (!file) return {};
        while (::flock(file.descriptor_, LOCK_EX) != 0 && errno == EINTR) {
        }
        // Another program may have found the empty file before it was locked, and removed it as a leftover.
        struct stat status {};
        if (::fstat(file.descriptor_, &status) == 0 && status.st_nlink > 0) return file;
    }
    errno = EBUSY;
    return {};
}

LockedFile LockedFile::share() const { return LockedFile(::fcntl(descriptor_, F_DUPFD_CLOEXEC, 0)); }

LockedFile LockedFile::tryLock(const std::string& path) {
    LockedFile file(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (file && ::flock(file.descriptor_, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) return {};
    return file;
}

Result<std::unique_ptr<TemporaryFile>> TemporaryFile::make(const std::string& target, mode_t permissions) {
    const std::filesystem::path path(target);
    LockedFile file;
    std::string temporary;
    for (int attempt = 0; !file && attempt < maxAttempts; ++attempt) {
        temporary = path.parent_path() / ("." + randomText() + marker + path.extension().string());
        file = LockedFile::tryCreate(temporary, permissions);
        if (!file && errno != EEXIST && errno != EBUSY) break;
    }
    if (!file) return Failure{"cannot write to " + path.parent_path().string() + ": " + std::strerror(errno)};
    return std::unique_ptr<TemporaryFile>(new TemporaryFile(target, std::move(temporary), std::move(file)));
}

TemporaryFile::TemporaryFile(std::string target, std::string path, LockedFile file)
    : target_(std::move(target)), path_(std::move(path)), file_(std::move(file)) {}

TemporaryFile::~TemporaryFile() {
    if (!isKept_) ::unlink(path_.c_str());
}

bool TemporaryFile::isTemporaryName(const std::string& name) {
    constexpr std::size_t digits = 32;
    return name.starts_with('.') && name.find(marker) == 1 + digits &&
           name.find_first_not_of("0123456789abcdef", 1) == 1 + digits;
}

Result<void> TemporaryFile::keep(const std::function<bool()>& isCancelled) {
    if (!sync(file_.descriptor(), isCancelled) || std::rename(path_.c_str(), target_.c_str()) != 0) {
        return Failure{std::strerror(errno)};
    }
    isKept_ = true;
    syncFolderOf(target_);
    return {};
}

void syncFolderOf(const std::string& path) {
    const std::filesystem::path folder = std::filesystem::path(path).parent_path();
    const int descriptor = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) return;
    ::fsync(descriptor);
    ::close(descriptor);
}

}  // namespace videoanalysis::media::ffmpeg
