#pragma once
// Encodes an export's pictures in the source's own codec where that can be encoded, cropped if asked. The export job makes one
// for every stretch of frames that it cannot copy.

#include "Platforms/FFmpeg/LibraryHandles.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

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
        const AVStream* source = nullptr;  ///< what is kept of it: time base, rate, profile, colours, pixel shape
        Crop crop;
        /// The pictures go beside copied ones of the source: their size and pixel format must not change.
        bool isJoined = false;
        /// For H.264: the number of the parameter sets, 0...31.
        int parameterSet = 0;
    };

    /// Whether pictures of so many pixels are so large that only H.264 is encoded in a bounded amount of memory.
    static bool isLarge(double pixels);

    /// For pictures like `picture`. Null on failure, with the reason in `error`.
    static std::unique_ptr<ExportEncoder> make(const Settings& settings, const AVFrame& picture, std::string& error);
    ~ExportEncoder();

    const AVCodecContext& context() const { return *codec_; }
    using Sink = std::function<int(AVPacket&)>;
    /// Encodes `picture`, which begins at `ticks` of the source's time base; null for what is still inside. `sink` gets the
    /// packets and returns 0 or an error, which ends the call and is returned.
    int encode(const AVFrame* picture, std::int64_t ticks, const Sink& sink);

private:
    ExportEncoder() = default;
    /// Cropped, in the encoder's format. Null on failure.
    FrameHandle fitted(const AVFrame& picture);

    CodecContextHandle codec_;
    PacketHandle packet_;
    Crop crop_;
    SwsContext* scaler_ = nullptr;
};

}  // namespace videoanalysis::media::ffmpeg
