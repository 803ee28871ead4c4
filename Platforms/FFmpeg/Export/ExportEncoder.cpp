#include "Platforms/FFmpeg/Export/ExportEncoder.h"

extern "C" {
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <cmath>

namespace videoanalysis::media::ffmpeg {
namespace {

constexpr int smallestSide = 32;  // pixels; encoders refuse less

// Of larger pictures as few as possible wait inside, and the threads share one instead of having one each: a 7680 x 4320 picture
// takes 100 to 200 MB in an encoder. An export of those had a peak of 0.9 GB, and of 2.6 GB without.
constexpr double largePicture = 4096.0 * 2304;

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

/// The encoder's own format nearest to `format`.
AVPixelFormat formatFor(const AVCodec& encoder, AVPixelFormat format) {
    if (!encoder.pix_fmts) return format;
    for (const AVPixelFormat* offered = encoder.pix_fmts; *offered != AV_PIX_FMT_NONE; ++offered) {
        if (*offered == format) return format;
    }
    return avcodec_find_best_pix_fmt_of_list(encoder.pix_fmts, format, 0, nullptr);
}

/// Quality that is not told from the source's at sight, at a speed that keeps a save short.
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
            if ((codec.profile & 0xFF) == FF_PROFILE_H264_BASELINE) codec.max_b_frames = 0;
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

}  // namespace

bool ExportEncoder::isLarge(double pixels) { return pixels > largePicture; }

std::unique_ptr<ExportEncoder> ExportEncoder::make(const Settings& settings, const AVFrame& picture,
                                                   std::string& error) {
    const AVCodec* encoder = encoderFor(settings.codec);
    if (!encoder) {
        error = std::string("no encoder for ") + avcodec_get_name(settings.codec);
        return nullptr;
    }
    std::unique_ptr<ExportEncoder> result(new ExportEncoder);
    result->codec_.reset(avcodec_alloc_context3(encoder));
    result->packet_.reset(av_packet_alloc());
    if (!result->codec_ || !result->packet_) {
        error = "out of memory";
        return nullptr;
    }
    AVCodecContext& codec = *result->codec_;
    const auto format = static_cast<AVPixelFormat>(picture.format);
    codec.pix_fmt = formatFor(*encoder, format);

    Crop& crop = result->crop_;
    crop = settings.crop;
    if (crop.width <= 0 || crop.height <= 0) crop = {0, 0, picture.width, picture.height};
    if (!settings.isJoined) {
        // Colour samples that two pixels share are not cut in two.
        const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(codec.pix_fmt);
        const auto fit = [](int& begin, int& length, int whole, int shift) {
            length = std::clamp(length, std::min(smallestSide, whole), whole);
            const int unit = 1 << shift;
            length = std::max(length / unit * unit, unit);
            begin = std::clamp(begin, 0, std::max(whole - length, 0)) / unit * unit;
        };
        fit(crop.left, crop.width, picture.width, description ? description->log2_chroma_w : 1);
        fit(crop.top, crop.height, picture.height, description ? description->log2_chroma_h : 1);
    }
    codec.width = crop.width;
    codec.height = crop.height;
    if (settings.isJoined && codec.pix_fmt != format) {
        error = "the pixel format cannot be encoded";
        return nullptr;
    }

    const AVStream& source = *settings.source;
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
    setQuality(codec, settings);
    const int opened = avcodec_open2(&codec, encoder, nullptr);
    if (opened < 0) {
        error = std::string("cannot encode ") + avcodec_get_name(settings.codec) + ": " + libraryError(opened);
        return nullptr;
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
    // Another pixel format, or a clip whose pictures change their size on the way.
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

int ExportEncoder::encode(const AVFrame* picture, std::int64_t ticks, const Sink& sink) {
    FrameHandle fit;
    if (picture) {
        fit = fitted(*picture);
        if (!fit) return AVERROR(ENOMEM);
        fit->pts = ticks;
        fit->pict_type = AV_PICTURE_TYPE_NONE;  // the encoder chooses
        fit->key_frame = 0;
        // Motion, rotation and such things of the source are none of the encoder's.
        while (fit->nb_side_data > 0) av_frame_remove_side_data(fit.get(), fit->side_data[0]->type);
    }
    int result = avcodec_send_frame(codec_.get(), fit.get());
    if (result < 0) return result;
    while (true) {
        result = avcodec_receive_packet(codec_.get(), packet_.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return 0;
        if (result < 0) return result;
        result = sink(*packet_);
        av_packet_unref(packet_.get());
        if (result < 0) return result;
    }
}

}  // namespace videoanalysis::media::ffmpeg
