#pragma once
// The drawing seam: a path value, a drawing context and an engine that creates bitmap contexts. Used by the sketch tools and
// the sketch view; a platform supplies one engine.

#include "VideoAnalysis/Platform/Color.h"
#include "VideoAnalysis/Platform/Geometry.h"
#include "VideoAnalysis/Platform/Image.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace videoanalysis::graphics {

/// A path of moves, lines and quadratic curves. A value; appending takes amortized constant time.
class Path {
public:
    enum class Element : unsigned char { move, line, quadCurve };

    void move(Point to);
    /// Without a current point, the line starts at `point`.
    void addLine(Point to);
    void addQuadCurve(Point control, Point to);
    /// Reserves capacity for further elements.
    void reserve(std::size_t elements, std::size_t points) {
        elements_.reserve(elements);
        points_.reserve(points);
    }
    /// Appends the elements of `other` unchanged.
    void append(const Path& other);

    bool isEmpty() const { return elements_.empty(); }
    /// The bounding box of all points including control points; the zero rectangle for an empty path.
    Rect boundingBox() const;
    /// The path with `transform` applied to every point.
    template <class Transform>
    Path mapped(const Transform& transform) const {
        Path result = *this;
        for (Point& point : result.points_) point = transform(point);
        return result;
    }
    /// The path scaled by (sx, sy).
    Path scaled(double sx, double sy) const {
        return mapped([&](Point point) { return Point{point.x * sx, point.y * sy}; });
    }

    /// The elements in order. A move or a line has one point in `points()`, a curve two (control, end).
    const std::vector<Element>& elements() const { return elements_; }
    const std::vector<Point>& points() const { return points_; }

    friend bool operator==(const Path&, const Path&) = default;

private:
    std::vector<Element> elements_;
    std::vector<Point> points_;
};

enum class LineCap { butt, round, square };
enum class BlendMode { normal, clear, screen };

/// A drawing target. Colours, width, cap, alpha, blend mode, shadow, antialiasing and clip are saved and restored together.
/// The current path is not part of that state; stroke and fill consume it. Defaults: black, width 1, butt cap, alpha 1,
/// normal blending, no shadow, antialiasing on. Points are view points, y downwards.
class Context {
public:
    virtual ~Context() = default;

    virtual void saveState() = 0;
    virtual void restoreState() = 0;

    virtual void setStrokeColor(const Color& color) = 0;
    virtual void setFillColor(const Color& color) = 0;
    virtual void setLineWidth(double width) = 0;
    virtual void setLineCap(LineCap cap) = 0;
    /// Alpha of every following stroke, fill and image, 0...1. Applied once per call, even where a path crosses itself.
    virtual void setAlpha(double alpha) = 0;
    virtual void setBlendMode(BlendMode mode) = 0;
    virtual void setShouldAntialias(bool antialias) = 0;
    /// Draws a blurred copy below the following drawing. `blur` in points, twice the standard deviation of the Gaussian; 0
    /// with a clear colour disables it.
    virtual void setShadow(Size offset, double blur, const Color& color) = 0;

    virtual void move(Point to) = 0;
    virtual void addLine(Point to) = 0;
    virtual void addPath(const Path& path) = 0;
    virtual void strokePath() = 0;

    virtual void fillRect(const Rect& rect) = 0;
    virtual void strokeRect(const Rect& rect) = 0;
    virtual void fillEllipse(const Rect& rect) = 0;
    virtual void strokeEllipse(const Rect& rect) = 0;
    /// Makes every pixel that `rect` touches transparent, regardless of the blend mode.
    virtual void clearRect(const Rect& rect) = 0;
    /// Intersects the clip with the pixels that `rect` touches, until the state is restored.
    virtual void clipToRect(const Rect& rect) = 0;
    /// A rectangle outside of which nothing is drawn; unbounded if the context does not know.
    virtual Rect clipBoundingBox() const { return {-1e9, -1e9, 2e9, 2e9}; }

    virtual void drawImage(const Image& image, const Rect& rect) = 0;
    /// Writes all pending drawing to the pixels.
    virtual void flush() = 0;
};

/// The calling thread's current context; null if there is none.
Context* currentContext();

/// Makes a context the thread's current one for its lifetime. Scopes nest.
class CurrentContextScope {
public:
    explicit CurrentContextScope(Context& context);
    ~CurrentContextScope();
    CurrentContextScope(const CurrentContextScope&) = delete;
    CurrentContextScope& operator=(const CurrentContextScope&) = delete;

private:
    Context* previous_;
};

/// Creates contexts. One per platform. Any thread; each context on one thread at a time.
class Engine {
public:
    virtual ~Engine() = default;
    /// A context that draws over the content of `bitmap`, with `bitmap.scale` pixels per point. `bitmap` must outlive it.
    virtual std::unique_ptr<Context> makeContext(Bitmap& bitmap) = 0;
};

/// Draws into a new transparent bitmap with the platform's engine.
class ImageRenderer {
public:
    /// `size` in points; `scale` in pixels per point, 0 for the main screen's scale. The bitmap is rounded up to whole pixels,
    /// at most 16,384 per side.
    explicit ImageRenderer(Size size, double scale = 0);

    /// Returns the result of `draw(context)`, with that context as the current one. An empty size returns an empty image
    /// without calling `draw`.
    template <class Draw>
    Image image(Draw&& draw) const {
        const std::shared_ptr<Bitmap> bitmap = makeBitmap();
        if (!bitmap) return {};
        {
            const std::unique_ptr<Context> context = makeContext(*bitmap);
            const CurrentContextScope scope(*context);
            draw(*context);
            context->flush();
        }
        return Image(std::shared_ptr<const Bitmap>(bitmap));
    }

    /// A transparent bitmap; null for an empty size.
    std::shared_ptr<Bitmap> makeBitmap() const;

private:
    static std::unique_ptr<Context> makeContext(Bitmap& bitmap);

    Size size_;
    double scale_;
};

}  // namespace videoanalysis::graphics
