#pragma once

// Reads which frame of a made clip a picture shows. Tests call it on decoded frames and on grabbed screens.

#include <cstddef>
#include <cstdint>
#include <optional>

namespace videoanalysis {

/// Where in a picture a frame of the clip is shown, in pixels from the top left; edges may lie between pixels.
struct FrameRectangle {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
};

/// The number of the frame that fills the picture of `width` x `height` pixels, four bytes each in the order blue,
/// green, red, anything; a row begins `stride` bytes after the one above. The picture may have any scale from about 150
/// pixels of width on, and need not keep its shape. Nothing if the picture shows no frame of a made clip, or two
/// blended ones.
std::optional<int> readFrameNumber(const std::uint8_t* bgra, int width, int height, std::ptrdiff_t stride);

/// The same where the frame fills only `frame` of the picture. Nothing if its top edge is not all inside the picture.
std::optional<int> readFrameNumber(const std::uint8_t* bgra, int width, int height, std::ptrdiff_t stride,
                                   const FrameRectangle& frame);

}  // namespace videoanalysis
