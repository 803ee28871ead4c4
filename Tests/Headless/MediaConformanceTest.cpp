// The media in memory keeps the promises of the real one, under its own clock.

#include "Testing/MediaConformance.h"

#include "Platforms/Headless/HeadlessPlatform.h"

namespace videoanalysis::conformance {
namespace {

class HeadlessSubject final : public MediaSubject {
public:
    HeadlessSubject() {
        installPlatform(platform_);
        for (const MediaClip& clip : clips())
            platform_->mediaEngine.addClip(clip.url, {clip.frames, clip.frameDuration, clip.size});
    }

    media::Engine& engine() override { return platform_->mediaEngine; }
    bool wait(const std::function<bool()>& isDone) override {
        constexpr double step = 0.005;
        for (double waited = 0; waited < 100; waited += step) {
            if (isDone()) return true;
            platform_->advance(step);
        }
        return false;
    }
    std::vector<MediaClip> clips() const override {
        return {{URL("file:///a.mp4"), 100, {1, 25}, {640, 360}},
                {URL("file:///b.mp4"), 90, {1001, 30000}, {180, 320}}};
    }
    std::vector<URL> unplayable() const override { return {URL("file:///missing.mp4")}; }
    bool hasNumberedFrames() const override { return false; }

private:
    const std::shared_ptr<HeadlessPlatform> platform_ = std::make_shared<HeadlessPlatform>();
};

INSTANTIATE_TEST_SUITE_P(Headless, MediaConformance,
                         testing::Values(MediaBackend{"Headless", [] { return std::make_unique<HeadlessSubject>(); }}));

}  // namespace
}  // namespace videoanalysis::conformance
