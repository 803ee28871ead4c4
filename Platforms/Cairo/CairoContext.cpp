#include "Platforms/Cairo/CairoContext.h"

#include "Platforms/Cairo/Glow.h"
#include "Platforms/Cairo/Lanes.h"
#include "Platforms/Cairo/PixelSet.h"
#include "Platforms/Cairo/RoundStroke.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <utility>

namespace videoanalysis::graphics::cairo {
namespace {

/// Cairo stores coordinates as 24.8 fixed point; this leaves room for line widths.
constexpr double maximumPixel = 1e6;
/// Radius in pixels above which the pieces of a stroke overlap so much that filling their union is faster.
constexpr double wideRadius = 8;

/// `value` clamped to `low`...`high`; `low` for NaN.
double limited(double value, double low, double high) { return value > low ? std::min(value, high) : low; }

double unit(double value) { return limited(value, 0, 1); }

Rect grown(const Rect& rect, double by) { return rect.normalized().insetBy(-by, -by); }

cairo_operator_t cairoOperator(BlendMode mode) {
    switch (mode) {
        case BlendMode::normal: return CAIRO_OPERATOR_OVER;
        case BlendMode::clear: return CAIRO_OPERATOR_CLEAR;
        case BlendMode::screen: return CAIRO_OPERATOR_SCREEN;
    }
    return CAIRO_OPERATOR_OVER;
}

cairo_line_cap_t cairoCap(LineCap cap) {
    switch (cap) {
        case LineCap::butt: return CAIRO_LINE_CAP_BUTT;
        case LineCap::round: return CAIRO_LINE_CAP_ROUND;
        case LineCap::square: return CAIRO_LINE_CAP_SQUARE;
    }
    return CAIRO_LINE_CAP_BUTT;
}

cairo_surface_t* surfaceOn(const Bitmap& bitmap) {
    // Cairo has no read-only surface.
    auto* pixels = reinterpret_cast<unsigned char*>(const_cast<std::uint32_t*>(bitmap.pixels.data()));
    return cairo_image_surface_create_for_data(pixels, CAIRO_FORMAT_ARGB32, bitmap.width, bitmap.height,
                                               static_cast<int>(bitmap.bytesPerRow()));
}

/// Rounds as Cairo does, so that strokes and shapes of the same colour match.
std::uint32_t premultiplied(const Color& color, double alpha) {
    const auto component = [](double value) {
        return std::min(static_cast<std::uint32_t>(unit(value) * 65536), std::uint32_t{65535}) >> 8U;
    };
    return component(alpha) << 24U | component(unit(color.red) * alpha) << 16U |
           component(unit(color.green) * alpha) << 8U | component(unit(color.blue) * alpha);
}

/// Blends one colour into pixels.
class Brush {
public:
    Brush(std::uint32_t pixel, BlendMode mode)
        : channels_(loadPixels(std::array{pixel, pixel}.data())), alpha_(allLanes(static_cast<int>(pixel >> 24U))),
          screens_(mode == BlendMode::screen) {}

    void paintRun(std::uint32_t* pixels, int count) const {
        const auto paint = [this](std::uint32_t* pair) {
            storePixels(pair, blended(channels_, alpha_, loadPixels(pair)));
        };
        for (; count >= 2; count -= 2, pixels += 2) paint(pixels);
        if (count == 0) return;
        std::uint32_t pair[] = {*pixels, 0};
        paint(pair);
        *pixels = pair[0];
    }
    /// Blends eight pixels of a glow; `coverage` is 0...255 per pixel.
    void paintBlock(std::uint32_t* pixels, Lanes coverage) const {
        const auto paint = [this](std::uint32_t* pair, Lanes share) {
            storePixels(pair, blended(product(channels_, share), product(alpha_, share), loadPixels(pair)));
        };
        paint(pixels, __builtin_shufflevector(coverage, coverage, 0, 0, 0, 0, 1, 1, 1, 1));
        paint(pixels + 2, __builtin_shufflevector(coverage, coverage, 2, 2, 2, 2, 3, 3, 3, 3));
        paint(pixels + 4, __builtin_shufflevector(coverage, coverage, 4, 4, 4, 4, 5, 5, 5, 5));
        paint(pixels + 6, __builtin_shufflevector(coverage, coverage, 6, 6, 6, 6, 7, 7, 7, 7));
    }

private:
    Lanes blended(Lanes source, Lanes alpha, Lanes target) const {
        return screens_ ? source + target - product(source, target) : source + product(target, 255 - alpha);
    }

    Lanes channels_;
    Lanes alpha_;
    bool screens_;
};

/// True when every sub-path is a single line or curve.
bool hasNoJoins(const Path& path) {
    const std::vector<Path::Element>& elements = path.elements();
    for (std::size_t i = 1; i < elements.size(); ++i)
        if (elements[i] != Path::Element::move && elements[i - 1] != Path::Element::move) return false;
    return true;
}

}  // namespace

CairoContext::CairoContext(Bitmap& bitmap)
    : bitmap_(bitmap), scale_(bitmap.scale), surface_(surfaceOn(bitmap)), cairo_(cairo_create(surface_.get())) {
    cairo_scale(cairo_.get(), scale_, scale_);
    state_.clip = {0, 0, bitmap.width, bitmap.height};
}

CairoContext::~CairoContext() { cairo_surface_flush(surface_.get()); }

void CairoContext::saveState() {
    saved_.push_back(state_);
    cairo_save(cairo_.get());
}

void CairoContext::restoreState() {
    if (saved_.empty()) return;
    state_ = saved_.back();
    saved_.pop_back();
    cairo_restore(cairo_.get());
}

void CairoContext::setShadow(Size offset, double blur, const Color& color) {
    state_.shadowOffset = offset;
    state_.shadowBlur = blur;
    state_.shadowColor = color;
}

PixelBox CairoContext::pixelsOf(const Rect& rect) const {
    // A rectangle that exceeds a pixel by a rounding error does not touch the next one.
    constexpr double error = 1e-6;
    const auto pixel = [&](double value) { return static_cast<int>(limited(value, -maximumPixel, maximumPixel)); };
    return {pixel(std::floor(rect.minX() * scale_ + error)), pixel(std::floor(rect.minY() * scale_ + error)),
            pixel(std::ceil(rect.maxX() * scale_ - error)), pixel(std::ceil(rect.maxY() * scale_ - error))};
}

Point CairoContext::place(Point point) const {
    const double limit = maximumPixel / scale_;
    return {limited(point.x, -limit, limit), limited(point.y, -limit, limit)};
}

Rect CairoContext::place(const Rect& rect) const {
    const Point topLeft = place(Point{rect.minX(), rect.minY()});
    const Point bottomRight = place(Point{rect.maxX(), rect.maxY()});
    return {topLeft, {bottomRight.x - topLeft.x, bottomRight.y - topLeft.y}};
}

void CairoContext::setUp(cairo_t* cairo) const {
    cairo_set_antialias(cairo, state_.antialiases ? CAIRO_ANTIALIAS_DEFAULT : CAIRO_ANTIALIAS_NONE);
    cairo_set_line_width(cairo, limited(state_.lineWidth, 0, maximumPixel / scale_));
    cairo_set_line_cap(cairo, cairoCap(state_.lineCap));
    cairo_set_line_join(cairo, CAIRO_LINE_JOIN_MITER);
}

std::optional<CairoContext::Shadow> CairoContext::shadow(double alpha) const {
    const auto pixels = [&](double points) {
        return static_cast<int>(std::round(limited(points * scale_, -maximumPixel, maximumPixel)));
    };
    Shadow shadow;
    // Lines wider than 160 pixels get the glow of a 160-pixel line.
    shadow.sigma = limited(state_.shadowBlur / 2 * scale_, 0, Glow::maximumSigma);
    shadow.dx = pixels(state_.shadowOffset.width);
    shadow.dy = pixels(state_.shadowOffset.height);
    shadow.pixel = premultiplied(state_.shadowColor, alpha * unit(state_.shadowColor.alpha));
    const bool isHidden = shadow.sigma == 0 && shadow.dx == 0 && shadow.dy == 0;
    if (isHidden || shadow.pixel == 0 || state_.blendMode == BlendMode::clear) return std::nullopt;
    return shadow;
}

template <class AddShape>
void CairoContext::paintShadow(const Shadow& shadow, PixelBox extents, AddShape&& addShape) {
    Glow glow(shadow.sigma, glowMemory_);
    const PixelBox visible = extents.grownBy(glow.reach()).within(state_.clip.movedBy(-shadow.dx, -shadow.dy));
    if (visible.isEmpty()) return;
    glow.begin(visible);
    addShape(glow);
    cairo_surface_flush(surface_.get());
    const Brush brush(shadow.pixel, state_.blendMode);
    glow.forEachBlock([&](int y, int left, Lanes coverage) {
        constexpr int width = Glow::blockWidth;
        if (areZero(coverage)) return;
        std::uint32_t* row = this->row(y + shadow.dy) + shadow.dx;
        // Rows lie in different pages; without prefetching, memory latency dominates.
        constexpr int rowsAhead = 6;
        __builtin_prefetch(row + static_cast<std::ptrdiff_t>(rowsAhead) * bitmap_.width + left, 1);
        if (left >= visible.left && left + width <= visible.right) {
            brush.paintBlock(row + left, coverage);
            return;
        }
        std::uint32_t block[width] = {};
        const int first = std::max(left, visible.left);
        const int last = std::min(left + width, visible.right);
        std::copy(row + first, row + last, block + (first - left));
        brush.paintBlock(block, coverage);
        std::copy(block + (first - left), block + (last - left), row + first);
    });
    cairo_surface_mark_dirty(surface_.get());
}

void CairoContext::paint(const Color& color, const Rect& extents, const Paint& shape) {
    const double alpha = unit(color.alpha) * unit(state_.alpha);
    if (alpha == 0 && state_.blendMode != BlendMode::clear) return;
    const PixelBox pixels = pixelsOf(extents);
    if (const std::optional<Shadow> shadow = this->shadow(alpha)) {
        paintShadow(*shadow, pixels, [&](Glow& glow) {
            const PixelBox box = glow.shapeBox().within(pixels);
            if (box.isEmpty()) return;
            const Surface mask(cairo_image_surface_create(CAIRO_FORMAT_A8, box.width(), box.height()));
            const unsigned char* row = cairo_image_surface_get_data(mask.get());
            if (!row) return;
            const Cairo cairo(cairo_create(mask.get()));
            cairo_translate(cairo.get(), -box.left, -box.top);
            cairo_scale(cairo.get(), scale_, scale_);
            setUp(cairo.get());
            cairo_set_source_rgba(cairo.get(), 0, 0, 0, 1);
            shape(cairo.get());
            cairo_surface_flush(mask.get());
            for (int y = box.top; y < box.bottom; ++y, row += cairo_image_surface_get_stride(mask.get())) {
                const unsigned char* const end = row + box.width();
                for (const unsigned char* run = row; run != end;) {
                    const unsigned char* next =
                        std::find_if(run, end, [&](unsigned char value) { return value != *run; });
                    if (*run > 0)
                        glow.add(y, box.left + static_cast<int>(run - row), box.left + static_cast<int>(next - row),
                                 *run);
                    run = next;
                }
            }
        });
    }
    cairo_t* cairo = cairo_.get();
    setUp(cairo);
    cairo_set_operator(cairo, cairoOperator(state_.blendMode));
    cairo_set_source_rgba(cairo, unit(color.red), unit(color.green), unit(color.blue), alpha);
    shape(cairo);
}

void CairoContext::addPathTo(cairo_t* cairo, const Path& path) const {
    const Point* point = path.points().data();
    Point current;
    for (const Path::Element element : path.elements()) {
        if (element == Path::Element::quadCurve) {
            const Point control = place(*point++);
            const Point end = place(*point++);
            const auto towardsControl = [&](Point from) {
                return Point{from.x + (control.x - from.x) * 2 / 3, from.y + (control.y - from.y) * 2 / 3};
            };
            const Point control1 = towardsControl(current);
            const Point control2 = towardsControl(end);
            cairo_curve_to(cairo, control1.x, control1.y, control2.x, control2.y, end.x, end.y);
            current = end;
        } else {
            current = place(*point++);
            (element == Path::Element::move ? cairo_move_to : cairo_line_to)(cairo, current.x, current.y);
        }
    }
}

void CairoContext::strokePath() {
    const Path path = std::exchange(path_, {});
    if (path.isEmpty()) return;
    if (!state_.antialiases && state_.lineCap == LineCap::round && hasNoJoins(path)) {
        paintRoundStroke(path);
        return;
    }
    // Cairo's miter limit is ten half line widths.
    paint(state_.strokeColor, grown(path.boundingBox(), state_.lineWidth * 5 + 1), [&](cairo_t* cairo) {
        addPathTo(cairo, path);
        cairo_stroke(cairo);
    });
}

CairoContext::RoundInk CairoContext::roundInk(const Path& path, double alpha) const {
    RoundInk ink;
    ink.radius = limited(state_.lineWidth * scale_, 0, maximumPixel) / 2;
    ink.path = path.mapped([&](Point point) {
        const Point placed = place(point);
        return Point{placed.x * scale_, placed.y * scale_};
    });
    const Rect bounds = grown(ink.path.boundingBox(), ink.radius + 1);
    ink.extents = {static_cast<int>(bounds.minX()), static_cast<int>(bounds.minY()),
                   static_cast<int>(bounds.maxX()) + 1, static_cast<int>(bounds.maxY()) + 1};
    ink.visible = ink.extents.within(state_.clip);
    const bool clears = state_.blendMode == BlendMode::clear;
    ink.pixel = clears ? 0 : premultiplied(state_.strokeColor, alpha);
    // Screening with white gives white.
    ink.replaces = clears || (state_.blendMode == BlendMode::normal ? alpha == 1 : ink.pixel == 0xFFFFFFFFU);
    return ink;
}

void CairoContext::paintRoundStroke(const Path& path) {
    const double alpha = unit(state_.strokeColor.alpha) * unit(state_.alpha);
    if (alpha == 0 && state_.blendMode != BlendMode::clear) return;
    const RoundInk ink = roundInk(path, alpha);
    const std::optional<Shadow> shadow = this->shadow(alpha);
    if (!shadow && ink.replaces && ink.radius < wideRadius) {
        cairo_surface_flush(surface_.get());
        // Captured by value, so that the loop does not reload what its own writes might alias.
        const auto fill = [pixels = row(0), width = std::ptrdiff_t{bitmap_.width}, pixel = ink.pixel](int y, int left,
                                                                                                      int right) {
            std::fill(pixels + y * width + left, pixels + y * width + right, pixel);
        };
        RoundStroke(ink.path, ink.radius, ink.visible).forEachSpan(fill);
        cairo_surface_mark_dirty(surface_.get());
        return;
    }

    // Alpha applies once where pieces overlap or the stroke crosses itself: collect the pixels first, then blend each.
    const auto pixelsIn = [&](PixelBox box) {
        PixelSet pixels(box);
        RoundStroke(ink.path, ink.radius, box).addTo(pixels);
        return pixels;
    };
    std::optional<PixelSet> shared;
    if (shadow) {
        paintShadow(*shadow, ink.extents, [&](Glow& glow) {
            const PixelBox box = glow.shapeBox().within(ink.extents);
            if (box.isEmpty()) return;
            shared.emplace(pixelsIn(box));
            shared->forEachRun([&](int y, int left, int right) { glow.add(y, left, right, 255); });
        });
        // Without an offset, the pixels collected for the glow include all visible ones.
        if (shadow->dx != 0 || shadow->dy != 0) shared.reset();
    }
    if (shared)
        paintPixels(*shared, ink);
    else if (!ink.visible.isEmpty())
        paintPixels(pixelsIn(ink.visible), ink);
}

void CairoContext::paintPixels(const PixelSet& pixels, const RoundInk& ink) {
    cairo_surface_flush(surface_.get());
    const Brush brush(ink.pixel, state_.blendMode);
    const PixelBox& visible = ink.visible;
    pixels.forEachRun([&](int y, int left, int right) {
        left = std::max(left, visible.left);
        right = std::min(right, visible.right);
        if (y < visible.top || y >= visible.bottom || left >= right) return;
        if (ink.replaces)
            std::fill(row(y) + left, row(y) + right, ink.pixel);
        else
            brush.paintRun(row(y) + left, right - left);
    });
    cairo_surface_mark_dirty(surface_.get());
}

void CairoContext::fillRect(const Rect& rect) {
    const Rect shape = place(rect);
    paint(state_.fillColor, shape, [&](cairo_t* cairo) {
        cairo_rectangle(cairo, shape.origin.x, shape.origin.y, shape.size.width, shape.size.height);
        cairo_fill(cairo);
    });
}

void CairoContext::strokeRect(const Rect& rect) {
    const Rect shape = place(rect);
    paint(state_.strokeColor, grown(shape, state_.lineWidth + 1), [&](cairo_t* cairo) {
        cairo_rectangle(cairo, shape.origin.x, shape.origin.y, shape.size.width, shape.size.height);
        cairo_stroke(cairo);
    });
}

void CairoContext::addEllipseTo(cairo_t* cairo, const Rect& rect) const {
    // Four cubic curves; control points at this fraction of the radius approximate a quarter circle best.
    constexpr double share = 0.5522847498;
    const double dx = rect.size.width / 2;
    const double dy = rect.size.height / 2;
    const Point center = rect.center();
    const auto curve = [&](double x1, double y1, double x2, double y2, double x, double y) {
        cairo_curve_to(cairo, center.x + dx * x1, center.y + dy * y1, center.x + dx * x2, center.y + dy * y2,
                       center.x + dx * x, center.y + dy * y);
    };
    cairo_move_to(cairo, center.x + dx, center.y);
    curve(1, share, share, 1, 0, 1);
    curve(-share, 1, -1, share, -1, 0);
    curve(-1, -share, -share, -1, 0, -1);
    curve(share, -1, 1, -share, 1, 0);
    cairo_close_path(cairo);
}

void CairoContext::fillEllipse(const Rect& rect) {
    const Rect shape = place(rect);
    paint(state_.fillColor, shape, [&](cairo_t* cairo) {
        addEllipseTo(cairo, shape);
        cairo_fill(cairo);
    });
}

void CairoContext::strokeEllipse(const Rect& rect) {
    const Rect shape = place(rect);
    const double half = limited(state_.lineWidth, 0, maximumPixel / scale_) / 2;
    const double a = shape.size.width / 2;
    const double b = shape.size.height / 2;
    if (half >= std::min(a, b) && a + b > 0) {
        // Such a stroke leaves no hole, so its outer edge is filled. Stroking would turn the inner edge inside out and cut it
        // out of the middle.
        paint(state_.strokeColor, grown(shape, half + 1), [&](cairo_t* cairo) {
            const double longest = (std::max(a, b) + half) * scale_;
            const int points = static_cast<int>(limited(std::ceil(12 * std::sqrt(longest)), 16, 4096));
            const Point center = shape.center();
            for (int i = 0; i < points; ++i) {
                // Sampled by the direction of the normal, so that a flat ellipse gets round ends.
                const double angle = 2 * std::numbers::pi * i / points;
                const double x = std::cos(angle), y = std::sin(angle);
                const double distance = std::hypot(a * x, b * y);
                const double toOutline = distance > 0 ? 1 / distance : 0;
                cairo_line_to(cairo, center.x + (a * a * toOutline + half) * x,
                              center.y + (b * b * toOutline + half) * y);
            }
            cairo_fill(cairo);
        });
        return;
    }
    // The extents include the miter at the ends of a flat ellipse.
    paint(state_.strokeColor, grown(shape, state_.lineWidth * 5 + 1), [&](cairo_t* cairo) {
        addEllipseTo(cairo, shape);
        cairo_stroke(cairo);
    });
}

void CairoContext::clearRect(const Rect& rect) {
    const PixelBox box = pixelsOf(rect);
    if (box.isEmpty()) return;
    cairo_t* cairo = cairo_.get();
    cairo_save(cairo);
    cairo_identity_matrix(cairo);
    cairo_set_operator(cairo, CAIRO_OPERATOR_CLEAR);
    cairo_rectangle(cairo, box.left, box.top, box.width(), box.height());
    cairo_fill(cairo);
    cairo_restore(cairo);
}

void CairoContext::clipToRect(const Rect& rect) {
    const PixelBox box = pixelsOf(rect);
    PixelBox& clip = state_.clip;
    clip = clip.within(box);
    if (clip.isEmpty()) clip = {};
    cairo_t* cairo = cairo_.get();
    cairo_matrix_t matrix;
    cairo_get_matrix(cairo, &matrix);
    cairo_identity_matrix(cairo);
    cairo_rectangle(cairo, clip.left, clip.top, clip.width(), clip.height());
    cairo_clip(cairo);
    cairo_set_matrix(cairo, &matrix);
}

Rect CairoContext::clipBoundingBox() const {
    const PixelBox& clip = state_.clip;
    return {clip.left / scale_, clip.top / scale_, (clip.right - clip.left) / scale_,
            (clip.bottom - clip.top) / scale_};
}

void CairoContext::drawImage(const Image& image, const Rect& rect) {
    const std::shared_ptr<const Bitmap>& bitmap = image.bitmap();
    const Rect target = place(rect);
    // Cairo cannot invert a scale close to zero and would enter an error state.
    constexpr double tiny = 1e-3;
    if (!bitmap || bitmap->width == 0 || bitmap->height == 0) return;
    if (target.size.width * scale_ < tiny || target.size.height * scale_ < tiny) return;
    const Surface source(surfaceOn(*bitmap));
    // Bitmaps are rounded up to whole pixels: one of the target's size is copied pixel by pixel instead of resampled.
    const Point origin{target.origin.x * scale_, target.origin.y * scale_};
    const bool isCopy = origin.x == std::round(origin.x) && origin.y == std::round(origin.y) &&
                        std::abs(bitmap->width - target.size.width * scale_) < 1 &&
                        std::abs(bitmap->height - target.size.height * scale_) < 1;
    paint(Color::black(), target, [&](cairo_t* cairo) {
        cairo_save(cairo);
        double alpha = 1;
        cairo_pattern_get_rgba(cairo_get_source(cairo), nullptr, nullptr, nullptr, &alpha);
        if (isCopy) {
            cairo_translate(cairo, target.origin.x, target.origin.y);
            cairo_scale(cairo, 1 / scale_, 1 / scale_);
            cairo_set_source_surface(cairo, source.get(), 0, 0);
            cairo_pattern_set_filter(cairo_get_source(cairo), CAIRO_FILTER_NEAREST);
        } else {
            cairo_rectangle(cairo, target.origin.x, target.origin.y, target.size.width, target.size.height);
            cairo_clip(cairo);
            cairo_translate(cairo, target.origin.x, target.origin.y);
            cairo_scale(cairo, target.size.width / bitmap->width, target.size.height / bitmap->height);
            cairo_set_source_surface(cairo, source.get(), 0, 0);
            cairo_pattern_set_extend(cairo_get_source(cairo), CAIRO_EXTEND_PAD);
        }
        cairo_paint_with_alpha(cairo, alpha);
        cairo_restore(cairo);
    });
}

}  // namespace videoanalysis::graphics::cairo
