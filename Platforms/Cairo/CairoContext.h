#pragma once
// A graphics context that draws with Cairo. Created by `CairoEngine`.

#include "Platforms/Cairo/Glow.h"
#include "Platforms/Cairo/PixelBox.h"
#include "VideoAnalysis/Platform/Graphics.h"

#include <cairo.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace videoanalysis::graphics::cairo {

class PixelSet;

class CairoContext final : public Context {
public:
    /// Draws into `bitmap`, which outlives the context.
    explicit CairoContext(Bitmap& bitmap);
    ~CairoContext() override;

    void saveState() override;
    void restoreState() override;

    void setStrokeColor(const Color& color) override { state_.strokeColor = color; }
    void setFillColor(const Color& color) override { state_.fillColor = color; }
    void setLineWidth(double width) override { state_.lineWidth = width; }
    void setLineCap(LineCap cap) override { state_.lineCap = cap; }
    void setAlpha(double alpha) override { state_.alpha = alpha; }
    void setBlendMode(BlendMode mode) override { state_.blendMode = mode; }
    void setShouldAntialias(bool antialias) override { state_.antialiases = antialias; }
    void setShadow(Size offset, double blur, const Color& color) override;

    void move(Point to) override { path_.move(to); }
    void addLine(Point to) override { path_.addLine(to); }
    void addPath(const Path& path) override { path_.append(path); }
    void strokePath() override;

    void fillRect(const Rect& rect) override;
    void strokeRect(const Rect& rect) override;
    void fillEllipse(const Rect& rect) override;
    void strokeEllipse(const Rect& rect) override;
    void clearRect(const Rect& rect) override;
    void clipToRect(const Rect& rect) override;
    Rect clipBoundingBox() const override;

    void drawImage(const Image& image, const Rect& rect) override;
    void flush() override { cairo_surface_flush(surface_.get()); }

private:
    struct State {
        Color strokeColor;
        Color fillColor;
        double lineWidth = 1;
        LineCap lineCap = LineCap::butt;
        double alpha = 1;
        BlendMode blendMode = BlendMode::normal;
        bool antialiases = true;
        Size shadowOffset;
        double shadowBlur = 0;
        Color shadowColor = Color::clear();
        PixelBox clip;
    };
    struct Shadow {
        double sigma = 0;  ///< pixels
        int dx = 0;        ///< pixels
        int dy = 0;
        std::uint32_t pixel = 0;
    };
    /// A stroke with round caps and without antialiasing, in pixels.
    struct RoundInk {
        Path path;
        double radius = 0;  ///< half the line width
        PixelBox extents;   ///< holds the stroke
        PixelBox visible;   ///< the part of `extents` inside the clip
        std::uint32_t pixel = 0;
        bool replaces = false;  ///< nothing below shows through
    };
    template <auto destroy>
    struct Destroy {
        void operator()(auto* object) const { destroy(object); }
    };
    using Surface = std::unique_ptr<cairo_surface_t, Destroy<cairo_surface_destroy>>;
    using Cairo = std::unique_ptr<cairo_t, Destroy<cairo_destroy>>;
    /// Paints a shape with Cairo's current source and operator.
    using Paint = std::function<void(cairo_t*)>;

    PixelBox pixelsOf(const Rect& rect) const;
    Point place(Point point) const;
    Rect place(const Rect& rect) const;
    void setUp(cairo_t* cairo) const;
    /// Paints a shape in `color`, with its shadow under it. `extents`, in points, hold the shape.
    void paint(const Color& color, const Rect& extents, const Paint& shape);
    /// The shadow of a shape painted with `alpha`; nothing when it is invisible.
    std::optional<Shadow> shadow(double alpha) const;
    /// Paints the shadow of a shape in `extents`. `addShape(glow)` adds the part of the shape inside `glow.shapeBox()`.
    template <class AddShape>
    void paintShadow(const Shadow& shadow, PixelBox extents, AddShape&& addShape);
    std::uint32_t* row(int y) const { return bitmap_.pixels.data() + static_cast<std::ptrdiff_t>(y) * bitmap_.width; }
    /// Strokes `path` with round caps and without antialiasing.
    void paintRoundStroke(const Path& path);
    RoundInk roundInk(const Path& path, double alpha) const;
    void paintPixels(const PixelSet& pixels, const RoundInk& ink);
    void addPathTo(cairo_t* cairo, const Path& path) const;
    void addEllipseTo(cairo_t* cairo, const Rect& rect) const;

    Bitmap& bitmap_;
    double scale_;
    Surface surface_;
    Cairo cairo_;
    State state_;
    std::vector<State> saved_;
    Path path_;
    Glow::Memory glowMemory_;
};

}  // namespace videoanalysis::graphics::cairo
