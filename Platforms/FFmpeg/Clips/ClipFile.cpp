#include "Platforms/FFmpeg/Clips/ClipFile.h"

extern "C" {
#include <libavutil/dict.h>
}

#include <sys/stat.h>

#include <algorithm>
#include <ctime>
#include <iterator>
#include <limits>
#include <string_view>

namespace videoanalysis::media::ffmpeg {
namespace {

constexpr auto maxOpeningTime = std::chrono::milliseconds(1500);  // of processor time
constexpr int maxEmptyPackets = 1'000'000;                        // in a row
constexpr const char* serverTimeout = "15000000";                 // microseconds without an answer

std::chrono::nanoseconds processorTime() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

/// What the library opens for a URL, and with which protocols.
struct Location {
    std::string text;
    const char* protocols;
};

Result<Location> locationOf(const URL& url) {
    const std::string path = url.path();
    if (path.empty()) {
        const std::string scheme = url.scheme();
        if (scheme != "http" && scheme != "https") return Failure{"not a file or web address"};
        return Location{scheme + url.absoluteString().substr(scheme.size()),
                        scheme == "http" ? "http,tcp" : "https,tls,tcp"};
    }
    // Opening a pipe or a device would block until something is written to it.
    struct stat attributes {};
    const bool isSpecial = stat(path.c_str(), &attributes) == 0 && !S_ISREG(attributes.st_mode);
    if (isSpecial || path.find('\0') != std::string::npos) return Failure{"not a file"};
    return Location{"file:" + path, "file"};
}

Failure libraryFailure(int code) { return {libraryError(code)}; }

/// Whether files of this format only list other files to open.
bool isPlaylist(const AVInputFormat& format) {
    constexpr std::string_view kinds[] = {"hls", "concat", "dash", "imf", "sdp", "rtsp", "webm_dash_manifest"};
    return std::find(std::begin(kinds), std::end(kinds), std::string_view(format.name)) != std::end(kinds);
}

int refuseToOpen(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) { return AVERROR(EPERM); }

/// Whether the header has every stream's decoding parameters, so that nothing needs to be decoded to find them.
bool isDescribedByItsHeader(const AVFormatContext& format) {
    if (!std::string_view(format.iformat->name).starts_with("mov,")) return false;
    for (unsigned i = 0; i < format.nb_streams; ++i) {
        const AVCodecParameters& parameters = *format.streams[i]->codecpar;
        if (parameters.codec_type == AVMEDIA_TYPE_VIDEO &&
            (parameters.codec_id == AV_CODEC_ID_NONE || parameters.width <= 0 || parameters.height <= 0)) {
            return false;
        }
        if (parameters.codec_type == AVMEDIA_TYPE_AUDIO &&
            (parameters.codec_id == AV_CODEC_ID_NONE || parameters.sample_rate <= 0)) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool ClipFile::Watch::isOver() const {
    return isCancelled.load(std::memory_order_relaxed) || (limit.count() != 0 && processorTime() > limit);
}

Result<std::unique_ptr<ClipFile>> ClipFile::open(const URL& url, Content content, const std::atomic<bool>& cancelled) {
    const Result<Location> location = locationOf(url);
    if (!location) return location.failure();
    std::unique_ptr<ClipFile> file(new ClipFile(cancelled));
    file->watch_.limit = processorTime() + maxOpeningTime;
    Result<void> opened = file->openInput(location->text, location->protocols);
    if (opened) opened = file->openContainer();
    if (!opened) {
        if (!cancelled && file->watch_.isOver()) return Failure{"its header takes too long to read"};
        return opened.failure();
    }
    const Result<void> selected = file->selectStream(content);
    if (!selected) return selected.failure();
    file->watch_.limit = {};
    file->prepareOrder();
    return file;
}

AVIOInterruptCB ClipFile::interruptCallback() {
    return {[](void* watch) { return static_cast<const Watch*>(watch)->isOver() ? 1 : 0; }, &watch_};
}

Result<void> ClipFile::openInput(const std::string& location, const char* protocols) {
    const bool isSecure = std::string_view(protocols).starts_with("https");
    AVDictionary* options = nullptr;
    av_dict_set(&options, "protocol_whitelist", protocols, 0);
    if (std::string_view(protocols) != "file") av_dict_set(&options, "rw_timeout", serverTimeout, 0);
    if (isSecure) av_dict_set(&options, "tls_verify", "1", 0);
    const AVIOInterruptCB interrupt = interruptCallback();
    AVIOContext* io = nullptr;
    const int result = avio_open2(&io, location.c_str(), AVIO_FLAG_READ, &interrupt, &options);
    av_dict_free(&options);
    io_.reset(io);
    if (result >= 0) {
        byteCount_ = std::max<std::int64_t>(avio_size(io), 0);
        return {};
    }
    // The library returns the same code for an untrusted server.
    if (isSecure && result == AVERROR(EIO)) {
        return Failure{"no secure connection: the server's certificate is not trusted, or the server does not answer"};
    }
    return libraryFailure(result);
}

Result<void> ClipFile::openContainer() {
    // Without a name: the content decides the format, not the extension.
    const AVInputFormat* kind = nullptr;
    int result = av_probe_input_buffer2(io_.get(), &kind, nullptr, nullptr, 0, 0);
    if (result < 0) return libraryFailure(result);
    if (isPlaylist(*kind)) return Failure{"it is a playlist, and what it refers to is not opened"};
    AVFormatContext* format = avformat_alloc_context();
    if (!format) return libraryFailure(AVERROR(ENOMEM));
    format->pb = io_.get();
    format->interrupt_callback = interruptCallback();
    // The library opens references inside the file through this callback and a protocol; both refuse.
    format->io_open = refuseToOpen;
    AVDictionary* options = nullptr;
    av_dict_set(&options, "protocol_whitelist", "none", 0);
    result = avformat_open_input(&format, nullptr, kind, &options);
    av_dict_free(&options);
    if (result < 0) return libraryFailure(result);
    format_.reset(format);
    if (isDescribedByItsHeader(*format)) return {};
    result = avformat_find_stream_info(format, nullptr);
    return result < 0 ? libraryFailure(result) : Result<void>();
}

Result<void> ClipFile::selectStream(Content content) {
    const AVMediaType type = content == Content::video ? AVMEDIA_TYPE_VIDEO : AVMEDIA_TYPE_AUDIO;
    const int number = av_find_best_stream(format_.get(), type, -1, -1, nullptr, 0);
    if (number < 0 || (format_->streams[number]->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0) {
        return Failure{content == Content::video ? "it has no video" : "it has no sound"};
    }
    for (unsigned i = 0; i < format_->nb_streams; ++i) {
        format_->streams[i]->discard = static_cast<int>(i) == number ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }
    stream_ = format_->streams[number];
    // A sample takes at least one byte, in the data or in a table.
    if (byteCount_ > 0 && avformat_index_get_entries_count(stream_) > byteCount_) {
        return Failure{"its sample table claims more than the file holds"};
    }
    return {};
}

void ClipFile::prepareOrder() {
    const std::string_view container = format_->iformat->name;
    const AVCodecID codec = stream_->codecpar->codec_id;
    if (codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_HEVC || codec == AV_CODEC_ID_MPEG4) {
        // Streams copied from AVI into Matroska keep their four-character code.
        const bool isForeign = container.starts_with("matroska") && stream_->codecpar->codec_tag != 0;
        if (container == "avi" || isForeign) order_ = Order::decoding;
        if (container == "h264" || container == "hevc" || container == "m4v") order_ = Order::none;
    }
    // In other files single packets may lack a time; the library derives it from the surrounding ones.
    if (order_ == Order::stored) format_->flags |= AVFMT_FLAG_GENPTS;

    const AVBitStreamFilter* unpacker = av_bsf_get_by_name("mpeg4_unpack_bframes");
    if (order_ == Order::stored || codec != AV_CODEC_ID_MPEG4 || !unpacker) return;
    AVBSFContext* filter = nullptr;
    if (av_bsf_alloc(unpacker, &filter) < 0) return;
    filter_.reset(filter);
    filter->time_base_in = stream_->time_base;
    if (avcodec_parameters_copy(filter->par_in, stream_->codecpar) < 0 || av_bsf_init(filter) < 0 ||
        avcodec_parameters_copy(stream_->codecpar, filter->par_out) < 0) {
        filter_ = nullptr;
    }
}

Result<ClipFile::ReadStatus> ClipFile::read(AVPacket& packet) {
    for (int empty = 0; empty < maxEmptyPackets;) {
        if (watch_.isOver()) return libraryFailure(AVERROR_EXIT);
        const int result = av_read_frame(format_.get(), &packet);
        if (result == AVERROR_EOF) return ReadStatus::endOfStream;
        if (result < 0) return libraryFailure(result);
        // Without the key the library passes the encrypted bytes on, and decoders turn them into noise.
        if (av_packet_get_side_data(&packet, AV_PKT_DATA_ENCRYPTION_INFO, nullptr) != nullptr) {
            av_packet_unref(&packet);
            isEncrypted_ = true;
            return Failure{"it is encrypted"};
        }
        if (packet.stream_index == stream_->index) {
            // A decoder takes an empty packet for the end of the stream.
            if (packet.size > 0 && filterPacket(packet)) return ReadStatus::packet;
            ++empty;
        }
        av_packet_unref(&packet);
    }
    return libraryFailure(AVERROR_INVALIDDATA);
}

bool ClipFile::filterPacket(AVPacket& packet) {
    if (!filter_) return true;
    if (av_bsf_send_packet(filter_.get(), &packet) < 0) return false;
    return av_bsf_receive_packet(filter_.get(), &packet) >= 0 && packet.size > 0;
}

bool ClipFile::seek(std::int64_t timestamp) {
    if (filter_) av_bsf_flush(filter_.get());
    return av_seek_frame(format_.get(), stream_->index, timestamp, AVSEEK_FLAG_BACKWARD) >= 0;
}

bool ClipFile::seekToBeginning() {
    if (filter_) av_bsf_flush(filter_.get());
    return av_seek_frame(format_.get(), stream_->index, std::numeric_limits<std::int64_t>::min() / 2,
                         AVSEEK_FLAG_BACKWARD) >= 0;
}

bool ClipFile::seekToByte(std::int64_t position) {
    if (filter_) av_bsf_flush(filter_.get());
    return av_seek_frame(format_.get(), stream_->index, position, AVSEEK_FLAG_BYTE) >= 0;
}

}  // namespace videoanalysis::media::ffmpeg
