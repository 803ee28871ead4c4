#include "VideoAnalysis/Trimming/CropView.h"

#include "VideoAnalysis/Platform/Media.h"

#include <algorithm>
#include <cmath>

namespace videoanalysis {
namespace {

constexpr double zoomPerNotch = 1.12743;  // times, of the wheel

}  // namespace

double CropView::ratioOf(Aspect aspect) {
    switch (aspect) {
        case Aspect::free: return 0;
        case Aspect::square: return 1;
        case Aspect::portrait4To5: return 4.0 / 5;
        case Aspect::landscape16To9: return 16.0 / 9;
        case Aspect::portrait9To16: return 9.0 / 16;
    }
    return 0;
}

void CropView::setPictureSize(Size size) {
    if (pictureSize_ == size) return;
    pictureSize_ = size;
    crop_ = {0, 0, 1, 1};
    setAspect(aspect_);
    updateLayout();
}

void CropView::setCropping(bool cropping) {
    if (isCropping_ == cropping) return;
    isCropping_ = cropping;
    updateLayout();
}

void CropView::setAspect(Aspect aspect) {
    aspect_ = aspect;
    const double ratio = ratioOf(aspect);
    if (ratio > 0 && !pictureSize_.isEmpty()) {
        // The largest of that shape in the picture, around the same middle.
        const double width = std::min(1.0, ratio * pictureSize_.height / pictureSize_.width);
        const double height = std::min(1.0, pictureSize_.width / ratio / pictureSize_.height);
        setCrop({crop_.midX() - width * 0.5, crop_.midY() - height * 0.5, width, height});
    }
    updateLayout();
}

void CropView::setLocked(bool locked) {
    if (locked) endMovingCorner();
    set(isLocked_, locked, ui::Property::other);
}

Rect CropView::crop() const { return isCropping_ ? crop_ : Rect{0, 0, 1, 1}; }

Rect CropView::pictureRect() const { return picture_; }

Rect CropView::maskRect() const { return mask_; }

Rect CropView::area() const {
    const double inset = isCropping_ ? margin : 0;
    const Rect whole = bounds();
    return {inset, inset, std::max(whole.size.width - 2 * inset, 0.0), std::max(whole.size.height - 2 * inset, 0.0)};
}

Rect CropView::fitted(Size size) const {
    return media::PlayerLayer::pictureRect(area(), size, media::VideoGravity::resizeAspect);
}

void CropView::boundsDidChange(const Rect&) { updateLayout(); }

bool CropView::handlePointers(std::span<const ui::PointerEvent> events) {
    gestures_.handle(events);
    return isCropping_;
}

bool CropView::handleWheel(const ui::WheelEvent& event) {
    zoom(std::pow(zoomPerNotch, event.notches.y), event.position);
    return isCropping_;
}

/// In pixels of the picture: what the largest zoom leaves of its shorter side.
double CropView::minSide() const { return std::min(pictureSize_.width, pictureSize_.height) / maxZoom; }

void CropView::setCrop(const Rect& crop) {
    const double width = std::clamp(crop.size.width, 0.0, 1.0);
    const double height = std::clamp(crop.size.height, 0.0, 1.0);
    crop_ = {std::clamp(crop.origin.x, 0.0, 1 - width), std::clamp(crop.origin.y, 0.0, 1 - height), width, height};
}

void CropView::updateLayout() {
    if (!isCropping_ || pictureSize_.isEmpty()) {
        picture_ = pictureSize_.isEmpty() ? bounds() : fitted(pictureSize_);
        mask_ = picture_;
    } else if (isMovingCorner_) {
        mask_ = {picture_.origin.x + crop_.origin.x * picture_.size.width,
                 picture_.origin.y + crop_.origin.y * picture_.size.height, crop_.size.width * picture_.size.width,
                 crop_.size.height * picture_.size.height};
    } else {
        mask_ = fitted({crop_.size.width * pictureSize_.width, crop_.size.height * pictureSize_.height});
        const double width = mask_.size.width / crop_.size.width;
        const double height = mask_.size.height / crop_.size.height;
        picture_ = {mask_.origin.x - crop_.origin.x * width, mask_.origin.y - crop_.origin.y * height, width, height};
    }
    notify(ui::Property::other);
}

void CropView::pan(double dx, double dy) {
    if (!isCropping_ || isLocked_ || picture_.isEmpty() || !std::isfinite(dx) || !std::isfinite(dy)) return;
    setCrop({crop_.origin.x - dx / picture_.size.width, crop_.origin.y - dy / picture_.size.height, crop_.size.width,
             crop_.size.height});
    updateLayout();
}

void CropView::zoom(double factor, Point anchor) {
    if (!isCropping_ || isLocked_ || picture_.isEmpty() || !(factor > 0) || !std::isfinite(factor)) return;
    const double width = crop_.size.width * pictureSize_.width;
    const double height = crop_.size.height * pictureSize_.height;
    // Both sides alike: not beyond the picture, and not so far that the mask shows too little.
    const double max = std::min(1 / crop_.size.width, 1 / crop_.size.height);
    const double min = std::min(minSide() / std::min(width, height), 1.0);
    const double scale = std::clamp(1 / factor, min, max);
    // The anchor stays on the same part of the picture.
    const double x = (anchor.x - picture_.origin.x) / picture_.size.width;
    const double y = (anchor.y - picture_.origin.y) / picture_.size.height;
    setCrop({x + (crop_.origin.x - x) * scale, y + (crop_.origin.y - y) * scale, crop_.size.width * scale,
             crop_.size.height * scale});
    updateLayout();
}

void CropView::moveCorner(Corner corner, Point point) {
    if (!isCropping_ || isLocked_ || aspect_ != Aspect::free || picture_.isEmpty()) return;
    isMovingCorner_ = true;
    const double x = std::clamp((point.x - picture_.origin.x) / picture_.size.width, 0.0, 1.0);
    const double y = std::clamp((point.y - picture_.origin.y) / picture_.size.height, 0.0, 1.0);
    const double minWidth = std::min(minSide() / pictureSize_.width, 1.0);
    const double minHeight = std::min(minSide() / pictureSize_.height, 1.0);
    double left = crop_.minX();
    double right = crop_.maxX();
    double top = crop_.minY();
    double bottom = crop_.maxY();
    if (corner == Corner::topLeft || corner == Corner::bottomLeft) {
        left = std::max(std::min(x, right - minWidth), 0.0);
    } else {
        right = std::min(std::max(x, left + minWidth), 1.0);
    }
    if (corner == Corner::topLeft || corner == Corner::topRight) {
        top = std::max(std::min(y, bottom - minHeight), 0.0);
    } else {
        bottom = std::min(std::max(y, top + minHeight), 1.0);
    }
    setCrop({left, top, right - left, bottom - top});
    updateLayout();
}

void CropView::endMovingCorner() {
    if (!isMovingCorner_) return;
    isMovingCorner_ = false;
    updateLayout();
}

}  // namespace videoanalysis
