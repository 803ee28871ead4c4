// The players manager, the overlay and the main screen, headless.

#include "Tests/Support/ComponentTest.h"
#include "VideoAnalysis/Screen/CollectionViewFlowLayout.h"

namespace videoanalysis {
namespace {

class ScreenTest : public ComponentTest {
protected:
    void addAndShow(std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) store().dispatch(AddMediaAction(clip(std::string(1, static_cast<char>('a' + i)))));
        show();
    }
    ui::CollectionView& collection() { return *screen()->playersCollectionView.lock(); }
    CollectionViewFlowLayout& layout() {
        return dynamic_cast<CollectionViewFlowLayout&>(*collection().collectionViewLayout());
    }
    Size itemSize() { return *screen()->playersManager()->sizeForItemAt(collection(), layout(), {0, 0}); }
    OverlayViewController& overlay() { return *screen()->overlayViewController(); }
    void rotate(ui::DeviceOrientation orientation, Size size) {
        platform->headlessDevice.currentOrientation = orientation;
        screen()->viewWillTransition(size);
        overlay().viewWillTransition(size);
        collection().setFrame({{}, size});
        platform->drainMainQueue();
    }
    std::vector<int> visibleTools() {
        std::vector<int> tags;
        for (const auto& outlet : overlay().drawingToolButtons) {
            if (!outlet.lock()->isHidden()) tags.push_back(outlet.lock()->tag());
        }
        return tags;
    }
};

TEST_F(ScreenTest, PlayersShareTheScreenAlongTheDevicesOrientation) {
    EXPECT_EQ(collection().numberOfItemsInSection(0), 0);
    addAndShow(1);
    EXPECT_NEAR(itemSize().height, 699.3, 1e-9);
    EXPECT_EQ(itemSize().width, 390);
    store().dispatch(AddMediaAction(clip("b")));
    platform->drainMainQueue();
    EXPECT_NEAR(itemSize().height, 349.65, 1e-9);
    ASSERT_EQ(collection().visibleCells().size(), 2U);
    EXPECT_NEAR(collection().visibleCells()[1].cell->frame().origin.y, 349.65, 1e-9);

    rotate(ui::DeviceOrientation::landscapeRight, {844, 390});
    EXPECT_EQ(layout().scrollDirection(), ui::ScrollDirection::horizontal);
    EXPECT_NEAR(collection().visibleCells()[1].cell->frame().origin.x, 844 / 2.0 * 0.999, 1e-9);
    EXPECT_EQ(collection().visibleCells()[1].cell->frame().origin.y, 0);

    store().dispatch(AddMediaAction(clip("c")));
    layout().setSectionInset({0, 10, 0, 10});
    EXPECT_NEAR(itemSize().width, 274.392, 1e-9);
    EXPECT_EQ(itemSize().height, 390);
    rotate(ui::DeviceOrientation::faceUp, {844, 390});
    EXPECT_EQ(layout().scrollDirection(), ui::ScrollDirection::vertical);
    EXPECT_NEAR(itemSize().height, 390 / 3.0 * 0.999, 1e-9);

    ui::FlowLayout foreign;
    EXPECT_EQ(screen()->playersManager()->sizeForItemAt(collection(), foreign, {0, 0}), Size());
}

TEST_F(ScreenTest, ALayoutIsComputedAgainWheneverTheBoundsChange) {
    addAndShow(1);
    EXPECT_FALSE(layout().shouldInvalidateLayoutForBoundsChange(collection().visibleRect()));
    EXPECT_TRUE(layout().shouldInvalidateLayoutForBoundsChange({1, 0, 390, 700}));
    EXPECT_FALSE(CollectionViewFlowLayout().shouldInvalidateLayoutForBoundsChange({1, 2, 3, 4}));
    collection().setFrame({0, 0, 200, 400});
    platform->drainMainQueue();
    EXPECT_EQ(collection().visibleCells()[0].cell->frame(), Rect(0, 0, 200, 399.6));
}

TEST_F(ScreenTest, ACellIsBoundOnceAndStays) {
    addAndShow(2);
    const auto bound = players()[1]->cell();
    ASSERT_EQ(collection().visibleCells()[1].cell, bound);
    platform->log.clear();
    const auto fresh = screen()->playersManager()->cellForItemAt(collection(), {1, 0});
    EXPECT_NE(fresh, bound);
    EXPECT_EQ(players()[1]->cell(), bound);
    EXPECT_EQ(platform->log, (std::vector<std::string>{"\n", "Index: 1", "Previous cell address: " + bound->description(),
                                                       "New generated cell address: " + fresh->description()}));
    EXPECT_DEATH((void)screen()->playersManager()->cellForItemAt(collection(), {2, 0}), "No player at index 2");

    // A reload gives every player its own cell again.
    collection().reloadData();
    platform->drainMainQueue();
    EXPECT_EQ(collection().visibleCells()[1].cell, bound);
}

TEST_F(ScreenTest, TheOverlayShowsWhatTheStateAllows) {
    addAndShow(1);
    EXPECT_FALSE(overlay().addButton.lock()->isHidden());
    EXPECT_TRUE(overlay().lockPlaybackButton.lock()->isHidden());
    EXPECT_EQ(overlay().closeButton.lock()->image(), Image::named("close"));
    EXPECT_EQ(visibleTools(), (std::vector{0, 2, 3, 4, 6}));
    EXPECT_TRUE(overlay().expandToolbarButton.lock()->isHidden());

    store().dispatch(AddMediaAction(clip("b")));
    overlay().tapOnLine(*overlay().addButton.lock());
    platform->drainMainQueue();
    EXPECT_TRUE(overlay().addButton.lock()->isHidden());
    EXPECT_EQ(visibleTools(), std::vector{2}) << "a collapsed strip shows the selected tool only";
    EXPECT_TRUE(overlay().collapseToolbarButton.lock()->isHidden());
    const auto arrow = overlay().arrowImage.lock();
    EXPECT_EQ(arrow->center().y, overlay().drawingToolButtons[1].lock()->center().y);
    EXPECT_EQ(arrow->tintColor(), Color::rgb255(0, 230, 118));

    overlay().handleToolbarExpand(*overlay().addButton.lock());
    overlay().handlePlaybackLockToggle(*overlay().addButton.lock());
    platform->drainMainQueue();
    EXPECT_EQ(visibleTools().size(), 5U);
    EXPECT_EQ(overlay().lockPlaybackButton.lock()->image(), Image::named("lock"));
    EXPECT_EQ(overlay().lockPlaybackButton.lock()->tintColor(), Color::systemRed());
    rotate(ui::DeviceOrientation::landscapeLeft, {700, 390});
    EXPECT_EQ(visibleTools().size(), 1U) << "a rotation collapses the strip";

    store().dispatch(SetHUDVisibleAction(false));
    platform->drainMainQueue();
    EXPECT_TRUE(overlay().visibleViews[0].lock()->isHidden());
    EXPECT_FALSE(overlay().drawingToolsStackView.lock()->isHidden());
}

TEST_F(ScreenTest, ToolButtonsShowTheirOwnColours) {
    ToolColorMap map;
    EXPECT_EQ(OverlayViewController::toolColor(0, map), Color::rgb255(0, 229, 255));
    EXPECT_EQ(OverlayViewController::toolColor(1, map), Color::white());
    EXPECT_EQ(OverlayViewController::toolColor(5, map), Color::white());
    EXPECT_EQ(OverlayViewController::toolColor(6, map), Color::rgb255(255, 234, 0));
    map.set(SketchToolType::ellipseFill, Color::black());
    map.set(SketchToolType::rectangleFill, Color::black());
    EXPECT_EQ(OverlayViewController::toolColor(5, map), Color::black());
    EXPECT_EQ(OverlayViewController::toolColor(7, map), Color::white());
}

TEST_F(ScreenTest, ThemeAndIconsOfTheHostTakeEffect) {
    Theme theme;
    theme.secondaryColor = Color::systemBlue();
    theme.buttonsTintColor = Color::systemRed();
    theme.translucentViewsOpacity = 0.25;
    VideoAnalysisIconsConfiguration icons;
    icons.closeButtonIcon = Image::named("my close");
    store().dispatch(SetConfigurationAction({true, true, icons, theme, nullptr}));
    addAndShow(1);
    EXPECT_EQ(overlay().closeButton.lock()->image(), Image::named("my close"));
    EXPECT_EQ(overlay().closeButton.lock()->titleColor(), Color::systemRed());
    EXPECT_EQ(overlay().topBarView.lock()->backgroundColor(), Color::systemBlue().withAlpha(0.25));
    EXPECT_EQ(overlay().view()->backgroundColor(), Color::clear());
    EXPECT_EQ(screen()->view()->backgroundColor(), Color::systemBlue());
}

TEST_F(ScreenTest, TheHostDecidesAboutAddingAndClosing) {
    const auto delegate = std::make_shared<RecordingDelegate>();
    addAndShow(1);
    overlay().handleMediaAddition(*overlay().addButton.lock());
    overlay().handleDiscardAndClose(*overlay().closeButton.lock());
    EXPECT_EQ(store().state().media->size(), 1U);
    store().dispatch(SetConfigurationAction({true, true, {}, {}, delegate}));
    overlay().handleMediaAddition(*overlay().addButton.lock());
    EXPECT_EQ(delegate->calls, std::vector<std::string>{"media 1"});
    delegate->mediaCompletion(clip("b"));
    EXPECT_EQ(store().state().media->size(), 2U);

    const auto old = screen();
    overlay().handleDiscardAndClose(*overlay().closeButton.lock());
    delegate->closeCompletion();
    platform->drainMainQueue();
    EXPECT_EQ(host->presentedViewController(), nullptr);
    EXPECT_TRUE(platform->headlessPresenter.overlays().empty());
    EXPECT_TRUE(store().state().media->empty());
    EXPECT_NE(screen(), old);
}

TEST_F(ScreenTest, OneOverlayWindowIsThereWhileTheScreenIs) {
    addAndShow(1);
    ui::Window* window = screen()->overlayWindow();
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(window->tag, 99);
    EXPECT_FALSE(window->isHidden());
    EXPECT_EQ(screen()->overlayWindow(), window);
    store().dispatch(DismissAction(true, {}));
    EXPECT_TRUE(window->isHidden());
    platform->drainMainQueue();
    show();
    EXPECT_EQ(screen()->overlayWindow(), window);
    EXPECT_FALSE(window->isHidden());
    EXPECT_EQ(store().subscriptions().size(), 2U);
    store().dispatch(DismissAction(true, {}));
    platform->drainMainQueue();
    EXPECT_TRUE(store().subscriptions().empty());
}

TEST_F(ScreenTest, AScreenWithoutItsOverlayShowsNoControlsAndManagesNothing) {
    platform->headlessBundle.missing = {"OverlayViewController"};
    store().dispatch(ClearStateAction());
    EXPECT_EQ(screen()->overlayWindow(), nullptr);
    EXPECT_EQ(screen()->playersManager(), nullptr);
    store().dispatch(AddMediaAction(clip("a")));
    EXPECT_EQ(store().state().media->size(), 1U) << "the reduction ends with the state as changed so far";
    show();
    platform->headlessBundle.missing.clear();
    EXPECT_NE(screen()->playersManager(), nullptr) << "tried again";
}

}  // namespace
}  // namespace videoanalysis
