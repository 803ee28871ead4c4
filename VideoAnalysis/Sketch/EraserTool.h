#pragma once
// A freehand stroke that clears the drawings below it. Created by the sketch view for the eraser; ignores colour, alpha and
// pen style.

#include "VideoAnalysis/Sketch/PenTool.h"

namespace videoanalysis {

class EraserTool : public PenTool {
public:
    void draw() const override;
    std::unique_ptr<const SketchTool> snapshot() const override { return std::make_unique<EraserTool>(*this); }
    /// Stored as a "pen" with an eraser flag under "ios".
    JSON jsonValue(Size size, bool withPoints) const override;
};

}  // namespace videoanalysis
