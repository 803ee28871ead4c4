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
    int decoderThreads = 0;                              ///< of each clip; 0 for as many as the machine has cores
    std::int64_t maxPixels = std::int64_t{8192} * 4608;  ///< clips with larger pictures are refused
    double prefetchDelay =
        0.12;  ///< seconds without a request after which the neighbours of a frame sought are decoded

    friend bool operator==(const FFmpegOptions&, const FFmpegOptions&) = default;
};

/// Main thread. Items and players may outlive the engine.
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
