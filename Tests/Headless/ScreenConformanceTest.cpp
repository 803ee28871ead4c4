// The platform in memory keeps the promises of a screen, as far as they can be kept without a picture.

#include "Testing/ScreenConformance.h"

#include "Platforms/Headless/HeadlessPlatform.h"

namespace videoanalysis::conformance {
namespace {

class HeadlessSubject final : public ScreenSubject {
public:
    HeadlessSubject() { installPlatform(platform_); }

    Platform& platform() override { return *platform_; }
    bool wait(const std::function<bool()>& isDone) override {
        for (int i = 0; i < 1000; ++i) {
            if (isDone()) return true;
            platform_->advance(0.005);
        }
        return false;
    }
    std::shared_ptr<ui::ViewController> startScreen() override { return std::make_shared<ui::ViewController>(); }

private:
    const std::shared_ptr<HeadlessPlatform> platform_ = std::make_shared<HeadlessPlatform>();
};

INSTANTIATE_TEST_SUITE_P(Headless, ScreenConformance,
                         testing::Values(ScreenBackend{"Headless",
                                                       [] { return std::make_unique<HeadlessSubject>(); }}));

}  // namespace
}  // namespace videoanalysis::conformance
