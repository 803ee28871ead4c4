#include "Platforms/FFmpeg/Clips/DecodedFrame.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace videoanalysis::media::ffmpeg {

DecodedFrame::DecodedFrame(std::shared_ptr<const AVFrame> picture, Orientation orientation, double pixelAspect,
                           std::int64_t index, const Time& time)
    : picture_(std::move(picture)), orientation_(orientation), index_(index), time_(time) {
    size_ = {std::max(std::round(picture_->width * pixelAspect), 1.0), static_cast<double>(picture_->height)};
    if (orientation.swapsSides()) std::swap(size_.width, size_.height);
    for (const AVBufferRef* buffer : picture_->buf) {
        if (buffer) byteCount_ += buffer->size;
    }
}

DecodedFrame::DecodedFrame(const DecodedFrame& other, std::int64_t index, const Time& time, bool isUnreadable)
    : DecodedFrame(other) {
    index_ = index;
    time_ = time;
    isUnreadable_ = isUnreadable;
}

Bitmap DecodedFrame::scaled(int width, int height) const {
    return convertPicture(*picture_, orientation_, std::max(width, 1), std::max(height, 1));
}

}  // namespace videoanalysis::media::ffmpeg
