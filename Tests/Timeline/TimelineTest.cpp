// The endless strip and the ruler made of it.

#include "Tests/Support/ComponentTest.h"
#include "VideoAnalysis/Timeline/InfiniteDataSources.h"
#include "VideoAnalysis/Timeline/InfiniteLayout.h"
#include "VideoAnalysis/Timeline/TimelineView.h"

#include <cmath>
#include <limits>

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

    const std::shared_ptr<TimelineView> ruler = std::make_shared<TimelineView>();
    const std::shared_ptr<Scrubs> scrubs = std::make_shared<Scrubs>();
};

TEST_F(TimelineTest, TheContentIsRepeatedUntilItIsLongEnoughToLoop) {
    // 100 + 400 / 8 items, repeated Int(4 * 700 / 8) times
    EXPECT_EQ(strip().numberOfItemsInSection(0), 150 * 350);
    EXPECT_EQ(InfiniteDataSources::originCount, 150);
    EXPECT_TRUE(layout().hasValidLayout());
    EXPECT_EQ(layout().contentSize(), (Size{150 * 350 * 8, 44}));
    EXPECT_EQ(strip().contentSize().width, 150.0 * 350 * 8 * 500);
    EXPECT_EQ(layout().page(strip().contentOffset()), 250) << "it begins in the middle";

    layout().setEnabled(false);
    ruler->reload();
    platform->drainMainQueue();
    EXPECT_EQ(strip().numberOfItemsInSection(0), 150);
    EXPECT_FALSE(layout().hasValidLayout()) << "short content does not loop";
    EXPECT_EQ(strip().contentSize().width, 150 * 8);
}

TEST_F(TimelineTest, TicksAreLongShortAndRed) {
    for (const auto& visible : strip().visibleCells()) {
        const auto& tick = dynamic_cast<TimelineCollectionViewCell&>(*visible.cell);
        const std::int64_t index = visible.indexPath.item % 150;
        EXPECT_EQ(tick.isLong(), index % 5 == 0) << index;
        EXPECT_EQ(tick.color() == Color::systemRed(), index != 0 && index % 10 == 0) << index;
        EXPECT_NE(tick.lineView->isHidden(), tick.shortLineView->isHidden());
        EXPECT_EQ(visible.cell->frame().size, (Size{8, 44}));
    }
    EXPECT_GE(strip().visibleCells().size(), 50U);
}

TEST_F(TimelineTest, OnlyAFingerAndItsFlingScrub) {
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

TEST_F(TimelineTest, AnyWayIsCountedExactlyAcrossCopiesAndReCentrings) {
    strip().beginDragging();
    const double copy = layout().copyLength();
    // 300 copies in each direction, in strides longer than the strip: every end is passed and moved back from.
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

TEST_F(TimelineTest, ReCentringKeepsThePlaceAndTheCells) {
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
    EXPECT_NEAR(layout().wrappedOffset({-10, 0}).x, copy * 250 + std::fmod(-10 + copy * std::trunc(copy / 10), copy), 1e-3);
}

TEST_F(TimelineTest, ResizingInAThrowStepsNowhere) {
    strip().beginDragging();
    strip().endDragging({2000, 0}, {}, true);
    drag(80);
    scrubs->steps.clear();
    ruler->setFrame({0, 0, 700, 44});
    platform->drainMainQueue();
    EXPECT_TRUE(scrubs->steps.empty());
    drag(8);
    EXPECT_EQ(scrubs->total(), 1) << "and the throw goes on";
    ruler->setFrame({0, 0, 0, 0});
    platform->drainMainQueue();
    ruler->setFrame({0, 0, 400, 44});
    platform->drainMainQueue();
    EXPECT_EQ(strip().numberOfItemsInSection(0), 150 * 350);
    scrubs->steps.clear();
    ruler->setContent(1, 0);  // an empty length still has a screen of cells to drag
    ruler->reload();
    platform->drainMainQueue();
    EXPECT_EQ(InfiniteDataSources::originCount, 50);
    drag(24, 3);
    EXPECT_EQ(scrubs->total(), 3);
}

TEST_F(TimelineTest, PagingStopsOnAnItem) {
    strip().isItemPagingEnabled = true;
    strip().setVelocityMultiplier(2);
    EXPECT_EQ(layout().velocityMultiplier, 2);
    strip().beginDragging();
    const double copy = layout().copyLength();
    const Point target = strip().endDragging({}, {250 * copy + 3, 0}, true);
    EXPECT_NEAR(std::fmod(target.x + 200, 8), 4, 1e-6) << "an item's centre stands in the middle";
    EXPECT_NEAR(target.x, 250 * copy + 3, 8);
    EXPECT_NEAR(strip().endDragging({400, 0}, {250 * copy + 3, 0}, true).x, target.x + 80, 1e-6);
}

TEST_F(TimelineTest, SectionsAndItemsAreMappedByModulo) {
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

TEST_F(TimelineDeathTest, ProgrammingErrorsStopTheProgramWithTheirMessage) {
    const auto lonely = std::make_shared<InfiniteCollectionView>();
    EXPECT_DEATH((void)lonely->dataSourceProxy()->numberOfItemsInSection(*lonely, 0), "collectionView dataSource is required");
    InfiniteCollectionViewController controller;
    EXPECT_DEATH((void)controller.view(), "InfiniteCollectionView is needed");
    EXPECT_DEATH((void)InfiniteDataSources::multiplier({0, 44}, true), "out of range");
    EXPECT_DEATH((void)InfiniteDataSources::numberOfItemsInSection(std::numeric_limits<std::int64_t>::max(), 1, 2), "too many");
    ruler->setContent(1, std::numeric_limits<double>::quiet_NaN());
    ruler->reload();
    EXPECT_DEATH((void)strip().numberOfItemsInSection(0), "length of a timeline is not finite");
}

}  // namespace
}  // namespace videoanalysis
