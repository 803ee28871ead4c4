#include "Platforms/FFmpeg/Playback/SoundPlayer.h"

#include "Platforms/FFmpeg/Clips/SoundDecoder.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace videoanalysis::media::ffmpeg {
namespace {

constexpr auto pollInterval = std::chrono::milliseconds(15);
constexpr double secondsAhead = 0.15;  // how much is written before it is heard
constexpr double largestDrift = 0.03;  // of the sound against the picture before it is put right, seconds

}  // namespace

SoundPlayer::SoundPlayer(URL url, double zero, std::shared_ptr<AudioSink> sink)
    : url_(std::move(url)), zero_(zero), sink_(std::move(sink)) {}

void SoundPlayer::give(Order order) {
    {
        const std::lock_guard lock(mutex_);
        order.number = order_.number + 1;
        order_ = order;
    }
    changed_.notify_all();
}

void SoundPlayer::close() {
    isClosing_ = true;
    stop();
}

void SoundPlayer::play(Clock::time_point start, double seconds, float rate, AudioTimePitchAlgorithm algorithm) {
    give({rate <= highestRate, start, seconds, rate, algorithm, 0});
}

void SoundPlayer::stop() { give({}); }

bool SoundPlayer::isOver(const Order& order) {
    std::unique_lock lock(mutex_);
    return isClosing_ || changed_.wait_for(lock, pollInterval, [&] { return order_.number != order.number; });
}

void SoundPlayer::run() {
    const auto opened = SoundDecoder::open(url_, isClosing_);
    if (!opened) return;
    const std::unique_ptr<SoundDecoder>& decoder = *opened;
    const std::unique_ptr<AudioOutput> output = sink_->open(sampleRate, channels);
    if (!output) return;
    std::int64_t served = 0;
    std::vector<float> samples;
    while (!isClosing_) {
        Order order;
        {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [&] { return isClosing_ || order_.number != served; });
            order = order_;
        }
        served = order.number;
        output->reset();
        if (!order.isPlaying || isClosing_) continue;

        const double rate = static_cast<double>(order.rate);
        const auto clipSecondsAt = [&](Clock::time_point moment) {
            return order.seconds + std::chrono::duration<double>(moment - order.start).count() * rate;
        };
        if (!decoder->start(zero_ + clipSecondsAt(Clock::now()), order.rate, order.algorithm, sampleRate)) continue;
        samples.clear();
        double position = 0;  // of the next sample to be written, in seconds of the clip
        bool hasPosition = false;
        bool isAtEnd = false;
        do {
            // What is written now is heard after the latency; that must be what the clock then points at.
            while (!isAtEnd && output->latency() < secondsAhead) {
                if (samples.empty()) isAtEnd = decoder->next(samples) != true;
                if (samples.empty()) continue;
                if (!std::exchange(hasPosition, true)) position = decoder->firstSeconds() - zero_;
                const double wanted = clipSecondsAt(Clock::now()) + output->latency() * rate;
                const double lead = (position - wanted) / rate;  // seconds to be heard
                if (lead < -largestDrift) {
                    const auto late = std::min(static_cast<std::size_t>(-lead * sampleRate), samples.size() / channels);
                    samples.erase(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(late * channels));
                    position += static_cast<double>(late) / sampleRate * rate;
                } else if (lead > largestDrift) {
                    const std::vector<float> silence(std::min(static_cast<std::size_t>(lead * sampleRate),
                                                              static_cast<std::size_t>(sampleRate / 10)) *
                                                     channels);
                    if (output->write(silence.data(), silence.size() / channels) == 0) break;
                } else {
                    const std::size_t written = output->write(samples.data(), samples.size() / channels);
                    if (written == 0) break;
                    samples.erase(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(written * channels));
                    position += static_cast<double>(written) / sampleRate * rate;
                }
            }
        } while (!isOver(order));
    }
}

}  // namespace videoanalysis::media::ffmpeg
