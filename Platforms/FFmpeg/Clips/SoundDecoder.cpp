#include "Platforms/FFmpeg/Clips/SoundDecoder.h"

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/channel_layout.h>
#include <libavutil/samplefmt.h>
}

#include <cmath>
#include <cstdio>

namespace videoanalysis::media::ffmpeg {

namespace {

Failure libraryFailure(int code) { return {libraryError(code)}; }

}  // namespace

Result<std::unique_ptr<SoundDecoder>> SoundDecoder::open(const URL& url, const std::atomic<bool>& cancelled) {
    auto file = ClipFile::open(url, ClipFile::Content::audio, cancelled);
    if (!file) return file.failure();
    std::unique_ptr<SoundDecoder> decoder(new SoundDecoder);
    decoder->file_ = *std::move(file);
    const AVCodecParameters* parameters = decoder->file_->stream()->codecpar;
    const AVCodec* codec = avcodec_find_decoder(parameters->codec_id);
    if (!codec) return Failure{std::string("no decoder for ") + avcodec_get_name(parameters->codec_id)};
    decoder->codec_ = makeCodecContext(codec);
    decoder->packet_.reset(av_packet_alloc());
    decoder->frame_.reset(av_frame_alloc());
    AVCodecContext* context = decoder->codec_.get();
    if (!context || !decoder->packet_ || !decoder->frame_) return Failure{"out of memory"};
    int result = avcodec_parameters_to_context(context, parameters);
    context->pkt_timebase = decoder->file_->stream()->time_base;
    if (result >= 0) result = avcodec_open2(context, codec, nullptr);
    if (result < 0) return libraryFailure(result);
    return decoder;
}

SoundDecoder::~SoundDecoder() { avfilter_graph_free(&graph_); }

Result<void> SoundDecoder::start(double seconds, float rate, AudioTimePitchAlgorithm algorithm, int sampleRate) {
    avcodec_flush_buffers(codec_.get());
    avfilter_graph_free(&graph_);  // the first frame, whose format it takes, builds the next one
    firstSeconds_ = -1;
    isAtEnd_ = false;
    rate_ = rate;
    algorithm_ = algorithm;
    sampleRate_ = sampleRate;
    const auto timestamp = static_cast<std::int64_t>(std::floor(seconds / av_q2d(file_->stream()->time_base)));
    if (file_->seek(timestamp) || file_->seekToBeginning()) return {};
    return Failure{"its sound cannot be read from " + std::to_string(seconds) + " s"};
}

Result<void> SoundDecoder::makeFilters() {
    graph_ = avfilter_graph_alloc();
    if (!graph_) return Failure{"out of memory"};
    char layout[64] = {};
    av_channel_layout_describe(&frame_->ch_layout, layout, sizeof layout);
    std::string chain = "abuffer=sample_rate=" + std::to_string(frame_->sample_rate) +
                        ":sample_fmt=" + av_get_sample_fmt_name(static_cast<AVSampleFormat>(frame_->format)) +
                        ":channel_layout=" + layout + ":time_base=1/" + std::to_string(frame_->sample_rate);
    const auto tempo = [&chain](double factor) {
        char text[32];
        std::snprintf(text, sizeof text, ",atempo=%.6f", factor);
        chain += text;
    };
    if (algorithm_ == AudioTimePitchAlgorithm::varispeed) {
        chain += ",asetrate=" + std::to_string(std::lround(frame_->sample_rate * static_cast<double>(rate_)));
    } else if (rate_ != 1) {
        double rest = rate_;
        for (; rest < 0.5; rest *= 2) tempo(0.5);  // the minimum of one filter
        tempo(rest);
    }
    chain +=
        ",aresample=" + std::to_string(sampleRate_) + ",aformat=sample_fmts=flt:channel_layouts=stereo,abuffersink";
    AVFilterInOut* inputs = nullptr;
    AVFilterInOut* outputs = nullptr;
    int result = avfilter_graph_parse2(graph_, chain.c_str(), &inputs, &outputs);
    if (result >= 0) result = avfilter_graph_config(graph_, nullptr);
    avfilter_inout_free(&inputs);
    avfilter_inout_free(&outputs);
    if (result < 0) return libraryFailure(result);
    source_ = graph_->filters[0];
    sink_ = nullptr;
    for (unsigned i = 0; i < graph_->nb_filters; ++i) {
        AVFilterContext* filter = graph_->filters[i];
        if (std::string(filter->filter->name) == "abuffersink") sink_ = filter;
        if (std::string(filter->filter->name) == "abuffer") source_ = filter;
    }
    return sink_ ? Result<void>() : Failure{"no audio filter output"};
}

Result<bool> SoundDecoder::next(std::vector<float>& samples) {
    while (true) {
        if (graph_) {
            const int filtered = av_buffersink_get_frame(sink_, frame_.get());
            if (filtered >= 0) {
                const auto* data = reinterpret_cast<const float*>(frame_->data[0]);
                samples.insert(samples.end(), data, data + static_cast<std::ptrdiff_t>(frame_->nb_samples) * 2);
                av_frame_unref(frame_.get());
                return true;
            }
            if (filtered == AVERROR_EOF) return false;
            if (filtered != AVERROR(EAGAIN)) return libraryFailure(filtered);
        }
        if (isAtEnd_) return false;
        const Result<void> fed = feedFilters();
        if (!fed) return fed.failure();
    }
}

Result<void> SoundDecoder::feedFilters() {
    const int received = avcodec_receive_frame(codec_.get(), frame_.get());
    if (received >= 0) {
        if (firstSeconds_ < 0) {
            const std::int64_t time = frame_->best_effort_timestamp;
            firstSeconds_ = time == AV_NOPTS_VALUE ? 0 : static_cast<double>(time) * av_q2d(file_->stream()->time_base);
        }
        if (!graph_) {
            Result<void> made = makeFilters();
            if (!made) {
                avfilter_graph_free(&graph_);
                isAtEnd_ = true;
                return made;
            }
        }
        frame_->pts = AV_NOPTS_VALUE;  // the tempo filter counts samples
        if (av_buffersrc_add_frame(source_, frame_.get()) < 0) av_frame_unref(frame_.get());
    } else if (received == AVERROR_EOF) {
        isAtEnd_ = true;
        if (!graph_) return {};
        const int result = av_buffersrc_add_frame(source_, nullptr);
        if (result < 0) return libraryFailure(result);
    } else if (file_->read(*packet_) == ClipFile::ReadStatus::packet) {
        avcodec_send_packet(codec_.get(), packet_.get());  // a packet that cannot be decoded leaves a gap
        av_packet_unref(packet_.get());
    } else {
        avcodec_send_packet(codec_.get(), nullptr);
    }
    return {};
}

}  // namespace videoanalysis::media::ffmpeg
