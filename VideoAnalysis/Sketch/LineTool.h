#pragma once
// A straight line with square caps. Created by the sketch view for the line tool.

#include "VideoAnalysis/Sketch/TwoPointTool.h"

namespace videoanalysis {

class LineTool : public TwoPointTool {
public:
    void draw() const override;
    std::unique_ptr<const SketchTool> snapshot() const override { return std::make_unique<LineTool>(*this); }
    JSON jsonValue(Size size, bool withPoints) const override;
};

}  // namespace videoanalysis
