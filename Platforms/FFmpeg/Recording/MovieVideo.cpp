#include "Platforms/FFmpeg/Recording/MovieVideo.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <thread>
#include <utility>

namespace videoanalysis::media::ffmpeg {
namespace {

constexpr double keyframeInterval = 2;  // seconds, for seeking in the finished movie
constexpr int maxThreads = 4;

Failure brokenOff(int code) { return Failure{"the recording broke off: " + libraryError(code)}; }

}  // namespace

Result<std::unique_ptr<MovieVideo>> MovieVideo::open(const recording::MovieFormat& format,
                                                     const MovieOptions& options) {
    std::unique_ptr<MovieVideo> video(new MovieVideo);
    const AVCodec* codec = avcodec_find_encoder_by_name("libx264");
    video->encoder_ = codec ? makeCodecContext(codec) : nullptr;
    if (!video->encoder_) return Failure{"there is no encoder for H.264"};
    video->packet_.reset(av_packet_alloc());
    video->held_.reset(av_packet_alloc());
    if (!video->packet_ || !video->held_) return Failure{"not enough memory for the pictures of a recording"};
    AVCodecContext& encoder = *video->encoder_;
    encoder.width = format.width;
    encoder.height = format.height;
    encoder.pix_fmt = AV_PIX_FMT_YUV420P;
    encoder.time_base = {1, timescale};
    encoder.framerate = {format.framesPerSecond, 1};
    encoder.gop_size = static_cast<int>(std::lround(keyframeInterval * format.framesPerSecond));
    encoder.max_b_frames = 0;  // a picture can be written as soon as it is encoded
    encoder.thread_count = std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, maxThreads);
    encoder.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    encoder.color_range = AVCOL_RANGE_MPEG;
    encoder.colorspace = AVCOL_SPC_SMPTE170M;
    encoder.color_primaries = AVCOL_PRI_BT709;
    encoder.color_trc = AVCOL_TRC_BT709;
    AVDictionary* settings = nullptr;
    av_dict_set(&settings, "preset", options.preset.c_str(), 0);
    av_dict_set(&settings, "crf", std::to_string(options.quality).c_str(), 0);
    av_dict_set(&settings, "rc-lookahead", "0", 0);
    const int result = avcodec_open2(&encoder, codec, &settings);
    av_dict_free(&settings);
    if (result < 0) return Failure{"the video encoder cannot be opened: " + libraryError(result)};
    return video;
}

Result<void> MovieVideo::flush(std::int64_t duration, const Sink& sink) {
    if (Result<void> sent = send(nullptr, sink); !sent) return sent;
    return passOnHeld(held_->dts + duration, sink);
}

Result<void> MovieVideo::send(const AVFrame* picture, const Sink& sink) {
    int result = avcodec_send_frame(encoder_.get(), picture);
    while (result >= 0) {
        result = avcodec_receive_packet(encoder_.get(), packet_.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return {};
        if (result < 0) break;
        Result<void> passedOn = passOnHeld(packet_->dts, sink);
        std::swap(packet_, held_);
        if (!passedOn) return passedOn;
    }
    return brokenOff(result);
}

// A packet needs its duration when it is written: the end of one fragment is where the next begins.
Result<void> MovieVideo::passOnHeld(std::int64_t end, const Sink& sink) {
    if (!held_->data) return {};
    held_->duration = end - held_->dts;
    return sink(*held_);
}

}  // namespace videoanalysis::media::ffmpeg
