#pragma once
// The sound of a movie that is being recorded: places what a microphone delivers on the movie's clock, makes up for the drift
// between the two and for what is missing, and encodes it. The movie encoder feeds it.

#include "Platforms/FFmpeg/LibraryHandles.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

struct AVAudioFifo;
struct SwrContext;

namespace videoanalysis::media::ffmpeg {

/// Finds the moment at which a sound device's first sample was heard from the moments at which its blocks arrive: late by
/// whatever delayed them, so that the earliest of the last seconds count. Seconds on any clock.
class SoundClock {
public:
    explicit SoundClock(int sampleRate) : sampleRate_(sampleRate) {}

    /// `count` further samples had been heard by `moment`.
    void add(std::size_t count, double moment);
    /// When the next sample after those added was or will be heard. Nothing before the first `add`.
    double next() const;
    /// Seconds of sound since the beginning or the last `reset`.
    double age() const { return static_cast<double>(count_) / sampleRate_; }
    /// The device paused: what comes next begins anew.
    void reset() { *this = SoundClock(sampleRate_); }

private:
    int sampleRate_;
    std::int64_t count_ = 0;
    double earliest_ = 0;  ///< moment of the first sample, in the current stretch and the one before
    double earliestBefore_ = 0;
    double stretchEnd_ = 0;  ///< in seconds of sound
};

/// Used by one thread. Its time is the movie's, in seconds.
class MovieSound {
public:
    /// Of sound that comes in at `sampleRate` with 1 or 2 channels. Null with one line in `error` when it cannot be encoded.
    static std::unique_ptr<MovieSound> open(int sampleRate, int channels, std::string& error);
    ~MovieSound();
    MovieSound(const MovieSound&) = delete;
    MovieSound& operator=(const MovieSound&) = delete;

    const AVCodecContext& encoder() const { return *encoder_; }
    /// The end of the sound so far.
    double position() const;

    /// Interleaved samples, the last of which was heard no later than `moment`. What was heard before zero is left out.
    void add(const float* samples, std::size_t count, double moment);
    /// The device is silent or gone: silence up to `moment`; what it delivers later begins anew.
    void fill(double moment);
    /// Encodes what is complete, at the end all that is left, and hands over each packet; false when that fails or `write`
    /// says so.
    bool encode(bool isEnd, const std::function<bool(AVPacket&)>& write);

private:
    MovieSound() = default;

    void addSilence(double seconds);
    void resample(const float* samples, std::size_t count);

    static constexpr int outputRate = 48000;

    int inputRate_ = 0;
    int channels_ = 0;
    CodecContextHandle encoder_;
    FrameHandle frame_;
    PacketHandle packet_;
    SwrContext* resampler_ = nullptr;
    AVAudioFifo* waiting_ = nullptr;
    std::int64_t taken_ = 0;    ///< samples put into `waiting_`, at the output's rate
    std::int64_t encoded_ = 0;  ///< samples handed to the encoder
    std::optional<SoundClock> clock_;
};

}  // namespace videoanalysis::media::ffmpeg
