#include "VideoAnalysis/Platform/UI/CollectionView.h"

#include "Tests/Support/ComponentTest.h"

namespace videoanalysis::ui {
namespace {

class Words : public CollectionViewDataSource, public CollectionViewDelegate {
public:
    std::vector<std::string> words;
    int made = 0;
    int displayed = 0;
    int removed = 0;

    std::int64_t numberOfItemsInSection(CollectionView&, std::int64_t) override {
        return static_cast<std::int64_t>(words.size());
    }
    std::shared_ptr<CollectionViewCell> cellForItemAt(CollectionView& view, const IndexPath& indexPath) override {
        auto cell = view.dequeueReusableCell("word", indexPath);
        cell->setTag(static_cast<int>(words.at(static_cast<std::size_t>(indexPath.item)).size()));
        return cell;
    }
    void willDisplay(CollectionView&, CollectionViewCell&, const IndexPath&) override { ++displayed; }
    void didEndDisplaying(CollectionView&, CollectionViewCell&, const IndexPath&) override { ++removed; }
};

class CollectionViewTest : public ComponentTest {
protected:
    CollectionViewTest() {
        for (int i = 0; i < 20; ++i) source->words.push_back(std::string(static_cast<std::size_t>(i), 'x'));
        layout->setItemSize({100, 40});
        layout->setMinimumLineSpacing(10);
        layout->setMinimumInteritemSpacing(0);
        view->setFrame({0, 0, 100, 100});
        view->setCollectionViewLayout(layout);
        view->registerClass(
            [this] {
                ++source->made;
                return std::make_shared<CollectionViewCell>();
            },
            "word");
        view->setDataSource(source);
        view->setCollectionViewDelegate(source);
        platform->drainMainQueue();
    }
    std::vector<int> shown() const {
        std::vector<int> tags;
        for (const auto& visible : view->visibleCells()) tags.push_back(visible.cell->tag());
        return tags;
    }
    const std::shared_ptr<Words> source = std::make_shared<Words>();
    const std::shared_ptr<FlowLayout> layout = std::make_shared<FlowLayout>();
    const std::shared_ptr<CollectionView> view = std::make_shared<CollectionView>();
};

TEST_F(CollectionViewTest, CreatesVisibleCellsOnlyAndReusesThem) {
    EXPECT_EQ(shown(), (std::vector{0, 1}));
    EXPECT_EQ(view->contentSize(), (Size{100, 20 * 50 - 10}));
    view->setContentOffset({0, 45});
    EXPECT_EQ(shown(), (std::vector{1, 2}));
    view->setContentOffset({0, 500});
    EXPECT_EQ(shown(), (std::vector{10, 11}));
    EXPECT_EQ(source->made, 2) << "cells that are no longer visible are reused";
    EXPECT_EQ(source->displayed - source->removed, 2);
    EXPECT_EQ(view->cellForItem({10, 0})->frame(), Rect(0, 500, 100, 40));
    EXPECT_EQ(view->cellForItem({12, 0}), nullptr);
}

TEST_F(CollectionViewTest, InsertDeleteAndReloadUpdateCountsAndCells) {
    source->words.insert(source->words.begin(), std::string(50, 'y'));
    view->insertItems({{0, 0}});
    platform->drainMainQueue();
    EXPECT_EQ(shown(), (std::vector{50, 0}));
    source->words.erase(source->words.begin(), source->words.begin() + 2);
    view->deleteItems({{0, 0}, {1, 0}});
    platform->drainMainQueue();
    EXPECT_EQ(shown(), (std::vector{1, 2}));
    EXPECT_EQ(view->numberOfItemsInSection(0), 19);

    source->words[1] = "three";
    view->reloadItems({{1, 0}});
    platform->drainMainQueue();
    EXPECT_EQ(shown(), (std::vector{1, 5}));

    source->words.resize(1);
    EXPECT_EQ(view->numberOfItemsInSection(0), 19) << "cached until the view is notified";
    view->reloadData();
    EXPECT_EQ(view->numberOfItemsInSection(0), 1);
    platform->drainMainQueue();
    EXPECT_EQ(shown(), std::vector{1});
    EXPECT_DEATH(view->deleteItems({{0, 0}}), "Invalid delete");
}

TEST_F(CollectionViewTest, ScrollingDirectionSelectsTheLines) {
    layout->setItemSize({30, 40});
    layout->setMinimumInteritemSpacing(5);
    layout->setSectionInset({7, 0, 0, 0});
    platform->drainMainQueue();
    EXPECT_EQ(layout->layoutAttributesForItem({2, 0})->frame, Rect(70, 7, 30, 40));
    EXPECT_EQ(layout->layoutAttributesForItem({3, 0})->frame, Rect(0, 57, 30, 40));
    EXPECT_EQ(layout->layoutAttributesForItem({20, 0}), std::nullopt);
    layout->setScrollDirection(ScrollDirection::horizontal);
    platform->drainMainQueue();
    EXPECT_EQ(layout->layoutAttributesForItem({1, 0})->frame, Rect(0, 52, 30, 40));
    EXPECT_EQ(layout->layoutAttributesForItem({2, 0})->frame, Rect(40, 7, 30, 40));
}

TEST_F(CollectionViewTest, UnregisteredCellIsFatal) {
    EXPECT_DEATH((void)view->dequeueReusableCell("nothing", {0, 0}), "under the identifier nothing");
}

}  // namespace
}  // namespace videoanalysis::ui
