#include "Platforms/FFmpeg/Recording/MovieSound.h"

extern "C" {
#include <libavutil/audio_fifo.h>
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

#include <algorithm>
#include <array>
#include <cmath>

namespace videoanalysis::media::ffmpeg {
namespace {

constexpr std::int64_t bitRatePerChannel = 80000;  // bits per second
constexpr double clockWindow = 2;                  // seconds over which the earliest arrival counts
// Seconds by which the sound may be off its clock. From `minDrift` on it is resampled towards the clock, inaudibly; beyond
// `maxDrift` samples are inserted or dropped. While the clock settles, that happens sooner.
constexpr double minDrift = 0.0005;
constexpr double maxDrift = 0.1;
constexpr double maxDriftWhileSettling = 0.02;
constexpr double settlingTime = 1.5;     // seconds
constexpr double maxCorrection = 0.004;  // of the sound's speed

Failure brokenOff(int code) { return Failure{"the recording broke off: " + libraryError(code)}; }

}  // namespace

void SoundClock::add(std::size_t count, double moment) {
    count_ += static_cast<std::int64_t>(count);
    const double beginning = moment - age();
    if (windowEnd_ == 0) {
        earliest_ = earliestBefore_ = beginning;
        windowEnd_ = clockWindow;
    } else if (age() > windowEnd_) {
        earliestBefore_ = earliest_;
        earliest_ = beginning;
        windowEnd_ = age() + clockWindow;
    } else {
        earliest_ = std::min(earliest_, beginning);
    }
}

double SoundClock::next() const { return std::min(earliest_, earliestBefore_) + age(); }

Result<std::unique_ptr<MovieSound>> MovieSound::open(int sampleRate, int channels) {
    std::unique_ptr<MovieSound> sound(new MovieSound);
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
    sound->encoder_ = makeCodecContext(codec);
    sound->frame_.reset(av_frame_alloc());
    sound->packet_.reset(av_packet_alloc());
    sound->pending_ = av_audio_fifo_alloc(AV_SAMPLE_FMT_FLTP, channels, outputRate);
    if (!codec || !sound->encoder_ || !sound->frame_ || !sound->packet_ || !sound->pending_) {
        return Failure{"the sound cannot be encoded"};
    }
    AVCodecContext& encoder = *sound->encoder_;
    encoder.sample_rate = outputRate;
    encoder.sample_fmt = AV_SAMPLE_FMT_FLTP;
    encoder.bit_rate = bitRatePerChannel * channels;
    encoder.time_base = {1, outputRate};
    encoder.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    av_channel_layout_default(&encoder.ch_layout, channels);
    int result = avcodec_open2(&encoder, codec, nullptr);
    if (result >= 0) {
        result = swr_alloc_set_opts2(&sound->resampler_, &encoder.ch_layout, AV_SAMPLE_FMT_FLTP, outputRate,
                                     &encoder.ch_layout, AV_SAMPLE_FMT_FLT, sampleRate, 0, nullptr);
    }
    // Resamples even between equal rates, to be able to correct the speed.
    if (result >= 0) result = av_opt_set_int(sound->resampler_, "flags", SWR_FLAG_RESAMPLE, 0);
    if (result >= 0) result = swr_init(sound->resampler_);
    if (result < 0) return Failure{"the sound cannot be encoded: " + libraryError(result)};
    sound->inputRate_ = sampleRate;
    sound->channels_ = channels;
    sound->clock_.emplace(sampleRate);
    return sound;
}

MovieSound::~MovieSound() {
    swr_free(&resampler_);
    if (pending_) av_audio_fifo_free(pending_);
}

double MovieSound::position() const {
    return static_cast<double>(taken_ + swr_get_delay(resampler_, outputRate)) / outputRate;
}

void MovieSound::add(const float* samples, std::size_t count, double moment) {
    clock_->add(count, moment);
    const double length = static_cast<double>(count) / inputRate_;
    const double due = clock_->next() - length;  // of the block's first sample
    if (due + length <= 0) return;
    const double lead = due - position();
    const double limit = clock_->age() < settlingTime ? maxDriftWhileSettling : maxDrift;
    if (lead > limit) {
        addSilence(lead);
    } else if (lead < -limit) {
        const auto late = std::min(static_cast<std::size_t>(-lead * inputRate_), count);
        samples += late * static_cast<std::size_t>(channels_);
        count -= late;
    } else if (std::abs(lead) > minDrift) {
        const double correction = std::clamp(lead, -maxCorrection, maxCorrection);
        swr_set_compensation(resampler_, static_cast<int>(std::lround(correction * outputRate)), outputRate);
    }
    if (count > 0) resample(samples, count);
}

void MovieSound::fill(double moment) {
    clock_->reset();
    if (moment > position()) addSilence(moment - position());
}

void MovieSound::addSilence(double seconds) {
    auto count = static_cast<std::size_t>(std::max(std::llround(seconds * inputRate_), 0LL));
    const auto maxBlock = static_cast<std::size_t>(inputRate_ / 10);
    const std::vector<float> silence(maxBlock * static_cast<std::size_t>(channels_));
    for (; count > 0; count -= std::min(count, maxBlock)) resample(silence.data(), std::min(count, maxBlock));
}

void MovieSound::resample(const float* samples, std::size_t count) {
    const int room = swr_get_out_samples(resampler_, static_cast<int>(count)) + 32;
    std::vector<float> out(static_cast<std::size_t>(room) * static_cast<std::size_t>(channels_));
    std::array<std::uint8_t*, 2> planes{
        reinterpret_cast<std::uint8_t*>(out.data()),
        reinterpret_cast<std::uint8_t*>(out.data() + std::ptrdiff_t{channels_ - 1} * room)};
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(samples);
    const int made = swr_convert(resampler_, planes.data(), room, samples ? &bytes : nullptr, static_cast<int>(count));
    if (made <= 0) return;
    std::array<void*, 2> written{planes[0], planes[1]};
    taken_ += std::max(av_audio_fifo_write(pending_, written.data(), made), 0);
}

Result<void> MovieSound::encode(const Sink& sink) { return encodePending(encoder_->frame_size, sink); }

Result<void> MovieSound::flush(const Sink& sink) {
    resample(nullptr, 0);
    if (Result<void> encoded = encodePending(1, sink); !encoded) return encoded;
    avcodec_send_frame(encoder_.get(), nullptr);
    return passOnPackets(sink);
}

Result<void> MovieSound::encodePending(int minCount, const Sink& sink) {
    while (av_audio_fifo_size(pending_) >= minCount) {
        av_frame_unref(frame_.get());
        frame_->nb_samples = std::min(encoder_->frame_size, av_audio_fifo_size(pending_));
        frame_->format = AV_SAMPLE_FMT_FLTP;
        frame_->sample_rate = outputRate;
        av_channel_layout_copy(&frame_->ch_layout, &encoder_->ch_layout);
        int result = av_frame_get_buffer(frame_.get(), 0);
        if (result < 0) return brokenOff(result);
        std::array<void*, 2> planes{frame_->data[0], frame_->data[channels_ - 1]};
        av_audio_fifo_read(pending_, planes.data(), frame_->nb_samples);
        frame_->pts = encoded_;
        encoded_ += frame_->nb_samples;
        result = avcodec_send_frame(encoder_.get(), frame_.get());
        if (result < 0) return brokenOff(result);
        if (Result<void> passedOn = passOnPackets(sink); !passedOn) return passedOn;
    }
    return {};
}

Result<void> MovieSound::passOnPackets(const Sink& sink) {
    while (avcodec_receive_packet(encoder_.get(), packet_.get()) >= 0) {
        if (Result<void> passedOn = sink(*packet_); !passedOn) return passedOn;
    }
    return {};
}

}  // namespace videoanalysis::media::ffmpeg
