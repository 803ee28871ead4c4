#pragma once
// A decoded picture of a clip as the screen gets it. The frame loader makes it, the frame cache keeps it.

#include "Platforms/FFmpeg/Clips/PictureConverter.h"
#include "Platforms/FFmpeg/LibraryHandles.h"
#include "VideoAnalysis/Platform/Media.h"

#include <cstdint>
#include <memory>

namespace videoanalysis::media::ffmpeg {

class DecodedFrame : public VideoFrame {
public:
    /// `picture` is not changed any more. `pixelAspect` is a pixel's width over its height, positive, before turning.
    DecodedFrame(std::shared_ptr<const AVFrame> picture, Orientation orientation, double pixelAspect,
                 std::int64_t index, const Time& time);
    /// A placeholder: the same picture for another frame, which cannot be decoded or, when `isUnreadable`, not even read.
    DecodedFrame(const DecodedFrame& other, std::int64_t index, const Time& time, bool isUnreadable);

    Time time() const override { return time_; }
    std::int64_t index() const override { return index_; }
    Size size() const override { return size_; }
    Bitmap scaled(int width, int height) const override;

    /// The clip cannot be read up to here: playing ends before this frame.
    bool isUnreadable() const { return isUnreadable_; }
    /// Bytes that the picture's pixels take in memory.
    std::size_t byteCount() const { return byteCount_; }

private:
    std::shared_ptr<const AVFrame> picture_;
    Orientation orientation_;
    std::int64_t index_;
    Time time_;
    Size size_;
    std::size_t byteCount_ = 0;
    bool isUnreadable_ = false;
};

}  // namespace videoanalysis::media::ffmpeg
