#pragma once
// Encodes and crops an export's pictures. The export job makes one for every stretch of frames that it cannot copy.

#include "Platforms/FFmpeg/LibraryHandles.h"
#include "Platforms/FFmpeg/Result.h"

#include <cstdint>
#include <functional>
#include <memory>

struct SwsContext;

namespace videoanalysis::media::ffmpeg {

/// Used by one thread.
class ExportEncoder {
public:
    /// In pixels of the stored picture.
    struct Crop {
        int left = 0;
        int top = 0;
        int width = 0;  ///< 0 for the whole picture
        int height = 0;
    };
    struct Settings {
        AVCodecID codec = AV_CODEC_ID_H264;
        const AVStream* source = nullptr;  ///< gives time base, rate, profile and pixel aspect ratio
        Crop crop;
        /// The pictures are joined with copied ones of the source: they keep their size and pixel format.
        bool isJoined = false;
        /// For H.264: the number of the parameter sets, 0...31.
        int parameterSet = 0;
    };

    /// Whether pictures of `pixels` pixels are so large that only H.264 encodes them in a bounded amount of memory.
    static bool isLarge(double pixels);

    /// For pictures like `picture`.
    static Result<std::unique_ptr<ExportEncoder>> make(const Settings& settings, const AVFrame& picture);
    ~ExportEncoder();

    const AVCodecContext& context() const { return *codec_; }
    using Sink = std::function<Result<void>(AVPacket&)>;
    /// Encodes `picture`, which begins at `ticks` of the source's time base, and passes the complete packets to `sink`. Fails
    /// when encoding or `sink` does.
    Result<void> encode(const AVFrame& picture, std::int64_t ticks, const Sink& sink);
    /// Passes on the pending packets. Only destruction is valid afterwards.
    Result<void> flush(const Sink& sink) { return send(nullptr, sink); }

private:
    ExportEncoder() = default;
    /// Cropped, in the encoder's format and size. Null when there is not enough memory.
    FrameHandle fitted(const AVFrame& picture);
    Result<void> send(const AVFrame* picture, const Sink& sink);

    CodecContextHandle codec_;
    PacketHandle packet_;
    Crop crop_;
    SwsContext* scaler_ = nullptr;
};

}  // namespace videoanalysis::media::ffmpeg
