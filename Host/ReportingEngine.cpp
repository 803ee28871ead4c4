#include "Host/ReportingEngine.h"

#include <utility>

namespace videoanalysis::host {

ReportingEngine::ReportingEngine(std::unique_ptr<media::Engine> engine, Report report)
    : engine_(std::move(engine)), report_(std::move(report)) {}

std::shared_ptr<media::PlayerItem> ReportingEngine::makePlayerItem(const URL& url) {
    std::erase_if(watches_, [](const Watch& watch) { return watch.item.expired(); });
    std::shared_ptr<media::PlayerItem> item = engine_->makePlayerItem(url);
    const std::weak_ptr<media::PlayerItem> weak = item;
    watches_.push_back({weak, item->observe([this, weak](media::PlayerItem::Event event) {
                            if (const auto watched = weak.lock()) check(*watched, event);
                        })});
    return item;
}

std::shared_ptr<media::Player> ReportingEngine::makePlayer(std::shared_ptr<media::PlayerItem> item) {
    return engine_->makePlayer(std::move(item));
}

std::shared_ptr<media::ImageGenerator> ReportingEngine::makeImageGenerator(const URL& url) {
    return engine_->makeImageGenerator(url);
}

std::shared_ptr<media::ExportSession>
ReportingEngine::startExport(const media::ExportRequest& request,
                             std::function<void(const media::ExportResult&)> completion) {
    return engine_->startExport(request, std::move(completion));
}

void ReportingEngine::check(const media::PlayerItem& item, media::PlayerItem::Event event) {
    const bool breaksOff =
        event == media::PlayerItem::Event::damageFound || event == media::PlayerItem::Event::failedToPlayToEnd;
    if (!breaksOff && item.status() != media::ItemStatus::failed) return;
    if (!reported_.insert(item.url().absoluteString()).second) return;
    std::string reason = item.errorDescription();
    if (reason.empty()) reason = breaksOff ? "playback of the clip failed" : "the clip cannot be played";
    report_(item.url(), reason);
}

}  // namespace videoanalysis::host
