#pragma once
// A bitmap with a context to draw into and shorthands for what tests of drawing read and draw.

#include "VideoAnalysis/Platform/Graphics.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace videoanalysis::conformance {

/// Transparent at first. One thread.
struct Canvas {
    Bitmap bitmap;
    std::unique_ptr<graphics::Context> context;

    /// `width` and `height` in pixels.
    Canvas(graphics::Engine& engine, int width, int height, double scale = 1)
        : bitmap(width, height, scale), context(engine.makeContext(bitmap)) {}
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    /// Premultiplied ARGB.
    std::uint32_t pixel(int x, int y) {
        context->flush();
        return bitmap
            .pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(bitmap.width) + static_cast<std::size_t>(x)];
    }
    int alpha(int x, int y) { return channel(x, y, 24); }
    /// `shift`: 24 for alpha, 16 for red, 8 for green, 0 for blue.
    int channel(int x, int y, int shift) { return static_cast<int>(pixel(x, y) >> shift & 0xFFU); }
};

/// A sub-path for each segment.
inline graphics::Path polyline(const std::vector<Point>& points) {
    graphics::Path path;
    for (std::size_t i = 1; i < points.size(); ++i) {
        path.move(points[i - 1]);
        path.addLine(points[i]);
    }
    return path;
}

/// Strokes `path` as the freehand tools do: round caps, no antialiasing.
inline void strokeRound(graphics::Context& context, const graphics::Path& path, double width) {
    context.setShouldAntialias(false);
    context.setLineCap(graphics::LineCap::round);
    context.setLineWidth(width);
    context.addPath(path);
    context.strokePath();
}

}  // namespace videoanalysis::conformance
