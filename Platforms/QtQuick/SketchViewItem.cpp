#include "Platforms/QtQuick/SketchViewItem.h"

#include "VideoAnalysis/Platform/Graphics.h"
#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Views.h"

#include <QImage>
#include <QQuickWindow>
#include <QSGImageNode>

#include <algorithm>
#include <cmath>

namespace videoanalysis::qt {
namespace {

constexpr double maximumPixels = 16384;  // of a side

}  // namespace

SketchViewItem::SketchViewItem(QQuickItem* parent) : ViewItem(std::make_shared<SketchView>(), parent) {
    setFlag(ItemHasContents);
    setPlacedByView();
}

void SketchViewItem::setZoom(double zoom) {
    if (zoom_ == zoom) return;
    zoom_ = zoom;
    update();
    Q_EMIT zoomChanged();
}

void SketchViewItem::viewDidChange(ui::View& view, ui::Property property) {
    if (property == ui::Property::contentScale) {
        makeBitmap();
        update();
    } else {
        ViewItem::viewDidChange(view, property);
    }
}

void SketchViewItem::viewNeedsDisplay(ui::View&, const Rect& rect) {
    dirty_ = dirty_.unionWith(rect);
    polish();
}

void SketchViewItem::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
    ViewItem::geometryChange(newGeometry, oldGeometry);
    if (newGeometry.size() != oldGeometry.size()) makeBitmap();
    update();
}

void SketchViewItem::itemChange(ItemChange change, const ItemChangeData& value) {
    if (change == ItemDevicePixelRatioHasChanged || (change == ItemSceneChange && value.window)) {
        makeBitmap();
        // The drawings as well: while a clip is paused nothing else rebuilds them at the screen's scale.
        if (auto* sketch = static_cast<SketchView*>(view())) sketch->updateCacheImage(true);
    }
    ViewItem::itemChange(change, value);
}

void SketchViewItem::makeBitmap() {
    const double fineness = view() ? static_cast<SketchView*>(view())->contentScale() : 1;
    const double scale = (window() ? window()->effectiveDevicePixelRatio() : 1) * fineness;
    const auto pixels = [&](double points) {
        return static_cast<int>(std::clamp(std::ceil(points * scale), 0.0, maximumPixels));
    };
    bitmap_ = Bitmap(pixels(width()), pixels(height()), scale);
    dirty_ = {0, 0, width(), height()};
    polish();
}

void SketchViewItem::updatePolish() {
    if (!view() || dirty_.isEmpty() || bitmap_.pixels.empty()) return;
    // Whole pixels, so that nothing of the old drawing stays at the edges.
    const double scale = bitmap_.scale;
    const double left = std::floor(dirty_.minX() * scale) / scale;
    const double top = std::floor(dirty_.minY() * scale) / scale;
    const Rect region(left, top, std::ceil(dirty_.maxX() * scale) / scale - left,
                      std::ceil(dirty_.maxY() * scale) / scale - top);
    dirty_ = {};
    const auto context = platform().graphics().makeContext(bitmap_);
    const graphics::CurrentContextScope scope(*context);
    context->clipToRect(region);
    context->clearRect(region);
    view()->draw(region);
    context->flush();
    isTextureOld_ = true;
    update();
}

QSGNode* SketchViewItem::updatePaintNode(QSGNode* old, UpdatePaintNodeData*) {
    auto* node = static_cast<QSGImageNode*>(old);
    if (bitmap_.pixels.empty()) {
        delete node;
        return nullptr;
    }
    if (!node) {
        node = window()->createImageNode();
        node->setOwnsTexture(true);
        isTextureOld_ = true;
    }
    node->setFiltering(zoom_ > 1 ? QSGTexture::Linear : QSGTexture::Nearest);
    if (isTextureOld_) {
        // A copy: the texture may be read while the next drawing is made.
        const QImage pixels(reinterpret_cast<const uchar*>(bitmap_.pixels.data()), bitmap_.width, bitmap_.height,
                            bitmap_.bytesPerRow(), QImage::Format_ARGB32_Premultiplied);
        node->setTexture(window()->createTextureFromImage(pixels.copy(), QQuickWindow::TextureHasAlphaChannel));
        isTextureOld_ = false;
    }
    // On the grid of the screen's pixels, like the picture below.
    const double scale = bitmap_.scale;
    if (zoom_ > 1) {
        node->setRect({QPointF(), QSizeF(bitmap_.width, bitmap_.height) / scale});
        return node;
    }
    const QPointF corner = mapToScene({});
    const QPointF onGrid(std::round(corner.x() * scale) / scale, std::round(corner.y() * scale) / scale);
    node->setRect({onGrid - corner, QSizeF(bitmap_.width, bitmap_.height) / scale});
    return node;
}

}  // namespace videoanalysis::qt
