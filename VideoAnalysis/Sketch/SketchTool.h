#pragma once
// One drawing on a player, finished or in progress. The sketch view makes one per touch sequence, feeds it the touches, asks
// it to draw itself and keeps it in its lists; the stored form of a drawing is written here too.

#include "VideoAnalysis/JSON/JSON.h"
#include "VideoAnalysis/Platform/Color.h"
#include "VideoAnalysis/Platform/Geometry.h"
#include "VideoAnalysis/Platform/Graphics.h"
#include "VideoAnalysis/Sketch/SketchToolType.h"

#include <cstdint>
#include <memory>
#include <string>

namespace videoanalysis {

/// What the numbers of the stored form may be. Tools keep within it, so that whatever is drawn can be stored and read again;
/// the reader takes nothing else.
struct StoredRange {
    double low;
    double high;

    static const StoredRange widths;
    static const StoredRange alphas;
    /// Percentages of the view size.
    static const StoredRange coordinates;
    static const StoredRange times;
};
inline constexpr StoredRange StoredRange::widths{0, 10'000};
inline constexpr StoredRange StoredRange::alphas{0, 1};
inline constexpr StoredRange StoredRange::coordinates{-10'000, 10'000};
inline constexpr StoredRange StoredRange::times{-1e15, 1e15};

/// The number of the range that is nearest to `value`; for what is not a number, that nearest to 0.
double storableNumber(double value, StoredRange range);

/// Main thread. Points are view points; times are seconds of video time.
class SketchTool {
public:
    /// A new tool with its initial values: a `RectTool` or `EllipseTool` knows whether it is filled, nothing else is set.
    static std::shared_ptr<SketchTool> make(SketchToolType type);

    virtual ~SketchTool() = default;
    SketchTool& operator=(const SketchTool&) = delete;

    /// A UUID in upper case, unless it was read from a stored drawing.
    const std::string& id() const { return id_; }
    void setId(std::string id) { id_ = std::move(id); }
    /// Limited to `StoredRange::widths`.
    double lineWidth() const { return lineWidth_; }
    void setLineWidth(double width) { change(lineWidth_, storableNumber(width, StoredRange::widths)); }
    const Color& lineColor() const { return lineColor_; }
    void setLineColor(const Color& color) { change(lineColor_, color); }
    /// Limited to 0...1; multiplies the whole drawing once.
    double lineAlpha() const { return lineAlpha_; }
    void setLineAlpha(double alpha) { change(lineAlpha_, storableNumber(alpha, StoredRange::alphas)); }
    /// The freehand stroke; empty for all other tools.
    const graphics::Path& path() const { return path_; }
    virtual void setPath(graphics::Path path) {
        path_ = std::move(path);
        didChange();
    }
    /// When the drawing was finished; 0 until then.
    double time() const { return time_; }
    /// Limited to `StoredRange::times`. What is not a number becomes the last of them: a moment that no clip reaches.
    void setTime(double time);

    /// Rescales the geometry, so that it keeps its place when a view's bounds change. Nothing happens when either is empty.
    virtual void updatePath(const Rect& from, const Rect& to) = 0;
    virtual void setInitialPoint(Point point) = 0;
    virtual void moveFromPoint(Point from, Point to) = 0;
    /// Draws into the current graphics context, if there is one, and leaves the context's state as it was.
    virtual void draw() const = 0;
    /// Called for every drawn tool before a full redraw: flushes the current graphics context.
    void remove() const;
    /// The stored form: "type" and "configuration". Coordinates, written if `withPoints` is set, are percentages of
    /// `size` (points, not empty). Always serialisable.
    virtual JSON jsonValue(Size size, bool withPoints) const = 0;

    /// A copy with the same id and stamp, to be drawn on another thread while this one changes.
    virtual std::unique_ptr<const SketchTool> snapshot() const = 0;

    /// A number that no other drawing has, and this one only until something about its picture changes: equal stamps mean
    /// equal pictures.
    std::uint64_t stamp() const { return stamp_; }

protected:
    SketchTool();
    SketchTool(const SketchTool&) = default;

    void didChange();
    template <class T>
    void change(T& field, const T& value) {
        if (field == value) return;
        field = value;
        didChange();
    }
    graphics::Path& mutablePath() { return path_; }

    /// The members that every tool has: width, colour, alpha, time and id.
    JSON commonConfiguration(const char* defaultColor) const;

private:
    std::string id_;
    double lineWidth_ = 1;
    Color lineColor_;
    double lineAlpha_ = 1;
    graphics::Path path_;
    double time_ = 0;
    std::uint64_t stamp_ = 0;
};

/// "#" and six upper-case hexadecimal digits, alpha dropped, components rounded to the nearest of 0...255; `defaultColor`
/// when a component is not a number.
std::string hexadecimalColor(const Color& color, const char* defaultColor);

}  // namespace videoanalysis
