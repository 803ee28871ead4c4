#include "VideoAnalysis/Platform/Graphics.h"

#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Platform/UI/Device.h"

#include <algorithm>
#include <cmath>

namespace videoanalysis::graphics {
namespace {

thread_local Context* current = nullptr;

}  // namespace

void Path::move(Point to) {
    elements_.push_back(Element::move);
    points_.push_back(to);
}

void Path::addLine(Point to) {
    if (elements_.empty()) move(to);
    elements_.push_back(Element::line);
    points_.push_back(to);
}

void Path::addQuadCurve(Point control, Point to) {
    if (elements_.empty()) move(control);
    elements_.push_back(Element::quadCurve);
    points_.push_back(control);
    points_.push_back(to);
}

void Path::append(const Path& other) {
    elements_.insert(elements_.end(), other.elements_.begin(), other.elements_.end());
    points_.insert(points_.end(), other.points_.begin(), other.points_.end());
}

Rect Path::boundingBox() const {
    if (points_.empty()) return {};
    Point low = points_.front();
    Point high = low;
    for (const Point& point : points_) {
        low = {std::min(low.x, point.x), std::min(low.y, point.y)};
        high = {std::max(high.x, point.x), std::max(high.y, point.y)};
    }
    return {low.x, low.y, high.x - low.x, high.y - low.y};
}

Context* currentContext() { return current; }

CurrentContextScope::CurrentContextScope(Context& context) : previous_(current) { current = &context; }

CurrentContextScope::~CurrentContextScope() { current = previous_; }

ImageRenderer::ImageRenderer(Size size, double scale)
    : size_(size), scale_(scale > 0 ? scale : platform().mainScreen().scale()) {}

std::shared_ptr<Bitmap> ImageRenderer::makeBitmap() const {
    constexpr double maxSide = 16384;
    if (size_.isEmpty()) return nullptr;
    const auto pixels = [&](double points) {
        return static_cast<int>(std::min(maxSide, std::max(1.0, std::ceil(points * scale_ - 1e-6))));
    };
    return std::make_shared<Bitmap>(pixels(size_.width), pixels(size_.height), scale_);
}

std::unique_ptr<Context> ImageRenderer::makeContext(Bitmap& bitmap) {
    return platform().graphics().makeContext(bitmap);
}

}  // namespace videoanalysis::graphics
