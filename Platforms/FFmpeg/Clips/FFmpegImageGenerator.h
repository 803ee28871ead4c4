#pragma once
// Generates thumbnails on a low-priority thread, decoding each group of pictures once for all the times in it. The engine
// creates it for the trim screen.

#include "VideoAnalysis/Platform/Media.h"

#include <functional>
#include <memory>
#include <vector>

namespace videoanalysis::media::ffmpeg {

struct EngineCore;

/// Main thread. Handlers are called and destroyed on the main thread.
class FFmpegImageGenerator : public ImageGenerator {
public:
    using Handler = std::function<void(const GeneratedImage&)>;

    FFmpegImageGenerator(std::shared_ptr<EngineCore> core, URL url);
    ~FFmpegImageGenerator() override;

    void generate(const std::vector<Time>& times, Size maximumSize, Order order, Handler handler) override;
    void cancelAll() override;

private:
    class Worker;

    const std::shared_ptr<EngineCore> core_;
    const std::shared_ptr<Worker> worker_;
    bool isStarted_ = false;
};

}  // namespace videoanalysis::media::ffmpeg
