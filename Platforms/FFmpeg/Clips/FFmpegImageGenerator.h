#pragma once
// The engine's maker of small pictures: decodes each group of pictures once for all the times in it, on a thread of low
// priority. The engine makes it for the trim screen's row of thumbnails.

#include "VideoAnalysis/Platform/Media.h"

#include <functional>
#include <memory>
#include <vector>

namespace videoanalysis::media::ffmpeg {

struct EngineCore;

class FFmpegImageGenerator : public ImageGenerator {
public:
    FFmpegImageGenerator(std::shared_ptr<EngineCore> core, URL url);
    ~FFmpegImageGenerator() override;

    void generate(const std::vector<Time>& times, Size maximumSize, Order order,
                  std::function<void(const GeneratedImage&)> handler) override;
    void cancelAll() override;

private:
    class Worker;

    const std::shared_ptr<EngineCore> core_;
    const std::shared_ptr<Worker> worker_;
    bool isStarted_ = false;
};

}  // namespace videoanalysis::media::ffmpeg
