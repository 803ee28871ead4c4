#include "Platforms/FFmpeg/Recording/MoviePictures.h"

#include <libyuv.h>

#include <algorithm>
#include <utility>

namespace videoanalysis::media::ffmpeg {
namespace {

constexpr std::uint8_t black = 16;     // luma
constexpr std::uint8_t neutral = 128;  // chroma

FrameHandle makePicture(int width, int height) {
    FrameHandle picture(av_frame_alloc());
    if (!picture) return nullptr;
    picture->format = AV_PIX_FMT_YUV420P;
    picture->width = width;
    picture->height = height;
    return av_frame_get_buffer(picture.get(), 0) < 0 ? nullptr : std::move(picture);
}

int even(double length) { return std::max(static_cast<int>(length) & ~1, 2); }

}  // namespace

bool MoviePictures::prepare() {
    {
        const std::lock_guard lock(shared_.mutex);
        shared_.free.reserve(static_cast<std::size_t>(count_));
    }
    for (int i = 0; i < count_; ++i) {
        FrameHandle picture = makePicture(width_, height_);
        if (!picture) return false;
        // Writing to the memory makes it resident, so that taking a picture costs nothing.
        libyuv::I420Rect(picture->data[0], picture->linesize[0], picture->data[1], picture->linesize[1],
                         picture->data[2], picture->linesize[2], 0, 0, width_, height_, black, neutral, neutral);
        giveBack(std::move(picture));
    }
    return true;
}

FrameHandle MoviePictures::take() {
    const std::lock_guard lock(shared_.mutex);
    if (shared_.free.empty()) return nullptr;
    FrameHandle picture = std::move(shared_.free.back());
    shared_.free.pop_back();
    return picture;
}

void MoviePictures::giveBack(FrameHandle picture) {
    const std::lock_guard lock(shared_.mutex);
    shared_.free.push_back(std::move(picture));
}

void MoviePictures::clear() {
    std::vector<FrameHandle> freed;
    const std::lock_guard lock(shared_.mutex);
    freed.swap(shared_.free);
}

void MoviePictures::convert(const std::uint8_t* pixels, int width, int height, std::ptrdiff_t bytesPerRow,
                            AVFrame& picture) {
    width &= ~1;
    height &= ~1;
    const auto stride = static_cast<int>(bytesPerRow);
    const auto toYUV = [&](AVFrame& frame) {
        libyuv::ARGBToI420(pixels, stride, frame.data[0], frame.linesize[0], frame.data[1], frame.linesize[1],
                           frame.data[2], frame.linesize[2], width, height);
    };
    if (width == width_ && height == height_) {
        toYUV(picture);
        return;
    }
    libyuv::I420Rect(picture.data[0], picture.linesize[0], picture.data[1], picture.linesize[1], picture.data[2],
                     picture.linesize[2], 0, 0, width_, height_, black, neutral, neutral);
    if (width < 2 || height < 2) return;
    if (!unscaled_ || unscaled_->width != width || unscaled_->height != height) unscaled_ = makePicture(width, height);
    if (!unscaled_) return;
    toYUV(*unscaled_);
    const double scale = std::min(static_cast<double>(width_) / width, static_cast<double>(height_) / height);
    const int shownWidth = std::min(even(width * scale), width_);
    const int shownHeight = std::min(even(height * scale), height_);
    const int left = ((width_ - shownWidth) / 2) & ~1;
    const int top = ((height_ - shownHeight) / 2) & ~1;
    const auto at = [&](int plane, int x, int y) {
        return picture.data[plane] + static_cast<std::ptrdiff_t>(y) * picture.linesize[plane] + x;
    };
    libyuv::I420Scale(unscaled_->data[0], unscaled_->linesize[0], unscaled_->data[1], unscaled_->linesize[1],
                      unscaled_->data[2], unscaled_->linesize[2], width, height, at(0, left, top), picture.linesize[0],
                      at(1, left / 2, top / 2), picture.linesize[1], at(2, left / 2, top / 2), picture.linesize[2],
                      shownWidth, shownHeight, libyuv::kFilterBox);
}

}  // namespace videoanalysis::media::ffmpeg
