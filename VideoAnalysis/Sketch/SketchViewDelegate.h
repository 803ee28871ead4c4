#pragma once
// Callbacks from a sketch view to its owner: the video's time, the begin and end of strokes, and size changes. Implemented
// by the player's controller.

namespace videoanalysis {

class SketchTool;
class SketchView;

/// Main thread only.
class SketchViewDelegate {
public:
    virtual ~SketchViewDelegate() = default;
    /// The player's position in seconds.
    virtual double currentTime() const = 0;
    /// Whether a drawing is hidden before its time.
    virtual bool isTimeBasedDrawingsEnabled() const = 0;
    virtual void drawViewWillBeginDraw(SketchView&, SketchTool&) {}
    virtual void drawViewDidEndDraw(SketchView&, SketchTool&) {}
    /// The view's size has changed, and its drawings have been rescaled.
    virtual void drawViewDidChangeSize(SketchView&) {}
};

}  // namespace videoanalysis
