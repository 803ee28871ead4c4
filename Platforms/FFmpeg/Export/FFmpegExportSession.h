#pragma once
// An export under way, as whoever started it sees it; the work is an export job's, on a thread of its own. The engine makes it.

#include "VideoAnalysis/Platform/Media.h"

#include <functional>
#include <memory>

namespace videoanalysis::media::ffmpeg {

struct EngineCore;
class ExportJob;
class MainPoster;

class FFmpegExportSession : public ExportSession {
public:
    /// Starts the work.
    FFmpegExportSession(std::shared_ptr<EngineCore> core, const ExportRequest& request,
                        std::function<void(const ExportResult&)> completion);
    ~FFmpegExportSession() override;

    double progress() const override;
    void cancel() override;

private:
    const std::shared_ptr<EngineCore> core_;
    const std::shared_ptr<ExportJob> job_;
    const std::shared_ptr<MainPoster> poster_;
    std::shared_ptr<std::function<void(const ExportResult&)>> completion_;  // nobody else keeps it
};

}  // namespace videoanalysis::media::ffmpeg
