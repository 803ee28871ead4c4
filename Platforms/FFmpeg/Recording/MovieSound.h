#pragma once
// The sound of a movie that is being recorded: aligns what a microphone delivers with the movie's clock, compensates for drift
// and gaps, and encodes the result as AAC. The movie encoder feeds it.

#include "Platforms/FFmpeg/LibraryHandles.h"
#include "Platforms/FFmpeg/Result.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

struct AVAudioFifo;
struct SwrContext;

namespace videoanalysis::media::ffmpeg {

/// Estimates when a sound device's samples were heard from the arrival times of its blocks. Arrivals are only ever late, so the
/// earliest of the last few seconds counts. Seconds on any clock.
class SoundClock {
public:
    explicit SoundClock(int sampleRate) : sampleRate_(sampleRate) {}

    /// `count` further samples had been heard by `moment`.
    void add(std::size_t count, double moment);
    /// When the next sample after those added is heard. Valid after the first `add`.
    double next() const;
    /// Seconds of sound since construction or the last `reset`.
    double age() const { return static_cast<double>(count_) / sampleRate_; }
    /// Starts over with the next block, after a pause of the device.
    void reset() { *this = SoundClock(sampleRate_); }

private:
    int sampleRate_;
    std::int64_t count_ = 0;
    double earliest_ = 0;        ///< estimate for the first sample from the current window
    double earliestBefore_ = 0;  ///< the same from the window before
    double windowEnd_ = 0;       ///< in seconds of sound
};

/// Used by one thread. Times are the movie's, in seconds.
class MovieSound {
public:
    using Sink = std::function<Result<void>(AVPacket&)>;

    /// For input at `sampleRate` samples per second with 1 or 2 channels.
    static Result<std::unique_ptr<MovieSound>> open(int sampleRate, int channels);
    ~MovieSound();
    MovieSound(const MovieSound&) = delete;
    MovieSound& operator=(const MovieSound&) = delete;

    const AVCodecContext& encoder() const { return *encoder_; }
    /// The end of the sound so far.
    double position() const;

    /// Adds interleaved samples, the last of which was heard no later than `moment`. Samples before time zero are dropped.
    void add(const float* samples, std::size_t count, double moment);
    /// Adds silence up to `moment`, while the device delivers nothing.
    void fill(double moment);
    /// Encodes the complete frames and passes the packets to `sink`. Fails when encoding or `sink` does.
    Result<void> encode(const Sink& sink);
    /// Encodes everything pending. Only destruction is valid afterwards.
    Result<void> flush(const Sink& sink);

private:
    MovieSound() = default;

    /// Encodes pending samples while there are at least `minCount`.
    Result<void> encodePending(int minCount, const Sink& sink);
    Result<void> passOnPackets(const Sink& sink);
    void addSilence(double seconds);
    void resample(const float* samples, std::size_t count);

    static constexpr int outputRate = 48000;

    int inputRate_ = 0;
    int channels_ = 0;
    CodecContextHandle encoder_;
    FrameHandle frame_;
    PacketHandle packet_;
    SwrContext* resampler_ = nullptr;
    AVAudioFifo* pending_ = nullptr;
    std::int64_t taken_ = 0;    ///< samples put into `pending_`, at the output's rate
    std::int64_t encoded_ = 0;  ///< samples passed to the encoder
    std::optional<SoundClock> clock_;
};

}  // namespace videoanalysis::media::ffmpeg
