#pragma once
// Decodes a clip's sound from any time on, stretched to the playback rate. The sound player's thread drives it.

#include "Platforms/FFmpeg/Clips/ClipFile.h"
#include "VideoAnalysis/Platform/Media.h"

#include <memory>
#include <vector>

struct AVFilterContext;
struct AVFilterGraph;

namespace videoanalysis::media::ffmpeg {

/// One thread.
class SoundDecoder {
public:
    /// Fails when the clip has no sound that can be decoded; otherwise as `ClipFile::open`.
    static Result<std::unique_ptr<SoundDecoder>> open(const URL& url, const std::atomic<bool>& cancelled);
    ~SoundDecoder();

    /// Starts at `seconds` of the file's time, or up to a packet earlier. `rate` is 0.1...2, `sampleRate` the output's in Hz.
    Result<void> start(double seconds, float rate, AudioTimePitchAlgorithm algorithm, int sampleRate);
    /// Appends the next samples, interleaved stereo, to `samples`. False at the end of the stream, which is also where the file
    /// cannot be read further.
    Result<bool> next(std::vector<float>& samples);
    /// The file's time, in seconds, of the first sample since `start`; valid once `next` has returned one.
    double firstSeconds() const { return firstSeconds_; }

private:
    SoundDecoder() = default;
    /// Builds the filter graph for the format of `frame_`.
    Result<void> makeFilters();
    /// Decodes one more frame into the filter graph, or tells it that there is none.
    Result<void> feedFilters();

    std::unique_ptr<ClipFile> file_;
    CodecContextHandle codec_;
    PacketHandle packet_;
    FrameHandle frame_;
    AVFilterGraph* graph_ = nullptr;
    AVFilterContext* source_ = nullptr;  // owned by the graph, as the sink
    AVFilterContext* sink_ = nullptr;
    float rate_ = 1;
    AudioTimePitchAlgorithm algorithm_ = AudioTimePitchAlgorithm::spectral;
    int sampleRate_ = 0;
    double firstSeconds_ = -1;
    bool isAtEnd_ = false;
};

}  // namespace videoanalysis::media::ffmpeg
