#pragma once
// What the line, arrow, rectangle and ellipse tools share: a drawing that is stretched from the first touch to the last.
// Used through those four only.

#include "VideoAnalysis/Sketch/SketchTool.h"

namespace videoanalysis {

class TwoPointTool : public SketchTool {
public:
    Point firstPoint() const { return firstPoint_; }
    void setFirstPoint(Point point) { change(firstPoint_, point); }
    /// (-100, -100) until the drawing has been dragged.
    Point lastPoint() const { return lastPoint_; }
    void setLastPoint(Point point) { change(lastPoint_, point); }

    void updatePath(const Rect& from, const Rect& to) override;
    void setInitialPoint(Point point) override { setFirstPoint(point); }
    void moveFromPoint(Point, Point to) override { setLastPoint(to); }

protected:
    /// False while either coordinate of the last point is negative: then there is nothing to draw.
    bool hasLastPoint() const { return lastPoint_.x >= 0 && lastPoint_.y >= 0; }
    /// From the first point to the last; its sizes are negative when it was dragged up or to the left.
    Rect rect() const { return {firstPoint_, {lastPoint_.x - firstPoint_.x, lastPoint_.y - firstPoint_.y}}; }
    /// A drawing of this type and configuration, to which the points are added.
    JSON storedForm(const char* type, JSON configuration, Size size, bool withPoints) const;

private:
    Point firstPoint_;
    Point lastPoint_{-100, -100};
};

}  // namespace videoanalysis
