#pragma once
// Draws the graphics seam with Cairo into bitmaps in memory. A platform that has no drawing library of its own installs it.

#include "VideoAnalysis/Platform/Graphics.h"

namespace videoanalysis::graphics {

/// Holds nothing; contexts may be made and used on any thread, each on one thread at a time. Coordinates beyond a million
/// pixels are moved to that limit, and what is not a number counts as such.
class CairoEngine : public Engine {
public:
    std::unique_ptr<Context> makeContext(Bitmap& bitmap) override;
};

}  // namespace videoanalysis::graphics
