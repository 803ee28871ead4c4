#pragma once
// A freehand stroke: smoothed touches, drawn with one of three pen styles. Made by the sketch view for the pen, and by the
// reader of stored drawings.

#include "VideoAnalysis/Sketch/SketchTool.h"

#include <vector>

namespace videoanalysis {

class PenTool : public SketchTool {
public:
    PenTool();

    PenType drawingPenType() const { return drawingPenType_; }
    void setDrawingPenType(PenType type) { change(drawingPenType_, type); }

    /// Adds one smoothed segment for a touch that moves from `previous1` to `current`: a quadratic curve between the
    /// middles of the two pairs of points, with `previous1` as its control point. Returns the region to repaint.
    Rect addSegment(Point previous2, Point previous1, Point current);
    /// The touches of which the stroke is made, in order.
    std::vector<Point> touchPoints() const;
    /// Replaces the stroke by one through these touches, built segment by segment as if they had just been made.
    void setTouchPoints(const std::vector<Point>& points);
    /// Tells that `points` is the stored form, for a view of `size`, of the stroke as it is now.
    void setStoredPoints(JSON points, Size size) const;

    void setPath(graphics::Path path) override;
    void updatePath(const Rect& from, const Rect& to) override;
    /// Freehand strokes grow by `addSegment` only.
    void setInitialPoint(Point) override {}
    void moveFromPoint(Point, Point) override {}
    void draw() const override;
    std::unique_ptr<const SketchTool> snapshot() const override { return std::make_unique<PenTool>(*this); }
    JSON jsonValue(Size size, bool withPoints) const override;

protected:
    /// Adds the stroke to the context; when the context is clipped to a part of it, only the segments that can show there.
    void addPathTo(graphics::Context& context) const;
    /// The form of a freehand stroke with these members under "ios".
    JSON jsonValue(Size size, bool withPoints, JSON systemMembers) const;

private:
    PenType drawingPenType_ = PenType::normal;
    /// False when a path of another kind was set from outside.
    bool isMadeOfSegments_ = true;
    /// The boxes of runs of segments, from the first on, for finding those near a region quickly. Filled when needed.
    mutable std::vector<Rect> blocks_;
    /// The stored points of the stroke as it was at `storedStamp_`. Kept, and shared with every stored stack that holds them,
    /// because a stack is written with each new drawing.
    mutable JSON storedPoints_;
    mutable Size storedSize_;
    mutable std::uint64_t storedStamp_ = 0;
};

}  // namespace videoanalysis
