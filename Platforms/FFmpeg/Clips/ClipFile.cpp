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

constexpr auto openingLimit = std::chrono::milliseconds(1500);  // of processor time
constexpr int mostEmptyPackets = 1'000'000;                     // in a row
constexpr const char* serverTimeout = "15000000";               // microseconds without an answer

std::chrono::nanoseconds processorTime() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

/// What the library is asked to open for `url`, and the protocols that takes; false for a scheme that is not read.
bool locationOf(const URL& url, std::string& location, const char*& protocols) {
    const std::string path = url.path();
    if (!path.empty()) {
        location = "file:" + path;
        protocols = "file";
        return true;
    }
    const std::string scheme = url.scheme();
    if (scheme != "http" && scheme != "https") return false;
    location = scheme + url.absoluteString().substr(scheme.size());
    protocols = scheme == "http" ? "http,tcp" : "https,tls,tcp";
    return true;
}

/// Whether files of this format only say what else is to be opened.
bool isPlaylist(const AVInputFormat& format) {
    constexpr std::string_view kinds[] = {"hls", "concat", "dash", "imf", "sdp", "rtsp", "webm_dash_manifest"};
    return std::find(std::begin(kinds), std::end(kinds), std::string_view(format.name)) != std::end(kinds);
}

int refuseToOpen(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) { return AVERROR(EPERM); }

/// Whether the header says of every stream what decoding takes, so that nothing has to be decoded to find out.
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

std::unique_ptr<ClipFile> ClipFile::open(const URL& url, Content content, const std::atomic<bool>& cancelled,
                                         std::string& error) {
    std::string location;
    const char* protocols = nullptr;
    if (!locationOf(url, location, protocols)) {
        error = "not a file or web address";
        return nullptr;
    }
    // Opening a pipe or a device would wait for something to write to it.
    struct stat attributes {};
    const std::string path = url.path();
    const bool isOther = !path.empty() && stat(path.c_str(), &attributes) == 0 && !S_ISREG(attributes.st_mode);
    if (isOther || path.find('\0') != std::string::npos) {
        error = "not a file";
        return nullptr;
    }

    std::unique_ptr<ClipFile> file(new ClipFile(cancelled));
    file->watch_.limit = processorTime() + openingLimit;
    const int result = file->openContainer(location, protocols, error);
    if (result < 0) {
        if (!cancelled && file->watch_.isOver()) error = "its header takes too long to read";
        if (error.empty()) error = libraryError(result);
        return nullptr;
    }
    if (!file->selectStream(content, error)) return nullptr;
    file->watch_.limit = {};
    file->prepareOrder();
    return file;
}

int ClipFile::openContainer(const std::string& location, const char* protocols, std::string& error) {
    const AVIOInterruptCB interrupt{[](void* watch) { return static_cast<const Watch*>(watch)->isOver() ? 1 : 0; },
                                    &watch_};
    const bool isSecure = std::string_view(protocols).starts_with("https");
    AVDictionary* options = nullptr;
    av_dict_set(&options, "protocol_whitelist", protocols, 0);
    if (std::string_view(protocols) != "file") av_dict_set(&options, "rw_timeout", serverTimeout, 0);
    if (isSecure) av_dict_set(&options, "tls_verify", "1", 0);
    AVIOContext* io = nullptr;
    int result = avio_open2(&io, location.c_str(), AVIO_FLAG_READ, &interrupt, &options);
    av_dict_free(&options);
    io_.reset(io);
    if (result < 0) {
        // The library gives the same code for a server that it does not trust.
        if (isSecure && result == AVERROR(EIO)) {
            error = "no secure connection: the server's certificate is not trusted, or the server does not answer";
        }
        return result;
    }
    byteCount_ = std::max<std::int64_t>(avio_size(io), 0);

    // The name is not passed on: the content decides what it is, not the extension.
    const AVInputFormat* kind = nullptr;
    result = av_probe_input_buffer2(io, &kind, nullptr, nullptr, 0, 0);
    if (result < 0) return result;
    if (isPlaylist(*kind)) {
        error = "it is a playlist, and what it refers to is not opened";
        return AVERROR(EPERM);
    }
    AVFormatContext* format = avformat_alloc_context();
    if (!format) return AVERROR(ENOMEM);
    format->pb = io;
    format->interrupt_callback = interrupt;
    // A reference inside the file is opened through the callback and a protocol; both refuse.
    format->io_open = refuseToOpen;
    av_dict_set(&options, "protocol_whitelist", "none", 0);
    result = avformat_open_input(&format, nullptr, kind, &options);
    av_dict_free(&options);
    if (result < 0) return result;
    format_.reset(format);
    return isDescribedByItsHeader(*format) ? 0 : std::min(avformat_find_stream_info(format, nullptr), 0);
}

bool ClipFile::selectStream(Content content, std::string& error) {
    const AVMediaType type = content == Content::video ? AVMEDIA_TYPE_VIDEO : AVMEDIA_TYPE_AUDIO;
    const int number = av_find_best_stream(format_.get(), type, -1, -1, nullptr, 0);
    if (number < 0 || (format_->streams[number]->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0) {
        error = content == Content::video ? "it has no video" : "it has no sound";
        return false;
    }
    for (unsigned i = 0; i < format_->nb_streams; ++i) {
        format_->streams[i]->discard = static_cast<int>(i) == number ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }
    stream_ = format_->streams[number];
    // A sample takes at least a byte, of its own or of a table.
    if (byteCount_ > 0 && avformat_index_get_entries_count(stream_) > byteCount_) {
        error = "its sample table claims more than the file holds";
        return false;
    }
    return true;
}

void ClipFile::prepareOrder() {
    const std::string_view container = format_->iformat->name;
    const AVCodecID codec = stream_->codecpar->codec_id;
    if (codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_HEVC || codec == AV_CODEC_ID_MPEG4) {
        // Matroska names such streams by the four characters that they had in the other container.
        const bool isForeign = container.starts_with("matroska") && stream_->codecpar->codec_tag != 0;
        if (container == "avi" || isForeign) order_ = Order::decoding;
        if (container == "h264" || container == "hevc" || container == "m4v") order_ = Order::none;
    }
    // Elsewhere packets may lack a time here and there; the library derives it from the times around it.
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

int ClipFile::read(AVPacket* packet) {
    for (int empty = 0; empty < mostEmptyPackets;) {
        if (watch_.isOver()) return AVERROR_EXIT;
        const int result = av_read_frame(format_.get(), packet);
        if (result < 0) return result;
        // Without the key the library passes on what is there, and decoders make noise of it.
        const bool isNoise = av_packet_get_side_data(packet, AV_PKT_DATA_ENCRYPTION_INFO, nullptr) != nullptr;
        if (packet->stream_index == stream_->index && !isNoise) {
            // To a decoder, an empty packet is the end of the stream.
            if (packet->size > 0 && isWhole(packet)) return 0;
            ++empty;
        }
        av_packet_unref(packet);
        if (isNoise) {
            isEncrypted_ = true;
            return AVERROR(EACCES);
        }
    }
    return AVERROR_INVALIDDATA;
}

bool ClipFile::isWhole(AVPacket* packet) {
    if (!filter_) return true;
    if (av_bsf_send_packet(filter_.get(), packet) < 0) return false;
    return av_bsf_receive_packet(filter_.get(), packet) >= 0 && packet->size > 0;
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
