#pragma once
// The pictures of a movie that wait to be encoded: a few of them, made once and used again and again. The movie encoder takes
// one, has what the screen shows converted into it, and gives it back when it is encoded.

#include "Platforms/FFmpeg/LibraryHandles.h"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

namespace videoanalysis::media::ffmpeg {

class MoviePictures {
public:
    /// `width` x `height` pixels, even; at most `count` pictures are out at a time.
    MoviePictures(int width, int height, int count) : width_(width), height_(height), count_(count) {}

    /// Makes the pictures, memory and all, so that taking one costs nothing. False when there is not enough memory.
    bool prepare();
    /// Null when all are out or none have been made. Any thread.
    FrameHandle take();
    /// Any thread.
    void giveBack(FrameHandle picture);
    /// Frees those that are not out. Any thread.
    void clear();

    /// Converts pixels in the order blue, green, red, anything (see `recording::MovieWriter::addPicture`) to YUV with the
    /// weights of BT.601 in the narrow range; a picture of another size is fitted into the middle, with black beside it. One
    /// odd row or column is cut off. One thread at a time.
    void convert(const std::uint8_t* pixels, int width, int height, std::ptrdiff_t bytesPerRow, AVFrame& picture);

private:
    const int width_;
    const int height_;
    const int count_;
    std::mutex mutex_;
    std::vector<FrameHandle> free_;
    FrameHandle unscaled_;
};

}  // namespace videoanalysis::media::ffmpeg
