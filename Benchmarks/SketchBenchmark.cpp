// The drawing surface: rebuilding its bitmap, refreshing it for every frame, drawing strokes, and the stored form.

#include "Benchmarks/AllocationCounter.h"
#include "Benchmarks/Benchmark.h"
#include "Platforms/Cairo/CairoEngine.h"
#include "Platforms/Headless/HeadlessPlatform.h"
#include "VideoAnalysis/Sketch/PenTool.h"
#include "VideoAnalysis/Sketch/SketchView.h"

#include <cairo.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace videoanalysis {
namespace {

using Stroke = std::vector<Point>;

constexpr int width = 1920;
constexpr int height = 1080;
constexpr double lineWidth = 4;
const Color strokeColor{1, 0, 0, 1};

class Player final : public SketchViewDelegate {
public:
    double time = 0;
    double currentTime() const override { return time; }
    bool isTimeBasedDrawingsEnabled() const override { return true; }
};

/// Random strokes with 3 to 6 points between touches, like a finger at 60 Hz.
std::vector<Stroke> wanderingStrokes(int count, int touches) {
    std::mt19937 generator(7);
    const auto between = [&](double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(generator);
    };
    std::vector<Stroke> strokes;
    for (int i = 0; i < count; ++i) {
        Stroke stroke;
        Point point{between(100, width - 100), between(100, height - 100)};
        double direction = between(0, 6.28);
        for (int k = 0; k < touches; ++k) {
            stroke.push_back(point);
            direction += between(-0.35, 0.35);
            const double step = between(3, 6);
            point.x += step * std::cos(direction);
            point.y += step * std::sin(direction);
            const bool isOutside = point.x < 20 || point.x > width - 20 || point.y < 20 || point.y > height - 20;
            if (isOutside) direction += 1.5;
        }
        strokes.push_back(std::move(stroke));
    }
    return strokes;
}

/// The same strokes drawn directly with Cairo; `joins` puts consecutive segments into one sub-path.
std::vector<std::uint32_t> drawWithCairo(const std::vector<Stroke>& strokes, bool joins) {
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(width) * height);
    cairo_surface_t* surface = cairo_image_surface_create_for_data(reinterpret_cast<unsigned char*>(pixels.data()),
                                                                   CAIRO_FORMAT_ARGB32, width, height, width * 4);
    cairo_t* cairo = cairo_create(surface);
    cairo_set_antialias(cairo, CAIRO_ANTIALIAS_NONE);
    cairo_set_line_width(cairo, lineWidth);
    cairo_set_line_cap(cairo, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_join(cairo, CAIRO_LINE_JOIN_ROUND);
    cairo_set_source_rgb(cairo, strokeColor.red, strokeColor.green, strokeColor.blue);
    const auto middle = [](double a, double b) { return (a + b) * 0.5; };
    const auto third = [](double control, double end) { return end + (control - end) * 2 / 3; };
    for (const Stroke& stroke : strokes) {
        for (std::size_t i = 1; i < stroke.size(); ++i) {
            const Point before = stroke[i > 1 ? i - 2 : 0], control = stroke[i - 1], after = stroke[i];
            const Point from{middle(before.x, control.x), middle(before.y, control.y)};
            const Point to{middle(control.x, after.x), middle(control.y, after.y)};
            if (i == 1 || !joins) cairo_move_to(cairo, from.x, from.y);
            cairo_curve_to(cairo, third(control.x, from.x), third(control.y, from.y), third(control.x, to.x),
                           third(control.y, to.y), to.x, to.y);
        }
        cairo_stroke(cairo);
    }
    cairo_destroy(cairo);
    cairo_surface_destroy(surface);
    return pixels;
}

/// A view with these strokes, the n-th of which was finished at n seconds.
std::shared_ptr<SketchView> makeView(const std::vector<Stroke>& strokes, const std::shared_ptr<Player>& player) {
    auto view = std::make_shared<SketchView>(Rect{0, 0, width, height});
    view->lineColor = strokeColor;
    view->lineWidth = lineWidth;
    view->sketchViewDelegate = player;
    for (const Stroke& stroke : strokes) {
        const auto pen = std::make_shared<PenTool>();
        pen->setLineColor(strokeColor);
        pen->setLineWidth(lineWidth);
        pen->setLineAlpha(1);
        pen->setTouchPoints(stroke);
        pen->setTime(static_cast<double>(view->pathArray.size() + 1));
        view->pathArray.push_back(pen);
    }
    return view;
}

/// A stored stack with a short text that is slow to draw.
struct HeavyStack {
    const char* name;
    std::string text;
};

std::vector<HeavyStack> heavyStacks() {
    constexpr std::size_t megabyte = 1'000'000;
    std::mt19937 generator(11);
    const auto percentage = [&] { return std::to_string(generator() % 101); };
    const auto pen = [&](const char* style, const char* lineWidth, const char* alpha, int touches) {
        std::string text = std::string(R"({"type":"pen","configuration":{"ios":{"penType":)") + style +
                           R"(},"width":)" + lineWidth + R"(,"alpha":)" + alpha + R"(,"points":[)";
        for (int i = 0; i < touches; ++i)
            text += std::string(i > 0 ? "," : "") + R"({"x":)" + percentage() + R"(,"y":)" + percentage() + "}";
        return text + "]}}";
    };
    const auto shape = [&](const char* type, const char* lineWidth, const char* alpha) {
        return std::string(R"({"type":")") + type + R"(","configuration":{"isFill":)" +
               (generator() % 2 == 0 ? "true" : "false") + R"(,"width":)" + lineWidth + R"(,"alpha":)" + alpha +
               R"(,"points":[{"startX":)" + percentage() + R"(,"startY":)" + percentage() + R"(,"endX":)" +
               percentage() + R"(,"endY":)" + percentage() + "}]}}";
    };
    const auto stack = [&](const auto& drawing, int count) {
        std::string text = R"({"drawnStack":[)";
        for (int i = 0; i < count && text.size() < megabyte; ++i) text += (i > 0 ? "," : "") + drawing();
        return text + "]}";
    };
    constexpr int asManyAsFit = 1'000'000;
    return {{"10,000 touches, width 10,000", stack([&] { return pen("0", "10000", "1", 10'000); }, 1)},
            {"10,000 touches, width 700, translucent", stack([&] { return pen("0", "700", "0.5", 10'000); }, 1)},
            {"200 wide neon pens", stack([&] { return pen("2", "200", "0.5", 20); }, 200)},
            {"1 MB of blur pens", stack([&] { return pen("1", "30", "0.5", 10); }, asManyAsFit)},
            {"1 MB of short neon pens", stack([&] { return pen("2", "4", "1", 2); }, asManyAsFit)},
            {"1 MB in one pen", stack([&] { return pen("0", "4", "1", 60'000); }, 1)},
            {"1 MB of wide arrows", stack([&] { return shape("arrow", "300", "0.5"); }, asManyAsFit)},
            {"1 MB of rectangles", stack([&] { return shape("rectangle", "20", "0.5"); }, asManyAsFit)},
            {"1 MB of ellipses", stack([&] { return shape("oval", "20", "0.5"); }, asManyAsFit)}};
}

/// Forces a full rebuild: alternates between two missing background images, which do not change the pixels.
void rebuild(SketchView& view) {
    view.backgroundImage = Image::named(view.backgroundImage.name() == "a" ? "b" : "a");
    view.updateCacheImage(true);
}

/// Max milliseconds of a step on the main thread: loading the stack, showing it, and drawing over it.
double maxStep(const JSON& stack) {
    SketchView view(Rect{0, 0, width, height});
    view.loadStack(stack);
    Bitmap layer(width, height, 1);
    const auto context = graphics::CairoEngine().makeContext(layer);
    const auto show = [&] {
        const graphics::CurrentContextScope scope(*context);
        context->clearRect(view.bounds());
        view.draw(view.bounds());
    };
    double max = 0;
    const auto step = [&](const auto& work) {
        const double start = bench::now(bench::Clock::processor);
        work();
        max = std::max(max, bench::now(bench::Clock::processor) - start);
    };
    step([&] { rebuild(view); });
    step(show);
    view.beginDrawing({100, 100});
    for (int i = 1; i <= 20; ++i) {
        const Point to{100.0 + 10 * i, 100.0 + 5 * i};
        step([&] { view.continueDrawing(*view.currentPoint, to); });
        step(show);
    }
    step([&] { view.endDrawing(); });
    step(show);
    step([&] { view.undo(); });
    step(show);
    return max;
}

/// The share of the coloured pixels that are coloured in only one of the bitmaps.
double difference(const std::vector<std::uint32_t>& a, const std::vector<std::uint32_t>& b) {
    double coloured = 0;
    double different = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        coloured += a[i] != 0 || b[i] != 0;
        different += a[i] != b[i];
    }
    return different / coloured;
}

class DirtyRegion final : public ui::ViewObserver {
public:
    Rect region;
    void viewDidChange(ui::View&, ui::Property) override {}
    void viewNeedsDisplay(ui::View&, const Rect& rect) override { region = rect; }
};

/// Milliseconds per touch move of a stroke of `segments` segments: handling the touch and painting its region. Each round is
/// 50 moves.
std::pair<double, double> measureTouchMoves(double alpha, int segments, int segmentsToCompare) {
    struct Finger {
        std::shared_ptr<SketchView> view = std::make_shared<SketchView>(Rect{0, 0, width, height});
        DirtyRegion dirty;
        Bitmap layer{width, height, 1};
        std::unique_ptr<graphics::Context> context = graphics::CairoEngine().makeContext(layer);
        Stroke stroke;
        std::size_t next = 1;

        void move() {
            view->continueDrawing(stroke[next - 1], stroke[next]);
            ++next;
            const graphics::CurrentContextScope scope(*context);
            context->saveState();
            context->clipToRect(dirty.region);
            context->clearRect(dirty.region);
            view->draw(dirty.region);
            context->restoreState();
        }
    };
    constexpr int movesPerRound = 50;
    constexpr int rounds = 21;
    Finger fingers[2];
    for (Finger& finger : fingers) {
        const int already = &finger == fingers ? segments : segmentsToCompare;
        finger.view->lineAlpha = alpha;
        finger.view->setObserver(&finger.dirty);
        finger.view->updateCacheImage(true);
        finger.stroke = wanderingStrokes(1, already + movesPerRound + 1).front();
    }
    const auto run = [](Finger& finger, int already) {
        // Each round measures the same moves of the same stroke.
        finger.view->clear();
        finger.view->beginDrawing(finger.stroke.front());
        finger.next = 1;
        while (finger.next <= static_cast<std::size_t>(already)) finger.move();
        const double start = bench::now(bench::Clock::processor);
        for (int i = 0; i < movesPerRound; ++i) finger.move();
        return (bench::now(bench::Clock::processor) - start) / movesPerRound;
    };
    std::vector<double> times[2];
    for (int i = 0; i <= rounds; ++i) {
        const double first = run(fingers[0], segments);
        const double second = run(fingers[1], segmentsToCompare);
        if (i == 0) continue;
        times[0].push_back(first);
        times[1].push_back(second);
    }
    for (Finger& finger : fingers) finger.view->setObserver(nullptr);
    return {bench::median(times[0]), bench::median(times[1])};
}

void measureRebuilds(bench::Report& report, SketchView& view, const std::vector<Stroke>& strokes) {
    const auto joined = bench::measurePaired([&] { rebuild(view); }, [&] { drawWithCairo(strokes, true); }, 25);
    report.against("full rebuild of 100 strokes", joined.first, "ms", "Cairo, joined", joined.second, 1.1);
    const auto apart = bench::measurePaired([&] { rebuild(view); }, [&] { drawWithCairo(strokes, false); }, 15);
    report.against("full rebuild of 100 strokes", apart.first, "ms", "Cairo, by segment", apart.second, 0.5);
    report.value("pixels that differ from Cairo's",
                 100 * difference(view.image().bitmap()->pixels, drawWithCairo(strokes, false)), "%", 1);
}

void measureGlows(bench::Report& report, const SketchView& view, const std::shared_ptr<Player>& player,
                  const std::vector<Stroke>& strokes) {
    for (const PenType type : {PenType::blur, PenType::neon}) {
        const std::shared_ptr<SketchView> glowing = makeView(strokes, player);
        for (const auto& tool : glowing->pathArray) dynamic_cast<PenTool&>(*tool).setDrawingPenType(type);
        const auto drawAll = [](const SketchView& drawn) {
            return [&drawn, layer = std::make_shared<Bitmap>(width, height, 1)] {
                std::fill(layer->pixels.begin(), layer->pixels.end(), 0);
                const auto context = graphics::CairoEngine().makeContext(*layer);
                const graphics::CurrentContextScope scope(*context);
                for (const auto& tool : drawn.pathArray) tool->draw();
            };
        };
        const auto glow = bench::measurePaired(drawAll(*glowing), drawAll(view), 25);
        report.against(type == PenType::blur ? "100 blur pens" : "100 neon pens", glow.first, "ms", "plain pens",
                       glow.second, 3);
    }
}

void measureRefreshes(bench::Report& report, SketchView& view) {
    constexpr int refreshes = 1000;
    const auto refresh = [&] {
        for (int i = 0; i < refreshes; ++i) view.updateCacheImage(true);
    };
    report.value("refresh, nothing changed", bench::measure(refresh, 25) * 1000 / refreshes, "us", 2);
    const bench::AllocationCounter counter;
    refresh();
    report.value("refresh, nothing changed: allocations", static_cast<double>(counter.count()), "", 0);
}

/// Reveals the 100 drawings one by one as the time advances.
void measureUncovering(bench::Report& report, SketchView& view, Player& player) {
    std::vector<double> uncovering;
    std::vector<double> rebuilding;
    for (int i = 1; i <= 100; ++i) {
        player.time = i;
        const double start = bench::now(bench::Clock::processor);
        view.updateCacheImage(true);
        uncovering.push_back(bench::now(bench::Clock::processor) - start);
        if (i % 4 == 0) {
            player.time = 1000;
            rebuilding.push_back(bench::measure([&] { rebuild(view); }, 1));
            player.time = i;
            view.updateCacheImage(true);
        }
    }
    report.against("uncovering one more of 100", bench::median(uncovering), "ms", "full rebuild",
                   bench::median(rebuilding), 0.03);
}

void measureStoring(bench::Report& report, const std::shared_ptr<Player>& player) {
    // At time 0 no drawing is visible, so that only reading and writing is measured.
    player->time = 0;
    const std::shared_ptr<SketchView> stored = makeView(wanderingStrokes(1000, 200), player);
    const std::string text = stored->stackJSON().serialized();
    const auto readAndWrite = [&] {
        stored->loadStack(JSON::parse(text));
        if (stored->stackJSON().serialized().size() < text.size() / 2) std::abort();
    };
    const auto parseAndPrint = [&] {
        if (nlohmann::json::parse(text).dump().size() < text.size() / 2) std::abort();
    };
    const auto storing = bench::measurePaired(readAndWrite, parseAndPrint, 15);
    report.against("reading and writing 1,000 x 200 points", storing.first, "ms", "nlohmann-json document",
                   storing.second, 1);
    report.value("reading alone", bench::measure([&] { stored->loadStack(JSON::parse(text)); }, 7), "ms");
    report.value("writing alone", bench::measure([&] { stored->stackJSON().serialized(); }, 7), "ms");
}

BENCHMARK_GROUP(sketch, "sketch") {
    installPlatform(std::make_shared<HeadlessPlatform>(std::make_unique<graphics::CairoEngine>()));
    const std::vector<Stroke> strokes = wanderingStrokes(100, 201);
    const auto player = std::make_shared<Player>();
    player->time = 1000;
    const std::shared_ptr<SketchView> view = makeView(strokes, player);

    measureRebuilds(report, *view, strokes);
    measureGlows(report, *view, player, strokes);
    for (const HeavyStack& heavy : heavyStacks())
        report.value(std::string("main thread: ") + heavy.name, maxStep(JSON::parse(heavy.text)), "ms", 100);
    measureRefreshes(report, *view);
    measureUncovering(report, *view, *player);
    for (const double alpha : {1.0, 0.5}) {
        const auto [late, early] = measureTouchMoves(alpha, 2000, 20);
        report.against(alpha == 1 ? "touch move after 2,000, opaque" : "touch move after 2,000, translucent", late,
                       "ms", "after 20", early, 2);
    }
    measureStoring(report, player);
}

}  // namespace
}  // namespace videoanalysis
