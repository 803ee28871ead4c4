#pragma once
// The transparent drawing surface over a player. Turns touches into drawings, keeps the finished ones in one bitmap and shows
// those whose time has come. The cell's gestures feed it; the player's controller is its delegate.

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

/// Whether the background image and the bitmap of finished drawings are stretched to the bounds or drawn unscaled at (0, 0).
enum class ImageRenderingMode : int { scale = 0, original = 1 };

/// Main thread only. Lengths in points. The platform keeps a transparent layer for the view; for a region that needs display
/// it clears that region and calls `draw`.
class SketchView : public ui::View {
public:
    SketchView() : SketchView(Rect{}) {}
    explicit SketchView(const Rect& frame);
    /// Cancels a background rebuild.
    ~SketchView() override;

    /// Reserved for a stamp tool; currently unused.
    Image stampImage;
    /// Settings of new tools.
    double lineAlpha = 1;
    double lineWidth = 4;
    Color lineColor = Color::black();
    /// The tool type of the next touch sequence.
    SketchToolType drawTool = SketchToolType::pen;
    PenType drawingPenType = PenType::normal;
    std::weak_ptr<SketchViewDelegate> sketchViewDelegate;
    /// The tool of the touch sequence in progress; also in `pathArray`.
    std::shared_ptr<SketchTool> currentTool;
    ImageRenderingMode drawMode = ImageRenderingMode::scale;
    /// Drawn tools, oldest first: the undo list. Call `updateCacheImage(true)` after changing it.
    std::vector<std::shared_ptr<SketchTool>> pathArray;
    /// Undone tools, oldest first: the redo list. Not cleared by new drawings.
    std::vector<std::shared_ptr<SketchTool>> bufferArray;
    /// The latest touch and the two before it.
    std::optional<Point> currentPoint;
    std::optional<Point> previousPoint1;
    std::optional<Point> previousPoint2;
    /// Drawn below the drawings.
    Image backgroundImage;
    /// The latest non-empty bounds; the geometry of all tools refers to them.
    std::optional<Rect> lastKnownBounds;

    /// All finished, visible drawings in one bitmap at the screen's scale; empty while the bounds are. During a background
    /// rebuild, the previous bitmap.
    Image image() const { return Image(std::shared_ptr<const Bitmap>(bitmap_)); }
    /// Whether a background rebuild is running.
    bool isRebuilding() const { return running_ != nullptr; }

    /// A touch sequence; `beginDrawing` ends a sequence still in progress. `from` is the touch before `to`. The tool is
    /// the one selected by `drawTool` when the sequence begins.
    void beginDrawing(Point point);
    void continueDrawing(Point from, Point to);
    void endDrawing();
    /// Discards the tool of the touch sequence in progress.
    void cancelDrawing();

    /// Bitmap pixels per screen pixel: 1, or more if the view is shown enlarged.
    double contentScale() const { return contentScale_; }
    void setContentScale(double scale);

    /// Moves the latest visible drawing, and all with the same id, to the other list. No effect if there is none.
    void undo();
    void redo();
    /// Whether there is a drawing to undo or redo at the current time.
    bool canUndo() const;
    bool canRedo() const;
    bool canUndoAll() const { return !pathArray.empty(); }
    bool canRedoAll() const { return !bufferArray.empty(); }
    /// Discards the tool in progress, all drawings and all undone ones. Cannot be undone.
    void clear();
    /// Sets the background image and clears the drawings.
    void loadImage(const Image& image, ImageRenderingMode mode);

    /// Updates the bitmap. With `redraw` it shows the background and the visible drawings; without, the tool in progress is
    /// added to its current content. Otherwise `draw` shows the tool in progress, so that its alpha is applied once.
    /// Returns whether the bitmap has changed; if so the view needs display. Cheap enough for every frame: an unchanged
    /// bitmap is kept, and additional drawings on top are drawn incrementally. Drawings that would block the main thread
    /// are drawn in the background, and the view requests display when they are done; until then the old bitmap is shown
    /// with later strokes on top.
    bool updateCacheImage(bool redraw);
    /// Draws the bitmap, the drawings not yet in it and the tool in progress into the current graphics context, clipped to
    /// `rect`.
    void draw(const Rect& rect) override;

    /// Restores the initial state: no drawings, no background, default settings. Keeps bounds, delegate and content scale.
    void reset();

    /// The stored form: both lists with their points, the selected tool, width, colour and alpha. A drawing in progress is
    /// stored as if it ended now.
    JSON stackJSON() const;
    /// `stack`, readable or not, with this view's drawings appended to its own.
    JSON stackJSONOnTopOf(const JSON& stack) const;
    /// Replaces both lists and the settings by stored ones, for the current bounds. Unreadable parts are skipped and logged,
    /// one line each.
    void loadStack(const JSON& stack);
    /// Like `loadStack`, but inserts the stored drawings below the existing ones; the touch sequence in progress continues.
    void loadStackBelow(const JSON& stack);

protected:
    void boundsDidChange(const Rect& old) override;

private:
    using Tools = std::vector<std::shared_ptr<SketchTool>>;
    using Position = Tools::const_iterator;
    /// Which tools are visible at the current time.
    struct Filter;
    struct Selection;
    /// What the bitmap depends on, apart from the drawings.
    struct Ground {
        Size size;
        double scale = 0;
        Image background;
        ImageRenderingMode mode = ImageRenderingMode::scale;
        friend bool operator==(const Ground&, const Ground&) = default;
    };

    /// A background rebuild.
    struct Rebuild;

    Filter filter() const;
    /// The time for a drawing that ends now.
    double moment() const;
    JSON storedList(const Tools& tools) const;
    std::shared_ptr<SketchTool> makeTool(SketchToolType type) const;
    void move(Tools& from, Tools& to);
    /// The first shown drawing that a bitmap of the drawings `stamps` lacks, or the end; empty if that bitmap cannot be
    /// extended because its drawings are not the first shown ones in their current state.
    std::optional<Position> firstMissing(const std::vector<std::uint64_t>& stamps, const Selection& isShown) const;
    /// Updates `overlay_` with the drawings from `next` on; returns whether it has changed.
    bool updateOverlay(Position next, const Selection& isShown, const Ground& ground);
    bool rebuild(const SketchTool* inProgress, const SketchTool* justFinished);
    void drawGround(const Ground& ground);
    template <class Draw>
    void drawIntoBitmap(Draw&& draw);
    Rect place(const Image& image) const;
    /// Draws the shown drawings from `first` on in the background, on top of the current bitmap if `isIncremental`.
    void startRebuild(const Ground& ground, Position first, bool isIncremental, const Selection& isShown);
    void cancelRebuild();
    void finishRebuild();

    double contentScale_ = 1;
    std::shared_ptr<Bitmap> bitmap_;
    /// False if the bitmap contains more than `drawn_`: the tool in progress was added.
    bool isBitmapKnown_ = false;
    Ground ground_;
    /// The stamps of the drawings in the bitmap, in order.
    std::vector<std::uint64_t> drawn_;
    /// True while a background rebuild may be reading the bitmap.
    bool isBitmapShared_ = false;
    std::shared_ptr<Rebuild> running_;
    /// Drawn over the bitmap until the running rebuild is done: strokes finished since it started, and further drawings
    /// within the main thread's budget.
    Tools overlay_;
    std::unique_ptr<dispatch::BackgroundQueue> background_;
};

}  // namespace videoanalysis
