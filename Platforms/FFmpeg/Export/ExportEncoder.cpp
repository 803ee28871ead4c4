#include "Platforms/FFmpeg/Export/ExportEncoder.h"

#include "Platforms/FFmpeg/Compatibility.h"

extern "C" {
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <span>
#include <string>

namespace videoanalysis::media::ffmpeg {
namespace {

constexpr int minSide = 32;  // pixels; encoders refuse less

// Pixels above which an encoder queues as few pictures as possible and its threads share one instead of having one each: a
// 7680 x 4320 picture takes 100 to 200 MB in an encoder. The peak of an export of those fell from 2.6 GB to 0.9 GB.
constexpr double maxOrdinaryPicture = 4096.0 * 2304;

const AVCodec* encoderFor(AVCodecID codec) {
    const char* name = nullptr;
    switch (codec) {
        case AV_CODEC_ID_H264: name = "libx264"; break;
        case AV_CODEC_ID_HEVC: name = "libx265"; break;
        case AV_CODEC_ID_VP9: name = "libvpx-vp9"; break;
        default: break;
    }
    const AVCodec* encoder = name ? avcodec_find_encoder_by_name(name) : nullptr;
    return encoder ? encoder : avcodec_find_encoder(codec);
}

/// The encoder's format closest to `format`.
AVPixelFormat formatFor(const AVCodec& encoder, AVPixelFormat format) {
    const std::span<const AVPixelFormat> formats = pixelFormatsOf(encoder);
    if (formats.empty() || std::ranges::find(formats, format) != formats.end()) return format;
    return avcodec_find_best_pix_fmt_of_list(formats.data(), format, 0, nullptr);
}

/// Visually lossless, at a speed that keeps an export short.
void setQuality(AVCodecContext& codec, const ExportEncoder::Settings& settings) {
    void* options = codec.priv_data;
    const bool isLarge = ExportEncoder::isLarge(1.0 * codec.width * codec.height);
    codec.max_b_frames = isLarge ? 0 : 2;
    switch (codec.codec_id) {
        case AV_CODEC_ID_H264: {
            av_opt_set(options, "preset", "veryfast", 0);
            av_opt_set(options, "crf", "18", 0);
            std::string parameters = "b-pyramid=none:sps-id=" + std::to_string(settings.parameterSet);
            if (isLarge) parameters += ":sliced-threads=1:rc-lookahead=0:sync-lookahead=0:mbtree=0";
            av_opt_set(options, "x264-params", parameters.c_str(), 0);
            if (settings.isJoined) codec.profile = settings.source->codecpar->profile;
            if ((codec.profile & 0xFF) == h264BaselineProfile) codec.max_b_frames = 0;
            break;
        }
        case AV_CODEC_ID_HEVC:
            av_opt_set(options, "preset", "veryfast", 0);
            av_opt_set(options, "crf", "20", 0);
            av_opt_set(options, "x265-params", "log-level=none:open-gop=0:b-pyramid=0", 0);
            break;
        case AV_CODEC_ID_VP9:
            codec.max_b_frames = 0;
            av_opt_set(options, "deadline", "good", 0);
            av_opt_set(options, "cpu-used", "6", 0);
            av_opt_set(options, "row-mt", "1", 0);
            av_opt_set(options, "crf", "24", 0);
            av_opt_set(options, "lag-in-frames", "0", 0);
            codec.bit_rate = 0;
            break;
        default: codec.max_b_frames = 0; break;
    }
}

/// What `settings` ask for, inside the picture and large enough for encoders. Colour samples that pixels share are not split.
ExportEncoder::Crop cropFor(const ExportEncoder::Settings& settings, const AVFrame& picture, AVPixelFormat format) {
    ExportEncoder::Crop crop = settings.crop;
    if (crop.width <= 0 || crop.height <= 0) crop = {0, 0, picture.width, picture.height};
    if (settings.isJoined) return crop;
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(format);
    const auto fit = [](int& begin, int& length, int whole, int shift) {
        length = std::clamp(length, std::min(minSide, whole), whole);
        const int unit = 1 << shift;
        length = std::max(length / unit * unit, unit);
        begin = std::clamp(begin, 0, std::max(whole - length, 0)) / unit * unit;
    };
    fit(crop.left, crop.width, picture.width, description ? description->log2_chroma_w : 1);
    fit(crop.top, crop.height, picture.height, description ? description->log2_chroma_h : 1);
    return crop;
}

void setFormat(AVCodecContext& codec, const AVStream& source, const AVFrame& picture) {
    codec.time_base = source.time_base;
    AVRational rate = source.avg_frame_rate;
    if (rate.num <= 0 || rate.den <= 0 || av_q2d(rate) > 1000) rate = {30, 1};
    codec.framerate = rate;
    codec.gop_size = std::clamp(static_cast<int>(std::lround(av_q2d(rate) * 2)), 12, 250);
    codec.sample_aspect_ratio =
        source.sample_aspect_ratio.num > 0 ? source.sample_aspect_ratio : picture.sample_aspect_ratio;
    codec.color_range = picture.color_range;
    codec.color_primaries = picture.color_primaries;
    codec.color_trc = picture.color_trc;
    codec.colorspace = picture.colorspace;
    codec.chroma_sample_location = picture.chroma_location;
    codec.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    codec.thread_count = 0;
}

}  // namespace

bool ExportEncoder::isLarge(double pixels) { return pixels > maxOrdinaryPicture; }

Result<std::unique_ptr<ExportEncoder>> ExportEncoder::make(const Settings& settings, const AVFrame& picture) {
    const AVCodec* encoder = encoderFor(settings.codec);
    if (!encoder) return Failure{std::string("no encoder for ") + avcodec_get_name(settings.codec)};
    std::unique_ptr<ExportEncoder> result(new ExportEncoder);
    result->codec_ = makeCodecContext(encoder);
    result->packet_.reset(av_packet_alloc());
    if (!result->codec_ || !result->packet_) return Failure{"out of memory"};
    AVCodecContext& codec = *result->codec_;
    const auto format = static_cast<AVPixelFormat>(picture.format);
    codec.pix_fmt = formatFor(*encoder, format);
    if (settings.isJoined && codec.pix_fmt != format) return Failure{"the pixel format cannot be encoded"};
    result->crop_ = cropFor(settings, picture, codec.pix_fmt);
    codec.width = result->crop_.width;
    codec.height = result->crop_.height;
    setFormat(codec, *settings.source, picture);
    setQuality(codec, settings);
    const int opened = avcodec_open2(&codec, encoder, nullptr);
    if (opened < 0) {
        return Failure{std::string("cannot encode ") + avcodec_get_name(settings.codec) + ": " + libraryError(opened)};
    }
    return result;
}

ExportEncoder::~ExportEncoder() { sws_freeContext(scaler_); }

FrameHandle ExportEncoder::fitted(const AVFrame& picture) {
    FrameHandle cropped(av_frame_clone(&picture));
    if (!cropped) return nullptr;
    const bool isWhole = crop_.width == picture.width && crop_.height == picture.height;
    if (!isWhole && picture.width >= crop_.left + crop_.width && picture.height >= crop_.top + crop_.height) {
        cropped->crop_left = static_cast<std::size_t>(crop_.left);
        cropped->crop_top = static_cast<std::size_t>(crop_.top);
        cropped->crop_right = static_cast<std::size_t>(picture.width - crop_.left - crop_.width);
        cropped->crop_bottom = static_cast<std::size_t>(picture.height - crop_.top - crop_.height);
        if (av_frame_apply_cropping(cropped.get(), AV_FRAME_CROP_UNALIGNED) < 0) return nullptr;
    }
    if (cropped->format == codec_->pix_fmt && cropped->width == codec_->width && cropped->height == codec_->height) {
        return cropped;
    }
    // Another pixel format, or a clip whose pictures change their size.
    scaler_ = sws_getCachedContext(scaler_, cropped->width, cropped->height,
                                   static_cast<AVPixelFormat>(cropped->format), codec_->width, codec_->height,
                                   codec_->pix_fmt, SWS_BICUBIC | SWS_ACCURATE_RND, nullptr, nullptr, nullptr);
    FrameHandle converted(av_frame_alloc());
    if (!scaler_ || !converted) return nullptr;
    converted->width = codec_->width;
    converted->height = codec_->height;
    converted->format = codec_->pix_fmt;
    if (av_frame_get_buffer(converted.get(), 0) < 0) return nullptr;
    sws_scale(scaler_, cropped->data, cropped->linesize, 0, cropped->height, converted->data, converted->linesize);
    return converted;
}

Result<void> ExportEncoder::encode(const AVFrame& picture, std::int64_t ticks, const Sink& sink) {
    const FrameHandle fit = fitted(picture);
    if (!fit) return Failure{libraryError(AVERROR(ENOMEM))};
    fit->pts = ticks;
    fit->pict_type = AV_PICTURE_TYPE_NONE;  // chosen by the encoder
    clearKeyframeMark(*fit);
    // The encoder must not act on the source's side data, such as its rotation.
    while (fit->nb_side_data > 0) av_frame_remove_side_data(fit.get(), fit->side_data[0]->type);
    return send(fit.get(), sink);
}

Result<void> ExportEncoder::send(const AVFrame* picture, const Sink& sink) {
    int result = avcodec_send_frame(codec_.get(), picture);
    while (result >= 0) {
        result = avcodec_receive_packet(codec_.get(), packet_.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return {};
        if (result < 0) break;
        Result<void> passedOn = sink(*packet_);
        av_packet_unref(packet_.get());
        if (!passedOn) return passedOn;
    }
    return Failure{libraryError(result)};
}

}  // namespace videoanalysis::media::ffmpeg
