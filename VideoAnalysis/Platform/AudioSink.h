#pragma once
// Where a media engine's sound goes: a platform that can make sound implements it and hands it to the engine when it is
// made. Without one, clips are silent.

#include <cstddef>
#include <memory>

namespace videoanalysis::media {

/// One stream of sound to a device, 32-bit float, interleaved. Used and destroyed by one of the engine's threads.
class AudioOutput {
public:
    virtual ~AudioOutput() = default;
    /// Takes as many of the `frameCount` sample frames as there is room for, without waiting, and says how many.
    virtual std::size_t write(const float* samples, std::size_t frameCount) = 0;
    /// Seconds from now until a sample written now is heard.
    virtual double latency() const = 0;
    /// Silence at once: what was written and is not heard yet is dropped. Writing begins anew.
    virtual void reset() = 0;
};

class AudioSink {
public:
    virtual ~AudioSink() = default;
    /// One of the engine's threads, several at a time. Null when there is no device; the clip is silent then.
    virtual std::unique_ptr<AudioOutput> open(int sampleRate, int channels) = 0;
};

}  // namespace videoanalysis::media
