#pragma once
// Owning handles for FFmpeg's objects, and its error texts. Internal to this backend.

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/error.h>
#include <libavutil/frame.h>
#include <libavutil/log.h>
}

#include <memory>
#include <string>

namespace videoanalysis::media::ffmpeg {

struct LibraryDeleter {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
    void operator()(AVIOContext* context) const { avio_closep(&context); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};

using CodecContextHandle = std::unique_ptr<AVCodecContext, LibraryDeleter>;
using FormatContextHandle = std::unique_ptr<AVFormatContext, LibraryDeleter>;
using IOContextHandle = std::unique_ptr<AVIOContext, LibraryDeleter>;
using FrameHandle = std::unique_ptr<AVFrame, LibraryDeleter>;
using PacketHandle = std::unique_ptr<AVPacket, LibraryDeleter>;

/// A context for `codec` (may be null, for a parser), or null when there is not enough memory. A damaged clip makes codecs print
/// a line for every packet, and encoders print statistics; in FFmpeg's log these are messages for debugging.
inline CodecContextHandle makeCodecContext(const AVCodec* codec) {
    CodecContextHandle context(avcodec_alloc_context3(codec));
    if (context) context->log_level_offset = AV_LOG_DEBUG - AV_LOG_ERROR;
    return context;
}

/// The library's one-line text for a negative return value.
inline std::string libraryError(int code) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof text);
    return text;
}

}  // namespace videoanalysis::media::ffmpeg
