#include "Platforms/FFmpeg/Export/FFmpegExportSession.h"

#include "Platforms/FFmpeg/EngineCore.h"
#include "Platforms/FFmpeg/Export/ExportJob.h"
#include "Platforms/FFmpeg/MainPoster.h"

#include <utility>

namespace videoanalysis::media::ffmpeg {

FFmpegExportSession::FFmpegExportSession(std::shared_ptr<EngineCore> core, const ExportRequest& request,
                                         std::function<void(const ExportResult&)> completion)
    : core_(std::move(core)), job_(std::make_shared<ExportJob>(request, core_->options, core_->pictures)),
      poster_(std::make_shared<MainPoster>()) {
    // The export's thread holds the completion weakly, so that it is destroyed on the main thread in any case.
    const auto complete = std::make_shared<std::function<void(const ExportResult&)>>(std::move(completion));
    core_->threads.start([job = job_, poster = poster_, weak = std::weak_ptr(complete)] {
        poster->post([weak, result = job->run()] {
            if (const auto alive = weak.lock(); alive && *alive) (*alive)(result);
        });
    });
    completion_ = complete;
}

FFmpegExportSession::~FFmpegExportSession() {
    poster_->close();
    job_->cancel();
}

double FFmpegExportSession::progress() const { return job_->progress(); }

void FFmpegExportSession::cancel() { job_->cancel(); }

}  // namespace videoanalysis::media::ffmpeg
