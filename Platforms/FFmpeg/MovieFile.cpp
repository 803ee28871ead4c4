#include "Platforms/FFmpeg/MovieFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace videoanalysis::media {
namespace {

constexpr int bufferSize = 1 << 16;
constexpr mode_t permissions = 0644;

std::string systemError(int code) { return std::strerror(code); }

std::string folderOf(const std::string& path) {
    const auto slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

/// Has the name of a new file carried to the disk.
void syncFolderOf(const std::string& path) {
    const int folder = ::open(folderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) return;
    ::fsync(folder);
    ::close(folder);
}

struct MuxerDeleter {
    void operator()(AVFormatContext* context) const {
        if (context->pb) avio_closep(&context->pb);
        avformat_free_context(context);
    }
};
using MuxerHandle = std::unique_ptr<AVFormatContext, MuxerDeleter>;

}  // namespace

std::unique_ptr<MovieFile> MovieFile::create(const std::string& path, std::string& error) {
    const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, permissions);
    if (descriptor < 0) {
        error = "cannot record into " + path + ": " + systemError(errno);
        return nullptr;
    }
    ::flock(descriptor, LOCK_EX | LOCK_NB);
    syncFolderOf(path);
    std::unique_ptr<MovieFile> file(new MovieFile(path, descriptor));
    avformat_alloc_output_context2(&file->context_, nullptr, "mp4", nullptr);
    auto* buffer = static_cast<unsigned char*>(av_malloc(bufferSize));
    if (file->context_ && buffer) {
        file->context_->pb = avio_alloc_context(buffer, bufferSize, 1, file.get(), nullptr, &writeBytes, nullptr);
    }
    if (!file->context_ || !file->context_->pb) {
        av_free(buffer);
        error = "cannot record: out of memory";
        return nullptr;
    }
    return file;
}

MovieFile::MovieFile(std::string path, int descriptor) : path_(std::move(path)), descriptor_(descriptor) {
    syncing_ = std::thread([this] { carryToDisk(); });
}

MovieFile::~MovieFile() {
    {
        const std::lock_guard lock(mutex_);
        isEnding_ = true;
    }
    changed_.notify_one();
    syncing_.join();
    if (context_) {
        if (context_->pb) av_freep(&context_->pb->buffer);
        avio_context_free(&context_->pb);
        avformat_free_context(context_);
    }
    if (!hasContent()) ::unlink(path_.c_str());
    ::close(descriptor_);
}

bool MovieFile::isAbandoned(const std::string& path) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return false;
    const bool isFree = ::flock(descriptor, LOCK_SH | LOCK_NB) == 0;
    ::close(descriptor);
    return isFree;
}

bool MovieFile::check(int result) {
    if (result >= 0 && writeError_ == 0) return true;
    if (error_.empty()) {
        error_ = writeError_ != 0 ? "the recording broke off: " + systemError(writeError_)
                                  : "the recording broke off: " + libraryError(result);
        if (::ftruncate(descriptor_, wholeSize_) == 0) size_ = wholeSize_;
    }
    return false;
}

int MovieFile::writeBytes(void* opaque, std::uint8_t* bytes, int count) {
    auto& file = *static_cast<MovieFile*>(opaque);
    int written = 0;
    while (written < count && file.writeError_ == 0) {
        const ssize_t result = ::write(file.descriptor_, bytes + written, static_cast<std::size_t>(count - written));
        if (result > 0) {
            written += static_cast<int>(result);
            file.size_ += result;
        } else if (result == 0 || errno != EINTR) {
            file.writeError_ = result == 0 ? EIO : errno;
        }
    }
    return file.writeError_ == 0 ? count : AVERROR(file.writeError_);
}

bool MovieFile::addStream(const AVCodecContext& encoder) {
    AVStream* stream = avformat_new_stream(context_, nullptr);
    if (!stream) return check(AVERROR(ENOMEM));
    stream->time_base = encoder.time_base;
    stream->avg_frame_rate = encoder.framerate;
    return check(avcodec_parameters_from_context(stream->codecpar, &encoder));
}

bool MovieFile::begin() {
    // The index is written with the first fragment, when the sound's leading samples are known.
    AVDictionary* options = nullptr;
    av_dict_set(&options, "movflags", "frag_custom+delay_moov+default_base_moof", 0);
    const int result = avformat_write_header(context_, &options);
    av_dict_free(&options);
    hasBegun_ = result >= 0;
    return check(result);
}

bool MovieFile::write(AVPacket& packet, int stream, const AVCodecContext& encoder) {
    if (!error_.empty()) return false;
    packet.stream_index = stream;
    av_packet_rescale_ts(&packet, encoder.time_base, context_->streams[stream]->time_base);
    return check(av_interleaved_write_frame(context_, &packet));
}

bool MovieFile::cut() {
    if (!error_.empty()) return false;
    if (!check(av_interleaved_write_frame(context_, nullptr))) return false;
    // The first time, the index goes first and the fragment with the next call.
    for (int calls = std::exchange(hasCut_, true) ? 1 : 2; calls > 0; --calls) {
        if (!check(av_write_frame(context_, nullptr))) return false;
    }
    avio_flush(context_->pb);
    if (!check(context_->pb->error)) return false;
    wholeSize_ = size_;
    {
        const std::lock_guard lock(mutex_);
        isSyncDue_ = true;
    }
    changed_.notify_one();
    return true;
}

bool MovieFile::end() {
    if (!std::exchange(hasBegun_, false)) return error_.empty();
    if (!cut()) return false;
    const bool isFine = check(av_write_trailer(context_)) && check(context_->pb->error);
    if (isFine) wholeSize_ = size_;
    ::fdatasync(descriptor_);
    return isFine;
}

void MovieFile::carryToDisk() {
    std::unique_lock lock(mutex_);
    while (!isEnding_) {
        changed_.wait(lock, [&] { return isSyncDue_ || isEnding_; });
        if (!std::exchange(isSyncDue_, false)) continue;
        lock.unlock();
        ::fdatasync(descriptor_);
        lock.lock();
    }
}

recording::Error finishMovie(const std::string& from, const std::string& to, const std::atomic<bool>& isCancelled) {
    const std::string part = to + ".part";
    const auto fail = [&](const std::string& reason) {
        ::unlink(part.c_str());
        return recording::Error("cannot finish the recording as " + to + ": " + reason);
    };

    AVFormatContext* opened = nullptr;
    const int openResult = avformat_open_input(&opened, ("file:" + from).c_str(), nullptr, nullptr);
    if (openResult < 0) return fail(libraryError(openResult));
    const FormatContextHandle input(opened);

    AVFormatContext* allocated = nullptr;
    avformat_alloc_output_context2(&allocated, nullptr, "mp4", nullptr);
    const MuxerHandle output(allocated);
    const PacketHandle packet(av_packet_alloc());
    if (!output || !packet) return fail("out of memory");
    for (unsigned i = 0; i < input->nb_streams; ++i) {
        AVStream* stream = avformat_new_stream(output.get(), nullptr);
        if (!stream || avcodec_parameters_copy(stream->codecpar, input->streams[i]->codecpar) < 0) {
            return fail("out of memory");
        }
        stream->time_base = input->streams[i]->time_base;
        stream->avg_frame_rate = input->streams[i]->avg_frame_rate;
    }
    AVDictionary* options = nullptr;
    av_dict_set(&options, "movflags", "faststart", 0);
    const std::string url = "file:" + part;
    int result = (output->url = av_strdup(url.c_str())) ? avio_open(&output->pb, url.c_str(), AVIO_FLAG_WRITE)
                                                        : AVERROR(ENOMEM);
    if (result >= 0) result = avformat_write_header(output.get(), &options);
    av_dict_free(&options);
    if (result < 0) return fail(libraryError(result));

    // The input's end may be cut off: what can be read is the movie.
    std::vector<std::int64_t> last(input->nb_streams, INT64_MIN);
    while (result >= 0 && av_read_frame(input.get(), packet.get()) >= 0) {
        if (isCancelled) return fail("the program ends");
        const auto index = static_cast<std::size_t>(packet->stream_index);
        av_packet_rescale_ts(packet.get(), input->streams[index]->time_base, output->streams[index]->time_base);
        packet->pos = -1;
        if (packet->dts == AV_NOPTS_VALUE || packet->dts <= last[index]) {
            av_packet_unref(packet.get());
            continue;
        }
        last[index] = packet->dts;
        result = av_interleaved_write_frame(output.get(), packet.get());
    }
    const int trailerResult = av_write_trailer(output.get());
    if (result >= 0) result = trailerResult;
    const int closeResult = avio_closep(&output->pb);
    if (result >= 0) result = closeResult;
    if (result < 0) return fail(libraryError(result));

    const int descriptor = ::open(part.c_str(), O_RDONLY | O_CLOEXEC);
    const bool isOnDisk = descriptor >= 0 && ::fdatasync(descriptor) == 0;
    const int code = errno;
    if (descriptor >= 0) ::close(descriptor);
    if (!isOnDisk || std::rename(part.c_str(), to.c_str()) != 0) return fail(systemError(isOnDisk ? errno : code));
    syncFolderOf(to);
    ::unlink(from.c_str());
    return {};
}

}  // namespace videoanalysis::media
