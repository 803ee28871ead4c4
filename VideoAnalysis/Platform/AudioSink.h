#pragma once
// The audio output of a media engine. Implemented by a platform with audio and passed to the engine's constructor; without
// one, clips are silent.

#include <cstddef>
#include <memory>

namespace videoanalysis::media {

/// One audio stream to a device, interleaved 32-bit float. Used and destroyed on one engine thread.
class AudioOutput {
public:
    virtual ~AudioOutput() = default;
    /// Writes as many of the `frameCount` sample frames as fit, without blocking, and returns their count.
    virtual std::size_t write(const float* samples, std::size_t frameCount) = 0;
    /// Latency in seconds of a sample written now.
    virtual double latency() const = 0;
    /// Discards pending samples and restarts the stream.
    virtual void reset() = 0;
};

class AudioSink {
public:
    virtual ~AudioSink() = default;
    /// Any engine thread, concurrently. Null if there is no device; the clip is silent then.
    virtual std::unique_ptr<AudioOutput> open(int sampleRate, int channels) = 0;
};

}  // namespace videoanalysis::media
