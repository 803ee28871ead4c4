#pragma once
// The sound of an export: decodes the source's, cuts it to the sample, and encodes it again, in the source's codec where the
// container takes that. The export job pulls it along with the pictures.

#include "Platforms/FFmpeg/Clips/ClipFile.h"
#include "Platforms/FFmpeg/Export/ExportFile.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

struct AVFilterContext;
struct AVFilterGraph;

namespace videoanalysis::media::ffmpeg {

/// Used by one thread.
class ExportSound {
public:
    /// The sound of `url` from `start` to `end`, both in `timeBase` of the source's own time. Null when there is none that can
    /// be decoded or encoded.
    static std::unique_ptr<ExportSound> open(const URL& url, std::int64_t start, std::int64_t end, AVRational timeBase,
                                             const ExportFile& target, const std::atomic<bool>& cancelled);
    ~ExportSound();

    /// For the container's stream.
    const AVCodecContext& encoder() const { return *encoder_; }
    using Sink = std::function<int(AVPacket&)>;
    /// Gives `sink` the packets that begin before `seconds` of the export, times in the encoder's time base. `sink` returns 0
    /// or an error, which ends the call and is returned.
    int writeUpTo(double seconds, const Sink& sink);

private:
    ExportSound() = default;
    bool openEncoder(const ExportFile& target, const AVFrame& sound);
    bool openFilters(const AVFrame& sound, std::int64_t start, std::int64_t end);
    /// The next samples after the cut, at most a packet's. False at the end.
    bool nextSamples();
    bool decode();

    std::unique_ptr<ClipFile> file_;
    CodecContextHandle decoder_;
    CodecContextHandle encoder_;
    PacketHandle packet_;
    FrameHandle decoded_;
    FrameHandle samples_;  // waiting for the encoder, when it holds any
    AVFilterGraph* graph_ = nullptr;
    AVFilterContext* source_ = nullptr;  // belongs to the graph, as the next
    AVFilterContext* sink_ = nullptr;
    AVRational sampleTime_{1, 48000};
    std::int64_t nextSample_ = 0;  // where a frame without a time belongs
    double end_ = 0;               // of what has been encoded, seconds
    bool isDecoded_ = false;
    bool isFinished_ = false;
};

}  // namespace videoanalysis::media::ffmpeg
