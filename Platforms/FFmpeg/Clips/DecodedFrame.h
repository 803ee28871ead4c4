#pragma once
// A decoded frame as the screen gets it. The frame loader creates it, the frame cache keeps it.

#include "Platforms/FFmpeg/Clips/PictureConverter.h"
#include "Platforms/FFmpeg/LibraryHandles.h"
#include "VideoAnalysis/Platform/Media.h"

#include <cstdint>
#include <memory>

namespace videoanalysis::media::ffmpeg {

class DecodedFrame : public VideoFrame {
public:
    /// `picture` must not change afterwards. `pixelAspect` is the positive ratio of a pixel's width to its height, before
    /// `orientation` is applied.
    DecodedFrame(std::shared_ptr<const AVFrame> picture, Orientation orientation, double pixelAspect,
                 std::int64_t index, const Time& time);
    /// A placeholder frame: the same picture for another frame, which cannot be decoded or, when `isUnreadable`, not even read.
    DecodedFrame(const DecodedFrame& other, std::int64_t index, const Time& time, bool isUnreadable);

    Time time() const override { return time_; }
    std::int64_t index() const override { return index_; }
    Size size() const override { return size_; }
    Bitmap scaled(int width, int height) const override;

    /// The file cannot be read up to this frame; playback ends before it.
    bool isUnreadable() const { return isUnreadable_; }
    /// The size of the picture's pixels in memory.
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
