#include "Platforms/FFmpeg/ClipFile.h"

extern "C" {
#include <libavutil/dict.h>
}

#include <sys/stat.h>

#include <limits>
#include <string_view>

namespace videoanalysis::media {
namespace {

int isCancelled(void* flag) {
    return static_cast<const std::atomic<bool>*>(flag)->load(std::memory_order_relaxed) ? 1 : 0;
}

/// What the library is asked to open for `url`, and the protocols that takes; false for a scheme that is not read.
bool locationOf(const URL& url, std::string& location, const char*& protocols) {
    const std::string& text = url.absoluteString();
    const std::string path = url.path();
    if (!path.empty()) {
        location = "file:" + path;
        protocols = "file";
    } else if (text.starts_with("http://")) {
        location = text;
        protocols = "http,tcp";
    } else if (text.starts_with("https://")) {
        location = text;
        protocols = "https,tls,tcp";
    } else {
        return false;
    }
    return true;
}

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

std::unique_ptr<ClipFile> ClipFile::open(const URL& url, Content content, const std::atomic<bool>& cancelled,
                                         std::string& error) {
    std::string location;
    const char* protocols = nullptr;
    if (!locationOf(url, location, protocols)) {
        error = "not a file or web address";
        return nullptr;
    }
    // Opening a pipe or a device would wait for somebody to write to it.
    struct stat attributes {};
    const std::string path = url.path();
    if (!path.empty() && stat(path.c_str(), &attributes) == 0 && !S_ISREG(attributes.st_mode)) {
        error = "not a file";
        return nullptr;
    }

    std::unique_ptr<ClipFile> file(new ClipFile);
    const AVIOInterruptCB interrupt{isCancelled, const_cast<std::atomic<bool>*>(&cancelled)};
    AVDictionary* options = nullptr;
    av_dict_set(&options, "protocol_whitelist", protocols, 0);
    AVIOContext* io = nullptr;
    int result = avio_open2(&io, location.c_str(), AVIO_FLAG_READ, &interrupt, &options);
    av_dict_free(&options);
    file->io_.reset(io);
    if (result < 0) {
        error = libraryError(result);
        return nullptr;
    }

    AVFormatContext* format = avformat_alloc_context();
    if (!format) {
        error = "out of memory";
        return nullptr;
    }
    format->pb = io;
    format->interrupt_callback = interrupt;
    // Some containers give decoding times only; the library derives the presentation times from the picture types.
    format->flags |= AVFMT_FLAG_GENPTS;
    // What a playlist or a reference inside the file names is opened through a protocol; none is allowed.
    av_dict_set(&options, "protocol_whitelist", "none", 0);
    // The name is not passed on: the content decides what it is, not the extension.
    result = avformat_open_input(&format, nullptr, nullptr, &options);
    av_dict_free(&options);
    if (result < 0) {
        error = libraryError(result);
        return nullptr;
    }
    file->format_.reset(format);
    if (!isDescribedByItsHeader(*format)) {
        result = avformat_find_stream_info(format, nullptr);
        if (result < 0) {
            error = libraryError(result);
            return nullptr;
        }
    }

    const AVMediaType type = content == Content::video ? AVMEDIA_TYPE_VIDEO : AVMEDIA_TYPE_AUDIO;
    const int number = av_find_best_stream(format, type, -1, -1, nullptr, 0);
    if (number < 0 || (format->streams[number]->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0) {
        error = content == Content::video ? "it has no video" : "it has no sound";
        return nullptr;
    }
    for (unsigned i = 0; i < format->nb_streams; ++i) {
        format->streams[i]->discard = static_cast<int>(i) == number ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }
    file->stream_ = format->streams[number];
    return file;
}

int ClipFile::read(AVPacket* packet) {
    while (true) {
        const int result = av_read_frame(format_.get(), packet);
        if (result < 0) return result;
        // Without the key the library passes on what is there, and decoders make noise of it.
        const bool isNoise = av_packet_get_side_data(packet, AV_PKT_DATA_ENCRYPTION_INFO, nullptr) != nullptr;
        if (packet->stream_index == stream_->index && !isNoise) return 0;
        av_packet_unref(packet);
        if (isNoise) {
            isEncrypted_ = true;
            return AVERROR(EACCES);
        }
    }
}

bool ClipFile::seek(std::int64_t timestamp) {
    return av_seek_frame(format_.get(), stream_->index, timestamp, AVSEEK_FLAG_BACKWARD) >= 0;
}

bool ClipFile::seekToBeginning() {
    return av_seek_frame(format_.get(), stream_->index, std::numeric_limits<std::int64_t>::min() / 2,
                         AVSEEK_FLAG_BACKWARD) >= 0;
}

bool ClipFile::seekToFirstByte() { return av_seek_frame(format_.get(), stream_->index, 0, AVSEEK_FLAG_BYTE) >= 0; }

}  // namespace videoanalysis::media
