// The endless strip, and the ruler built on it.

#include "Tests/Support/ComponentTest.h"
#include "Tests/Support/Pointers.h"
#include "VideoAnalysis/Timeline/InfiniteDataSources.h"
#include "VideoAnalysis/Timeline/InfiniteLayout.h"
#include "VideoAnalysis/Timeline/TimelineView.h"

#include <cmath>
#include <limits>
#include <set>

namespace videoanalysis {
namespace {

class TimelineTest : public ComponentTest {
protected:
    struct Scrubs : TimelineViewDelegate {
        std::vector<double> steps;
        bool direction = true;
        void timelineViewDidScrollBy(double count, bool isDragging) override {
            EXPECT_TRUE(isDragging);
            steps.push_back(count);
        }
        bool defaultScrubbingDirection() const override { return direction; }
        Color tickColor() const override { return Color::systemBlue(); }
        double total() const {
            double sum = 0;
            for (const double step : steps) sum += step;
            return sum;
        }
    };
    TimelineTest() {
        store();
        ruler->delegate = scrubs;
        ruler->setContent(1, 100);
        ruler->setFrame({0, 0, 400, 44});
        platform->drainMainQueue();
    }
    InfiniteCollectionView& strip() { return *ruler->collectionView(); }
    InfiniteLayout& layout() { return *strip().infiniteLayout(); }
    void drag(double points, int events = 1) {
        for (int i = 0; i < events; ++i) strip().setContentOffset({strip().contentOffset().x + points / events, 0});
    }

    /// The content item of the tick at the mark.
    std::int64_t centeredTick() { return centeredTick(*ruler); }
    static std::int64_t centeredTick(TimelineView& view) {
        InfiniteCollectionView& collection = *view.collectionView();
        return collection.dataSourceProxy()->indexPath(collection.centeredIndexPath().value()).item;
    }
    std::shared_ptr<TimelineCollectionViewCell> cellAtTheMark() {
        const double mark = strip().contentOffset().x + ruler->bounds().size.width / 2;
        for (const auto& visible : strip().visibleCells()) {
            const Rect& frame = visible.cell->frame();
            if (frame.minX() <= mark && mark < frame.maxX())
                return std::dynamic_pointer_cast<TimelineCollectionViewCell>(visible.cell);
        }
        return nullptr;
    }
    /// Distance of the mark to the right of the nearest visible tick, in points.
    double distanceOfNearestTick() { return distanceOfNearestTick(*ruler); }
    static double distanceOfNearestTick(TimelineView& view) {
        const double mark = view.collectionView()->contentOffset().x + view.bounds().size.width / 2;
        double nearest = 1e9;
        for (const auto& visible : view.collectionView()->visibleCells()) {
            const double distance = mark - visible.cell->frame().midX();
            if (std::abs(distance) < std::abs(nearest)) nearest = distance;
        }
        return nearest;
    }

    const std::shared_ptr<TimelineView> ruler = std::make_shared<TimelineView>();
    const std::shared_ptr<Scrubs> scrubs = std::make_shared<Scrubs>();
};

TEST_F(TimelineTest, RepeatsShortContentUntilItCanLoop) {
    // 100 + 400 / 8 items, repeated Int(4 * 700 / 8) times
    EXPECT_EQ(strip().numberOfItemsInSection(0), 150 * 350);
    EXPECT_EQ(InfiniteDataSources::originCount, 150);
    EXPECT_TRUE(layout().hasValidLayout());
    EXPECT_EQ(layout().contentSize(), (Size{150 * 350 * 8, 44}));
    EXPECT_EQ(strip().contentSize().width, 150.0 * 350 * 8 * 500);
    EXPECT_EQ(layout().page(strip().contentOffset()), 250) << "starts in the middle";
}

TEST_F(TimelineTest, LoopingCanBeToggled) {
    press(ruler->scroller(), 1, 0, 0);
    move(ruler->scroller(), 1, -63 * 8, 1);
    release(ruler->scroller(), 1, -63 * 8, 2);
    EXPECT_EQ(centeredTick(), 63);
    layout().setEnabled(false);
    platform->drainMainQueue();
    EXPECT_EQ(strip().numberOfItemsInSection(0), 150);
    EXPECT_FALSE(layout().hasValidLayout()) << "short content does not loop";
    EXPECT_EQ(strip().contentSize().width, 150 * 8);
    EXPECT_EQ(centeredTick(), 63) << "the tick at the mark stays there";
    EXPECT_GE(strip().visibleCells().size(), 50U);
    EXPECT_EQ(scrubs->total(), 63);

    // Drags and throws now stop at the ends.
    press(ruler->scroller(), 1, 0, 3);
    move(ruler->scroller(), 1, 2000, 3.01);
    EXPECT_EQ(strip().contentOffset().x, 0);
    release(ruler->scroller(), 1, 2000, 4);
    press(ruler->scroller(), 1, 0, 5);
    move(ruler->scroller(), 1, -400, 5.01);
    move(ruler->scroller(), 1, -500, 5.02);
    release(ruler->scroller(), 1, -500, 5.02);
    ruler->scroller().continueThrow(100);
    EXPECT_EQ(strip().contentOffset().x, 150 * 8 - 400);
    EXPECT_FALSE(ruler->canDrag());
    EXPECT_EQ(centeredTick(), 124);

    layout().setEnabled(true);
    platform->drainMainQueue();
    EXPECT_TRUE(layout().hasValidLayout());
    EXPECT_EQ(layout().page(strip().contentOffset()), 250);
    EXPECT_EQ(centeredTick(), 124);
}

TEST_F(TimelineTest, TickIsAtTheMarkBeforeTheFirstTouch) {
    EXPECT_EQ(centeredTick(), 0);
    EXPECT_EQ(distanceOfNearestTick(), 0);
    strip().beginDragging();
    drag(3.9);
    EXPECT_EQ(scrubs->total(), 0) << "less than half a tick does not step";
    drag(-7.8);
    EXPECT_EQ(scrubs->total(), 0);
    drag(-0.2);
    EXPECT_EQ(scrubs->total(), -1);

    const auto other = std::make_shared<TimelineView>();
    other->setContent(1, 100);
    other->collectionView()->preferredCenteredIndexPath = ui::IndexPath{42, 0};
    for (const double width : {120.0, 333.0, 400.5}) {  // a screen may be laid out several times
        other->setFrame({0, 0, width, 44});
        platform->drainMainQueue();
        EXPECT_EQ(centeredTick(*other), 42) << width;
        EXPECT_NEAR(distanceOfNearestTick(*other), 0, 1e-6) << width;
    }
}

TEST_F(TimelineTest, TicksHaveLengthsAndColours) {
    for (const auto& visible : strip().visibleCells()) {
        const auto& tick = dynamic_cast<TimelineCollectionViewCell&>(*visible.cell);
        const std::int64_t index = visible.indexPath.item % 150;
        EXPECT_EQ(tick.isLong(), index % 5 == 0) << index;
        EXPECT_EQ(tick.color(), index != 0 && index % 10 == 0 ? Color::systemRed() : Color::systemBlue()) << index;
        EXPECT_NE(tick.lineView->isHidden(), tick.shortLineView->isHidden());
        EXPECT_EQ(visible.cell->frame().size, (Size{8, 44}));
    }
    EXPECT_GE(strip().visibleCells().size(), 50U);
}

TEST_F(TimelineTest, OnlyDragsAndTheirFlingsScrub) {
    drag(80);
    EXPECT_TRUE(scrubs->steps.empty());
    strip().beginDragging();
    drag(16);
    EXPECT_EQ(scrubs->steps, std::vector{2.0});
    drag(-24, 3);
    EXPECT_EQ(scrubs->total(), -1);
    strip().endDragging({500, 0}, {}, true);
    drag(40, 10);
    EXPECT_EQ(scrubs->total(), 4) << "the fling after a drag scrubs";
    strip().endDecelerating();
    drag(80);
    EXPECT_EQ(scrubs->total(), 4);

    scrubs->direction = false;
    strip().beginDragging();
    drag(16);
    EXPECT_EQ(scrubs->total(), 2) << "the option reverses the direction";
    strip().endDragging({}, {}, false);
    EXPECT_FALSE(ruler->canDrag());
}

TEST_F(TimelineTest, CountsStepsExactlyAcrossCopiesAndRecentring) {
    strip().beginDragging();
    const double copy = layout().copyLength();
    // 300 copies in each direction, in strides longer than the strip, so that it re-centres at both ends.
    for (const double stride : {copy * 0.37, -copy * 0.61}) {
        scrubs->steps.clear();
        const int strides = static_cast<int>(300 * copy / std::abs(stride));
        const double whole = std::round(stride / 8) * 8;
        for (int i = 0; i < strides; ++i) {
            drag(whole);
            const std::int64_t page = layout().page(strip().contentOffset());
            ASSERT_TRUE(page >= 2 && page <= 498) << page;
        }
        EXPECT_EQ(scrubs->total(), strides * whole / 8);
    }
}

TEST_F(TimelineTest, RecentringKeepsThePositionAndTheCells) {
    const double copy = layout().copyLength();
    const Point near{copy * 250 + 1234.5, 0};
    strip().setContentOffset(near);
    const auto cells = strip().visibleCells();
    strip().setContentOffset({near.x - 249 * copy, 0});  // copy 1
    EXPECT_NEAR(strip().contentOffset().x, near.x, 1e-3);
    strip().setContentOffset({near.x + 249 * copy, 0});  // copy 499
    EXPECT_NEAR(strip().contentOffset().x, near.x, 1e-3);
    ASSERT_EQ(strip().visibleCells().size(), cells.size());
    for (std::size_t i = 0; i < cells.size(); ++i) EXPECT_EQ(strip().visibleCells()[i].indexPath, cells[i].indexPath);
    EXPECT_NEAR(layout().wrappedOffset({-10, 0}).x, copy * 250 + std::fmod(-10 + copy * std::trunc(copy / 10), copy),
                1e-3);
}

TEST_F(TimelineTest, ResizingDuringMotionKeepsTheTickAtTheMark) {
    StripScroller& scroller = ruler->scroller();
    press(scroller, 1, 0, 0);
    for (int i = 1; i <= 5; ++i) move(scroller, 1, -10 * i, 0.01 * i);
    release(scroller, 1, -50, 0.05);
    ASSERT_TRUE(scroller.isThrown());
    double seconds = 0;
    double way = 50;
    for (const double width : {700.0, 399.0, 400.0, 403.0, 1280.0, 16.0, 640.5}) {
        ruler->setFrame({0, 0, width, 44});
        // Throw frames before and after the new layout.
        for (int i = 0; i < 3; ++i) {
            if (i == 1) platform->drainMainQueue();
            scroller.continueThrow(seconds += 0.016);
        }
        way = 50 + Deceleration{1000}.distance(seconds);
        EXPECT_NEAR(scrubs->total(), way / 8, 0.51) << width;
        EXPECT_NEAR(distanceOfNearestTick(), way - 8 * scrubs->total(), 1e-3) << width;
    }
    // The layout is deferred while the strip has no size.
    ruler->setFrame({0, 0, 0, 0});
    scroller.continueThrow(seconds += 0.016);
    platform->drainMainQueue();
    scroller.continueThrow(seconds += 0.016);
    ruler->setFrame({0, 0, 400, 44});
    platform->drainMainQueue();
    EXPECT_EQ(strip().numberOfItemsInSection(0), 150 * 350);
    EXPECT_NEAR(scrubs->total(), (50 + Deceleration{1000}.distance(seconds)) / 8, 0.51);
    scroller.stop();

    strip().beginDragging();
    drag(0.1);
    scrubs->steps.clear();
    ruler->setFrame({0, 0, 700, 44});
    platform->drainMainQueue();
    EXPECT_TRUE(scrubs->steps.empty()) << "the finger is at rest";
    ruler->setFrame({0, 0, 400, 44});
    ruler->setContent(1, 0);  // empty content still has a screen of ticks to drag
    ruler->reload();
    platform->drainMainQueue();
    EXPECT_EQ(InfiniteDataSources::originCount, 50);
    EXPECT_TRUE(scrubs->steps.empty());
    drag(24, 3);
    EXPECT_EQ(scrubs->total(), 3);
}

TEST_F(TimelineTest, PagingStopsAtAnItem) {
    strip().isItemPagingEnabled = true;
    strip().setVelocityMultiplier(2);
    EXPECT_EQ(layout().velocityMultiplier, 2);
    strip().beginDragging();
    const double copy = layout().copyLength();
    const Point target = strip().endDragging({}, {250 * copy + 3, 0}, true);
    EXPECT_NEAR(std::fmod(target.x + 200, 8), 4, 1e-6) << "an item is centred";
    EXPECT_NEAR(target.x, 250 * copy + 3, 8);
    EXPECT_NEAR(strip().endDragging({400, 0}, {250 * copy + 3, 0}, true).x, target.x + 80, 1e-6);

    // A tick comes to rest at the mark, after a release between two ticks and after a throw.
    strip().setVelocityMultiplier(1);
    for (const double speed : {0.0, -313.0, 700.0}) {
        press(ruler->scroller(), 1, 0, 0);
        for (int i = 1; i <= 10; ++i) move(ruler->scroller(), 1, -3 - speed * 0.01 * i, 0.01 * i);
        release(ruler->scroller(), 1, -3 - speed * 0.1, speed == 0 ? 1 : 0.1);
        EXPECT_TRUE(ruler->scroller().isThrown()) << speed;
        ruler->scroller().continueThrow(100);
        EXPECT_NEAR(distanceOfNearestTick(), 0, 1e-3) << speed;
        EXPECT_FALSE(ruler->canDrag());
    }
}

TEST_F(TimelineTest, CellsOfEveryRepetitionShowTheContent) {
    // Across three repetitions, raw item numbers continue and content item numbers restart.
    strip().beginDragging();
    std::set<std::int64_t> raw;
    for (int item = 0; item < 450; ++item) {
        EXPECT_EQ(centeredTick(), item % 150);
        raw.insert(strip().centeredIndexPath()->item);
        const auto cell = cellAtTheMark();
        ASSERT_TRUE(cell);
        EXPECT_EQ(cell->isLong(), item % 150 % 5 == 0) << item;
        EXPECT_EQ(cell->color() == Color::systemRed(), item % 150 % 10 == 0 && item % 150 != 0) << item;
        drag(8);
    }
    EXPECT_EQ(raw.size(), 450U);
    EXPECT_EQ(*raw.rbegin() - *raw.begin(), 449);
}

/// Implements every callback and records the index paths it receives.
class Outside : public ui::CollectionViewDataSource, public ui::CollectionViewDelegate {
public:
    std::vector<std::string> calls;
    bool answers = true;
    std::int64_t sections = 3;
    const std::shared_ptr<ui::View> zoomed = std::make_shared<ui::View>();

    std::int64_t numberOfSections(ui::CollectionView&) override { return sections; }
    std::int64_t numberOfItemsInSection(ui::CollectionView&, std::int64_t section) override { return 5 + section; }
    std::shared_ptr<ui::CollectionViewCell> cellForItemAt(ui::CollectionView&, const ui::IndexPath& at) override {
        note("cell", at);
        return std::make_shared<ui::CollectionViewCell>();
    }
    void scrollViewDidScroll(ui::ScrollView&) override { calls.push_back("scroll"); }
    void scrollViewWillBeginDragging(ui::ScrollView&) override { calls.push_back("begin"); }
    void scrollViewWillEndDragging(ui::ScrollView&, Point, Point& target) override {
        calls.push_back("target");
        target.x += 1;
    }
    void scrollViewDidEndDragging(ui::ScrollView&, bool on) override { calls.push_back(on ? "thrown" : "left"); }
    void scrollViewDidEndDecelerating(ui::ScrollView&) override { calls.push_back("rest"); }
    std::shared_ptr<ui::View> viewForZooming(ui::ScrollView&) override { return answers ? zoomed : nullptr; }
    void willDisplay(ui::CollectionView&, ui::CollectionViewCell&, const ui::IndexPath& at) override {
        note("will", at);
    }
    void didEndDisplaying(ui::CollectionView&, ui::CollectionViewCell&, const ui::IndexPath& at) override {
        note("did", at);
    }
    void didSelectItemAt(ui::CollectionView&, const ui::IndexPath& at) override { note("select", at); }
    std::optional<Size> sizeForItemAt(ui::CollectionView&, ui::CollectionViewLayout&,
                                      const ui::IndexPath& at) override {
        note("size", at);
        return answers ? std::optional(Size{7, 7}) : std::nullopt;
    }
    std::optional<Size> uniformItemSize(ui::CollectionView&, ui::CollectionViewLayout&) override {
        return answers ? std::optional(Size{6, 6}) : std::nullopt;
    }
    std::optional<double> minimumLineSpacingForSectionAt(ui::CollectionView&, ui::CollectionViewLayout&,
                                                         std::int64_t section) override {
        return answers ? std::optional(10.0 + static_cast<double>(section)) : std::nullopt;
    }
    std::optional<double> minimumInteritemSpacingForSectionAt(ui::CollectionView&, ui::CollectionViewLayout&,
                                                              std::int64_t section) override {
        return answers ? std::optional(20.0 + static_cast<double>(section)) : std::nullopt;
    }

private:
    void note(const char* call, const ui::IndexPath& at) {
        calls.push_back(call + std::string(" ") + std::to_string(at.section) + "." + std::to_string(at.item));
    }
};

TEST_F(TimelineTest, ProxiesForwardCallsWithContentPaths) {
    const auto view = std::make_shared<InfiniteCollectionView>();
    const auto outside = std::make_shared<Outside>();
    const auto silent = std::make_shared<Outside>();
    silent->answers = false;
    view->setDataSource(outside);
    view->setCollectionViewDelegate(silent);
    InfiniteCollectionViewDelegateProxy& delegate = *view->delegateProxy();
    delegate.proxies.push_back(outside);
    InfiniteLayout flow;
    ui::CollectionViewCell cell;

    // Section 5 of three is section 2, which has seven items.
    const ui::IndexPath far{16, 5};
    (void)view->dataSourceProxy()->cellForItemAt(*view, far);
    EXPECT_EQ(std::exchange(outside->calls, {}), std::vector<std::string>{"cell 2.2"});
    EXPECT_EQ(view->dataSourceProxy()->numberOfItemsInSection(*view, 5), 7);
    outside->sections = 1;
    EXPECT_EQ(view->dataSourceProxy()->indexPath({57, 0}).item, 2);
    EXPECT_EQ(view->dataSourceProxy()->indexPath({5 * 1000 * 1000 + 4, 0}).item, 4);
    outside->sections = 3;

    Point target{1, 0};
    delegate.scrollViewDidScroll(*view);
    delegate.scrollViewWillBeginDragging(*view);
    delegate.scrollViewWillEndDragging(*view, {}, target);
    delegate.scrollViewDidEndDragging(*view, true);
    delegate.scrollViewDidEndDecelerating(*view);
    delegate.willDisplay(*view, cell, far);
    delegate.didEndDisplaying(*view, cell, far);
    delegate.didSelectItemAt(*view, far);
    EXPECT_EQ(target.x, 3) << "each target may adjust it";
    const std::vector<std::string> forwarded{"scroll", "begin",    "target",  "thrown",
                                             "rest",   "will 2.2", "did 2.2", "select 2.2"};
    EXPECT_EQ(std::exchange(silent->calls, {}), forwarded);
    EXPECT_EQ(std::exchange(outside->calls, {}), forwarded);

    // The first result is used.
    EXPECT_EQ(delegate.viewForZooming(*view), outside->zoomed);
    EXPECT_EQ(delegate.sizeForItemAt(*view, flow, far), (Size{7, 7}));
    EXPECT_EQ(silent->calls, std::vector<std::string>{"size 2.2"});
    EXPECT_EQ(outside->calls, std::vector<std::string>{"size 2.2"});
    EXPECT_EQ(delegate.uniformItemSize(*view, flow), (Size{6, 6}));
    EXPECT_EQ(delegate.minimumLineSpacingForSectionAt(*view, flow, 4), 11);
    EXPECT_EQ(delegate.minimumInteritemSpacingForSectionAt(*view, flow, 4), 21);
    delegate.proxyFilter = [&](const ui::CollectionViewDelegate& asked) { return &asked != outside.get(); };
    EXPECT_EQ(delegate.viewForZooming(*view), nullptr);
    EXPECT_EQ(delegate.uniformItemSize(*view, flow), std::nullopt);
}

TEST_F(TimelineTest, MapsSectionsAndItemsByModulo) {
    EXPECT_EQ(InfiniteDataSources::section(5, 3), 2);
    EXPECT_EQ(InfiniteDataSources::indexPath({12, 4}, 3, 5), (ui::IndexPath{2, 1}));
    EXPECT_EQ(InfiniteDataSources::numberOfSections(1, 9), 1);
    EXPECT_EQ(InfiniteDataSources::numberOfSections(3, 9), 27);
    EXPECT_EQ(InfiniteDataSources::numberOfItemsInSection(7, 2, 9), 7);
    EXPECT_EQ(InfiniteDataSources::numberOfItemsInSection(7, 1, 9), 63);
    EXPECT_EQ(InfiniteDataSources::multiplier({8, 44}, false), 1);
    EXPECT_EQ(InfiniteDataSources::multiplier({8, 44}, true), 350);
}

using TimelineDeathTest = TimelineTest;

TEST_F(TimelineDeathTest, ProgrammingErrorsAreFatal) {
    const auto lonely = std::make_shared<InfiniteCollectionView>();
    EXPECT_DEATH((void)lonely->dataSourceProxy()->numberOfItemsInSection(*lonely, 0),
                 "collectionView dataSource is required");
    InfiniteCollectionViewController controller;
    EXPECT_DEATH((void)controller.view(), "InfiniteCollectionView is needed");
    EXPECT_DEATH((void)InfiniteDataSources::multiplier({0, 44}, true), "out of range");
    EXPECT_DEATH((void)InfiniteDataSources::numberOfItemsInSection(std::numeric_limits<std::int64_t>::max(), 1, 2),
                 "too many");
    ruler->setContent(1, std::numeric_limits<double>::quiet_NaN());
    ruler->reload();
    EXPECT_DEATH((void)strip().numberOfItemsInSection(0), "length of a timeline is not finite");
}

}  // namespace
}  // namespace videoanalysis
