#pragma once
// What differs between the supported versions of FFmpeg, 5.1 to 8: fields and functions that were deprecated or removed, each
// behind a function that reads the same with every version. Internal to this backend.

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
}

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace videoanalysis::media::ffmpeg {

// ---- Pictures

/// Whether the picture consists of two fields.
inline bool isInterlaced(const AVFrame& picture) {
#ifdef AV_FRAME_FLAG_INTERLACED
    return (picture.flags & AV_FRAME_FLAG_INTERLACED) != 0;
#else
    return picture.interlaced_frame != 0;
#endif
}

/// Leaves it to the encoder whether the picture becomes a keyframe.
inline void clearKeyframeMark(AVFrame& picture) {
#ifdef AV_FRAME_FLAG_KEY
    picture.flags &= ~AV_FRAME_FLAG_KEY;
#else
    picture.key_frame = 0;
#endif
}

// ---- What an encoder takes; empty when it takes anything

#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(61, 13, 100)
template <class Value>
std::span<const Value> supportedValues(const AVCodec& codec, AVCodecConfig kind) {
    const void* values = nullptr;
    int count = 0;
    if (avcodec_get_supported_config(nullptr, &codec, kind, 0, &values, &count) < 0 || !values) return {};
    return {static_cast<const Value*>(values), static_cast<std::size_t>(count)};
}
#else
template <class Value>
std::span<const Value> supportedValues(const Value* values, Value terminator) {
    std::size_t count = 0;
    while (values && values[count] != terminator) ++count;
    return {values, count};
}
#endif

/// Followed in memory by AV_PIX_FMT_NONE, as the library's own functions expect.
inline std::span<const AVPixelFormat> pixelFormatsOf(const AVCodec& encoder) {
#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(61, 13, 100)
    return supportedValues<AVPixelFormat>(encoder, AV_CODEC_CONFIG_PIX_FORMAT);
#else
    return supportedValues(encoder.pix_fmts, AV_PIX_FMT_NONE);
#endif
}

inline std::span<const AVSampleFormat> sampleFormatsOf(const AVCodec& encoder) {
#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(61, 13, 100)
    return supportedValues<AVSampleFormat>(encoder, AV_CODEC_CONFIG_SAMPLE_FORMAT);
#else
    return supportedValues(encoder.sample_fmts, AV_SAMPLE_FMT_NONE);
#endif
}

inline std::span<const int> sampleRatesOf(const AVCodec& encoder) {
#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(61, 13, 100)
    return supportedValues<int>(encoder, AV_CODEC_CONFIG_SAMPLE_RATE);
#else
    return supportedValues(encoder.supported_samplerates, 0);
#endif
}

#ifdef AV_PROFILE_H264_BASELINE
constexpr int h264BaselineProfile = AV_PROFILE_H264_BASELINE;
#else
constexpr int h264BaselineProfile = FF_PROFILE_H264_BASELINE;
#endif

// ---- The matrix that turns a stream's pictures upright

/// Empty when the stream has none; valid until the stream changes.
inline std::span<const std::uint8_t> displayMatrixOf(const AVStream& stream) {
#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(60, 31, 100)
    const AVPacketSideData* data = av_packet_side_data_get(
        stream.codecpar->coded_side_data, stream.codecpar->nb_coded_side_data, AV_PKT_DATA_DISPLAYMATRIX);
    return data ? std::span<const std::uint8_t>(data->data, data->size) : std::span<const std::uint8_t>();
#else
    std::size_t size = 0;
    const std::uint8_t* data = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
    return data ? std::span<const std::uint8_t>(data, size) : std::span<const std::uint8_t>();
#endif
}

/// Replaces the stream's matrix by a copy of `matrix`; false when there is not enough memory.
inline bool setDisplayMatrix(AVStream& stream, std::span<const std::uint8_t> matrix) {
#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(60, 31, 100)
    AVPacketSideData* data =
        av_packet_side_data_new(&stream.codecpar->coded_side_data, &stream.codecpar->nb_coded_side_data,
                                AV_PKT_DATA_DISPLAYMATRIX, matrix.size(), 0);
    std::uint8_t* copy = data ? data->data : nullptr;
#else
    std::uint8_t* copy = av_stream_new_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, matrix.size());
#endif
    if (copy) std::memcpy(copy, matrix.data(), matrix.size());
    return copy != nullptr;
}

// ---- Callbacks

/// The bytes that a container hands to the function that writes them.
#if LIBAVFORMAT_VERSION_MAJOR >= 61
using WrittenByte = const std::uint8_t;
#else
using WrittenByte = std::uint8_t;
#endif

/// Lets the decoder's threads ask for picture memory at the same time; from version 6 on they always do.
inline void allowConcurrentCallbacks([[maybe_unused]] AVCodecContext& decoder) {
#if LIBAVCODEC_VERSION_MAJOR < 60
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    decoder.thread_safe_callbacks = 1;
#pragma GCC diagnostic pop
#endif
}

}  // namespace videoanalysis::media::ffmpeg
