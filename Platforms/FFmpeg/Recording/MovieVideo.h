#pragma once
// The video of a movie that is being recorded: encodes pictures as H.264 and gives each its duration. The movie encoder feeds
// it; its counterpart is MovieSound.

#include "Platforms/FFmpeg/LibraryHandles.h"
#include "Platforms/FFmpeg/Recording/MovieOptions.h"
#include "Platforms/FFmpeg/Result.h"
#include "VideoAnalysis/Platform/Movie.h"

#include <cstdint>
#include <functional>
#include <memory>

namespace videoanalysis::media::ffmpeg {

/// Used by one thread.
class MovieVideo {
public:
    static constexpr int timescale = 90000;  ///< ticks per second of the presentation times
    using Sink = std::function<Result<void>(AVPacket&)>;

    static Result<std::unique_ptr<MovieVideo>> open(const recording::MovieFormat& format, const MovieOptions& options);

    const AVCodecContext& encoder() const { return *encoder_; }

    /// Encodes `picture`, later than those before by its `pts` in ticks, and passes the packets that are complete to `sink`.
    /// Fails when encoding or `sink` does.
    Result<void> encode(const AVFrame& picture, const Sink& sink) { return send(&picture, sink); }
    /// Passes on the pending packets; the last picture lasts `duration` ticks. Only destruction is valid afterwards.
    Result<void> flush(std::int64_t duration, const Sink& sink);

private:
    MovieVideo() = default;
    Result<void> send(const AVFrame* picture, const Sink& sink);
    Result<void> passOnHeld(std::int64_t end, const Sink& sink);

    CodecContextHandle encoder_;
    PacketHandle packet_;
    PacketHandle held_;  ///< the packet encoded last, until the next one says how long it lasts
};

}  // namespace videoanalysis::media::ffmpeg
