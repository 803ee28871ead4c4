#pragma once
// A freehand stroke that makes holes in the drawings under it. Made by the sketch view for the eraser; colour, alpha and
// pen style play no part.

#include "VideoAnalysis/Sketch/PenTool.h"

namespace videoanalysis {

class EraserTool : public PenTool {
public:
    void draw() const override;
    std::unique_ptr<const SketchTool> snapshot() const override { return std::make_unique<EraserTool>(*this); }
    /// A "pen" that is marked as an eraser under "ios".
    JSON jsonValue(Size size, bool withPoints) const override;
};

}  // namespace videoanalysis
