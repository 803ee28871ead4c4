#include "Platforms/FFmpeg/Recording/MovieRemux.h"

#include "Platforms/FFmpeg/LibraryHandles.h"

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <vector>

namespace videoanalysis::media::ffmpeg {
namespace {

constexpr mode_t permissions = 0600;

struct MuxerDeleter {
    void operator()(AVFormatContext* context) const {
        if (context->pb) avio_closep(&context->pb);
        avformat_free_context(context);
    }
};
using MuxerHandle = std::unique_ptr<AVFormatContext, MuxerDeleter>;

/// Copies the packets of a movie into a new one. A cancelled copy ends with AVERROR_EXIT.
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
        // Moves the index to the front, and with it everything else.
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

    /// A truncated input ends where it cannot be read further.
    int copyPackets() {
        const PacketHandle packet(av_packet_alloc());
        if (!packet) return AVERROR(ENOMEM);
        std::vector<std::int64_t> last(input_->nb_streams, INT64_MIN);
        while (true) {
            int result = av_read_frame(input_.get(), packet.get());
            if (isCancelled_()) return AVERROR_EXIT;
            if (result == AVERROR_EOF || result == AVERROR_INVALIDDATA) return 0;
            if (result < 0) return result;  // an unreadable rest: the input must be kept
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

Result<LockedFile> copyInto(const std::string& to, Remux& remux, const std::function<bool()>& isCancelled) {
    const auto temporary = TemporaryFile::make(to, permissions);
    if (!temporary) return temporary.failure();
    const int copied = remux.copyTo((*temporary)->path());
    if (copied < 0) return Failure{libraryError(copied)};
    if (const Result<void> kept = (*temporary)->keep(isCancelled); !kept) return kept.failure();
    return (*temporary)->takeLock();
}

}  // namespace

Result<LockedFile> remuxMovie(const std::string& from, const std::string& to,
                              const std::function<bool()>& isCancelled) {
    // The library asks as well and reports a cancellation as any error it likes, so the answer is remembered.
    bool wasCancelled = false;
    const std::function<bool()> ask = [&] { return wasCancelled = wasCancelled || isCancelled(); };
    Remux remux(ask);
    const int opened = remux.open(from);
    std::string reason = libraryError(opened);
    if (opened >= 0) {
        Result<LockedFile> copied = copyInto(to, remux, ask);
        if (copied) {
            ::unlink(from.c_str());
            return copied;
        }
        reason = copied.failure().message;
    }
    if (wasCancelled) return Failure{"finishing the recording was cancelled"};
    if (opened >= 0 && std::rename(from.c_str(), to.c_str()) == 0) {
        syncFolderOf(to);
        return LockedFile();
    }
    return Failure{"cannot finish the recording as " + to + ": " + reason};
}

}  // namespace videoanalysis::media::ffmpeg
