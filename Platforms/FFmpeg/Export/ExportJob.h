#pragma once
// Runs one export: copies the groups of pictures that lie inside the range, encodes what the cuts leave of the others, and writes
// pictures and sound interleaved by time. The export session runs it on a thread.

#include "Platforms/FFmpeg/Clips/ClipDecoder.h"
#include "Platforms/FFmpeg/Export/ExportEncoder.h"
#include "Platforms/FFmpeg/Export/ExportFile.h"
#include "Platforms/FFmpeg/Export/ExportPlan.h"
#include "Platforms/FFmpeg/Export/ExportSound.h"
#include "Platforms/FFmpeg/Export/ExportTimes.h"
#include "Platforms/FFmpeg/Export/StreamJoin.h"
#include "Platforms/FFmpeg/FFmpegEngine.h"
#include "Platforms/FFmpeg/Result.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace videoanalysis::media::ffmpeg {

class ExportJob {
public:
    ExportJob(ExportRequest request, const FFmpegOptions& options, std::shared_ptr<PicturePool> pool);

    /// Once, on any thread. Blocks until the export has finished, failed or been cancelled.
    ExportResult run();
    /// Any thread.
    void cancel() { isCancelled_ = true; }
    /// Any thread; 0...1, never decreasing.
    double progress() const { return progress_; }

private:
    Result<void> prepare();
    Result<void> write();
    Result<void> encodeAll();
    Result<void> copyMost(const ExportPlan& plan);
    Result<void> writeJoined(const ExportPlan& plan, StreamJoin& join, const EncodedEdge& head,
                             const EncodedEdge& tail);

    /// Decodes the frames from `first` to `last` and encodes them as `settings` say. `onStart` is called with the first picture
    /// and may fail.
    Result<void> encode(std::int64_t first, std::int64_t last, const ExportEncoder::Settings& settings,
                        const std::function<Result<void>(const ExportEncoder&, const AVFrame&)>& onStart,
                        const ExportEncoder::Sink& sink);
    /// The next picture from `first` to `last`, with its number in `number`; null after `last`.
    Result<FrameHandle> nextPicture(std::int64_t first, std::int64_t last, std::int64_t& number);
    /// Empty when `first` is after `last`.
    Result<EncodedEdge> encodeEdge(std::int64_t first, std::int64_t last, int parameterSet);
    /// A reader of the source that has just read `packet`, the one with `number`.
    Result<std::unique_ptr<ClipFile>> readerAt(std::int64_t number, AVPacket& packet);
    Result<void> copyPackets(const ExportPlan& plan, StreamJoin& join);
    /// Adds the streams, pictures like `parameters`, and writes the header. `picture` may be null.
    Result<void> begin(const AVCodecParameters& parameters, const AVFrame* picture);
    /// Adds the next picture in decoding order; its presentation time is in ticks of the export.
    Result<void> addPicture(AVPacket& packet);
    /// Adds the sound up to `seconds` of the export.
    Result<void> addSound(double seconds);
    ExportEncoder::Crop storedCrop(const AVFrame& picture) const;
    AVCodecID codecForEncoding() const;
    const AVStream& source() const { return *decoder_->file().stream(); }
    void advance(double work);

    const ExportRequest request_;
    const FFmpegOptions options_;
    const std::shared_ptr<PicturePool> pool_;
    std::atomic<bool> isCancelled_ = false;
    std::atomic<double> progress_ = 0;

    /// Used by the thread of `run` only.
    std::unique_ptr<ClipDecoder> decoder_;
    std::shared_ptr<const ClipIndex> index_;
    std::vector<KeyframeKind> kinds_;  // of each packet
    double sourcePixels_ = 0;          // of each picture
    std::unique_ptr<ExportFile> file_;
    std::unique_ptr<ExportSound> sound_;  // null for a silent clip
    std::optional<ExportTimes> times_;
    double workDone_ = 0;
    double totalWork_ = 1;
};

}  // namespace videoanalysis::media::ffmpeg
