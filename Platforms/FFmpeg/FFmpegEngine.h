#pragma once
// The media engine: opens clips with the FFmpeg libraries and shows every frame of them exactly, backward as smoothly as
// forward. A host's platform returns one from `Platform::media`.

#include "Platforms/FFmpeg/CacheStatistics.h"
#include "VideoAnalysis/Platform/AudioSink.h"
#include "VideoAnalysis/Platform/Media.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace videoanalysis::media {

namespace ffmpeg {
struct EngineCore;
}

struct FFmpegOptions {
    std::size_t cacheBudget = std::size_t{512} << 20;    ///< bytes of decoded frames, all players together
    int decoderThreads = 0;                              ///< per clip; 0 for one per processor core
    std::int64_t maxPixels = std::int64_t{8192} * 4608;  ///< clips with larger pictures are refused
    double prefetchDelay = 0.12;  ///< seconds without a request until the neighbours of a frame are prefetched

    friend bool operator==(const FFmpegOptions&, const FFmpegOptions&) = default;
};

/// Main thread only. Items and players may outlive the engine.
///
/// What FFmpeg shares within the process: the engine limits a single allocation of FFmpeg to 512 MB. It leaves the log to the
/// host. Codecs of this backend log at debug level; containers, protocols and the parsers inside them log as FFmpeg does by
/// default, several lines for a damaged clip and one for each finished recording. A host that wants none of it calls
/// `av_log_set_level(AV_LOG_QUIET)`.
class FFmpegEngine : public Engine {
public:
    /// Clips are silent without an `audioSink`.
    explicit FFmpegEngine(FFmpegOptions options = {}, std::shared_ptr<AudioSink> audioSink = nullptr);
    ~FFmpegEngine() override;

    std::shared_ptr<PlayerItem> makePlayerItem(const URL& url) override;
    std::shared_ptr<Player> makePlayer(std::shared_ptr<PlayerItem> item) override;
    std::shared_ptr<ImageGenerator> makeImageGenerator(const URL& url) override;
    std::shared_ptr<ExportSession> startExport(const ExportRequest& request,
                                               std::function<void(const ExportResult&)> completion) override;

    const FFmpegOptions& options() const;
    /// Any thread.
    CacheStatistics cacheStatistics() const;

private:
    std::shared_ptr<ffmpeg::EngineCore> core_;
};

}  // namespace videoanalysis::media
