#pragma once
// A rectangle, outlined or filled. Created by the sketch view for the two rectangle tools.

#include "VideoAnalysis/Sketch/TwoPointTool.h"

namespace videoanalysis {

class RectTool : public TwoPointTool {
public:
    explicit RectTool(bool isFill = false);

    bool isFill() const { return isFill_; }
    void setFill(bool fill) { change(isFill_, fill); }

    void draw() const override;
    std::unique_ptr<const SketchTool> snapshot() const override { return std::make_unique<RectTool>(*this); }
    JSON jsonValue(Size size, bool withPoints) const override;

private:
    bool isFill_;
};

}  // namespace videoanalysis
