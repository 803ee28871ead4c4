#pragma once
// The drawing tools and the pen styles. Their numbers are part of the stored form. The analysis state holds the selected
// tool and a colour for each.

namespace videoanalysis {

enum class SketchToolType : int {
    pen = 0,
    eraser = 1,
    line = 2,
    arrow = 3,
    rectangleStroke = 4,
    rectangleFill = 5,
    ellipseStroke = 6,
    ellipseFill = 7,
};

enum class PenType : int {
    normal = 0,
    blur = 1,
    neon = 2,
};

}  // namespace videoanalysis
