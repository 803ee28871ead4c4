#pragma once
// Estimates how long drawings take, so that the sketch view can tell which ones would hold up the main thread.

#include "VideoAnalysis/Platform/Geometry.h"

namespace videoanalysis {

class SketchTool;

/// A rough number of milliseconds that drawing `tool` takes into a bitmap of `size` points at `scale` pixels per point, on the
/// machines that this is tuned on. Meant to be high rather than low. Main thread; costs a few nanoseconds for each touch.
double drawingCost(const SketchTool& tool, Size size, double scale);

}  // namespace videoanalysis
