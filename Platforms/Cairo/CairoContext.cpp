#include "Platforms/Cairo/CairoContext.h"

#include "Platforms/Cairo/GaussianBlur.h"

#include <algorithm>
#include <cmath>

namespace videoanalysis::graphics {
namespace {

/// Cairo's coordinates are 24.8 fixed-point numbers; this leaves room for line widths.
constexpr double maximumPixel = 1e6;
constexpr double maximumSigma = 128;
/// Longer strokes are painted in parts: Cairo's time and memory for one stroke grow faster than its length.
constexpr std::size_t segmentsPerPart = 1000;

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

/// True when every sub-path is a single line or curve.
bool hasNoJoins(const Path& path) {
    const std::vector<Path::Element>& elements = path.elements();
    for (std::size_t i = 1; i < elements.size(); ++i)
        if (elements[i] != Path::Element::move && elements[i - 1] != Path::Element::move) return false;
    return true;
}

}  // namespace

CairoContext::CairoContext(Bitmap& bitmap)
    : scale_(bitmap.scale), surface_(surfaceOn(bitmap)), cairo_(cairo_create(surface_.get())) {
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

CairoContext::PixelBox CairoContext::pixelsOf(const Rect& rect) const {
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

void CairoContext::paint(const Color& color, const Rect& extents, const Paint& shape, bool overlapsItself) {
    const bool clears = state_.blendMode == BlendMode::clear;
    const double alpha = unit(color.alpha) * unit(state_.alpha);
    if (alpha == 0 && !clears) return;

    const double sigma = limited(state_.shadowBlur / 2 * scale_, 0, maximumSigma);
    const Point offset{std::round(limited(state_.shadowOffset.width * scale_, -maximumPixel, maximumPixel)),
                       std::round(limited(state_.shadowOffset.height * scale_, -maximumPixel, maximumPixel))};
    const bool hasShadow = !clears && unit(state_.shadowColor.alpha) > 0 && (sigma > 0 || offset != Point{});
    const PixelBox box = pixelsOf(extents);
    const auto within = [](const PixelBox& a, const PixelBox& b) {
        return PixelBox{std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
                        std::min(a.bottom, b.bottom)};
    };
    if (hasShadow) {
        const int reach = gaussianBlurReach(sigma);
        const int dx = static_cast<int>(offset.x);
        const int dy = static_cast<int>(offset.y);
        const auto grownBy = [](const PixelBox& a, int x, int y) {
            return PixelBox{a.left - x, a.top - y, a.right + x, a.bottom + y};
        };
        const PixelBox lit{state_.clip.left - dx, state_.clip.top - dy, state_.clip.right - dx, state_.clip.bottom - dy};
        const PixelBox shadowBox = within(grownBy(box, reach, reach), grownBy(lit, reach, reach));
        if (!shadowBox.isEmpty()) {
            const Surface mask = makeMask(shadowBox, shape);
            cairo_surface_flush(mask.get());
            if (unsigned char* data = cairo_image_surface_get_data(mask.get()))
                gaussianBlur(data, shadowBox.right - shadowBox.left, shadowBox.bottom - shadowBox.top,
                             cairo_image_surface_get_stride(mask.get()), sigma);
            cairo_surface_mark_dirty(mask.get());
            paintMask(mask, {shadowBox.left + offset.x, shadowBox.top + offset.y}, state_.shadowColor,
                      alpha * unit(state_.shadowColor.alpha));
        }
    }

    const bool countsOnce = !overlapsItself || clears ||
                            (!state_.antialiases && alpha == 1 && state_.blendMode == BlendMode::normal);
    if (!countsOnce) {
        const PixelBox visible = within(box, state_.clip);
        if (!visible.isEmpty())
            paintMask(makeMask(visible, shape), {static_cast<double>(visible.left), static_cast<double>(visible.top)},
                      color, alpha);
        return;
    }
    cairo_t* cairo = cairo_.get();
    setUp(cairo);
    cairo_set_operator(cairo, cairoOperator(state_.blendMode));
    cairo_set_source_rgba(cairo, unit(color.red), unit(color.green), unit(color.blue), alpha);
    shape(cairo);
}

CairoContext::Surface CairoContext::makeMask(PixelBox box, const Paint& shape) const {
    Surface mask(cairo_image_surface_create(CAIRO_FORMAT_A8, box.right - box.left, box.bottom - box.top));
    const Cairo cairo(cairo_create(mask.get()));
    cairo_translate(cairo.get(), -box.left, -box.top);
    cairo_scale(cairo.get(), scale_, scale_);
    setUp(cairo.get());
    cairo_set_source_rgba(cairo.get(), 0, 0, 0, 1);
    shape(cairo.get());
    return mask;
}

void CairoContext::paintMask(const Surface& mask, Point origin, const Color& color, double alpha) {
    cairo_t* cairo = cairo_.get();
    cairo_save(cairo);
    cairo_identity_matrix(cairo);
    cairo_set_operator(cairo, cairoOperator(state_.blendMode));
    cairo_set_source_rgba(cairo, unit(color.red), unit(color.green), unit(color.blue), alpha);
    cairo_mask_surface(cairo, mask.get(), origin.x, origin.y);
    cairo_restore(cairo);
}

void CairoContext::addPathTo(cairo_t* cairo, const Path& path, std::size_t firstElement, std::size_t lastElement,
                             std::size_t& point) const {
    const std::vector<Point>& points = path.points();
    Point current;
    bool isInside = false;
    const auto moveTo = [&](Point to) {
        // A sub-path that begins where the last one ends goes on with it: fewer caps to draw, and the same picture wherever
        // this is called with round caps and joins.
        if (isInside && to == current && cairo_get_line_join(cairo) == CAIRO_LINE_JOIN_ROUND) return;
        cairo_move_to(cairo, to.x, to.y);
        current = to;
        isInside = true;
    };
    for (std::size_t i = firstElement; i < lastElement; ++i) {
        const Path::Element element = path.elements()[i];
        if (element == Path::Element::move) {
            moveTo(place(points[point++]));
            continue;
        }
        // A part may begin in the middle of a sub-path.
        if (!isInside && point > 0) moveTo(place(points[point - 1]));
        if (element == Path::Element::line) {
            current = place(points[point++]);
            cairo_line_to(cairo, current.x, current.y);
        } else {
            const Point control = place(points[point]);
            const Point end = place(points[point + 1]);
            point += 2;
            const auto third = [&](Point from) {
                return Point{from.x + (control.x - from.x) * 2 / 3, from.y + (control.y - from.y) * 2 / 3};
            };
            const Point control1 = third(current);
            const Point control2 = third(end);
            cairo_curve_to(cairo, control1.x, control1.y, control2.x, control2.y, end.x, end.y);
            current = end;
        }
    }
}

void CairoContext::strokePath() {
    const Path path = std::exchange(path_, {});
    const bool canJoin = state_.lineCap == LineCap::round && hasNoJoins(path);
    const std::size_t count = path.elements().size();
    // Only where sub-paths are joined does a cut between two segments show nothing.
    const std::size_t partLength = canJoin ? 2 * segmentsPerPart : std::max<std::size_t>(count, 1);
    const auto stroke = [&](cairo_t* cairo) {
        if (canJoin) cairo_set_line_join(cairo, CAIRO_LINE_JOIN_ROUND);
        std::size_t point = 0;
        for (std::size_t first = 0; first < count; first += partLength) {
            cairo_new_path(cairo);
            addPathTo(cairo, path, first, std::min(first + partLength, count), point);
            cairo_stroke(cairo);
        }
    };
    // Cairo's miter limit is ten half line widths.
    const double reach = state_.lineWidth * (canJoin ? 0.5 : 5) + 1;
    paint(state_.strokeColor, grown(path.boundingBox(), reach), stroke, partLength < count);
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
    cairo_rectangle(cairo, box.left, box.top, box.right - box.left, box.bottom - box.top);
    cairo_fill(cairo);
    cairo_restore(cairo);
}

void CairoContext::clipToRect(const Rect& rect) {
    const PixelBox box = pixelsOf(rect);
    PixelBox& clip = state_.clip;
    clip = {std::max(clip.left, box.left), std::max(clip.top, box.top), std::min(clip.right, box.right),
            std::min(clip.bottom, box.bottom)};
    if (clip.isEmpty()) clip = {0, 0, 0, 0};
    cairo_t* cairo = cairo_.get();
    cairo_matrix_t matrix;
    cairo_get_matrix(cairo, &matrix);
    cairo_identity_matrix(cairo);
    cairo_rectangle(cairo, clip.left, clip.top, clip.right - clip.left, clip.bottom - clip.top);
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
    if (!bitmap || bitmap->width == 0 || bitmap->height == 0 || target.isEmpty()) return;
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
