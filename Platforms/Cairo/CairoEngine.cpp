#include "Platforms/Cairo/CairoEngine.h"

#include "Platforms/Cairo/CairoContext.h"

namespace videoanalysis::graphics {

std::unique_ptr<Context> CairoEngine::makeContext(Bitmap& bitmap) {
    return std::make_unique<cairo::CairoContext>(bitmap);
}

}  // namespace videoanalysis::graphics
