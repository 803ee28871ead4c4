#pragma once
// Blurs a coverage mask for the glow of a stroke. Used by the Cairo context only.

#include <cstddef>
#include <cstdint>

namespace videoanalysis::graphics {

/// How far, in whole pixels, the blur of a single pixel reaches.
int gaussianBlurReach(double sigma);

/// Replaces `width` x `height` bytes of coverage, rows `stride` bytes apart, by their blur with a Gaussian of standard
/// deviation `sigma` (pixels, 0 or more). Outside counts as empty; the mask should leave `gaussianBlurReach` of room.
void gaussianBlur(std::uint8_t* mask, int width, int height, std::ptrdiff_t stride, double sigma);

}  // namespace videoanalysis::graphics
