#pragma once
// A media engine that wraps another one and reports each unplayable clip to the host once. The program installs it between
// the platform and the real engine.

#include "VideoAnalysis/Platform/Media.h"

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace videoanalysis::host {

/// Main thread only.
class ReportingEngine : public media::Engine {
public:
    /// `report` receives the clip and the reason in one line.
    using Report = std::function<void(const URL& url, const std::string& reason)>;

    ReportingEngine(std::unique_ptr<media::Engine> engine, Report report);

    std::shared_ptr<media::PlayerItem> makePlayerItem(const URL& url) override;
    std::shared_ptr<media::Player> makePlayer(std::shared_ptr<media::PlayerItem> item) override;
    std::shared_ptr<media::ImageGenerator> makeImageGenerator(const URL& url) override;
    std::shared_ptr<media::ExportSession>
    startExport(const media::ExportRequest& request,
                std::function<void(const media::ExportResult&)> completion) override;

private:
    void check(const media::PlayerItem& item, media::PlayerItem::Event event);

    struct Watch {
        std::weak_ptr<media::PlayerItem> item;
        std::shared_ptr<void> observation;
    };

    std::unique_ptr<media::Engine> engine_;
    Report report_;
    std::vector<Watch> watches_;
    std::set<std::string> reported_;
};

}  // namespace videoanalysis::host
