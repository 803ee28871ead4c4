#pragma once
// Turns a decoded picture into the upright BGRA bitmap that a screen shows: scaled first, then converted with the matrix
// and range that the clip names. `DecodedFrame` calls it, on any thread.

#include "VideoAnalysis/Platform/Image.h"

#include <cstdint>

struct AVFrame;

namespace videoanalysis::media::ffmpeg {

/// How a stored picture is turned to stand upright: by quarter turns clockwise first, then mirrored left to right.
struct Orientation {
    int quarterTurns = 0;  ///< 0...3
    bool isMirrored = false;

    /// Of the 3 x 3 matrix that containers give (nine 16.16 numbers), to the nearest quarter turn; null is upright.
    static Orientation fromDisplayMatrix(const std::int32_t* matrix);
    bool swapsSides() const { return (quarterTurns & 1) != 0; }

    friend bool operator==(const Orientation&, const Orientation&) = default;
};

/// `width` x `height` pixels, positive, after turning. A picture whose format cannot be converted gives a black bitmap.
Bitmap convertPicture(const AVFrame& picture, Orientation orientation, int width, int height);

}  // namespace videoanalysis::media::ffmpeg
