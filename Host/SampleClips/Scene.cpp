#include "Host/SampleClips/Scene.h"

#include "Host/SampleClips/Drawing.h"
#include "Host/SampleClips/RunnerScene.h"
#include "Host/SampleClips/TennisScene.h"

#include <cmath>

namespace videoanalysis::samples {

namespace {

// A ball that swings over a plain background: cheap to encode and clearly visible.
class PlainScene : public Scene {
public:
    void draw(cairo_t* cairo, double time) const override {
        fillGradient(cairo, 0, height, 0x2f4858, 0x33658a);
        fillRectangle(cairo, 0, height * 0.8, width, height * 0.2, 0x2a4150);
        const double angle = 2 * std::numbers::pi * time / 2;
        const Point ball{width / 2 + 420 * std::sin(angle), 520 - 320 * std::abs(std::cos(angle))};
        fillEllipse(cairo, {ball.x, 590}, 52, 9, 0x1c2f3b, 0.6);
        fillCircle(cairo, ball, 56, 0xf6ae2d);
        fillCircle(cairo, {ball.x - 16, ball.y - 18}, 16, 0xffd27a);
    }
};

}  // namespace

std::unique_ptr<Scene> Scene::named(std::string_view name) {
    if (name == "runner") {
        return std::make_unique<RunnerScene>();
    }
    if (name == "tennis") {
        return std::make_unique<TennisScene>();
    }
    if (name == "plain") {
        return std::make_unique<PlainScene>();
    }
    return nullptr;
}

}  // namespace videoanalysis::samples
