#pragma once
// Makes one export: copies the groups of pictures that are inside the range as a whole, encodes what the cuts leave of the
// others, and brings pictures and sound into the file in order of time. The export session runs it on a thread.

#include "Platforms/FFmpeg/Clips/ClipDecoder.h"
#include "Platforms/FFmpeg/Export/ExportEncoder.h"
#include "Platforms/FFmpeg/Export/ExportFile.h"
#include "Platforms/FFmpeg/Export/ExportPlan.h"
#include "Platforms/FFmpeg/Export/ExportSound.h"
#include "Platforms/FFmpeg/FFmpegEngine.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

struct AVBSFContext;

namespace videoanalysis::media::ffmpeg {

class ExportJob {
public:
    ExportJob(ExportRequest request, const FFmpegOptions& options, std::shared_ptr<PicturePool> pool);

    /// Once, on any thread. Blocks until the file is there or the reason why it is not.
    ExportResult run();
    /// Any thread.
    void cancel() { isCancelled_ = true; }
    /// Any thread; 0...1.
    double progress() const { return progress_; }

private:
    /// Frames that a cut takes from their group, encoded.
    struct Edge {
        std::vector<PacketHandle> packets;
        std::vector<std::uint8_t> parameterSets;
        std::size_t bytes = 0;  // of the packets
    };

    bool prepare();
    bool write();
    bool copyMost(const ExportPlan& plan);
    bool encodeAll(const ExportPlan& plan);

    /// Decodes the frames from `first` to `last` and encodes them with the encoder that `settings` ask for. `onStart` sees it
    /// with the first picture and may refuse it.
    bool encode(std::int64_t first, std::int64_t last, const ExportEncoder::Settings& settings,
                const std::function<bool(const ExportEncoder&, const AVFrame&)>& onStart,
                const ExportEncoder::Sink& sink);
    bool encodeEdge(std::int64_t first, std::int64_t last, int parameterSet, Edge& edge);
    bool copyPackets(const ExportPlan& plan, AVBSFContext* filter, bool breaksLink);
    /// Adds the streams, pictures like `parameters`, and writes the header.
    bool begin(const AVCodecParameters& parameters, const AVFrame* picture);
    /// Adds the next picture in decoding order; its presentation time is in ticks of the export.
    int addPicture(AVPacket& packet);
    int addSound(double upTo);
    ExportEncoder::Crop storedCrop(const AVFrame& picture) const;
    AVCodecID codecForEncoding() const;
    /// The ticks of the export at which `frame` begins.
    std::int64_t ticksOf(std::int64_t frame) const;
    void advance(double work);
    bool fail(std::string error);
    bool failWith(int code) { return fail(libraryError(code)); }

    const ExportRequest request_;
    const FFmpegOptions options_;
    const std::shared_ptr<PicturePool> pool_;
    std::atomic<bool> isCancelled_ = false;
    std::atomic<double> progress_ = 0;

    std::string error_;
    std::unique_ptr<ClipDecoder> decoder_;
    std::shared_ptr<const ClipIndex> index_;
    std::vector<KeyFrameKind> kinds_;  // of each packet
    double sourcePixels_ = 0;          // of each picture
    std::unique_ptr<ExportFile> file_;
    std::unique_ptr<ExportSound> sound_;
    std::int64_t firstFrame_ = 0;
    std::int64_t lastFrame_ = 0;
    std::int64_t written_ = 0;     // pictures
    std::int64_t reordering_ = 0;  // by how many pictures decoding runs ahead
    double workDone_ = 0;
    double workInAll_ = 1;
};

}  // namespace videoanalysis::media::ffmpeg
