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

constexpr std::int64_t bitsPerChannel = 80000;  // a second
constexpr double clockStretch = 2;              // seconds over which the earliest arrival counts
// How far the sound may be from its clock. Beyond the first it is drawn closer without being noticed, beyond the second there
// is a jump; at the beginning, while the clock is still finding itself, a smaller one.
constexpr double smallestDrift = 0.0005;
constexpr double largestDrift = 0.1;
constexpr double largestDriftAtFirst = 0.02;
constexpr double first = 1.5;          // seconds
constexpr double fastestPull = 0.004;  // of the sound's speed

}  // namespace

void SoundClock::add(std::size_t count, double moment) {
    count_ += static_cast<std::int64_t>(count);
    const double beginning = moment - age();
    if (stretchEnd_ == 0) {
        earliest_ = earliestBefore_ = beginning;
        stretchEnd_ = clockStretch;
    } else if (age() > stretchEnd_) {
        earliestBefore_ = earliest_;
        earliest_ = beginning;
        stretchEnd_ = age() + clockStretch;
    } else {
        earliest_ = std::min(earliest_, beginning);
    }
}

double SoundClock::next() const { return std::min(earliest_, earliestBefore_) + age(); }

std::unique_ptr<MovieSound> MovieSound::open(int sampleRate, int channels, std::string& error) {
    std::unique_ptr<MovieSound> sound(new MovieSound);
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
    sound->encoder_.reset(avcodec_alloc_context3(codec));
    sound->frame_.reset(av_frame_alloc());
    sound->packet_.reset(av_packet_alloc());
    sound->waiting_ = av_audio_fifo_alloc(AV_SAMPLE_FMT_FLTP, channels, outputRate);
    if (!codec || !sound->encoder_ || !sound->frame_ || !sound->packet_ || !sound->waiting_) {
        error = "the sound cannot be encoded";
        return nullptr;
    }
    AVCodecContext& encoder = *sound->encoder_;
    encoder.sample_rate = outputRate;
    encoder.sample_fmt = AV_SAMPLE_FMT_FLTP;
    encoder.bit_rate = bitsPerChannel * channels;
    encoder.time_base = {1, outputRate};
    encoder.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    av_channel_layout_default(&encoder.ch_layout, channels);
    int result = avcodec_open2(&encoder, codec, nullptr);
    if (result >= 0) {
        result = swr_alloc_set_opts2(&sound->resampler_, &encoder.ch_layout, AV_SAMPLE_FMT_FLTP, outputRate,
                                     &encoder.ch_layout, AV_SAMPLE_FMT_FLT, sampleRate, 0, nullptr);
    }
    // It resamples even between equal rates, so that it can pull.
    if (result >= 0) result = av_opt_set_int(sound->resampler_, "flags", SWR_FLAG_RESAMPLE, 0);
    if (result >= 0) result = swr_init(sound->resampler_);
    if (result < 0) {
        error = "the sound cannot be encoded: " + libraryError(result);
        return nullptr;
    }
    sound->inputRate_ = sampleRate;
    sound->channels_ = channels;
    sound->clock_.emplace(sampleRate);
    return sound;
}

MovieSound::~MovieSound() {
    swr_free(&resampler_);
    if (waiting_) av_audio_fifo_free(waiting_);
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
    const double limit = clock_->age() < first ? largestDriftAtFirst : largestDrift;
    if (lead > limit) {
        addSilence(lead);
    } else if (lead < -limit) {
        const auto late = std::min(static_cast<std::size_t>(-lead * inputRate_), count);
        samples += late * static_cast<std::size_t>(channels_);
        count -= late;
    } else if (std::abs(lead) > smallestDrift) {
        const double pull = std::clamp(lead, -fastestPull, fastestPull);
        swr_set_compensation(resampler_, static_cast<int>(std::lround(pull * outputRate)), outputRate);
    }
    if (count > 0) resample(samples, count);
}

void MovieSound::fill(double moment) {
    clock_->reset();
    if (moment > position()) addSilence(moment - position());
}

void MovieSound::addSilence(double seconds) {
    auto count = static_cast<std::size_t>(std::max(std::llround(seconds * inputRate_), 0LL));
    const auto most = static_cast<std::size_t>(inputRate_ / 10);
    const std::vector<float> silence(most * static_cast<std::size_t>(channels_));
    for (; count > 0; count -= std::min(count, most)) resample(silence.data(), std::min(count, most));
}

void MovieSound::resample(const float* samples, std::size_t count) {
    const int room = swr_get_out_samples(resampler_, static_cast<int>(count)) + 32;
    std::vector<float> out(static_cast<std::size_t>(room) * static_cast<std::size_t>(channels_));
    std::array<std::uint8_t*, 2> planes{reinterpret_cast<std::uint8_t*>(out.data()),
                                        reinterpret_cast<std::uint8_t*>(out.data() + (channels_ - 1) * room)};
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(samples);
    const int made = swr_convert(resampler_, planes.data(), room, samples ? &bytes : nullptr, static_cast<int>(count));
    if (made <= 0) return;
    std::array<void*, 2> written{planes[0], planes[1]};
    taken_ += std::max(av_audio_fifo_write(waiting_, written.data(), made), 0);
}

bool MovieSound::encode(bool isEnd, const std::function<bool(AVPacket&)>& write) {
    if (isEnd) resample(nullptr, 0);
    const int frameSize = encoder_->frame_size;
    while (av_audio_fifo_size(waiting_) >= (isEnd ? 1 : frameSize)) {
        av_frame_unref(frame_.get());
        frame_->nb_samples = std::min(frameSize, av_audio_fifo_size(waiting_));
        frame_->format = AV_SAMPLE_FMT_FLTP;
        frame_->sample_rate = outputRate;
        av_channel_layout_copy(&frame_->ch_layout, &encoder_->ch_layout);
        if (av_frame_get_buffer(frame_.get(), 0) < 0) return false;
        std::array<void*, 2> planes{frame_->data[0], frame_->data[channels_ - 1]};
        av_audio_fifo_read(waiting_, planes.data(), frame_->nb_samples);
        frame_->pts = encoded_;
        encoded_ += frame_->nb_samples;
        if (avcodec_send_frame(encoder_.get(), frame_.get()) < 0) return false;
        while (avcodec_receive_packet(encoder_.get(), packet_.get()) >= 0) {
            if (!write(*packet_)) return false;
        }
    }
    if (!isEnd) return true;
    avcodec_send_frame(encoder_.get(), nullptr);
    while (avcodec_receive_packet(encoder_.get(), packet_.get()) >= 0) {
        if (!write(*packet_)) return false;
    }
    return true;
}

}  // namespace videoanalysis::media::ffmpeg
