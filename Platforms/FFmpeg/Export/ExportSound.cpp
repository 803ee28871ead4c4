#include "Platforms/FFmpeg/Export/ExportSound.h"

#include "Platforms/FFmpeg/Compatibility.h"

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/channel_layout.h>
#include <libavutil/mathematics.h>
}

#include <algorithm>
#include <span>
#include <string>

namespace videoanalysis::media::ffmpeg {
namespace {

// Decoders of overlapping blocks need some sound before the first sample.
constexpr double leadIn = 0.3;  // seconds

/// The source's codec where the container accepts it and its encoder is good, otherwise the container's default.
const AVCodec* encoderFor(AVCodecID source, const ExportFile& target) {
    switch (source) {
        case AV_CODEC_ID_AAC:
        case AV_CODEC_ID_MP3:
        case AV_CODEC_ID_OPUS:
        case AV_CODEC_ID_FLAC:
        case AV_CODEC_ID_ALAC:
        case AV_CODEC_ID_AC3:
        case AV_CODEC_ID_PCM_S16LE:
        case AV_CODEC_ID_PCM_S24LE:
            if (target.accepts(source)) {
                if (const AVCodec* encoder = avcodec_find_encoder(source)) return encoder;
            }
            break;
        default: break;
    }
    return avcodec_find_encoder(target.accepts(AV_CODEC_ID_AAC) ? AV_CODEC_ID_AAC : AV_CODEC_ID_OPUS);
}

int sampleRateFor(const AVCodec& encoder, int rate) {
    const std::span<const int> rates = sampleRatesOf(encoder);
    if (rates.empty() || std::ranges::find(rates, rate) != rates.end()) return rate;
    int best = 0;
    for (const int offered : rates) best = std::max(best, offered <= 48000 ? offered : 0);
    return best > 0 ? best : rates.front();
}

AVSampleFormat sampleFormatFor(const AVCodec& encoder, AVSampleFormat format) {
    const std::span<const AVSampleFormat> formats = sampleFormatsOf(encoder);
    if (formats.empty()) return AV_SAMPLE_FMT_S16;
    return std::ranges::find(formats, format) != formats.end() ? format : formats.front();
}

}  // namespace

std::unique_ptr<ExportSound> ExportSound::open(const URL& url, std::int64_t start, std::int64_t end,
                                               AVRational timeBase, const ExportFile& target,
                                               const std::atomic<bool>& cancelled) {
    auto file = ClipFile::open(url, ClipFile::Content::audio, cancelled);
    if (!file) return nullptr;
    std::unique_ptr<ExportSound> sound(new ExportSound);
    sound->file_ = *std::move(file);
    const AVStream& stream = *sound->file_->stream();
    const AVCodec* codec = avcodec_find_decoder(stream.codecpar->codec_id);
    if (!codec) return nullptr;
    sound->decoder_ = makeCodecContext(codec);
    sound->packet_.reset(av_packet_alloc());
    sound->decoded_.reset(av_frame_alloc());
    sound->samples_.reset(av_frame_alloc());
    AVCodecContext* decoder = sound->decoder_.get();
    if (!decoder || avcodec_parameters_to_context(decoder, stream.codecpar) < 0) return nullptr;
    decoder->pkt_timebase = stream.time_base;
    if (avcodec_open2(decoder, codec, nullptr) < 0) return nullptr;

    const double seconds = static_cast<double>(start) * av_q2d(timeBase) - leadIn;
    if (!sound->file_->seek(static_cast<std::int64_t>(seconds / av_q2d(stream.time_base))) &&
        !sound->file_->seekToBeginning()) {
        return nullptr;
    }
    // The first frame has the format of the sound.
    if (!sound->decode() || sound->decoded_->sample_rate <= 0) return nullptr;
    sound->sampleTime_ = {1, sound->decoded_->sample_rate};
    sound->nextSample_ = av_rescale_q(start, timeBase, sound->sampleTime_);
    if (!sound->openEncoder(target, *sound->decoded_) ||
        !sound->openFilters(*sound->decoded_, av_rescale_q(start, timeBase, sound->sampleTime_),
                            av_rescale_q(end, timeBase, sound->sampleTime_)) ||
        !sound->nextSamples()) {
        return nullptr;
    }
    return sound;
}

ExportSound::~ExportSound() { avfilter_graph_free(&graph_); }

bool ExportSound::openEncoder(const ExportFile& target, const AVFrame& sound) {
    const AVCodecParameters& source = *file_->stream()->codecpar;
    const AVCodec* codec = encoderFor(source.codec_id, target);
    if (!codec) return false;
    const int channels = std::max(sound.ch_layout.nb_channels, 1);
    for (const int tried : {channels, std::min(channels, 2)}) {  // not every encoder accepts every channel count
        encoder_ = makeCodecContext(codec);
        if (!encoder_) return false;
        encoder_->sample_rate = sampleRateFor(*codec, sound.sample_rate);
        encoder_->sample_fmt = sampleFormatFor(*codec, static_cast<AVSampleFormat>(sound.format));
        av_channel_layout_default(&encoder_->ch_layout, tried);
        encoder_->time_base = {1, encoder_->sample_rate};
        encoder_->bit_rate =
            std::clamp<std::int64_t>(source.bit_rate, std::int64_t{80'000} * tried, std::int64_t{160'000} * tried);
        if ((target.container()->flags & AVFMT_GLOBALHEADER) != 0) encoder_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
        if (avcodec_open2(encoder_.get(), codec, nullptr) >= 0) return true;
    }
    return false;
}

bool ExportSound::openFilters(const AVFrame& sound, std::int64_t start, std::int64_t end) {
    graph_ = avfilter_graph_alloc();
    if (!graph_) return false;
    char inner[64] = {};
    char outer[64] = {};
    AVChannelLayout layout = sound.ch_layout;
    if (layout.order == AV_CHANNEL_ORDER_UNSPEC) av_channel_layout_default(&layout, std::max(layout.nb_channels, 1));
    av_channel_layout_describe(&layout, inner, sizeof inner);
    av_channel_layout_describe(&encoder_->ch_layout, outer, sizeof outer);
    // Cuts at samples, counts from the cut, and fills gaps at the beginning and inside with silence.
    const std::string chain =
        "abuffer@in=sample_rate=" + std::to_string(sound.sample_rate) +
        ":sample_fmt=" + av_get_sample_fmt_name(static_cast<AVSampleFormat>(sound.format)) +
        ":channel_layout=" + inner + ":time_base=1/" + std::to_string(sound.sample_rate) +
        ",atrim=start_pts=" + std::to_string(start) + ":end_pts=" + std::to_string(end) + ",asetpts=PTS-(" +
        std::to_string(start) + "),aresample=" + std::to_string(encoder_->sample_rate) +
        ":async=1:first_pts=0:min_hard_comp=0.02,aformat=sample_fmts=" + av_get_sample_fmt_name(encoder_->sample_fmt) +
        ":channel_layouts=" + outer + ",abuffersink@out";
    AVFilterInOut* inputs = nullptr;
    AVFilterInOut* outputs = nullptr;
    const bool isMade = avfilter_graph_parse2(graph_, chain.c_str(), &inputs, &outputs) >= 0 &&
                        avfilter_graph_config(graph_, nullptr) >= 0;
    avfilter_inout_free(&inputs);
    avfilter_inout_free(&outputs);
    if (!isMade) return false;
    source_ = avfilter_graph_get_filter(graph_, "abuffer@in");
    sink_ = avfilter_graph_get_filter(graph_, "abuffersink@out");
    if (!source_ || !sink_) return false;
    const bool takesAnySize = (encoder_->codec->capabilities & AV_CODEC_CAP_VARIABLE_FRAME_SIZE) != 0;
    av_buffersink_set_frame_size(
        sink_, takesAnySize || encoder_->frame_size <= 0 ? 1024 : static_cast<unsigned>(encoder_->frame_size));
    return av_buffersrc_add_frame(source_, decoded_.get()) >= 0;
}

bool ExportSound::decode() {
    while (!isDecoded_) {
        const int received = avcodec_receive_frame(decoder_.get(), decoded_.get());
        if (received >= 0) {
            const std::int64_t time = decoded_->best_effort_timestamp;
            decoded_->pts = time == AV_NOPTS_VALUE
                                ? nextSample_
                                : av_rescale_q(time, file_->stream()->time_base, {1, decoded_->sample_rate});
            nextSample_ = decoded_->pts + decoded_->nb_samples;
            return true;
        }
        if (received == AVERROR_EOF) {
            isDecoded_ = true;
        } else if (file_->read(*packet_) == ClipFile::ReadStatus::packet) {
            avcodec_send_packet(decoder_.get(), packet_.get());  // a packet that cannot be decoded becomes a gap
            av_packet_unref(packet_.get());
        } else {
            avcodec_send_packet(decoder_.get(), nullptr);
        }
    }
    return false;
}

bool ExportSound::nextSamples() {
    while (true) {
        const int filtered = av_buffersink_get_frame(sink_, samples_.get());
        if (filtered >= 0) return true;
        if (filtered != AVERROR(EAGAIN)) return false;
        if (decode()) {
            // Sound that changes its rate does not fit the filters and becomes a gap.
            if (av_buffersrc_add_frame(source_, decoded_.get()) < 0) av_frame_unref(decoded_.get());
        } else if (av_buffersrc_add_frame(source_, nullptr) < 0) {
            return false;
        }
    }
}

Result<void> ExportSound::writeUpTo(double seconds, const Sink& sink) {
    while (!isFinished_ && end_ <= seconds) {
        const bool hasSamples = samples_->nb_samples > 0;
        if (hasSamples) {
            samples_->pts = av_rescale_q(samples_->pts, av_buffersink_get_time_base(sink_), encoder_->time_base);
            end_ = static_cast<double>(samples_->pts + samples_->nb_samples) * av_q2d(encoder_->time_base);
        }
        int result = avcodec_send_frame(encoder_.get(), hasSamples ? samples_.get() : nullptr);
        av_frame_unref(samples_.get());
        while (result >= 0) {
            result = avcodec_receive_packet(encoder_.get(), packet_.get());
            if (result < 0) break;
            Result<void> passedOn = sink(*packet_);
            av_packet_unref(packet_.get());
            if (!passedOn) return passedOn;
        }
        isFinished_ = result == AVERROR_EOF;
        if (result != AVERROR(EAGAIN) && !isFinished_) return Failure{libraryError(result)};
        if (hasSamples) nextSamples();
    }
    return {};
}

}  // namespace videoanalysis::media::ffmpeg
