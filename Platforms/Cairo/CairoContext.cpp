#include "Platforms/Cairo/CairoContext.h"

#include "Platforms/Cairo/GaussianBlur.h"
#include "Platforms/Cairo/RoundStroke.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <utility>

namespace videoanalysis::graphics {
namespace {

/// Cairo's coordinates are 24.8 fixed-point numbers; this leaves room for line widths.
constexpr double maximumPixel = 1e6;
/// As for a line 160 pixels wide: wider ones keep this glow, and the mask stays near the size of the picture.
constexpr double maximumSigma = 64;

/// `value` within the limits; the lower one for what is not a number.
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
    // Cairo has no type for pixels that are only read.
    auto* pixels = reinterpret_cast<unsigned char*>(const_cast<std::uint32_t*>(bitmap.pixels.data()));
    return cairo_image_surface_create_for_data(pixels, CAIRO_FORMAT_ARGB32, bitmap.width, bitmap.height,
                                               static_cast<int>(bitmap.bytesPerRow()));
}

/// As Cairo rounds a colour, so that a stroke and a shape in one colour match.
std::uint32_t premultiplied(const Color& color, double alpha) {
    const auto component = [](double value) {
        return std::min(static_cast<std::uint32_t>(unit(value) * 65536), std::uint32_t{65535}) >> 8U;
    };
    return component(alpha) << 24U | component(unit(color.red) * alpha) << 16U |
           component(unit(color.green) * alpha) << 8U | component(unit(color.blue) * alpha);
}

/// a * b / 255, rounded.
std::uint32_t product(std::uint32_t a, std::uint32_t b) {
    const std::uint32_t value = a * b + 128;
    return (value + (value >> 8U)) >> 8U;
}

template <class Blend>
std::uint32_t eachChannel(std::uint32_t source, std::uint32_t target, const Blend& blend) {
    std::uint32_t result = 0;
    for (unsigned shift = 0; shift < 32; shift += 8)
        result |= std::min(blend(source >> shift & 0xFFU, target >> shift & 0xFFU), 255U) << shift;
    return result;
}

std::uint32_t over(std::uint32_t source, std::uint32_t target) {
    const std::uint32_t rest = 255 - (source >> 24U);
    return eachChannel(source, target, [&](std::uint32_t s, std::uint32_t t) { return s + product(t, rest); });
}

std::uint32_t screened(std::uint32_t source, std::uint32_t target) {
    return eachChannel(source, target, [](std::uint32_t s, std::uint32_t t) { return s + t - product(s, t); });
}

/// Pixels of a box, a bit each.
class PixelSet {
public:
    explicit PixelSet(PixelBox box)
        : box_(box), wordsPerRow_((static_cast<std::size_t>(box.width()) + 63) / 64),
          words_(wordsPerRow_ * static_cast<std::size_t>(box.height())) {}

    /// Adds a run of at least one pixel inside the box.
    void insert(int y, int left, int right) {
        const auto first = static_cast<unsigned>(left - box_.left);
        const auto last = static_cast<unsigned>(right - box_.left) - 1;
        std::uint64_t* row = words_.data() + static_cast<std::size_t>(y - box_.top) * wordsPerRow_;
        const std::uint64_t fromFirst = ~std::uint64_t{0} << first % 64;
        const std::uint64_t toLast = ~std::uint64_t{0} >> (63 - last % 64);
        if (first / 64 == last / 64) {
            row[first / 64] |= fromFirst & toLast;
            return;
        }
        row[first / 64] |= fromFirst;
        for (unsigned word = first / 64 + 1; word < last / 64; ++word) row[word] = ~std::uint64_t{0};
        row[last / 64] |= toLast;
    }

    /// Calls `action(x, y)` for every pixel, row by row.
    template <class Action>
    void forEach(Action&& action) const {
        const std::uint64_t* word = words_.data();
        for (int y = box_.top; y < box_.bottom; ++y)
            for (std::size_t i = 0; i < wordsPerRow_; ++i, ++word)
                for (std::uint64_t bits = *word; bits != 0; bits &= bits - 1)
                    action(box_.left + static_cast<int>(i) * 64 + std::countr_zero(bits), y);
    }

private:
    PixelBox box_;
    std::size_t wordsPerRow_;
    std::vector<std::uint64_t> words_;
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
    // What exceeds a pixel by a rounding error only does not touch it.
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

template <class MakeMask>
void CairoContext::paintShadow(PixelBox extents, double alpha, MakeMask&& makeMask) {
    const double shadowAlpha = alpha * unit(state_.shadowColor.alpha);
    if (shadowAlpha == 0 || state_.blendMode == BlendMode::clear) return;
    const double sigma = limited(state_.shadowBlur / 2 * scale_, 0, maximumSigma);
    const auto pixels = [&](double points) {
        return static_cast<int>(std::round(limited(points * scale_, -maximumPixel, maximumPixel)));
    };
    const int dx = pixels(state_.shadowOffset.width);
    const int dy = pixels(state_.shadowOffset.height);
    if (sigma == 0 && dx == 0 && dy == 0) return;

    const int reach = gaussianBlurReach(sigma);
    const PixelBox box = extents.grownBy(reach).within(state_.clip.movedBy(-dx, -dy).grownBy(reach));
    if (box.isEmpty()) return;
    const Surface mask(cairo_image_surface_create(CAIRO_FORMAT_A8, box.width(), box.height()));
    unsigned char* coverage = cairo_image_surface_get_data(mask.get());
    if (!coverage) return;
    const std::ptrdiff_t stride = cairo_image_surface_get_stride(mask.get());
    makeMask(mask.get(), box);
    cairo_surface_flush(mask.get());
    gaussianBlur(coverage, box.width(), box.height(), stride, sigma);
    cairo_surface_mark_dirty(mask.get());

    cairo_t* cairo = cairo_.get();
    const Color& color = state_.shadowColor;
    cairo_save(cairo);
    cairo_identity_matrix(cairo);
    cairo_set_operator(cairo, cairoOperator(state_.blendMode));
    cairo_set_source_rgba(cairo, unit(color.red), unit(color.green), unit(color.blue), shadowAlpha);
    cairo_mask_surface(cairo, mask.get(), box.left + dx, box.top + dy);
    cairo_restore(cairo);
}

void CairoContext::paint(const Color& color, const Rect& extents, const Paint& shape) {
    const double alpha = unit(color.alpha) * unit(state_.alpha);
    if (alpha == 0 && state_.blendMode != BlendMode::clear) return;
    paintShadow(pixelsOf(extents), alpha, [&](cairo_surface_t* mask, PixelBox box) {
        const Cairo cairo(cairo_create(mask));
        cairo_translate(cairo.get(), -box.left, -box.top);
        cairo_scale(cairo.get(), scale_, scale_);
        setUp(cairo.get());
        cairo_set_source_rgba(cairo.get(), 0, 0, 0, 1);
        shape(cairo.get());
    });
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

void CairoContext::paintRoundStroke(const Path& path) {
    const Color& color = state_.strokeColor;
    const bool clears = state_.blendMode == BlendMode::clear;
    const double alpha = unit(color.alpha) * unit(state_.alpha);
    if (alpha == 0 && !clears) return;
    const double radius = limited(state_.lineWidth * scale_, 0, maximumPixel) / 2;
    const Path pixelPath = path.mapped([&](Point point) {
        const Point placed = place(point);
        return Point{placed.x * scale_, placed.y * scale_};
    });

    const Rect box = grown(pixelPath.boundingBox(), radius + 1);
    const PixelBox extents{static_cast<int>(box.minX()), static_cast<int>(box.minY()), static_cast<int>(box.maxX()) + 1,
                           static_cast<int>(box.maxY()) + 1};
    paintShadow(extents, alpha, [&](cairo_surface_t* mask, PixelBox maskBox) {
        unsigned char* coverage = cairo_image_surface_get_data(mask);
        const std::ptrdiff_t stride = cairo_image_surface_get_stride(mask);
        RoundStroke(pixelPath, radius, maskBox).forEachSpan([&](int y, int left, int right) {
            std::fill_n(coverage + (y - maskBox.top) * stride + (left - maskBox.left), right - left, 0xFF);
        });
    });

    const PixelBox visible = extents.within(state_.clip);
    if (visible.isEmpty()) return;
    cairo_surface_flush(surface_.get());
    const RoundStroke stroke(pixelPath, radius, visible);
    const auto row = [&](int y) { return bitmap_.pixels.data() + static_cast<std::ptrdiff_t>(y) * bitmap_.width; };
    const std::uint32_t pixel = premultiplied(color, alpha);
    if (clears || (alpha == 1 && state_.blendMode == BlendMode::normal)) {
        const std::uint32_t value = clears ? 0 : pixel;
        stroke.forEachSpan([&](int y, int left, int right) { std::fill(row(y) + left, row(y) + right, value); });
    } else {
        // Where pieces overlap and the stroke crosses itself, alpha must count once: first find the pixels, then blend each.
        PixelSet pixels(visible);
        stroke.forEachSpan([&](int y, int left, int right) { pixels.insert(y, left, right); });
        const bool screens = state_.blendMode == BlendMode::screen;
        pixels.forEach([&](int x, int y) {
            std::uint32_t& target = row(y)[x];
            target = screens ? screened(pixel, target) : over(pixel, target);
        });
    }
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
    // Four cubic curves; this share of the radius brings them closest to a quarter of a circle.
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
    // A flat ellipse turns on itself, where the stroke's miter reaches furthest.
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
    return {clip.left / scale_, clip.top / scale_, (clip.right - clip.left) / scale_, (clip.bottom - clip.top) / scale_};
}

void CairoContext::drawImage(const Image& image, const Rect& rect) {
    const std::shared_ptr<const Bitmap>& bitmap = image.bitmap();
    const Rect target = place(rect);
    // Cairo cannot undo a scale that is next to nothing, and would not draw again.
    constexpr double tiny = 1e-3;
    if (!bitmap || bitmap->width == 0 || bitmap->height == 0) return;
    if (target.size.width * scale_ < tiny || target.size.height * scale_ < tiny) return;
    const Surface source(surfaceOn(*bitmap));
    // A bitmap is rounded up to whole pixels: one of this very size is copied pixel by pixel, not stretched by a fraction.
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

}  // namespace videoanalysis::graphics
