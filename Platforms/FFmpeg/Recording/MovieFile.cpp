#include "Platforms/FFmpeg/Recording/MovieFile.h"

#include "VideoAnalysis/Platform/FatalError.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace videoanalysis::media::ffmpeg {
namespace {

constexpr int bufferSize = 1 << 16;
constexpr mode_t permissions = 0600;

}  // namespace

void MovieFile::Closer::operator()(AVFormatContext* context) const {
    if (context->pb) av_freep(&context->pb->buffer);
    avio_context_free(&context->pb);
    avformat_free_context(context);
}

Result<std::unique_ptr<MovieFile>> MovieFile::create(const std::string& path) {
    Result<LockedFile> locked = LockedFile::create(path, permissions);
    if (!locked) return Failure{"cannot record into " + path + ": " + locked.failure().message};
    syncFolderOf(path);
    std::unique_ptr<MovieFile> file(new MovieFile(path, std::move(*locked)));
    AVFormatContext* context = nullptr;
    avformat_alloc_output_context2(&context, nullptr, "mp4", nullptr);
    file->context_.reset(context);
    auto* buffer = static_cast<unsigned char*>(av_malloc(bufferSize));
    if (context && buffer) {
        context->pb = avio_alloc_context(buffer, bufferSize, 1, file.get(), nullptr, &writeBytes, nullptr);
    }
    if (!context || !context->pb) {
        av_free(buffer);
        return Failure{"cannot record: out of memory"};
    }
    return file;
}

MovieFile::MovieFile(std::string path, LockedFile file)
    : path_(std::move(path)), file_(std::move(file)), sync_(file_.descriptor()) {}

MovieFile::~MovieFile() {
    if (!hasContent()) ::unlink(path_.c_str());
}

void MovieFile::enter(Phase next) {
    const auto isLegal = [this, next] {
        if (next == Phase::failed) return phase_ != Phase::failed;
        switch (phase_) {
            case Phase::setup: return next == Phase::begun;
            case Phase::begun: return next == Phase::growing;
            case Phase::growing: return next == Phase::ended;
            case Phase::ended:
            case Phase::failed: return false;
        }
        return false;
    };
    if (!isLegal()) fatalError("A movie file was used out of order");
    phase_ = next;
}

Result<void> MovieFile::check(int result) {
    if (phase_ == Phase::failed) return Failure{error_};
    if (result >= 0 && writeError_ == 0) return {};
    error_ = "the recording broke off: " + (writeError_ != 0 ? std::strerror(writeError_) : libraryError(result));
    if (::ftruncate(file_.descriptor(), wholeSize_) == 0) size_ = wholeSize_;
    enter(Phase::failed);
    return Failure{error_};
}

int MovieFile::writeBytes(void* opaque, WrittenByte* bytes, int count) {
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

Result<void> MovieFile::addStream(const AVCodecContext& encoder) {
    AVStream* stream = avformat_new_stream(context_.get(), nullptr);
    if (!stream) return check(AVERROR(ENOMEM));
    stream->time_base = encoder.time_base;
    stream->avg_frame_rate = encoder.framerate;
    return check(avcodec_parameters_from_context(stream->codecpar, &encoder));
}

Result<void> MovieFile::begin() {
    AVDictionary* options = nullptr;
    av_dict_set(&options, "movflags", "frag_custom+delay_moov+default_base_moof", 0);
    const int result = avformat_write_header(context_.get(), &options);
    av_dict_free(&options);
    Result<void> begun = check(result);
    if (begun) enter(Phase::begun);
    return begun;
}

Result<void> MovieFile::write(AVPacket& packet, int stream, const AVCodecContext& encoder) {
    if (phase_ == Phase::failed) return Failure{error_};
    packet.stream_index = stream;
    av_packet_rescale_ts(&packet, encoder.time_base, context_->streams[stream]->time_base);
    return check(av_interleaved_write_frame(context_.get(), &packet));
}

Result<void> MovieFile::cut() {
    if (phase_ == Phase::failed) return Failure{error_};
    int result = av_interleaved_write_frame(context_.get(), nullptr);
    // The first call writes the index, the fragment follows with the next one.
    const bool isFirst = phase_ == Phase::begun;
    for (int calls = isFirst ? 2 : 1; calls > 0 && result >= 0; --calls) {
        result = av_write_frame(context_.get(), nullptr);
    }
    if (result >= 0) {
        avio_flush(context_->pb);
        result = context_->pb->error;
    }
    Result<void> written = check(result);
    if (!written) return written;
    if (isFirst) enter(Phase::growing);
    wholeSize_ = size_;
    sync_.schedule();
    return {};
}

Result<void> MovieFile::end() {
    if (Result<void> last = cut(); !last) return last;
    int result = av_write_trailer(context_.get());
    if (result >= 0) result = context_->pb->error;
    Result<void> ended = check(result);
    if (ended) {
        enter(Phase::ended);
        wholeSize_ = size_;
    }
    ::fdatasync(file_.descriptor());
    return ended;
}

}  // namespace videoanalysis::media::ffmpeg
