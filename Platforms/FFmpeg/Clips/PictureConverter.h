#pragma once
// Converts a decoded picture to an upright BGRA bitmap: scaled first, then converted with the clip's colour matrix and range.
// `DecodedFrame` and the image generator call it, on any thread.

#include "VideoAnalysis/Platform/Image.h"

#include <cstdint>

struct AVFrame;

namespace videoanalysis::media::ffmpeg {

/// Makes a stored picture upright: clockwise quarter turns first, then mirroring left to right.
struct Orientation {
    int quarterTurns = 0;  ///< 0...3
    bool isMirrored = false;

    /// From a container's 3 x 3 display matrix (nine 16.16 numbers), to the nearest quarter turn; null is upright.
    static Orientation fromDisplayMatrix(const std::int32_t* matrix);
    bool swapsSides() const { return (quarterTurns & 1) != 0; }

    friend bool operator==(const Orientation&, const Orientation&) = default;
};

/// `width` x `height` pixels, positive, after turning. Always gives a bitmap: black for a pixel format that cannot be
/// converted.
Bitmap convertPicture(const AVFrame& picture, Orientation orientation, int width, int height);

}  // namespace videoanalysis::media::ffmpeg
