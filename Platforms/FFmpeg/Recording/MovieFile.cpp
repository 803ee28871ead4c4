#include "Platforms/FFmpeg/Recording/MovieFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace videoanalysis::media::ffmpeg {
namespace {

constexpr int bufferSize = 1 << 16;
constexpr mode_t permissions = 0600;

std::string systemError(int code) { return std::strerror(code); }

struct MuxerDeleter {
    void operator()(AVFormatContext* context) const {
        if (context->pb) avio_closep(&context->pb);
        avformat_free_context(context);
    }
};
using MuxerHandle = std::unique_ptr<AVFormatContext, MuxerDeleter>;

}  // namespace

std::unique_ptr<MovieFile> MovieFile::create(const std::string& path, std::string& error) {
    LockedFile locked = LockedFile::create(path, permissions);
    if (!locked) {
        error = "cannot record into " + path + ": " + systemError(errno);
        return nullptr;
    }
    syncFolderOf(path);
    std::unique_ptr<MovieFile> file(new MovieFile(path, std::move(locked)));
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

MovieFile::MovieFile(std::string path, LockedFile file) : path_(std::move(path)), file_(std::move(file)) {
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
}

bool MovieFile::check(int result) {
    if (result >= 0 && writeError_ == 0) return true;
    if (error_.empty()) {
        error_ = writeError_ != 0 ? "the recording broke off: " + systemError(writeError_)
                                  : "the recording broke off: " + libraryError(result);
        if (::ftruncate(file_.descriptor(), wholeSize_) == 0) size_ = wholeSize_;
    }
    return false;
}

int MovieFile::writeBytes(void* opaque, std::uint8_t* bytes, int count) {
    auto& file = *static_cast<MovieFile*>(opaque);
    int written = 0;
    while (written < count && file.writeError_ == 0) {
        const ssize_t result =
            ::write(file.file_.descriptor(), bytes + written, static_cast<std::size_t>(count - written));
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
    ::fdatasync(file_.descriptor());
    return isFine;
}

void MovieFile::carryToDisk() {
    std::unique_lock lock(mutex_);
    while (!isEnding_) {
        changed_.wait(lock, [&] { return isSyncDue_ || isEnding_; });
        if (!std::exchange(isSyncDue_, false)) continue;
        lock.unlock();
        ::fdatasync(file_.descriptor());
        lock.lock();
    }
}

namespace {

/// Copies the packets of a movie into a new one. Its own code for "cancelled" is AVERROR_EXIT.
class Remux {
public:
    explicit Remux(const std::function<bool()>& isCancelled) : isCancelled_(isCancelled) {}

    /// These return 0 or the library's error.
    int open(const std::string& from) {
        AVFormatContext* opened = avformat_alloc_context();
        if (!opened) return AVERROR(ENOMEM);
        opened->interrupt_callback = interruption();
        const int result = avformat_open_input(&opened, ("file:" + from).c_str(), nullptr, nullptr);
        input_.reset(opened);
        return result;
    }
    int copyTo(const std::string& to) {
        int result = begin("file:" + to);
        if (result < 0) return result;
        result = copyPackets();
        // The index goes to the front now, which moves everything else.
        const int trailerResult = av_write_trailer(output_.get());
        if (result >= 0) result = trailerResult;
        const int closeResult = avio_closep(&output_->pb);
        return result < 0 ? result : closeResult;
    }

private:
    AVIOInterruptCB interruption() {
        return {[](void* opaque) { return static_cast<Remux*>(opaque)->isCancelled_() ? 1 : 0; }, this};
    }

    int begin(const std::string& url) {
        AVFormatContext* allocated = nullptr;
        avformat_alloc_output_context2(&allocated, nullptr, "mp4", url.c_str());
        output_.reset(allocated);
        if (!output_) return AVERROR(ENOMEM);
        output_->interrupt_callback = interruption();
        for (unsigned i = 0; i < input_->nb_streams; ++i) {
            AVStream* stream = avformat_new_stream(output_.get(), nullptr);
            if (!stream || avcodec_parameters_copy(stream->codecpar, input_->streams[i]->codecpar) < 0) {
                return AVERROR(ENOMEM);
            }
            stream->time_base = input_->streams[i]->time_base;
            stream->avg_frame_rate = input_->streams[i]->avg_frame_rate;
        }
        const int result =
            avio_open2(&output_->pb, url.c_str(), AVIO_FLAG_WRITE, &output_->interrupt_callback, nullptr);
        if (result < 0) return result;
        AVDictionary* options = nullptr;
        av_dict_set(&options, "movflags", "faststart", 0);
        const int headerResult = avformat_write_header(output_.get(), &options);
        av_dict_free(&options);
        return headerResult;
    }

    /// The input's end may be cut off: what can be read is the movie.
    int copyPackets() {
        const PacketHandle packet(av_packet_alloc());
        if (!packet) return AVERROR(ENOMEM);
        std::vector<std::int64_t> last(input_->nb_streams, INT64_MIN);
        while (true) {
            int result = av_read_frame(input_.get(), packet.get());
            if (isCancelled_()) return AVERROR_EXIT;
            if (result == AVERROR_EOF || result == AVERROR_INVALIDDATA) return 0;
            if (result < 0) return result;  // the disk does not hand over the rest: it must not be removed
            const auto index = static_cast<std::size_t>(packet->stream_index);
            av_packet_rescale_ts(packet.get(), input_->streams[index]->time_base, output_->streams[index]->time_base);
            packet->pos = -1;
            const bool isCutOff = (packet->flags & AV_PKT_FLAG_CORRUPT) != 0;
            if (isCutOff || packet->dts == AV_NOPTS_VALUE || packet->dts <= last[index]) {
                av_packet_unref(packet.get());
                continue;
            }
            last[index] = packet->dts;
            result = av_interleaved_write_frame(output_.get(), packet.get());
            if (result < 0) return result;
        }
    }

    const std::function<bool()>& isCancelled_;
    FormatContextHandle input_;
    MuxerHandle output_;
};

}  // namespace

recording::Error finishMovie(const std::string& from, const std::string& to, const std::function<bool()>& isCancelled,
                             LockedFile& lock) {
    // Once cancelled, it stays cancelled: the library asks too, and makes of it what it likes.
    bool wasCancelled = false;
    const std::function<bool()> ask = [&] { return wasCancelled = wasCancelled || isCancelled(); };
    Remux remux(ask);
    int result = remux.open(from);
    const bool isPlayable = result >= 0;
    std::string reason = libraryError(result);
    const auto temporary = isPlayable ? TemporaryFile::make(to, permissions, reason) : nullptr;
    if (temporary) {
        result = remux.copyTo(temporary->path());
        reason = libraryError(result);
        if (result >= 0 && temporary->keep(ask, reason)) {
            lock = temporary->takeLock();
            ::unlink(from.c_str());
            return {};
        }
    }
    if (wasCancelled) return "finishing the recording was cancelled";
    if (isPlayable && std::rename(from.c_str(), to.c_str()) == 0) {
        syncFolderOf(to);
        return {};
    }
    return "cannot finish the recording as " + to + ": " + reason;
}

}  // namespace videoanalysis::media::ffmpeg
