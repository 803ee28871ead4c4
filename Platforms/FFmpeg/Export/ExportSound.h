#pragma once
// The sound of an export: decodes the source's, cuts it to the sample, and encodes it, in the source's codec where the container
// accepts that. The export job writes it along with the pictures.

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
    /// The sound of `url` from `start` to `end`, time stamps of the source in `timeBase`. Null when the clip has none that can be
    /// decoded and encoded.
    static std::unique_ptr<ExportSound> open(const URL& url, std::int64_t start, std::int64_t end, AVRational timeBase,
                                             const ExportFile& target, const std::atomic<bool>& cancelled);
    ~ExportSound();

    /// For the container's stream.
    const AVCodecContext& encoder() const { return *encoder_; }
    using Sink = std::function<Result<void>(AVPacket&)>;
    /// Passes the packets that begin before `seconds` of the export to `sink`, times in the encoder's time base. Fails when
    /// encoding or `sink` does.
    Result<void> writeUpTo(double seconds, const Sink& sink);

private:
    ExportSound() = default;
    bool openEncoder(const ExportFile& target, const AVFrame& sound);
    bool openFilters(const AVFrame& sound, std::int64_t start, std::int64_t end);
    /// Reads the samples of the next packet into `samples_`. False at the end.
    bool nextSamples();
    /// Decodes the next frame into `decoded_`. False at the end.
    bool decode();

    std::unique_ptr<ClipFile> file_;
    CodecContextHandle decoder_;
    CodecContextHandle encoder_;
    PacketHandle packet_;
    FrameHandle decoded_;
    FrameHandle samples_;  // pending for the encoder; empty at the end
    AVFilterGraph* graph_ = nullptr;
    AVFilterContext* source_ = nullptr;  // belongs to the graph, as the next
    AVFilterContext* sink_ = nullptr;
    AVRational sampleTime_{1, 48000};
    std::int64_t nextSample_ = 0;  // presentation time of a frame without one
    double end_ = 0;               // of what has been encoded, in seconds
    bool isDecoded_ = false;
    bool isFinished_ = false;
};

}  // namespace videoanalysis::media::ffmpeg
