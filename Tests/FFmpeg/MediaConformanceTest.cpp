// The media engine on the made clips, one of each way in which clips are stored.

#include "Testing/MediaConformance.h"

#include "FFmpeg/MediaTest.h"

namespace videoanalysis::conformance {
namespace {

class FFmpegSubject final : public MediaSubject {
public:
    FFmpegSubject() { installPlatform(platform_); }

    media::Engine& engine() override { return engine_; }
    bool wait(const std::function<bool()>& isDone) override { return media::turnUntil(platform_->queue, isDone); }
    std::vector<MediaClip> clips() const override {
        const media::Time frame(1, 30);
        const Size small{320, 180};
        return {{clip("h264.mp4"), 120, frame, {640, 360}}, {clip("open-group.mp4"), 120, frame, small},
                {clip("hevc.mp4"), 120, frame, small},      {clip("vp9.webm"), 120, frame, small, 0.0011},
                {clip("mpeg4.avi"), 120, frame, small},     {clip("variable.mp4"), 120, {}, small}};
    }
    std::vector<URL> unplayable() const override {
        return {clip("missing.mp4"), clip("text.mp4"), clip("empty.mp4"), clip("audio-only.mp4"), clip(".")};
    }

private:
    static URL clip(const std::string& name) { return URL(VIDEOANALYSIS_TEST_CLIPS_DIR "/" + name); }

    const std::shared_ptr<HeadlessPlatform> platform_ = std::make_shared<HeadlessPlatform>();
    media::FFmpegEngine engine_;
};

const MediaBackend backend{"FFmpeg", [] { return std::make_unique<FFmpegSubject>(); }};

INSTANTIATE_TEST_SUITE_P(FFmpeg, MediaConformance, testing::Values(backend));
INSTANTIATE_TEST_SUITE_P(FFmpeg, MediaExportConformance, testing::Values(backend));

}  // namespace
}  // namespace videoanalysis::conformance
