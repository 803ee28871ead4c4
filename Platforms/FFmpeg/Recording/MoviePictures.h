#pragma once
// A fixed number of pictures that are allocated once and reused. The movie encoder takes one, converts the screen into it, and
// gives it back when it has been encoded.

#include "Platforms/FFmpeg/LibraryHandles.h"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

namespace videoanalysis::media::ffmpeg {

class MoviePictures {
public:
    /// Pictures of `width` x `height` pixels, both even; at most `count` are taken at a time.
    MoviePictures(int width, int height, int count) : width_(width), height_(height), count_(count) {}

    /// Allocates the pictures. False when there is not enough memory. Once, any thread.
    bool prepare();
    /// Null when all are taken or before `prepare`. Any thread.
    FrameHandle take();
    /// Any thread.
    void giveBack(FrameHandle picture);
    /// Frees those that are not taken. Any thread.
    void clear();

    /// Converts BGRX pixels (see `recording::MovieWriter::addPicture`) to BT.601 YUV in the limited range. Pixels of another size
    /// are scaled to fit and centred on black; an odd last row or column is dropped. One thread at a time.
    void convert(const std::uint8_t* pixels, int width, int height, std::ptrdiff_t bytesPerRow, AVFrame& picture);

private:
    const int width_;
    const int height_;
    const int count_;
    /// Guarded by `mutex`.
    struct Shared {
        std::mutex mutex;
        std::vector<FrameHandle> free;
    };
    Shared shared_;
    FrameHandle unscaled_;  ///< scratch of `convert`
};

}  // namespace videoanalysis::media::ffmpeg
