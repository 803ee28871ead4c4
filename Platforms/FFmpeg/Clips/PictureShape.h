#pragma once
// How a clip's pictures stand and what shape their pixels have, as its container or the pictures themselves say. Whoever shows
// or cuts pictures asks it.

#include "Platforms/FFmpeg/Clips/PictureConverter.h"
#include "Platforms/FFmpeg/Compatibility.h"

#include <cstdint>
#include <span>

namespace videoanalysis::media::ffmpeg {

/// The container's word counts more than the picture's.
inline Orientation orientationOf(const AVStream& stream, const AVFrame& picture) {
    std::span<const std::uint8_t> matrix = displayMatrixOf(stream);
    if (matrix.empty()) {
        const AVFrameSideData* data = av_frame_get_side_data(&picture, AV_FRAME_DATA_DISPLAYMATRIX);
        if (data) matrix = {data->data, data->size};
    }
    if (matrix.size() < 9 * sizeof(std::int32_t)) return {};
    return Orientation::fromDisplayMatrix(reinterpret_cast<const std::int32_t*>(matrix.data()));
}

/// A pixel's width over its height, before turning.
inline double pixelAspectOf(AVFormatContext* format, AVStream* stream, AVFrame* picture) {
    const AVRational ratio = av_guess_sample_aspect_ratio(format, stream, picture);
    const double aspect = ratio.num > 0 && ratio.den > 0 ? av_q2d(ratio) : 1;
    return aspect > 0.05 && aspect < 20 ? aspect : 1;  // anything else is damage, not a picture format
}

}  // namespace videoanalysis::media::ffmpeg
