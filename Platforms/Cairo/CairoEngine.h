#pragma once
// Implements the drawing seam with Cairo, into bitmaps in memory. For platforms without a drawing library.

#include "VideoAnalysis/Platform/Graphics.h"

namespace videoanalysis::graphics {

/// Stateless. Contexts may be created and used on any thread, each on one thread at a time. Coordinates are clamped to a
/// million pixels; NaN counts as the lower limit.
class CairoEngine : public Engine {
public:
    std::unique_ptr<Context> makeContext(Bitmap& bitmap) override;
};

}  // namespace videoanalysis::graphics
