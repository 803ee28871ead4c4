#include "Platforms/FFmpeg/FFmpegEngine.h"

#include "Platforms/FFmpeg/Clips/FFmpegImageGenerator.h"
#include "Platforms/FFmpeg/EngineCore.h"
#include "Platforms/FFmpeg/Export/FFmpegExportSession.h"
#include "Platforms/FFmpeg/Playback/FFmpegPlayer.h"
#include "Platforms/FFmpeg/Playback/FFmpegPlayerItem.h"
#include "Platforms/FFmpeg/Playback/Playback.h"
#include "VideoAnalysis/Platform/FatalError.h"

extern "C" {
#include <libavutil/mem.h>
}

#include <utility>

namespace videoanalysis::media {
namespace {

// The limit in bytes for one allocation of FFmpeg. The largest picture takes 226 MB, the index of 46 hours 240 MB; damaged
// headers ask for more than any machine has.
constexpr std::size_t maxAllocation = std::size_t{512} << 20;

}  // namespace

FFmpegEngine::FFmpegEngine(FFmpegOptions options, std::shared_ptr<AudioSink> audioSink)
    : core_(std::make_shared<ffmpeg::EngineCore>(options, std::move(audioSink))) {
    av_max_alloc(maxAllocation);
}

FFmpegEngine::~FFmpegEngine() = default;

std::shared_ptr<PlayerItem> FFmpegEngine::makePlayerItem(const URL& url) {
    return std::make_shared<ffmpeg::FFmpegPlayerItem>(ffmpeg::Playback::open(core_, url));
}

std::shared_ptr<Player> FFmpegEngine::makePlayer(std::shared_ptr<PlayerItem> item) {
    const auto own = std::dynamic_pointer_cast<ffmpeg::FFmpegPlayerItem>(item);
    if (!own) fatalError("A player was asked for with an item of another engine");
    return std::make_shared<ffmpeg::FFmpegPlayer>(own);
}

std::shared_ptr<ImageGenerator> FFmpegEngine::makeImageGenerator(const URL& url) {
    return std::make_shared<ffmpeg::FFmpegImageGenerator>(core_, url);
}

std::shared_ptr<ExportSession> FFmpegEngine::startExport(const ExportRequest& request,
                                                         std::function<void(const ExportResult&)> completion) {
    return std::make_shared<ffmpeg::FFmpegExportSession>(core_, request, std::move(completion));
}

const FFmpegOptions& FFmpegEngine::options() const { return core_->options; }

CacheStatistics FFmpegEngine::cacheStatistics() const { return core_->cache->statistics(); }

}  // namespace videoanalysis::media
