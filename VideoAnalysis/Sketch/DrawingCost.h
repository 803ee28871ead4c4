#pragma once
// Estimates how long drawings take, so that the sketch view can move the expensive ones off the main thread.

#include "VideoAnalysis/Platform/Geometry.h"

namespace videoanalysis {

class SketchTool;

/// Estimated milliseconds for drawing `tool` into a bitmap of `size` points at `scale` pixels per point on the reference
/// machine; biased high. Main thread only; takes a few nanoseconds per touch.
double drawingCost(const SketchTool& tool, Size size, double scale);

}  // namespace videoanalysis
