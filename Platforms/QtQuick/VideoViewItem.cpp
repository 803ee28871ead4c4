#include "Platforms/QtQuick/VideoViewItem.h"

#include "VideoAnalysis/Platform/Media.h"
#include "VideoAnalysis/Views.h"

#include <QImage>
#include <QQuickWindow>
#include <QSGImageNode>

#include <algorithm>
#include <cmath>
#include <utility>

namespace videoanalysis::qt {
namespace {

constexpr int brokenOffMilliseconds = 4000;  // long enough to read a short line twice

/// Hands the bitmap over to an image, without a copy of the pixels.
QImage opaqueImage(Bitmap bitmap) {
    auto* owned = new Bitmap(std::move(bitmap));
    return QImage(
        reinterpret_cast<uchar*>(owned->pixels.data()), owned->width, owned->height, owned->bytesPerRow(),
        QImage::Format_RGB32, [](void* pixels) { delete static_cast<Bitmap*>(pixels); }, owned);
}

}  // namespace

VideoViewItem::VideoViewItem(QQuickItem* parent) : ViewItem(std::make_shared<VideoView>(), parent) {
    setFlag(ItemHasContents);
    videoView()->playerLayer().changeObserver = [this] { followLayer(); };
    brokenOffTimer_.setSingleShot(true);
    brokenOffTimer_.setInterval(brokenOffMilliseconds);
    brokenOffTimer_.callOnTimeout(this, [this] {
        hasBrokenOff_ = false;
        updateStatus();
    });
}

VideoViewItem::~VideoViewItem() {
    if (videoView()) videoView()->playerLayer().changeObserver = nullptr;
}

VideoView* VideoViewItem::videoView() const { return static_cast<VideoView*>(view()); }

void VideoViewItem::followLayer() {
    update();
    const std::shared_ptr<media::Player>& player = videoView()->player();
    if (player_ == player) return;
    player_ = player;
    hasBrokenOff_ = false;
    frameObservation_.reset();
    itemObservation_.reset();
    if (player_) {
        frameObservation_ = player_->observeFrame([this] { frameDidChange(); });
        itemObservation_ = player_->currentItem()->observe([this](media::PlayerItem::Event event) {
            if (event == media::PlayerItem::Event::failedToPlayToEnd) breakOff();
            updateStatus();
            update();  // the picture's place depends on its size, which is known by now
        });
    }
    updateStatus();
}

QString VideoViewItem::clipName() const {
    return videoView() ? QString::fromStdString(videoView()->clipName()) : QString();
}

QString VideoViewItem::failure() const {
    return videoView() ? QString::fromStdString(videoView()->failureReason()) : QString();
}

void VideoViewItem::frameDidChange() {
    update();
    const auto frame = player_->currentFrame();
    if (hasBrokenOff_ && frame && frame->index() != brokenOffFrame_) hasBrokenOff_ = false;
    if (status_ != Status::Ready) updateStatus();
}

void VideoViewItem::breakOff() {
    const auto frame = player_->currentFrame();
    brokenOffFrame_ = frame ? frame->index() : 0;
    hasBrokenOff_ = true;
    brokenOffTimer_.start();
}

void VideoViewItem::updateStatus() {
    const auto find = [this] {
        if (!player_) return Status::Empty;
        if (player_->currentItem()->status() == media::ItemStatus::failed) return Status::Failed;
        if (hasBrokenOff_) return Status::BrokenOff;
        return player_->currentFrame() ? Status::Ready : Status::Loading;
    };
    const Status status = find();
    if (std::exchange(status_, status) != status) Q_EMIT statusChanged();
}

void VideoViewItem::viewDidChange(ui::View& view, ui::Property property) {
    if (property == ui::Property::contentMode) {
        update();
    } else {
        ViewItem::viewDidChange(view, property);
    }
}

void VideoViewItem::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
    ViewItem::geometryChange(newGeometry, oldGeometry);
    update();
}

void VideoViewItem::itemChange(ItemChange change, const ItemChangeData& value) {
    if (change == ItemDevicePixelRatioHasChanged) update();
    ViewItem::itemChange(change, value);
}

void VideoViewItem::setZoom(double zoom) {
    if (zoom_ == zoom) return;
    zoom_ = zoom;
    update();
    Q_EMIT zoomChanged();
}

/// Enlarged, a picture is prepared no finer than the clip has it, and in few sizes: a pinch would ask for a new one with every
/// movement.
QSize VideoViewItem::sizeForZoom(const media::VideoFrame& frame, QSize unzoomed) const {
    double level = 1.5;
    while (level < zoom_) level *= 1.5;
    const double finest = std::max(frame.size().width / unzoomed.width(), 1.0);
    return unzoomed * std::min(level, finest);
}

QSGNode* VideoViewItem::updatePaintNode(QSGNode* old, UpdatePaintNodeData*) {
    auto* node = static_cast<QSGImageNode*>(old);
    const std::shared_ptr<const media::VideoFrame> frame = player_ ? player_->currentFrame() : nullptr;
    if (!frame || !videoView() || width() <= 0 || height() <= 0) {
        delete node;
        shownFrame_.reset();
        return nullptr;
    }
    // The picture's rectangle on the grid of the screen's pixels, so that it is painted pixel by pixel.
    const double scale = window()->effectiveDevicePixelRatio();
    const QPointF corner = mapToScene({});
    const auto onGrid = [&](double origin, double position) { return std::round((origin + position) * scale); };
    const Rect picture = videoView()->pictureRect();
    const double left = onGrid(corner.x(), picture.minX());
    const double top = onGrid(corner.y(), picture.minY());
    QSize size(static_cast<int>(std::max(onGrid(corner.x(), picture.maxX()) - left, 1.0)),
               static_cast<int>(std::max(onGrid(corner.y(), picture.maxY()) - top, 1.0)));
    QRectF whole(QPointF(left, top) / scale - corner, QSizeF(size) / scale);
    if (zoom_ > 1) {
        whole = QRectF(picture.minX(), picture.minY(), picture.size.width, picture.size.height);
        size = sizeForZoom(*frame, size);
    }
    if (!node) {
        node = window()->createImageNode();
        node->setOwnsTexture(true);
        shownFrame_.reset();
    }
    node->setFiltering(zoom_ > 1 ? QSGTexture::Linear : QSGTexture::Nearest);
    if (frame != shownFrame_ || size != shownSize_) {
        node->setTexture(window()->createTextureFromImage(opaqueImage(frame->scaled(size.width(), size.height())),
                                                          QQuickWindow::TextureIsOpaque));
        shownFrame_ = frame;
        shownSize_ = size;
    }
    // A picture that fills the view reaches outside; only the part inside is shown.
    const QRectF inside = whole & boundingRect();
    node->setRect(inside);
    const QPointF texels(size.width() / whole.width(), size.height() / whole.height());
    const QPointF source = inside.topLeft() - whole.topLeft();
    node->setSourceRect(
        {source.x() * texels.x(), source.y() * texels.y(), inside.width() * texels.x(), inside.height() * texels.y()});
    return node;
}

}  // namespace videoanalysis::qt
