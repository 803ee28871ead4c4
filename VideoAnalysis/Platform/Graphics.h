#pragma once
// The drawing seam: a path value, a context to draw into and an engine that makes bitmap contexts. The sketch tools and
// the sketch view draw through it; a platform supplies one engine.

#include "VideoAnalysis/Platform/Color.h"
#include "VideoAnalysis/Platform/Geometry.h"
#include "VideoAnalysis/Platform/Image.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace videoanalysis::graphics {

/// A path of moves, lines and quadratic curves. A value; appending is amortised constant time.
class Path {
public:
    enum class Element : unsigned char { move, line, quadCurve };

    void move(Point to);
    /// Without a current point the line starts where it ends.
    void addLine(Point to);
    void addQuadCurve(Point control, Point to);
    /// Makes room for what is about to be appended.
    void reserve(std::size_t elements, std::size_t points) {
        elements_.reserve(elements);
        points_.reserve(points);
    }
    /// Appends the elements of `other` unchanged.
    void append(const Path& other);

    bool isEmpty() const { return elements_.empty(); }
    /// The box of all points, control points included; the zero rectangle for an empty path.
    Rect boundingBox() const;
    /// Every point replaced by what `transform` makes of it.
    template <class Transform>
    Path mapped(const Transform& transform) const {
        Path result = *this;
        for (Point& point : result.points_) point = transform(point);
        return result;
    }
    /// Every coordinate multiplied by (sx, sy).
    Path scaled(double sx, double sy) const {
        return mapped([&](Point point) { return Point{point.x * sx, point.y * sy}; });
    }

    /// The elements in order; a move and a line take one point of `points()`, a curve two (control, end).
    const std::vector<Element>& elements() const { return elements_; }
    const std::vector<Point>& points() const { return points_; }

    friend bool operator==(const Path&, const Path&) = default;

private:
    std::vector<Element> elements_;
    std::vector<Point> points_;
};

enum class LineCap { butt, round, square };
enum class BlendMode { normal, clear, screen };

/// Where drawing goes. State (colours, width, cap, alpha, blend mode, shadow, antialiasing, clip) is saved and restored
/// together; the current path is not part of it and is consumed by stroke and fill. Defaults: black, width 1, butt cap,
/// alpha 1, normal blending, no shadow, antialiasing on. Points are view points, y downwards.
class Context {
public:
    virtual ~Context() = default;

    virtual void saveState() = 0;
    virtual void restoreState() = 0;

    virtual void setStrokeColor(const Color& color) = 0;
    virtual void setFillColor(const Color& color) = 0;
    virtual void setLineWidth(double width) = 0;
    virtual void setLineCap(LineCap cap) = 0;
    /// Multiplies every following stroke, fill and image, 0...1; applied once per call, also where a path crosses itself.
    virtual void setAlpha(double alpha) = 0;
    virtual void setBlendMode(BlendMode mode) = 0;
    virtual void setShouldAntialias(bool antialias) = 0;
    /// A blurred copy of what is drawn, under it. `blur` in points (twice the standard deviation of the Gaussian); 0 with
    /// a clear colour switches it off.
    virtual void setShadow(Size offset, double blur, const Color& color) = 0;

    virtual void move(Point to) = 0;
    virtual void addLine(Point to) = 0;
    virtual void addPath(const Path& path) = 0;
    virtual void strokePath() = 0;

    virtual void fillRect(const Rect& rect) = 0;
    virtual void strokeRect(const Rect& rect) = 0;
    virtual void fillEllipse(const Rect& rect) = 0;
    virtual void strokeEllipse(const Rect& rect) = 0;
    /// Makes every pixel that `rect` touches transparent, whatever the blend mode.
    virtual void clearRect(const Rect& rect) = 0;
    /// Restricts drawing to the pixels that `rect` touches (of those of the clip so far) until the state is restored.
    virtual void clipToRect(const Rect& rect) = 0;
    /// Outside of it nothing can show. A context that does not know gives a rectangle that holds everything.
    virtual Rect clipBoundingBox() const { return {-1e9, -1e9, 2e9, 2e9}; }

    virtual void drawImage(const Image& image, const Rect& rect) = 0;
    /// Makes sure that everything drawn so far has reached the pixels.
    virtual void flush() = 0;
};

/// The context that tools draw into at the moment, on the calling thread; null when there is none.
Context* currentContext();

/// Makes a context the current one of the thread for the life of the scope; scopes nest.
class CurrentContextScope {
public:
    explicit CurrentContextScope(Context& context);
    ~CurrentContextScope();
    CurrentContextScope(const CurrentContextScope&) = delete;
    CurrentContextScope& operator=(const CurrentContextScope&) = delete;

private:
    Context* previous_;
};

/// Makes contexts. One per platform; any thread, each context on one thread at a time.
class Engine {
public:
    virtual ~Engine() = default;
    /// A context that draws into `bitmap` (kept by the caller for as long as the context lives), one point being
    /// `bitmap.scale` pixels. What the bitmap holds already stays and is drawn over.
    virtual std::unique_ptr<Context> makeContext(Bitmap& bitmap) = 0;
};

/// Draws off-screen into a new transparent bitmap, through the platform's engine.
class ImageRenderer {
public:
    /// `size` in points; `scale` pixels per point, 0 for the main screen's scale. The bitmap is rounded up to whole pixels
    /// and limited to 16,384 pixels a side.
    explicit ImageRenderer(Size size, double scale = 0);

    /// Makes a fresh bitmap, makes its context current, runs `draw(context)` and returns the result. An empty size gives
    /// an empty image and does not call `draw`.
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

    /// A transparent bitmap to draw into; null for an empty size.
    std::shared_ptr<Bitmap> makeBitmap() const;

private:
    static std::unique_ptr<Context> makeContext(Bitmap& bitmap);

    Size size_;
    double scale_;
};

}  // namespace videoanalysis::graphics
