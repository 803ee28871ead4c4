#pragma once
// Base class of the line, arrow, rectangle and ellipse tools: a drawing that extends from the first touch to the last.

#include "VideoAnalysis/Sketch/SketchTool.h"

namespace videoanalysis {

class TwoPointTool : public SketchTool {
public:
    Point firstPoint() const { return firstPoint_; }
    void setFirstPoint(Point point) { change(firstPoint_, point); }
    /// (-100, -100) until the touch has moved.
    Point lastPoint() const { return lastPoint_; }
    void setLastPoint(Point point) { change(lastPoint_, point); }

    void updatePath(const Rect& from, const Rect& to) override;
    void setInitialPoint(Point point) override { setFirstPoint(point); }
    void moveFromPoint(Point, Point to) override { setLastPoint(to); }

protected:
    /// False while either coordinate of the last point is negative; nothing is drawn then.
    bool hasLastPoint() const { return lastPoint_.x >= 0 && lastPoint_.y >= 0; }
    /// From the first point to the last; width or height is negative if dragged left or up.
    Rect rect() const { return {firstPoint_, {lastPoint_.x - firstPoint_.x, lastPoint_.y - firstPoint_.y}}; }
    /// The stored form with this type and configuration, plus the points.
    JSON storedForm(const char* type, JSON configuration, Size size, bool withPoints) const;

private:
    Point firstPoint_;
    Point lastPoint_{-100, -100};
};

}  // namespace videoanalysis
