#include "Platforms/FFmpeg/Playback/SoundPlayer.h"

#include "Platforms/FFmpeg/Clips/SoundDecoder.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace videoanalysis::media::ffmpeg {
namespace {

constexpr auto pollInterval = std::chrono::milliseconds(15);
constexpr double secondsAhead = 0.15;  // written before they are heard
constexpr double maxDrift = 0.03;      // seconds that the sound may be off the clock before it is corrected
constexpr double maxSilence = 0.1;     // seconds, written at once while the sound is ahead

}  // namespace

/// One stretch of sound: decodes and writes samples so that what is heard follows the order's clock. Owned by the sound thread.
class SoundPlayer::Stretch {
public:
    Stretch(const Order& order, double zero, SoundDecoder& decoder, AudioOutput& output)
        : order_(order), rate_(static_cast<double>(order.rate)), zero_(zero), decoder_(decoder), output_(output) {}

    Result<void> start() {
        return decoder_.start(zero_ + clipSecondsAt(Clock::now()), order_.rate, order_.algorithm, sampleRate);
    }
    /// Fills the output's buffer.
    void write() {
        while (!isAtEnd_ && output_.latency() < secondsAhead) {
            if (samples_.empty()) isAtEnd_ = decoder_.next(samples_) != true;
            if (!samples_.empty() && !writeOnce()) return;
        }
    }

private:
    double clipSecondsAt(Clock::time_point time) const {
        return order_.seconds + std::chrono::duration<double>(time - order_.start).count() * rate_;
    }

    /// Writes samples, or silence while they are early; drops late ones. False when the output takes nothing.
    bool writeOnce() {
        if (!std::exchange(hasPosition_, true)) position_ = decoder_.firstSeconds() - zero_;
        // What is written now is heard after the latency; it must be what the clock shows then.
        const double wanted = clipSecondsAt(Clock::now()) + output_.latency() * rate_;
        const double lead = (position_ - wanted) / rate_;  // seconds of output
        if (lead < -maxDrift) {
            drop(std::min(static_cast<std::size_t>(-lead * sampleRate), samples_.size() / channels));
            return true;
        }
        if (lead > maxDrift) {
            const auto frames = static_cast<std::size_t>(std::min(lead, maxSilence) * sampleRate);
            const std::vector<float> silence(frames * channels);
            return output_.write(silence.data(), frames) != 0;
        }
        const std::size_t written = output_.write(samples_.data(), samples_.size() / channels);
        drop(written);
        return written != 0;
    }
    /// Removes the first `frames` samples of each channel.
    void drop(std::size_t frames) {
        samples_.erase(samples_.begin(), samples_.begin() + static_cast<std::ptrdiff_t>(frames * channels));
        position_ += static_cast<double>(frames) / sampleRate * rate_;
    }

    const Order order_;
    const double rate_;
    const double zero_;
    SoundDecoder& decoder_;
    AudioOutput& output_;
    std::vector<float> samples_;  // decoded and not written yet
    double position_ = 0;         // of the first of them, in seconds of the clip
    bool hasPosition_ = false;
    bool isAtEnd_ = false;
};

SoundPlayer::SoundPlayer(URL url, double zero, std::shared_ptr<AudioSink> sink)
    : url_(std::move(url)), zero_(zero), sink_(std::move(sink)) {}

void SoundPlayer::give(Order order) {
    {
        const std::lock_guard lock(shared_.mutex);
        order.number = shared_.order.number + 1;
        shared_.order = order;
    }
    shared_.changed.notify_all();
}

void SoundPlayer::close() {
    isClosing_ = true;
    stop();
}

void SoundPlayer::play(Clock::time_point start, double seconds, float rate, AudioTimePitchAlgorithm algorithm) {
    give({rate <= maxRate, start, seconds, rate, algorithm, 0});
}

void SoundPlayer::stop() { give({}); }

void SoundPlayer::run() {
    const auto decoder = SoundDecoder::open(url_, isClosing_);
    if (!decoder) return;
    const std::unique_ptr<AudioOutput> output = sink_->open(sampleRate, channels);
    if (!output) return;
    std::int64_t served = 0;
    while (!isClosing_) {
        const Order order = nextOrder(served);
        served = order.number;
        output->reset();
        if (!order.isPlaying || isClosing_) continue;
        Stretch stretch(order, zero_, **decoder, *output);
        if (!stretch.start()) continue;
        do {
            stretch.write();
        } while (!isReplaced(order));
    }
}

SoundPlayer::Order SoundPlayer::nextOrder(std::int64_t served) {
    std::unique_lock lock(shared_.mutex);
    shared_.changed.wait(lock, [&] { return isClosing_ || shared_.order.number != served; });
    return shared_.order;
}

bool SoundPlayer::isReplaced(const Order& order) {
    std::unique_lock lock(shared_.mutex);
    const auto hasChanged = [&] { return shared_.order.number != order.number; };
    return isClosing_ || shared_.changed.wait_for(lock, pollInterval, hasChanged);
}

}  // namespace videoanalysis::media::ffmpeg
