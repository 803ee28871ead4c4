#include "VideoAnalysis/Platform/Platform.h"

#include "VideoAnalysis/Platform/FatalError.h"

namespace videoanalysis {
namespace {

std::shared_ptr<Platform>& installed() {
    static std::shared_ptr<Platform> platform;
    return platform;
}

}  // namespace

void installPlatform(std::shared_ptr<Platform> platform) { installed() = std::move(platform); }

Platform& platform() {
    const std::shared_ptr<Platform>& platform = installed();
    if (!platform)
        fatalError("No platform: call videoanalysis::installPlatform() before the first use of the component");
    return *platform;
}

void debugLog(std::string_view line) { platform().debugLog(line); }

}  // namespace videoanalysis
