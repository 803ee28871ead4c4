#include "Platforms/QtQuick/IconItem.h"

#include "Platforms/QtQuick/DebugLog.h"

#include <QCache>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QQuickWindow>
#include <QSGImageNode>
#include <QSvgRenderer>

#include <cmath>

namespace videoanalysis::qt {
namespace {

constexpr int cachedPictures = 256;

/// The drawn picture `name` in `color`, as large as fits in `size` pixels; null when there is none.
QImage drawn(const QString& name, QSize size, const QColor& color) {
    const QString resource = QStringLiteral(":/VideoAnalysis/Images/%1.svg").arg(name);
    QSvgRenderer renderer(QFile::exists(resource) ? resource : name);
    if (!renderer.isValid()) return {};
    QImage image(renderer.defaultSize().scaled(size, Qt::KeepAspectRatio), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    renderer.render(&painter);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), color);
    return image;
}

/// Main thread or the scene graph's, one at a time.
QImage picture(const Image& source, QSize size, const QColor& color) {
    static QCache<QString, QImage> cache(cachedPictures);
    if (const auto& bitmap = source.bitmap()) {
        const QImage pixels(reinterpret_cast<const uchar*>(bitmap->pixels.data()), bitmap->width, bitmap->height,
                            bitmap->bytesPerRow(), QImage::Format_ARGB32_Premultiplied);
        return pixels.scaled(size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    }
    const QString name = QString::fromStdString(source.name());
    const QString key = QStringLiteral("%1|%2|%3|%4").arg(name).arg(size.width()).arg(size.height()).arg(color.rgba());
    if (const QImage* known = cache.object(key)) return *known;
    QImage image = drawn(name, size, color);
    if (image.isNull()) image = QImage(name).scaled(size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    if (image.isNull()) qCWarning(videoAnalysisLog) << "There is no picture called" << name;
    cache.insert(key, new QImage(image));
    return image;
}

}  // namespace

IconItem::IconItem(QQuickItem* parent) : QQuickItem(parent) { setFlag(ItemHasContents); }

void IconItem::setImage(const Image& image) {
    if (image_ == image) return;
    image_ = image;
    redraw();
    Q_EMIT imageChanged();
}

void IconItem::setColor(const QColor& color) {
    if (color_ == color) return;
    color_ = color;
    redraw();
    Q_EMIT colorChanged();
}

void IconItem::redraw() {
    isTextureOld_ = true;
    update();
}

void IconItem::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    if (newGeometry.size() != oldGeometry.size()) redraw();
}

void IconItem::itemChange(ItemChange change, const ItemChangeData& value) {
    if (change == ItemDevicePixelRatioHasChanged) redraw();
    QQuickItem::itemChange(change, value);
}

QSGNode* IconItem::updatePaintNode(QSGNode* old, UpdatePaintNodeData*) {
    auto* node = static_cast<QSGImageNode*>(old);
    const double scale = window()->effectiveDevicePixelRatio();
    const QSize size = (QSizeF(width(), height()) * scale).toSize();
    if (image_.isEmpty() || size.isEmpty()) {
        delete node;
        return nullptr;
    }
    if (!node || isTextureOld_) {
        const QImage pixels = picture(image_, size, color_);
        if (pixels.isNull()) {
            delete node;
            return nullptr;
        }
        if (!node) {
            node = window()->createImageNode();
            node->setOwnsTexture(true);
        }
        node->setTexture(window()->createTextureFromImage(pixels, QQuickWindow::TextureHasAlphaChannel));
        node->setFiltering(QSGTexture::Linear);
        isTextureOld_ = false;
    }
    const QSizeF shown = QSizeF(node->texture()->textureSize()) / scale;
    const QPointF corner = mapToScene({(width() - shown.width()) / 2, (height() - shown.height()) / 2});
    const QPointF onGrid(std::round(corner.x() * scale) / scale, std::round(corner.y() * scale) / scale);
    node->setRect({mapFromScene(onGrid), shown});
    return node;
}

}  // namespace videoanalysis::qt
