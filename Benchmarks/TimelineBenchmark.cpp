// The cost of the ruler: a scroll event for any content length, and scrubbing two rulers; and the accuracy of throws.

#include "Benchmarks/AllocationCounter.h"
#include "Benchmarks/Benchmark.h"
#include "Platforms/Headless/HeadlessPlatform.h"
#include "VideoAnalysis/Analysis/Actions.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCell.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCellController.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCellHUDView.h"
#include "VideoAnalysis/Screen/MainViewController.h"
#include "VideoAnalysis/Screen/PlayersManager.h"
#include "VideoAnalysis/Timeline/Deceleration.h"
#include "VideoAnalysis/Timeline/InfiniteLayout.h"
#include "VideoAnalysis/Timeline/TimelineView.h"

#include <cmath>
#include <memory>
#include <vector>

namespace videoanalysis {
namespace {

Rect rulerFrame(double width) { return Rect(0, 0, width, 44); }

std::shared_ptr<TimelineView> makeRuler(HeadlessPlatform& platform, double items) {
    auto ruler = std::make_shared<TimelineView>();
    ruler->setContent(1, items);
    ruler->setFrame(rulerFrame(640));
    platform.drainMainQueue();
    return ruler;
}

void scroll(TimelineView& ruler, double points) {
    InfiniteCollectionView& strip = *ruler.collectionView();
    strip.setContentOffset({strip.contentOffset().x + points, 0});
}

/// Error in points of a throw of `velocity` at 60 Hz after `seconds`, compared with the closed form.
double missOfThrow(TimelineView& ruler, double velocity, double seconds, bool reCentres) {
    InfiniteCollectionView& strip = *ruler.collectionView();
    const double copy = strip.infiniteLayout()->copyLength();
    // Starts just before the end of the last copy but one, or in the middle.
    strip.setContentOffset({reCentres ? copy * (InfiniteLayout::multiplier - 1) - 500 : copy * 250 + 100, 0});
    const double start = strip.contentOffset().x;
    const Deceleration deceleration{velocity};
    double travelled = 0;
    const int frames = static_cast<int>(seconds * 60);
    for (int frame = 1; frame <= frames; ++frame) {
        const double distance = deceleration.distance(frame / 60.0);
        scroll(ruler, distance - travelled);
        travelled = distance;
    }
    const double copies = std::round((strip.contentOffset().x - start) / copy);
    if ((copies != 0) != reCentres) return std::nan("");  // did not re-centre as expected
    const double way = strip.contentOffset().x - start - copies * copy;
    return std::abs(way - velocity / Deceleration::rate * (1 - std::exp(-Deceleration::rate * seconds)));
}

/// Drags the rulers of two players by one tick, 60 times a second each, including everything that follows in the stores.
void measureScrubbing(bench::Report& report, HeadlessPlatform& platform) {
    for (const char* name : {"file:///a", "file:///b"}) {
        platform.mediaEngine.addClip(URL(name), {100000, {1, 60}, {1920, 1080}});
        mainStore().dispatch(AddMediaAction({URL(name), {}}));
    }
    const auto host = std::make_shared<ui::ViewController>();
    mainStore().dispatch(SetPresentationConfigurationAction(host, ui::ModalPresentationStyle::fullScreen));
    platform.advance(1);
    const auto manager = MainViewController::of(mainStore().state())->playersManager();
    std::vector<std::shared_ptr<TimelineView>> rulers;
    for (const auto& controller : manager->cellControllers) {
        rulers.push_back(controller->overlayCell()->hudView.lock()->timelineView.lock());
        rulers.back()->setFrame(rulerFrame(960));
        platform.drainMainQueue();
        rulers.back()->collectionView()->beginDragging();
    }
    constexpr int moves = 600;
    const double milliseconds = bench::measure(
        [&] {
            for (int i = 0; i < moves; ++i) {
                for (const auto& ruler : rulers) scroll(*ruler, TimelineView::cellWidth);
                platform.drainMainQueue();
            }
        },
        9);
    const auto first = manager->cellControllers.front();
    const auto player = first->cell()->playerView.lock()->player();
    const bool hasStepped = player->currentFrame()->index() == 10 * moves;  // one warm-up and nine rounds
    report.value("two rulers scrubbed 60 times a second",
                 hasStepped ? milliseconds / moves * 60 / 1000 * 100 : std::nan(""), "% of a core", 2);
}

BENCHMARK_GROUP(timeline, "timeline") {
    const auto platform = std::make_shared<HeadlessPlatform>();
    platform->screen.points = {1920, 1080};
    installPlatform(platform);

    const auto small = makeRuler(*platform, 100);
    const auto large = makeRuler(*platform, 1e6);
    constexpr int events = 20000;
    const auto run = [](TimelineView& ruler) {
        for (int i = 0; i < events; ++i) scroll(ruler, 3);
    };
    const auto [many, few] = bench::measurePaired([&] { run(*large); }, [&] { run(*small); }, 15);
    report.against("scroll event, 1,000,000 items", many * 1000 / events, "us", "the same with 100 items",
                   few * 1000 / events, 1.2);

    // Aligned so that no cell appears or disappears.
    const double offset = small->collectionView()->contentOffset().x;
    scroll(*small, (std::floor(offset / TimelineView::cellWidth) + 0.5) * TimelineView::cellWidth - offset);
    const bench::AllocationCounter allocations;
    for (int i = 0; i < 1000; ++i) scroll(*small, i % 2 ? 0.25 : -0.25);
    report.value("allocations per scroll event without a new cell", static_cast<double>(allocations.count()) / 1000, "",
                 0);

    report.value("throw of 2,000 points a second, 3 s: off the closed form", missOfThrow(*small, 2000, 3, false),
                 "points", 1);
    report.value("the same with re-centring on the way", missOfThrow(*small, 2000, 3, true), "points", 1);

    measureScrubbing(report, *platform);
    mainStore().dispatch(DismissAction(false, {}));
    mainStore().dispatch(ClearStateAction());
    platform->drainMainQueue();
    installPlatform(nullptr);
}

}  // namespace
}  // namespace videoanalysis
