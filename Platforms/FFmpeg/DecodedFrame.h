#pragma once
// A decoded picture of a clip as the screen gets it. The frame loader makes it, the frame cache keeps it.

#include "Platforms/FFmpeg/LibraryHandles.h"
#include "Platforms/FFmpeg/PictureConverter.h"
#include "VideoAnalysis/Platform/Media.h"

#include <cstdint>
#include <memory>

namespace videoanalysis::media {

class DecodedFrame : public VideoFrame {
public:
    /// `picture` is not changed any more. `pixelAspect` is a pixel's width over its height, positive, before turning.
    DecodedFrame(std::shared_ptr<const AVFrame> picture, Orientation orientation, double pixelAspect,
                 std::int64_t index, const Time& time);
    /// The same picture standing in for another frame that cannot be decoded.
    DecodedFrame(const DecodedFrame& other, std::int64_t index, const Time& time);

    Time time() const override { return time_; }
    std::int64_t index() const override { return index_; }
    Size size() const override { return size_; }
    Bitmap scaled(int width, int height) const override;

    /// Bytes that the picture's pixels take in memory.
    std::size_t byteCount() const { return byteCount_; }

private:
    std::shared_ptr<const AVFrame> picture_;
    Orientation orientation_;
    std::int64_t index_;
    Time time_;
    Size size_;
    std::size_t byteCount_ = 0;
};

}  // namespace videoanalysis::media
