#pragma once
// A straight line with an open "V" head. Created by the sketch view for the arrow tool.

#include "VideoAnalysis/Sketch/TwoPointTool.h"

namespace videoanalysis {

class ArrowTool : public TwoPointTool {
public:
    void draw() const override;
    std::unique_ptr<const SketchTool> snapshot() const override { return std::make_unique<ArrowTool>(*this); }
    JSON jsonValue(Size size, bool withPoints) const override;
};

}  // namespace videoanalysis
