#pragma once
// An ellipse, outlined or filled. Created by the sketch view for the two ellipse tools.

#include "VideoAnalysis/Sketch/TwoPointTool.h"

namespace videoanalysis {

class EllipseTool : public TwoPointTool {
public:
    explicit EllipseTool(bool isFill = false);

    bool isFill() const { return isFill_; }
    void setFill(bool fill) { change(isFill_, fill); }
    /// Points, clamped to `StoredRange::widths`. Stored with the drawing but not used when drawing.
    double eraserWidth() const { return eraserWidth_; }
    void setEraserWidth(double width) { eraserWidth_ = storableNumber(width, StoredRange::widths); }

    void draw() const override;
    std::unique_ptr<const SketchTool> snapshot() const override { return std::make_unique<EllipseTool>(*this); }
    JSON jsonValue(Size size, bool withPoints) const override;

private:
    bool isFill_;
    double eraserWidth_ = 0;
};

}  // namespace videoanalysis
