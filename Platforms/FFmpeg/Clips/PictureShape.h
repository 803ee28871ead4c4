#pragma once
// Display orientation and pixel aspect ratio of a clip, from the container or else the frame. Used wherever pictures are shown,
// scaled or cropped.

#include "Platforms/FFmpeg/Clips/PictureConverter.h"
#include "Platforms/FFmpeg/Compatibility.h"

#include <cstdint>
#include <span>

namespace videoanalysis::media::ffmpeg {

/// The container's display matrix takes precedence over the frame's.
inline Orientation orientationOf(const AVStream& stream, const AVFrame& picture) {
    std::span<const std::uint8_t> matrix = displayMatrixOf(stream);
    if (matrix.empty()) {
        const AVFrameSideData* data = av_frame_get_side_data(&picture, AV_FRAME_DATA_DISPLAYMATRIX);
        if (data) matrix = {data->data, data->size};
    }
    if (matrix.size() < 9 * sizeof(std::int32_t)) return {};
    return Orientation::fromDisplayMatrix(reinterpret_cast<const std::int32_t*>(matrix.data()));
}

/// The ratio of a pixel's width to its height, before the orientation is applied. 1 for an implausible ratio.
inline double pixelAspectOf(AVFormatContext* format, AVStream* stream, AVFrame* picture) {
    const AVRational ratio = av_guess_sample_aspect_ratio(format, stream, picture);
    const double aspect = ratio.num > 0 && ratio.den > 0 ? av_q2d(ratio) : 1;
    return aspect > 0.05 && aspect < 20 ? aspect : 1;  // anything else is damage, not a picture format
}

}  // namespace videoanalysis::media::ffmpeg
