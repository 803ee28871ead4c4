#include "VideoAnalysis/Sketch/PenTool.h"

#include <algorithm>
#include <cmath>

namespace videoanalysis {
namespace {

using graphics::Path;

/// A segment is a move and a quadratic curve: two path elements and three points.
constexpr std::size_t elementsPerSegment = 2;
constexpr std::size_t pointsPerSegment = 3;
constexpr std::size_t segmentsPerBlock = 16;

Point middle(Point a, Point b) { return {(a.x + b.x) * 0.5, (a.y + b.y) * 0.5}; }

bool isMadeOfSegments(const Path& path) {
    const std::vector<Path::Element>& elements = path.elements();
    if (elements.size() % elementsPerSegment != 0) return false;
    for (std::size_t i = 0; i < elements.size(); i += elementsPerSegment)
        if (elements[i] != Path::Element::move || elements[i + 1] != Path::Element::quadCurve) return false;
    return true;
}

Rect boxAround(const Point* first, const Point* last) {
    const auto [left, right] = std::minmax_element(first, last, [](Point a, Point b) { return a.x < b.x; });
    const auto [top, bottom] = std::minmax_element(first, last, [](Point a, Point b) { return a.y < b.y; });
    return {left->x, top->y, right->x - left->x, bottom->y - top->y};
}

/// Unlike `Rect::intersects`, also true for boxes of zero width or height.
bool meets(const Rect& box, const Rect& region) {
    return box.minX() <= region.maxX() && region.minX() <= box.maxX() && box.minY() <= region.maxY() &&
           region.minY() <= box.maxY();
}

}  // namespace

PenTool::PenTool() { setLineAlpha(0); }

Rect PenTool::addSegment(Point previous2, Point previous1, Point current) {
    Path segment;
    segment.move(middle(previous2, previous1));
    segment.addQuadCurve(previous1, middle(previous1, current));
    mutablePath().append(segment);
    didChange();
    const double margin = 2 * lineWidth();
    return segment.boundingBox().insetBy(-margin, -margin);
}

std::vector<Point> PenTool::touchPoints() const {
    const std::vector<Point>& points = path().points();
    std::vector<Point> touches;
    if (!isMadeOfSegments_ || points.size() < pointsPerSegment) {
        touches = points;
        return touches;
    }
    // Every touch but the last is the control point of a curve; the last curve ends midway between the last two touches.
    touches.reserve(points.size() / pointsPerSegment + 1);
    for (std::size_t i = 1; i < points.size(); i += pointsPerSegment) touches.push_back(points[i]);
    const Point control = touches.back();
    const Point end = points.back();
    touches.push_back({2 * end.x - control.x, 2 * end.y - control.y});
    return touches;
}

void PenTool::setTouchPoints(const std::vector<Point>& points) {
    Path path;
    // A single touch is kept although it draws nothing.
    if (points.size() == 1) path.move(points.front());
    path.reserve(points.size() * elementsPerSegment, points.size() * pointsPerSegment);
    for (std::size_t i = 1; i < points.size(); ++i) {
        const Point previous1 = points[i - 1];
        const Point previous2 = i > 1 ? points[i - 2] : previous1;
        path.move(middle(previous2, previous1));
        path.addQuadCurve(previous1, middle(previous1, points[i]));
    }
    setPath(std::move(path));
}

void PenTool::setPath(Path path) {
    blocks_.clear();
    isMadeOfSegments_ = isMadeOfSegments(path);
    SketchTool::setPath(std::move(path));
}

void PenTool::updatePath(const Rect& from, const Rect& to) {
    if (from.isEmpty() || to.isEmpty()) return;
    const bool keepsPercentages = storedStamp_ == stamp() && storedSize_ == from.size;
    setPath(path().scaled(to.size.width / from.size.width, to.size.height / from.size.height));
    if (keepsPercentages) setStoredPoints(storedPoints_, to.size);
}

void PenTool::setStoredPoints(JSON points, Size size) const {
    storedPoints_ = std::move(points);
    storedSize_ = size;
    storedStamp_ = stamp();
}

void PenTool::addPathTo(graphics::Context& context) const {
    const std::vector<Point>& points = path().points();
    const std::size_t segments = points.size() / pointsPerSegment;
    // The glow extends 1.7 line widths from the curve, plus a margin for its faint outermost pixels.
    const double margin = 2 * lineWidth() + 4;
    const Rect region = context.clipBoundingBox().insetBy(-margin, -margin);
    if (!isMadeOfSegments_ || segments < 2 * segmentsPerBlock) {
        context.addPath(path());
        return;
    }

    const auto box = [&](std::size_t first, std::size_t last) {
        return boxAround(&points[first * pointsPerSegment], points.data() + last * pointsPerSegment);
    };
    while ((blocks_.size() + 1) * segmentsPerBlock <= segments)
        blocks_.push_back(box(blocks_.size() * segmentsPerBlock, (blocks_.size() + 1) * segmentsPerBlock));
    Path visible;
    for (std::size_t first = 0; first < segments; first += segmentsPerBlock) {
        const std::size_t last = std::min(first + segmentsPerBlock, segments);
        if (first / segmentsPerBlock < blocks_.size() && !meets(blocks_[first / segmentsPerBlock], region)) continue;
        for (std::size_t i = first; i < last; ++i) {
            if (!meets(box(i, i + 1), region)) continue;
            visible.move(points[i * pointsPerSegment]);
            visible.addQuadCurve(points[i * pointsPerSegment + 1], points[i * pointsPerSegment + 2]);
        }
    }
    context.addPath(visible);
}

void PenTool::draw() const {
    graphics::Context* context = graphics::currentContext();
    if (!context) return;
    context->saveState();
    context->setShouldAntialias(false);
    addPathTo(*context);
    context->setLineCap(graphics::LineCap::round);
    context->setLineWidth(lineWidth());
    const double blur = lineWidth() / 1.25;
    switch (drawingPenType_) {
        case PenType::normal:
            context->setStrokeColor(lineColor());
            context->setBlendMode(graphics::BlendMode::normal);
            context->setAlpha(lineAlpha());
            break;
        case PenType::blur:
            context->setStrokeColor(lineColor());
            context->setShadow({}, blur, lineColor());
            context->setAlpha(lineAlpha());
            break;
        case PenType::neon:
            context->setStrokeColor(Color::white());
            context->setShadow({}, blur, lineColor().withAlpha(lineAlpha()));
            context->setBlendMode(graphics::BlendMode::screen);
            break;
    }
    context->strokePath();
    context->restoreState();
}

JSON PenTool::jsonValue(Size size, bool withPoints) const {
    return jsonValue(size, withPoints, JSON::dictionary({{"penType", static_cast<int>(drawingPenType_)}}));
}

JSON PenTool::jsonValue(Size size, bool withPoints, JSON systemMembers) const {
    JSON configuration = commonConfiguration("#000000");
    configuration.set("ios", std::move(systemMembers));
    if (withPoints && !size.isEmpty()) {
        if (storedStamp_ != stamp() || storedSize_ != size) {
            JSON::Array points;
            const std::vector<Point> touches = touchPoints();
            points.reserve(touches.size());
            for (const Point touch : touches) {
                JSON::Dictionary point;
                point.reserve(2);
                point.emplace_back("x", storableNumber(touch.x / size.width * 100, StoredRange::coordinates));
                point.emplace_back("y", storableNumber(touch.y / size.height * 100, StoredRange::coordinates));
                points.emplace_back(std::move(point));
            }
            setStoredPoints(std::move(points), size);
        }
        configuration.set("points", storedPoints_);
    }
    return JSON::dictionary({{"type", "pen"}, {"configuration", std::move(configuration)}});
}

}  // namespace videoanalysis
