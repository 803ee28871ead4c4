#include "Testing/GraphicsConformance.h"

#include "Platforms/Headless/HeadlessPlatform.h"
#include "Testing/PictureComparison.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

namespace videoanalysis::conformance {

using namespace graphics;

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(GraphicsConformance);

GraphicsConformance::GraphicsConformance() {
    installPlatform(std::make_shared<HeadlessPlatform>(GetParam().makeEngine()));
}

void GraphicsConformance::expectPicture(const std::string& name, Size size, double scale,
                                        const std::function<void(Context&)>& draw) {
    const Image image = ImageRenderer(size, scale).image(draw);
    EXPECT_TRUE(looksLike(*image.bitmap(), VIDEOANALYSIS_REFERENCES_DIR, name));
}

namespace {

constexpr Color red{1, 0, 0, 1};

TEST_P(GraphicsConformance, DrawsOverWhatTheBitmapHolds) {
    Bitmap bitmap(8, 8, 1);
    std::fill(bitmap.pixels.begin(), bitmap.pixels.end(), 0xFF204060U);
    const auto context = engine->makeContext(bitmap);
    context->setFillColor(red);
    context->fillRect({2, 2, 4, 4});
    context->flush();
    EXPECT_EQ(bitmap.pixels[0], 0xFF204060U);
    EXPECT_EQ(bitmap.pixels[3 * 8 + 3], 0xFFFF0000U);
}

TEST_P(GraphicsConformance, StartsWithDefaultsAndRestoresThem) {
    Canvas canvas(*engine, 40, 40);
    Context& context = *canvas.context;
    const auto drawDefault = [&](double y) {
        context.move({5, y});
        context.addLine({35, y});
        context.strokePath();
    };
    drawDefault(5.5);
    context.saveState();
    context.setStrokeColor(red);
    context.setFillColor(red);
    context.setLineWidth(9);
    context.setLineCap(LineCap::square);
    context.setAlpha(0.3);
    context.setBlendMode(BlendMode::screen);
    context.setShouldAntialias(false);
    context.setShadow({2, 2}, 3, red);
    context.clipToRect({0, 0, 3, 3});
    context.restoreState();
    drawDefault(15.5);
    for (int y = 0; y < 10; ++y) {
        for (int x = 0; x < 40; ++x) ASSERT_EQ(canvas.pixel(x, y), canvas.pixel(x, y + 10)) << x << " " << y;
    }
    EXPECT_EQ(canvas.pixel(20, 5), 0xFF000000U) << "black, one point wide";
    EXPECT_EQ(canvas.pixel(20, 4), 0U);
    EXPECT_EQ(canvas.pixel(4, 5), 0U) << "butt caps";
    // Stroking consumes the path; restoring the state does not bring it back.
    context.saveState();
    context.move({5, 25.5});
    context.addLine({35, 25.5});
    context.restoreState();
    context.strokePath();
    EXPECT_EQ(canvas.pixel(20, 25), 0xFF000000U) << "the path is not part of the state";
    context.clearRect({0, 0, 40, 40});
    context.strokePath();
    EXPECT_EQ(canvas.pixel(20, 25), 0U);
}

TEST_P(GraphicsConformance, AppliesAlphaOnceWhereAStrokeCrossesItself) {
    const Path crossing = polyline({{10, 10}, {50, 50}, {50, 10}, {10, 50}, {10, 10}, {50, 50}});
    for (const BlendMode mode : {BlendMode::normal, BlendMode::screen}) {
        Canvas canvas(*engine, 60, 60);
        canvas.context->setStrokeColor(red);
        canvas.context->setAlpha(0.5);
        canvas.context->setBlendMode(mode);
        strokeRound(*canvas.context, crossing, 6);
        const std::uint32_t once = canvas.pixel(30, 30);
        EXPECT_NEAR(static_cast<int>(once >> 24U), 128, 1);
        for (std::size_t i = 0; i < canvas.bitmap.pixels.size(); ++i)
            EXPECT_TRUE(canvas.bitmap.pixels[i] == 0 || canvas.bitmap.pixels[i] == once) << i;
    }
    // Square caps may take another way through an engine.
    Canvas canvas(*engine, 60, 60);
    canvas.context->setStrokeColor(red);
    canvas.context->setAlpha(0.5);
    canvas.context->setLineWidth(6);
    canvas.context->setLineCap(LineCap::square);
    canvas.context->addPath(crossing);
    canvas.context->strokePath();
    EXPECT_EQ(canvas.pixel(30, 30), canvas.pixel(20, 20));
    EXPECT_NEAR(canvas.alpha(30, 30), 128, 1);
}

TEST_P(GraphicsConformance, ErasesWithoutColoring) {
    Canvas canvas(*engine, 40, 20);
    canvas.context->setFillColor({0.5, 0.25, 1, 0.8});
    canvas.context->fillRect({0, 0, 20, 20});
    canvas.context->saveState();
    canvas.context->setBlendMode(BlendMode::clear);
    canvas.context->setStrokeColor(red);
    canvas.context->setAlpha(0);
    strokeRound(*canvas.context, polyline({{5, 10}, {35, 10}}), 6);
    canvas.context->restoreState();
    for (int y = 8; y < 12; ++y)
        for (int x = 3; x < 37; ++x) EXPECT_EQ(canvas.pixel(x, y), 0U);
    EXPECT_GT(canvas.alpha(10, 3), 200);
    EXPECT_GT(canvas.alpha(1, 1), 200);
    EXPECT_EQ(canvas.pixel(30, 3), 0U);
}

TEST_P(GraphicsConformance, BlursShadowsWithAGaussian) {
    // Across a wide bar the shadow falls off like the error function.
    for (const bool isStroke : {true, false}) {
        for (const double scale : {1.0, 2.0}) {
            for (const double blur : {2.0, 3.2, 7.9, 8.1, 10.0, 25.0, 60.0}) {
                Canvas canvas(*engine, static_cast<int>(120 * scale), static_cast<int>(120 * scale), scale);
                canvas.context->setShadow({}, blur, {0, 0, 1, 1});
                canvas.context->setStrokeColor(red);
                canvas.context->setFillColor(red);
                if (isStroke)
                    strokeRound(*canvas.context, polyline({{-90, 60}, {210, 60}}), 20);
                else
                    canvas.context->fillRect({-90, 50, 300, 20});
                const double sigma = blur / 2;
                for (int y = static_cast<int>(71 * scale); y < canvas.bitmap.height; ++y) {
                    const double fromMiddle = (y + 0.5) / scale - 60;
                    const auto below = [&](double edge) {
                        return 0.5 * std::erfc((fromMiddle - edge) / sigma / std::sqrt(2));
                    };
                    const double expected = below(10) - below(-10);
                    EXPECT_NEAR(canvas.alpha(static_cast<int>(60 * scale), y), 255 * expected, GetParam().blurTolerance)
                        << "blur " << blur << " y " << y;
                    EXPECT_EQ(canvas.channel(static_cast<int>(60 * scale), y, 16), 0);
                }
                EXPECT_EQ(canvas.pixel(static_cast<int>(60 * scale), static_cast<int>(60 * scale)), 0xFFFF0000U);
            }
        }
    }
}

TEST_P(GraphicsConformance, BlendsShadowsLikeTheirShapes) {
    for (const BlendMode mode : {BlendMode::normal, BlendMode::screen}) {
        const auto glow = [&](Canvas& canvas) {
            canvas.context->setBlendMode(mode);
            canvas.context->setShadow({}, 6, {0.25, 0.5, 1, 0.75});
            canvas.context->setStrokeColor(Color::white());
            strokeRound(*canvas.context, polyline({{-20, 20}, {60, 20}}), 8);
        };
        Canvas alone(*engine, 40, 40);
        glow(alone);
        Canvas onGround(*engine, 40, 40);
        onGround.context->setFillColor({0.5, 0.25, 0.75, 1});
        onGround.context->fillRect({0, 0, 40, 40});
        const std::uint32_t ground = onGround.pixel(0, 0);
        glow(onGround);
        int glowing = 0;
        for (int y = 0; y < 40; ++y) {
            glowing += alone.alpha(20, y) > 20 && alone.alpha(20, y) < 192;
            for (const int shift : {0, 8, 16, 24}) {
                const double source = alone.channel(20, y, shift), target = ground >> shift & 0xFFU;
                const double hidden = mode == BlendMode::screen ? source : alone.alpha(20, y);
                EXPECT_NEAR(onGround.channel(20, y, shift), source + target - target * hidden / 255, 2) << y;
            }
        }
        EXPECT_GT(glowing, 4);
        EXPECT_EQ(onGround.pixel(20, 20), 0xFFFFFFFFU);
    }
}

TEST_P(GraphicsConformance, OffsetsShadowsAndRestoresState) {
    Canvas canvas(*engine, 60, 60);
    canvas.context->saveState();
    canvas.context->setShadow({20, 10}, 0, {0, 1, 0, 0.5});
    canvas.context->setAlpha(0.5);
    canvas.context->setFillColor(red);
    canvas.context->fillRect({5, 5, 10, 10});
    canvas.context->restoreState();
    EXPECT_NEAR(canvas.alpha(30, 20), 64, 2);
    EXPECT_NEAR(canvas.channel(30, 20, 8), 64, 2);
    EXPECT_NEAR(canvas.alpha(10, 10), 128, 2);
    // Restoring the state ends the shadow and the alpha.
    canvas.context->setFillColor(red);
    canvas.context->fillRect({5, 40, 10, 10});
    EXPECT_EQ(canvas.pixel(10, 45), 0xFFFF0000U);
    EXPECT_EQ(canvas.pixel(30, 55), 0U);
}

TEST_P(GraphicsConformance, ScreensColors) {
    Canvas canvas(*engine, 20, 20);
    canvas.context->setFillColor({0.5, 0.2, 0, 1});
    canvas.context->fillRect({0, 0, 20, 20});
    canvas.context->setBlendMode(BlendMode::screen);
    canvas.context->setStrokeColor({0.5, 0.5, 0.5, 1});
    strokeRound(*canvas.context, polyline({{0, 10}, {20, 10}}), 6);
    EXPECT_NEAR(canvas.channel(10, 10, 16), 255 * 0.75, 2);
    EXPECT_NEAR(canvas.channel(10, 10, 8), 255 * 0.6, 2);
    EXPECT_NEAR(canvas.channel(10, 10, 0), 255 * 0.5, 2);
    // Fills as well as strokes.
    canvas.context->setFillColor({0.5, 0.5, 0.5, 1});
    canvas.context->fillRect({0, 0, 20, 4});
    for (const int shift : {0, 8, 16, 24}) EXPECT_NEAR(canvas.channel(10, 2, shift), canvas.channel(10, 10, shift), 1);
}

TEST_P(GraphicsConformance, NormalizesAndAntialiasesShapes) {
    Canvas canvas(*engine, 40, 40);
    canvas.context->setFillColor(red);
    canvas.context->fillRect({30, 20, -20, -10});
    EXPECT_EQ(canvas.pixel(11, 11), 0xFFFF0000U);
    EXPECT_EQ(canvas.pixel(29, 19), 0xFFFF0000U);
    EXPECT_EQ(canvas.pixel(31, 15), 0U);
    canvas.context->fillEllipse({35, 38, -30, -14});
    EXPECT_EQ(canvas.pixel(20, 31), 0xFFFF0000U);
    EXPECT_EQ(canvas.pixel(6, 25), 0U);
    int soft = 0;
    for (int y = 24; y < 38; ++y)
        for (int x = 5; x < 35; ++x) soft += canvas.alpha(x, y) > 0 && canvas.alpha(x, y) < 255;
    EXPECT_GT(soft, 20);

    Canvas outline(*engine, 40, 40);
    outline.context->setStrokeColor(red);
    outline.context->setLineWidth(4);
    outline.context->strokeRect({30, 30, -20, -20});
    EXPECT_EQ(outline.pixel(20, 20), 0U);
    // Sharp corners, two points outside.
    EXPECT_EQ(outline.pixel(8, 8), 0xFFFF0000U);
    EXPECT_EQ(outline.pixel(31, 31), 0xFFFF0000U);
    outline.context->strokeEllipse({10, 20, 20, 0});
    EXPECT_EQ(outline.pixel(20, 20), 0xFFFF0000U);
}

TEST_P(GraphicsConformance, FillsAndStrokesEllipsesOfAnyProportion) {
    struct Case {
        double a, b, width;  ///< half axes; 0 for a filled one
    };
    // From outlines that are thin to those wider than the ellipse, which leave no hole.
    for (const Case& ellipse : std::vector<Case>{{90, 40, 0},
                                                 {60, 90, 6},
                                                 {60, 20, 14},
                                                 {60, 20, 36},
                                                 {10, 10, 8},
                                                 {3, 3, 4},
                                                 {3, 3, 8},
                                                 {1, 1, 10},
                                                 {12, 4, 8},
                                                 {12, 4, 10},
                                                 {2, 9, 30},
                                                 {30, 5, 11},
                                                 {20, 0, 10}}) {
        Canvas canvas(*engine, 200, 200);
        canvas.context->setFillColor(red);
        canvas.context->setStrokeColor(red);
        canvas.context->setAlpha(0.5);
        canvas.context->setLineWidth(ellipse.width);
        const Rect rect{100 - ellipse.a, 100 - ellipse.b, 2 * ellipse.a, 2 * ellipse.b};
        if (ellipse.width == 0)
            canvas.context->fillEllipse(rect);
        else
            canvas.context->strokeEllipse(rect);
        canvas.context->flush();
        std::vector<Point> outline;
        for (int i = 0; i <= 100; ++i)
            outline.push_back({ellipse.a * std::cos(1.5707963 * i / 100), ellipse.b * std::sin(1.5707963 * i / 100)});
        int wrong = 0;
        for (int y = 0; y < 100; ++y) {
            for (int x = 0; x < 100; ++x) {
                // The other three quarters mirror this one.
                const double px = 99.5 - x, py = 99.5 - y;
                double square = 1e9;
                for (const Point& point : outline)
                    square = std::min(square, (point.x - px) * (point.x - px) + (point.y - py) * (point.y - py));
                const double distance = std::sqrt(square);
                const double inA = ellipse.a > 0 ? px / ellipse.a : 2, inB = ellipse.b > 0 ? py / ellipse.b : 2;
                const bool isInside = ellipse.width > 0 ? distance < ellipse.width / 2 : inA * inA + inB * inB < 1;
                if (std::abs(distance - ellipse.width / 2) < 1) continue;
                const int alpha = canvas.alpha(x, y);
                wrong += isInside ? std::abs(alpha - 128) > 1 : alpha != 0;
            }
        }
        EXPECT_EQ(wrong, 0) << ellipse.a << " " << ellipse.b << " " << ellipse.width;
    }
}

TEST_P(GraphicsConformance, EndsLinesWithTheirCaps) {
    struct Case {
        LineCap cap;
        bool isBeyond, isCorner;
    };
    for (const bool antialiases : {true, false}) {
        for (const Case& end : {Case{LineCap::butt, false, false}, Case{LineCap::round, true, false},
                                Case{LineCap::square, true, true}}) {
            Canvas canvas(*engine, 60, 40);
            canvas.context->setStrokeColor(red);
            canvas.context->setLineWidth(12);
            canvas.context->setLineCap(end.cap);
            canvas.context->setShouldAntialias(antialiases);
            canvas.context->move({20, 20});
            canvas.context->addLine({40, 20});
            canvas.context->strokePath();
            EXPECT_EQ(canvas.pixel(38, 20), 0xFFFF0000U);
            EXPECT_EQ(canvas.alpha(43, 20), end.isBeyond ? 255 : 0);
            EXPECT_EQ(canvas.alpha(45, 15), end.isCorner ? 255 : 0);
            EXPECT_EQ(canvas.alpha(14, 24), end.isCorner ? 255 : 0);
            EXPECT_EQ(canvas.alpha(47, 20), 0);
        }
    }
}

TEST_P(GraphicsConformance, ClearsAndClipsWholePixels) {
    Canvas canvas(*engine, 20, 20);
    canvas.context->setFillColor(red);
    canvas.context->setBlendMode(BlendMode::screen);
    canvas.context->fillRect({0, 0, 20, 20});
    canvas.context->clearRect({4.9, 4.9, 5.2, 5.2});
    int cleared = 0;
    for (const std::uint32_t pixel : canvas.bitmap.pixels) cleared += pixel == 0;
    EXPECT_EQ(cleared, 7 * 7);
    canvas.context->saveState();
    canvas.context->clipToRect({4.9, 4.9, 5.2, 5.2});
    canvas.context->clipToRect({0, 0, 100, 8});
    EXPECT_EQ(canvas.context->clipBoundingBox(), (Rect{4, 4, 7, 4}));
    canvas.context->fillRect({0, 0, 20, 20});
    canvas.context->clipToRect({100, 100, 5, 5});
    strokeRound(*canvas.context, polyline({{0, 0}, {20, 20}}), 30);
    canvas.context->restoreState();
    cleared = 0;
    for (const std::uint32_t pixel : canvas.bitmap.pixels) cleared += pixel == 0;
    EXPECT_EQ(cleared, 7 * 3);
}

TEST_P(GraphicsConformance, CopiesImagesOfTheirOwnSizeExactly) {
    std::mt19937 generator(1);
    for (const double scale : {1.0, 2.0}) {
        // A view of 30.4 points has a bitmap of 31 (or 61) pixels.
        const Size place{30.4, 20.7};
        auto source = std::make_shared<Bitmap>(static_cast<int>(std::ceil(place.width * scale)),
                                               static_cast<int>(std::ceil(place.height * scale)), scale);
        for (std::uint32_t& pixel : source->pixels) pixel = 0xFF000000U | generator();
        Canvas canvas(*engine, source->width, source->height, scale);
        canvas.context->drawImage(Image(source), {{}, place});
        canvas.context->flush();
        EXPECT_EQ(canvas.bitmap.pixels, source->pixels);
    }
    auto corners = std::make_shared<Bitmap>(2, 1, 1);
    corners->pixels = {0xFFFF0000U, 0xFF0000FFU};
    Canvas canvas(*engine, 40, 20);
    canvas.context->setAlpha(0.5);
    canvas.context->drawImage(Image(corners), {0, 0, 40, 10});
    EXPECT_NEAR(canvas.channel(2, 5, 16), 128, 2);
    EXPECT_NEAR(canvas.channel(37, 5, 0), 128, 2);
    EXPECT_NEAR(canvas.alpha(0, 0), 128, 2);
    EXPECT_EQ(canvas.pixel(20, 12), 0U);
    // Images without a bitmap draw nothing.
    canvas.context->drawImage(Image::named("close"), {0, 0, 40, 20});
    canvas.context->drawImage(Image(), {0, 0, 40, 20});
    EXPECT_EQ(canvas.pixel(20, 12), 0U);
}

TEST_P(GraphicsConformance, AcceptsNonFiniteAndHugeNumbers) {
    const double nan = std::nan("");
    const double infinity = std::numeric_limits<double>::infinity();
    const std::vector<double> strange{nan, infinity, -infinity, 1e308, -1e308, 1e9, 0, -0.0, 5e-324};
    Canvas canvas(*engine, 16, 16, 2);
    Context& context = *canvas.context;
    for (const double a : strange) {
        for (const double b : strange) {
            context.saveState();
            for (const bool isPen : {true, false}) {
                context.setShouldAntialias(!isPen);
                context.setLineCap(isPen ? LineCap::round : LineCap::square);
                context.setStrokeColor({a, b, a, b});
                context.setFillColor({b, a, b, a});
                context.setShadow({a, b}, a, {b, b, b, 1});
                context.setAlpha(b);
                context.setLineWidth(a);
                Path path;
                path.move({a, b});
                path.addQuadCurve({b, a}, {5, 5});
                path.addLine({b, b});
                context.addPath(path);
                context.strokePath();
                path = {};
                path.move({a, b});
                path.addQuadCurve({b, a}, {5, 5});
                context.addPath(path);
                context.setLineWidth(4);
                context.strokePath();
                const Rect rect{a, b, b, a};
                context.fillRect(rect);
                context.strokeRect(rect);
                context.fillEllipse(rect);
                context.strokeEllipse(rect);
                context.clearRect(rect);
                context.drawImage(Image(std::make_shared<Bitmap>(3, 3, 1)), rect);
                context.clipToRect(rect);
            }
            context.restoreState();
        }
    }
    context.restoreState();
    // It still draws.
    context.clearRect({0, 0, 8, 8});
    context.setFillColor(red);
    context.fillRect({0, 0, 8, 8});
    EXPECT_EQ(canvas.pixel(3, 3), 0xFFFF0000U);
}

}  // namespace
}  // namespace videoanalysis::conformance
