#pragma once
// What a sketch view asks and tells its owner: the video's time, strokes that begin and end, and a change of its size. The
// player's controller is one.

namespace videoanalysis {

class SketchTool;
class SketchView;

/// Called on the main thread.
class SketchViewDelegate {
public:
    virtual ~SketchViewDelegate() = default;
    /// The player's position, in seconds.
    virtual double currentTime() const = 0;
    /// True when a drawing is shown only from its own time on.
    virtual bool isTimeBasedDrawingsEnabled() const = 0;
    virtual void drawViewWillBeginDraw(SketchView&, SketchTool&) {}
    virtual void drawViewDidEndDraw(SketchView&, SketchTool&) {}
    /// The view's size has changed and its drawings have been rescaled.
    virtual void drawViewDidChangeSize(SketchView&) {}
};

}  // namespace videoanalysis
