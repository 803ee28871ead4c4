#pragma once
// What all players of one engine share. The engine and each player's playback own it together.

#include "Platforms/FFmpeg/FFmpegEngine.h"
#include "Platforms/FFmpeg/FrameCache.h"
#include "Platforms/FFmpeg/SteadyTimer.h"
#include "Platforms/FFmpeg/ThreadKeeper.h"

#include <memory>

namespace videoanalysis::media {

struct EngineCore {
    explicit EngineCore(const FFmpegOptions& options)
        : options(options), cache(std::make_shared<FrameCache>(options.cacheBudget)) {}

    const FFmpegOptions options;
    const std::shared_ptr<FrameCache> cache;
    SteadyTimer timer;
    ThreadKeeper threads;
};

}  // namespace videoanalysis::media
