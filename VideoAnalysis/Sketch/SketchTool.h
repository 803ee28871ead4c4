#pragma once
// One drawing on a player, finished or in progress. The sketch view creates one per touch sequence, passes it the touches,
// draws it and keeps it in its lists. Also writes the stored form of a drawing.

#include "VideoAnalysis/JSON/JSON.h"
#include "VideoAnalysis/Platform/Color.h"
#include "VideoAnalysis/Platform/Geometry.h"
#include "VideoAnalysis/Platform/Graphics.h"
#include "VideoAnalysis/Sketch/SketchToolType.h"

#include <cstdint>
#include <memory>
#include <string>

namespace videoanalysis {

/// Ranges of the numbers in the stored form. Tools clamp to them, so that every drawing can be stored and read again; the
/// reader rejects other values.
struct StoredRange {
    double low;
    double high;

    static const StoredRange widths;
    static const StoredRange alphas;
    /// Coordinates as percentages of the view size.
    static const StoredRange coordinates;
    static const StoredRange times;
};
inline constexpr StoredRange StoredRange::widths{0, 10'000};
inline constexpr StoredRange StoredRange::alphas{0, 1};
inline constexpr StoredRange StoredRange::coordinates{-10'000, 10'000};
inline constexpr StoredRange StoredRange::times{-1e15, 1e15};

/// `value` clamped to the range; for NaN, the number of the range nearest to 0.
double storableNumber(double value, StoredRange range);

/// Main thread only. Points are view points; times are seconds of video time.
class SketchTool {
public:
    /// A new tool with default values; only the fill of a `RectTool` or `EllipseTool` depends on the type.
    static std::shared_ptr<SketchTool> make(SketchToolType type);

    virtual ~SketchTool() = default;
    SketchTool& operator=(const SketchTool&) = delete;

    /// An upper-case UUID, unless it was read from a stored drawing.
    const std::string& id() const { return id_; }
    void setId(std::string id) { id_ = std::move(id); }
    /// Points, clamped to `StoredRange::widths`.
    double lineWidth() const { return lineWidth_; }
    void setLineWidth(double width) { change(lineWidth_, storableNumber(width, StoredRange::widths)); }
    const Color& lineColor() const { return lineColor_; }
    void setLineColor(const Color& color) { change(lineColor_, color); }
    /// Clamped to 0...1; applied once to the whole drawing.
    double lineAlpha() const { return lineAlpha_; }
    void setLineAlpha(double alpha) { change(lineAlpha_, storableNumber(alpha, StoredRange::alphas)); }
    /// The freehand stroke; empty for every other tool.
    const graphics::Path& path() const { return path_; }
    virtual void setPath(graphics::Path path) {
        path_ = std::move(path);
        didChange();
    }
    /// The time when the drawing was finished; 0 until then.
    double time() const { return time_; }
    /// Clamped to `StoredRange::times`. NaN becomes its max, which no clip reaches.
    void setTime(double time);

    /// Scales the geometry with the view's bounds. No effect if either rectangle is empty.
    virtual void updatePath(const Rect& from, const Rect& to) = 0;
    virtual void setInitialPoint(Point point) = 0;
    virtual void moveFromPoint(Point from, Point to) = 0;
    /// Draws into the current graphics context, if any, and restores its state.
    virtual void draw() const = 0;
    /// Called for every drawn tool before a full redraw. Flushes the current graphics context.
    void remove() const;
    /// The stored form: "type" and "configuration". Coordinates are written if `withPoints`, as percentages of `size`
    /// (points, not empty). Always serializable.
    virtual JSON jsonValue(Size size, bool withPoints) const = 0;

    /// A copy with the same id and stamp that another thread may draw while this one changes.
    virtual std::unique_ptr<const SketchTool> snapshot() const = 0;

    /// Unique per drawing and appearance: equal stamps mean equal pixels.
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

    /// The members common to all tools: width, colour, alpha, time and id.
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

/// "#" and six upper-case hexadecimal digits, without alpha, components rounded to 0...255; `defaultColor` if a component is
/// NaN.
std::string hexadecimalColor(const Color& color, const char* defaultColor);

}  // namespace videoanalysis
