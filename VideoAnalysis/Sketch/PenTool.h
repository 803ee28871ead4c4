#pragma once
// A freehand stroke: smoothed touches in one of three pen styles. Created by the sketch view for the pen tool and by the
// reader of stored drawings.

#include "VideoAnalysis/Sketch/SketchTool.h"

#include <vector>

namespace videoanalysis {

class PenTool : public SketchTool {
public:
    PenTool();

    PenType drawingPenType() const { return drawingPenType_; }
    void setDrawingPenType(PenType type) { change(drawingPenType_, type); }

    /// Appends a smoothed segment for a touch that moves from `previous1` to `current`: a quadratic curve between the
    /// midpoints of the two pairs of points, with control point `previous1`. Returns the region to repaint.
    Rect addSegment(Point previous2, Point previous1, Point current);
    /// The touches of the stroke, in order.
    std::vector<Point> touchPoints() const;
    /// Replaces the stroke by one built from these touches, segment by segment as if they were live.
    void setTouchPoints(const std::vector<Point>& points);
    /// Caches `points` as the stored form of the current stroke for a view of `size`.
    void setStoredPoints(JSON points, Size size) const;

    void setPath(graphics::Path path) override;
    void updatePath(const Rect& from, const Rect& to) override;
    /// No effect: freehand strokes grow only through `addSegment`.
    void setInitialPoint(Point) override {}
    void moveFromPoint(Point, Point) override {}
    void draw() const override;
    std::unique_ptr<const SketchTool> snapshot() const override { return std::make_unique<PenTool>(*this); }
    JSON jsonValue(Size size, bool withPoints) const override;

protected:
    /// Adds the stroke to the context's path, omitting segments outside the clip.
    void addPathTo(graphics::Context& context) const;
    /// The stored form of a freehand stroke with these members under "ios".
    JSON jsonValue(Size size, bool withPoints, JSON systemMembers) const;

private:
    PenType drawingPenType_ = PenType::normal;
    /// False if a path that is not a sequence of segments has been set.
    bool isMadeOfSegments_ = true;
    /// Bounding boxes of runs of segments, in order, to find those near a region quickly. Filled on demand.
    mutable std::vector<Rect> blocks_;
    /// The stored points of the stroke as of `storedStamp_`. Cached, and shared with every stack that contains them, because
    /// the stack is written after each new drawing.
    mutable JSON storedPoints_;
    mutable Size storedSize_;
    mutable std::uint64_t storedStamp_ = 0;
};

}  // namespace videoanalysis
