#pragma once
// The transparent drawing surface over a player: it turns touches into drawings, keeps the finished ones in one bitmap and
// shows those whose time has come. The cell's gestures feed it, the player's controller is its delegate.

#include "VideoAnalysis/JSON/JSON.h"
#include "VideoAnalysis/Platform/Graphics.h"
#include "VideoAnalysis/Platform/UI/View.h"
#include "VideoAnalysis/Sketch/SketchTool.h"
#include "VideoAnalysis/Sketch/SketchToolType.h"
#include "VideoAnalysis/Sketch/SketchViewDelegate.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace videoanalysis {

namespace dispatch {
class BackgroundQueue;
}

/// How the background image and the bitmap of finished drawings are drawn: stretched into the bounds, or at (0, 0) at their
/// own size.
enum class ImageRenderingMode : int { scale = 0, original = 1 };

/// Main thread. Lengths in points. Whoever shows the view keeps a transparent layer for it and, for a region that needs
/// display, clears it and calls `draw`.
class SketchView : public ui::View {
public:
    SketchView() : SketchView(Rect{}) {}
    explicit SketchView(const Rect& frame);
    /// Cancels a rebuild in the background.
    ~SketchView() override;

    /// Reserved for a stamp tool; drawing does not use it.
    Image stampImage;
    /// Given to each new tool.
    double lineAlpha = 1;
    double lineWidth = 4;
    Color lineColor = Color::black();
    /// Which tool the next touch makes.
    SketchToolType drawTool = SketchToolType::pen;
    PenType drawingPenType = PenType::normal;
    std::weak_ptr<SketchViewDelegate> sketchViewDelegate;
    /// The tool of the touch sequence in progress; it is in `pathArray` as well.
    std::shared_ptr<SketchTool> currentTool;
    ImageRenderingMode drawMode = ImageRenderingMode::scale;
    /// Drawn tools, oldest first: the undo list. Whoever changes it asks for `updateCacheImage(true)`.
    std::vector<std::shared_ptr<SketchTool>> pathArray;
    /// Undone tools, oldest first: the redo list. New drawings do not empty it.
    std::vector<std::shared_ptr<SketchTool>> bufferArray;
    /// The latest touch and the two before it.
    std::optional<Point> currentPoint;
    std::optional<Point> previousPoint1;
    std::optional<Point> previousPoint2;
    /// Lies under the drawings.
    Image backgroundImage;
    /// The bounds that the geometry of all tools refers to: the last ones that were not empty.
    std::optional<Rect> lastKnownBounds;

    /// All finished, visible drawings in one bitmap, at the screen's scale; empty while the bounds are. While a rebuild runs
    /// in the background it is the picture before.
    Image image() const { return Image(std::shared_ptr<const Bitmap>(bitmap_)); }
    /// Whether a rebuild is running in the background.
    bool isRebuilding() const { return running_ != nullptr; }

    /// A touch sequence; one that never ended is ended by the next `beginDrawing`. `from` is the touch before `to`. The
    /// tool follows `drawTool` at the beginning of the sequence.
    void beginDrawing(Point point);
    void continueDrawing(Point from, Point to);
    void endDrawing();
    /// Takes the tool of the touch sequence in progress back, as if there had been none.
    void cancelDrawing();

    /// How much finer the bitmap is than the screen's pixels: 1, or more where the view is shown enlarged.
    double contentScale() const { return contentScale_; }
    void setContentScale(double scale);

    /// Takes the latest visible drawing (and all that share its id) from one list to the other; nothing when there is none.
    void undo();
    void redo();
    /// Whether there is a drawing to undo or redo at the current time, and whether there is one at all.
    bool canUndo() const;
    bool canRedo() const;
    bool canUndoAll() const { return !pathArray.empty(); }
    bool canRedoAll() const { return !bufferArray.empty(); }
    /// Drops the tool in progress, all drawings and all undone ones, for good.
    void clear();
    /// Begins anew on a background.
    void loadImage(const Image& image, ImageRenderingMode mode);

    /// Brings the bitmap up to date: with `redraw` it shows the background and the visible drawings, without it the tool in
    /// progress is added to what it shows already. The tool in progress is otherwise left to `draw`, so that its alpha
    /// counts once. Returns whether the picture has changed; if so the view needs display. May be called for every frame: a
    /// rebuild that would give the same picture is skipped, one that uncovers further drawings on top draws only those.
    /// Drawings that would hold up the main thread are drawn in the background; the view asks for display when they are
    /// done. Until then the old picture stays, with what a finger has drawn since on top.
    bool updateCacheImage(bool redraw);
    /// Draws the bitmap, the drawings that it does not hold yet and the tool in progress into the current graphics context,
    /// inside `rect`.
    void draw(const Rect& rect) override;

    /// Makes the view what it was when it was made: no drawings, no background, the first settings. Bounds, delegate and
    /// content scale stay.
    void reset();

    /// Everything that is stored: both lists with their points, the selected tool, width, colour and alpha. A drawing in
    /// progress is stored as if it ended now.
    JSON stackJSON() const;
    /// `stack` as it is, whether it can be read or not, with the drawings of this view added on top of its own.
    JSON stackJSONOnTopOf(const JSON& stack) const;
    /// Replaces both lists and the settings by stored ones, for the current bounds. What cannot be read is skipped and
    /// logged, one line for each place.
    void loadStack(const JSON& stack);
    /// The same, but what has been drawn and undone already stays, on top; the touch sequence in progress goes on.
    void loadStackBelow(const JSON& stack);

protected:
    void boundsDidChange(const Rect& old) override;

private:
    using Tools = std::vector<std::shared_ptr<SketchTool>>;
    /// Says which tools are visible at a moment.
    struct Filter;
    /// What the bitmap was drawn from, apart from the drawings.
    struct Ground {
        Size size;
        double scale = 0;
        Image background;
        ImageRenderingMode mode = ImageRenderingMode::scale;
        friend bool operator==(const Ground&, const Ground&) = default;
    };

    /// A rebuild in the background.
    struct Rebuild;

    Filter filter() const;
    /// The time of a drawing that ends now.
    double moment() const;
    JSON storedList(const Tools& tools) const;
    std::shared_ptr<SketchTool> makeTool(SketchToolType type) const;
    void move(Tools& from, Tools& to);
    bool rebuild(const SketchTool* inProgress, const SketchTool* onTop);
    void drawGround(const Ground& ground);
    template <class Draw>
    void drawIntoBitmap(Draw&& draw);
    Rect place(const Image& image) const;
    void startRebuild(std::shared_ptr<Rebuild> rebuild);
    void cancelRebuild();
    void finishRebuild();

    double contentScale_ = 1;
    std::shared_ptr<Bitmap> bitmap_;
    /// False when the bitmap shows more than a rebuild would.
    bool isBitmapKnown_ = false;
    Ground ground_;
    /// The stamps of the drawings in the bitmap, in order.
    std::vector<std::uint64_t> drawn_;
    /// True when a rebuild in the background may be reading the bitmap.
    bool isBitmapShared_ = false;
    std::shared_ptr<Rebuild> running_;
    /// Drawn over the bitmap until the running rebuild is done: what a finger has finished since, and further drawings as
    /// long as they cost little.
    Tools ahead_;
    std::unique_ptr<dispatch::BackgroundQueue> background_;
};

}  // namespace videoanalysis
