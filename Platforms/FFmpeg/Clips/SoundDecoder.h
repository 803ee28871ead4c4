#pragma once
// Decodes a clip's sound from any moment on, at the speed it is to be heard. The sound player's thread drives it.

#include "Platforms/FFmpeg/Clips/ClipFile.h"
#include "VideoAnalysis/Platform/Media.h"

#include <memory>
#include <string>
#include <vector>

struct AVFilterContext;
struct AVFilterGraph;

namespace videoanalysis::media::ffmpeg {

/// Used by one thread.
class SoundDecoder {
public:
    /// Null when the clip has no sound that can be decoded.
    static std::unique_ptr<SoundDecoder> open(const URL& url, const std::atomic<bool>& cancelled);
    ~SoundDecoder();

    /// Begins at `seconds` of the file's own time or up to a packet before it. `rate` is 0.1...2. False when that fails.
    bool start(double seconds, float rate, AudioTimePitchAlgorithm algorithm, int sampleRate);
    /// Adds the next samples, interleaved stereo, to `samples`. False at the end.
    bool next(std::vector<float>& samples);
    /// The moment of the file of the first sample that `next` has given since `start`; valid once it has.
    double firstSeconds() const { return firstSeconds_; }

private:
    SoundDecoder() = default;
    bool makeFilters(float rate, AudioTimePitchAlgorithm algorithm, int sampleRate);

    std::unique_ptr<ClipFile> file_;
    CodecContextHandle codec_;
    PacketHandle packet_;
    FrameHandle frame_;
    AVFilterGraph* graph_ = nullptr;
    AVFilterContext* source_ = nullptr;  // belongs to the graph, as the next
    AVFilterContext* sink_ = nullptr;
    float rate_ = 1;
    AudioTimePitchAlgorithm algorithm_ = AudioTimePitchAlgorithm::spectral;
    int sampleRate_ = 0;
    double firstSeconds_ = -1;
    bool isAtEnd_ = false;
};

}  // namespace videoanalysis::media::ffmpeg
