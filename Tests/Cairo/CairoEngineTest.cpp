#include "Platforms/Cairo/CairoEngine.h"

#include "Testing/GraphicsConformance.h"
#include "VideoAnalysis/Platform/DrawingCancellation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <random>
#include <vector>

namespace videoanalysis::conformance {

// Its blur is closer to the Gaussian than three box filters are.
INSTANTIATE_TEST_SUITE_P(Cairo, GraphicsConformance,
                         testing::Values(GraphicsBackend{"Cairo",
                                                         [] { return std::make_unique<graphics::CairoEngine>(); }, 3}));

}  // namespace videoanalysis::conformance

namespace videoanalysis::graphics {
namespace {

using conformance::Canvas;
using conformance::polyline;
using conformance::strokeRound;

constexpr Color red{1, 0, 0, 1};

class CairoEngineTest : public testing::Test {
protected:
    CairoEngine engine;
};

/// The distance from `p` to a curve, sampled.
double distanceToCurve(Point p, Point from, Point control, Point to) {
    double nearest = std::numeric_limits<double>::infinity();
    for (int i = 0; i <= 400; ++i) {
        const double t = i / 400.0;
        const double x = (1 - t) * (1 - t) * from.x + 2 * t * (1 - t) * control.x + t * t * to.x;
        const double y = (1 - t) * (1 - t) * from.y + 2 * t * (1 - t) * control.y + t * t * to.y;
        nearest = std::min(nearest, std::hypot(p.x - x, p.y - y));
    }
    return nearest;
}

TEST_F(CairoEngineTest, FreehandStrokesCoverThePixelsNearTheirCurve) {
    std::mt19937 generator(3);
    std::uniform_real_distribution<double> coordinate(-5, 45);
    for (const double scale : {1.0, 1.5}) {
        for (int round = 0; round < 60; ++round) {
            const Point from{coordinate(generator), coordinate(generator)};
            const Point control{coordinate(generator), coordinate(generator)};
            const Point to{coordinate(generator), coordinate(generator)};
            // Some so wide that they fill rows of the picture.
            const double width = round % 4 == 3 ? 16 + round : 1 + round % 7;
            Path path;
            path.move(from);
            path.addQuadCurve(control, to);
            Canvas canvas(engine, static_cast<int>(40 * scale), static_cast<int>(40 * scale), scale);
            canvas.context->setStrokeColor(red);
            strokeRound(*canvas.context, path, width);
            for (int y = 0; y < canvas.bitmap.height; ++y) {
                for (int x = 0; x < canvas.bitmap.width; ++x) {
                    const double distance = distanceToCurve({(x + 0.5) / scale, (y + 0.5) / scale}, from, control, to);
                    const double margin = (distance - width / 2) * scale;
                    const std::uint32_t pixel = canvas.pixel(x, y);
                    if (std::abs(margin) < 0.2) continue;
                    ASSERT_EQ(pixel, margin < 0 ? 0xFFFF0000U : 0U) << x << " " << y << " round " << round;
                }
            }
        }
    }
}

TEST_F(CairoEngineTest, DrawsTheSamePixelsInPiecesOfTheClip) {
    std::mt19937 generator(5);
    std::uniform_real_distribution<double> coordinate(-20, 100);
    // The wider glows are computed on coarser grids.
    for (const double blur : {0.0, 3.0, 10.0, 36.0, 128.0}) {
        Path path;
        for (int i = 0; i < 8; ++i) {
            path.move({coordinate(generator), coordinate(generator)});
            path.addQuadCurve({coordinate(generator), coordinate(generator)},
                              {coordinate(generator), coordinate(generator)});
        }
        const auto draw = [&](Canvas& canvas) {
            canvas.context->setStrokeColor({0.2, 0.4, 0.6, 1});
            canvas.context->setAlpha(0.7);
            canvas.context->setShadow({}, blur, {1, 1, 0, 1});
            strokeRound(*canvas.context, path, 4);
        };
        Canvas whole(engine, 80, 80);
        draw(whole);
        Canvas pieces(engine, 80, 80);
        for (double y = 0; y < 80; y += 16) {
            for (double x = 0; x < 80; x += 20) {
                pieces.context->saveState();
                pieces.context->clipToRect({x, y, 20, 16});
                EXPECT_EQ(pieces.context->clipBoundingBox(), (Rect{x, y, 20, 16}));
                draw(pieces);
                pieces.context->restoreState();
            }
        }
        EXPECT_EQ(whole.bitmap.pixels, pieces.bitmap.pixels) << blur;
        EXPECT_EQ(pieces.context->clipBoundingBox(), (Rect{0, 0, 80, 80}));
    }
}

TEST_F(CairoEngineTest, StopsDrawingWhenCancelled) {
    std::atomic<bool> isCancelled = true;
    Canvas canvas(engine, 40, 40);
    const Path path = polyline({{0, 20}, {40, 20}});
    {
        const DrawingCancellationScope scope(isCancelled);
        strokeRound(*canvas.context, path, 4);
        strokeRound(*canvas.context, path, 30);
        EXPECT_EQ(canvas.pixel(20, 20), 0U);
    }
    strokeRound(*canvas.context, path, 4);
    EXPECT_NE(canvas.pixel(20, 20), 0U);
}

}  // namespace
}  // namespace videoanalysis::graphics
