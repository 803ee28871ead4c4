#pragma once

// A runner on a track, seen from the side by a camera that keeps pace: the sample clip for gait and stride.

#include "Host/SampleClips/Scene.h"

namespace videoanalysis::samples {

class RunnerScene : public Scene {
public:
    void draw(cairo_t* cairo, double time) const override;
};

}  // namespace videoanalysis::samples
