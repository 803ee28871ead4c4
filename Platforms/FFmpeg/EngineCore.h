#pragma once
// What the players and exports of one engine share. The engine and each of them own it together.

#include "Platforms/FFmpeg/Clips/PicturePool.h"
#include "Platforms/FFmpeg/FFmpegEngine.h"
#include "Platforms/FFmpeg/Playback/FrameCache.h"
#include "Platforms/FFmpeg/Playback/SteadyTimer.h"
#include "Platforms/FFmpeg/ThreadKeeper.h"

#include <memory>
#include <utility>

namespace videoanalysis::media::ffmpeg {

struct EngineCore {
    EngineCore(const FFmpegOptions& options, std::shared_ptr<AudioSink> audioSink)
        : options(options), cache(std::make_shared<FrameCache>(options.cacheBudget)), audioSink(std::move(audioSink)) {}

    const FFmpegOptions options;
    const std::shared_ptr<FrameCache> cache;
    const std::shared_ptr<PicturePool> pictures = std::make_shared<PicturePool>();
    const std::shared_ptr<AudioSink> audioSink;  // null for silence
    SteadyTimer timer;
    ThreadKeeper threads;
};

}  // namespace videoanalysis::media::ffmpeg
