#pragma once

// A tennis player serving repeatedly, seen from the side: the sample clip for a single movement.

#include "Host/SampleClips/Scene.h"

namespace videoanalysis::samples {

class TennisScene : public Scene {
public:
    void draw(cairo_t* cairo, double time) const override;
};

}  // namespace videoanalysis::samples
