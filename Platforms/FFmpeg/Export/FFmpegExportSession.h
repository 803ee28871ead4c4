#pragma once
// A running export as its caller sees it. The engine makes one for each export; an export job does the work on its own thread.

#include "VideoAnalysis/Platform/Media.h"

#include <functional>
#include <memory>

namespace videoanalysis::media::ffmpeg {

struct EngineCore;
class ExportJob;
class MainPoster;

/// Main thread only. Destroying it cancels the export.
class FFmpegExportSession : public ExportSession {
public:
    /// Starts the export. `completion` is called and destroyed on the main thread.
    FFmpegExportSession(std::shared_ptr<EngineCore> core, const ExportRequest& request,
                        std::function<void(const ExportResult&)> completion);
    ~FFmpegExportSession() override;

    double progress() const override;
    void cancel() override;

private:
    const std::shared_ptr<EngineCore> core_;
    const std::shared_ptr<ExportJob> job_;
    const std::shared_ptr<MainPoster> poster_;
    std::shared_ptr<std::function<void(const ExportResult&)>> completion_;  // the only owner
};

}  // namespace videoanalysis::media::ffmpeg
