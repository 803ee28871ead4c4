// The players manager, the overlay and the main screen on the headless platform.

#include "Tests/Support/ComponentTest.h"
#include "VideoAnalysis/Platform/Dispatch.h"
#include "VideoAnalysis/Screen/CollectionViewFlowLayout.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace videoanalysis {
namespace {

class ScreenTest : public ComponentTest {
protected:
    void addAndShow(std::size_t count) {
        for (std::size_t i = 0; i < count; ++i)
            store().dispatch(AddMediaAction(clip(std::string(1, static_cast<char>('a' + i)))));
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

TEST_F(ScreenTest, PlayersShareTheScreenByDeviceOrientation) {
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

TEST_F(ScreenTest, LayoutIsInvalidatedWhenTheBoundsChange) {
    addAndShow(1);
    EXPECT_FALSE(layout().shouldInvalidateLayoutForBoundsChange(collection().visibleRect()));
    EXPECT_TRUE(layout().shouldInvalidateLayoutForBoundsChange({1, 0, 390, 700}));
    EXPECT_FALSE(CollectionViewFlowLayout().shouldInvalidateLayoutForBoundsChange({1, 2, 3, 4}));
    collection().setFrame({0, 0, 200, 400});
    platform->drainMainQueue();
    EXPECT_EQ(collection().visibleCells()[0].cell->frame(), Rect(0, 0, 200, 399.6));
}

TEST_F(ScreenTest, CellIsBoundOnce) {
    addAndShow(2);
    const auto bound = players()[1]->cell();
    ASSERT_EQ(collection().visibleCells()[1].cell, bound);
    platform->log.clear();
    const auto fresh = screen()->playersManager()->cellForItemAt(collection(), {1, 0});
    EXPECT_NE(fresh, bound);
    EXPECT_EQ(players()[1]->cell(), bound);
    EXPECT_EQ(platform->log,
              (std::vector<std::string>{"\n", "Index: 1", "Previous cell address: " + bound->description(),
                                        "New generated cell address: " + fresh->description()}));
    EXPECT_DEATH((void)screen()->playersManager()->cellForItemAt(collection(), {2, 0}), "No player at index 2");

    // A reload binds every player to its cell again.
    collection().reloadData();
    platform->drainMainQueue();
    EXPECT_EQ(collection().visibleCells()[1].cell, bound);
}

TEST_F(ScreenTest, BindingIsLoggedAndRejectsCellsOfAnotherType) {
    addAndShow(1);
    const std::string player = players()[0]->cell()->description();
    const std::string controls = players()[0]->overlayCell()->description();
    const auto wasLogged = [&](const std::vector<std::string>& lines) {
        return std::search(platform->log.begin(), platform->log.end(), lines.begin(), lines.end()) !=
               platform->log.end();
    };
    EXPECT_TRUE(wasLogged({"\n", "Index: 0", "No previous cell address", "New generated cell address: " + player,
                           "New updated cell address: " + player}));
    EXPECT_TRUE(wasLogged({"\n", "Overlay Index: 0", "No previous overlay cell address",
                           "New generated overlay cell address: " + controls,
                           "New updated overlay cell address: " + controls}));
    EXPECT_FALSE(collection().isPrefetchingEnabled());

    // A template with another root type yields an empty, unbound cell.
    collection().registerClass([] { return std::make_shared<ui::CollectionViewCell>(); }, "PlayerCollectionViewCell");
    platform->log.clear();
    const auto foreign = screen()->playersManager()->cellForItemAt(collection(), {0, 0});
    ASSERT_NE(foreign, nullptr);
    EXPECT_NE(foreign, players()[0]->cell());
    EXPECT_TRUE(foreign->subviews().empty());
    EXPECT_TRUE(platform->log.empty());
}

TEST_F(ScreenTest, OverlayShowsTheControlsAllowedByTheState) {
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
    EXPECT_EQ(visibleTools(), std::vector{2}) << "the collapsed strip shows only the selected tool";
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
    overlay().handlePlaybackLockToggle(*overlay().addButton.lock());
    platform->drainMainQueue();
    EXPECT_EQ(overlay().lockPlaybackButton.lock()->image(), Image::named("unlock"));
    EXPECT_EQ(overlay().lockPlaybackButton.lock()->tintColor(), Color::white());
    rotate(ui::DeviceOrientation::landscapeLeft, {700, 390});
    EXPECT_EQ(visibleTools().size(), 1U) << "a rotation collapses the strip";

    store().dispatch(SetHUDVisibleAction(false));
    platform->drainMainQueue();
    EXPECT_TRUE(overlay().visibleViews[0].lock()->isHidden());
    EXPECT_FALSE(overlay().drawingToolsStackView.lock()->isHidden());
}

TEST_F(ScreenTest, ToolButtonsHaveTheirToolColours) {
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

// Visibility, appearance and enablement of the buttons for each state.
TEST_F(ScreenTest, RendersEveryControlFromTheState) {
    show();
    EXPECT_FALSE(overlay().recordButton.lock()->isEnabled()) << "no clips to record";
    EXPECT_TRUE(overlay().drawingToolsStackView.lock()->isHidden());
    EXPECT_TRUE(overlay().colorPickerView.lock()->isHidden());
    store().dispatch(AddMediaAction(clip("a")));
    platform->drainMainQueue();
    EXPECT_TRUE(overlay().recordButton.lock()->isEnabled());
    EXPECT_FALSE(overlay().drawingToolsStackView.lock()->isHidden());

    // A button with the tag that opts out of rendering.
    const auto untouched = overlay().drawingToolButtons[4].lock();
    untouched->setTag(5);
    untouched->setTintColor(Color::systemBlue());
    ToolColorMap map;
    map.set(SketchToolType::line, Color::black());
    store().dispatch(SetToolColorMapAction(map));
    store().dispatch(SetDrawingToolsCollapseStateAction(true));
    platform->drainMainQueue();
    EXPECT_EQ(untouched->tintColor(), Color::systemBlue());
    EXPECT_EQ(visibleTools(), (std::vector{0, 5}));
    EXPECT_EQ(overlay().drawingToolButtons[1].lock()->tintColor(), Color::black());
    EXPECT_EQ(overlay().drawingToolButtons[2].lock()->tintColor(), Color::rgb255(255, 23, 68))
        << "falls back to the tool's standard colour";
    untouched->setTag(6);

    // The marker keeps its column, follows the tool and rotates with the picker.
    const auto arrow = overlay().arrowImage.lock();
    arrow->setFrame({60, 0, 16, 16});
    overlay().tapOnCircle(*untouched);
    platform->drainMainQueue();
    EXPECT_EQ(arrow->center(), (Point{68, untouched->center().y}));
    EXPECT_EQ(arrow->tintColor(), Color::rgb255(255, 234, 0));
    EXPECT_EQ(arrow->rotation(), 0);
    EXPECT_EQ(arrow->alpha(), 1);
    overlay().tapOnColorPicker(*untouched);
    platform->drainMainQueue();
    EXPECT_NEAR(arrow->rotation(), 3.14159265, 1e-6);
    EXPECT_FALSE(overlay().colorPickerView.lock()->isHidden());
    store().dispatch(SetDrawingToolTypeAction(SketchToolType::eraser, false));
    platform->drainMainQueue();
    EXPECT_EQ(arrow->tintColor(), Color::rgb255(255, 234, 0)) << "a tool without a button does not change the marker";

    store().dispatch(SetHUDVisibleAction(false));
    platform->drainMainQueue();
    for (const auto& view : overlay().visibleViews) EXPECT_TRUE(view.lock()->isHidden());
    store().dispatch(SetHUDVisibleAction(true));
    platform->drainMainQueue();
    for (const auto& view : overlay().visibleViews) EXPECT_FALSE(view.lock()->isHidden());
}

TEST_F(ScreenTest, PickedColourAppliesOnlyToTheSelectedTool) {
    addAndShow(1);
    ColorPickerView& picker = *overlay().colorPickerView.lock();
    const auto indexOf = [&](const Color& color) {
        return std::find(picker.colors().begin(), picker.colors().end(), color) - picker.colors().begin();
    };
    EXPECT_EQ(picker.selectionStyle(), ColorPickerViewSelectStyle::check);
    picker.setFrame({0, 0, 145, 100});
    EXPECT_EQ(picker.frameOfItem(0), Rect(5, 5, 30, 30));
    EXPECT_EQ(picker.frameOfItem(5), Rect(40, 40, 30, 30)) << "four per line";
    EXPECT_EQ(picker.preselectedIndex(), indexOf(Color::rgb255(0, 229, 255))) << "the pen's standard colour";

    overlay().tapOnLine(*overlay().addButton.lock());
    overlay().tapOnLine(*overlay().addButton.lock());
    EXPECT_TRUE(screenState().isColorPickerOpened) << "selecting the current tool again opens the picker";
    picker.selectItem(indexOf(Color::black()));
    platform->drainMainQueue();
    EXPECT_TRUE(picker.isHidden());
    EXPECT_EQ(screenState().toolColorMap[SketchToolType::line], Color::black());
    EXPECT_EQ(screenState().toolColorMap[SketchToolType::pen], Color::rgb255(0, 229, 255));
    EXPECT_EQ(overlay().drawingToolButtons[1].lock()->tintColor(), Color::black());
    EXPECT_EQ(picker.preselectedIndex(), indexOf(Color::black()));

    // A colour outside of the palette and a tool without a colour keep the preselected index.
    store().dispatch(SetDrawingToolColorAction(Color::rgb255(1, 2, 3)));
    platform->drainMainQueue();
    EXPECT_EQ(picker.preselectedIndex(), indexOf(Color::black()));
    store().dispatch(SetToolColorMapAction(ToolColorMap()));
    overlay().tapOnArrow(*overlay().addButton.lock());
    platform->drainMainQueue();
    EXPECT_EQ(picker.preselectedIndex(), indexOf(Color::black()));

    overlay().tapOnColorPicker(*overlay().addButton.lock());
    EXPECT_TRUE(screenState().isColorPickerOpened);
    overlay().tapOnColorPicker(*overlay().addButton.lock());
    EXPECT_FALSE(screenState().isColorPickerOpened);
    EXPECT_DEATH(overlay().didSelectItemAt(picker, {24, 0}), "No colour at index 24");
}

// All four combinations of request and answer.
TEST_F(ScreenTest, RecordButtonAndTimerFollowRequestAndAnswer) {
    VideoAnalysisIconsConfiguration icons;
    icons.recordButtonIcon = Image::named("my record");
    store().dispatch(SetConfigurationAction({true, true, icons, {}, nullptr}));
    addAndShow(1);
    const auto record = overlay().recordButton.lock();
    const auto label = overlay().timerLabel.lock();
    const auto isTicking = [&] { return overlay().recordingTimer && overlay().recordingTimer->isValid(); };
    const auto looksIdle = [&] {
        return record->tintColor() == Color::white() && record->image() == Image::named("my record");
    };
    EXPECT_TRUE(looksIdle());
    EXPECT_TRUE(label->isHidden());

    // Requested, not answered.
    overlay().handleScreenRecording(*record);
    platform->drainMainQueue();
    EXPECT_TRUE(looksIdle());
    EXPECT_FALSE(isTicking());
    EXPECT_FALSE(label->isHidden());
    EXPECT_FALSE(overlay().closeButton.lock()->isEnabled());

    // Answered.
    store().dispatch(HasRecordingPermissionAction(true));
    platform->drainMainQueue();
    EXPECT_EQ(record->tintColor(), Color::systemRed());
    EXPECT_EQ(record->image(), Image::named("stop_recording"));
    const auto timer = overlay().recordingTimer;
    platform->advance(2.5);
    EXPECT_EQ(label->text(), "00:00:02");
    store().dispatch(SetDrawingToolTypeAction(SketchToolType::line, false));
    platform->drainMainQueue();
    EXPECT_EQ(overlay().recordingTimer, timer) << "not restarted";
    EXPECT_EQ(overlay().seconds, 2);

    // No longer requested: idle; the clock restarts and runs until the answer is reset.
    overlay().handleScreenRecording(*record);
    platform->drainMainQueue();
    EXPECT_TRUE(looksIdle());
    EXPECT_EQ(overlay().seconds, 0);
    EXPECT_FALSE(timer->isValid());
    EXPECT_TRUE(isTicking());
    EXPECT_TRUE(label->isHidden());
    EXPECT_TRUE(overlay().closeButton.lock()->isEnabled());
    store().dispatch(HasRecordingPermissionAction(false));
    platform->drainMainQueue();
    EXPECT_TRUE(looksIdle());
    EXPECT_TRUE(isTicking()) << "stops only in a state with a started recording";
}

TEST_F(ScreenTest, ClockShowsHoursMinutesAndSecondsWithoutLimit) {
    addAndShow(1);
    for (const auto& [seconds, text] : {std::pair<std::int64_t, const char*>{59, "00:00:59"},
                                        {60, "00:01:00"},
                                        {3599, "00:59:59"},
                                        {3600, "01:00:00"},
                                        {360000, "100:00:00"},
                                        {std::numeric_limits<std::int64_t>::max(), "2562047788015215:30:07"}}) {
        overlay().seconds = seconds - 1;
        overlay().recordingWithTimer();
        EXPECT_EQ(overlay().timerLabel.lock()->text(), text);
    }
    EXPECT_DEATH(overlay().recordingWithTimer(), "run over");
}

TEST_F(ScreenTest, AppliesTheHostsThemeAndIcons) {
    Theme theme;
    theme.secondaryColor = Color::systemBlue();
    theme.buttonsTintColor = Color::systemRed();
    theme.translucentViewsOpacity = 0.25;
    VideoAnalysisIconsConfiguration icons;
    icons.closeButtonIcon = Image::named("my close");
    icons.comparisonButtonIcon = Image::named("my comparison");
    icons.recordButtonIcon = Image::named("my record");
    icons.stopRecordingButtonIcon = Image::named("my stop");
    icons.syncLockButtonIcon = Image::named("my lock");
    icons.syncUnlockButtonIcon = Image::named("my unlock");
    store().dispatch(SetConfigurationAction({true, true, icons, theme, nullptr}));
    addAndShow(1);
    EXPECT_EQ(overlay().closeButton.lock()->image(), Image::named("my close"));
    EXPECT_EQ(overlay().addButton.lock()->image(), Image::named("my comparison"));
    EXPECT_EQ(overlay().recordButton.lock()->image(), Image::named("my record"));
    EXPECT_EQ(overlay().lockPlaybackButton.lock()->image(), Image::named("my unlock"));
    store().dispatch(SetPlaybackLockStateAction(true));
    store().dispatch(SetScreenRecordingStateAction(true));
    store().dispatch(HasRecordingPermissionAction(true));
    platform->drainMainQueue();
    EXPECT_EQ(overlay().recordButton.lock()->image(), Image::named("my stop"));
    EXPECT_EQ(overlay().lockPlaybackButton.lock()->image(), Image::named("my lock"));
    EXPECT_EQ(overlay().closeButton.lock()->titleColor(), Color::systemRed());
    EXPECT_EQ(overlay().recordButton.lock()->titleColor(), Color::systemRed());
    for (const auto* view : {&overlay().topBarView, &overlay().topBarBackgroundView, &overlay().drawingShapeView}) {
        EXPECT_EQ((*view)->backgroundColor(), Color::systemBlue().withAlpha(0.25));
    }
    EXPECT_EQ(overlay().colorPickerView.lock()->backgroundColor(), Color::systemBlue().withAlpha(0.25));
    EXPECT_EQ(overlay().view()->backgroundColor(), Color::clear());
    EXPECT_EQ(screen()->view()->backgroundColor(), Color::systemBlue());
}

TEST_F(ScreenTest, HostDecidesAboutAddingAndClosing) {
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
    EXPECT_EQ(platform->headlessPresenter.preferredOrientation, ui::DeviceOrientation::unknown);
    store().dispatch(DismissAction(false, {}));
    show();
    EXPECT_EQ(platform->headlessPresenter.preferredOrientation, ui::DeviceOrientation::portrait)
        << "requested on appearance";

    const auto old = screen();
    overlay().handleDiscardAndClose(*overlay().closeButton.lock());
    delegate->closeCompletion();
    platform->drainMainQueue();
    EXPECT_EQ(host->presentedViewController(), nullptr);
    EXPECT_TRUE(platform->headlessPresenter.overlays().empty());
    EXPECT_TRUE(store().state().media->empty());
    EXPECT_NE(screen(), old);
}

std::ptrdiff_t ignoredAnswers(const HeadlessPlatform& platform) {
    return std::count_if(platform.log.begin(), platform.log.end(),
                         [](const std::string& line) { return line.find("ignored") != std::string::npos; });
}

// Concurrent requests with late and repeated answers.
TEST_F(ScreenTest, HostAnswersTakeEffectOnceAndOnlyOnTheirSubject) {
    const auto delegate = std::make_shared<RecordingDelegate>();
    store().dispatch(SetConfigurationAction({true, true, {}, {}, delegate}));
    const auto ignored = [&] { return ignoredAnswers(*platform); };
    addAndShow(1);
    overlay().handleMediaAddition(*overlay().addButton.lock());
    const auto add = delegate->mediaCompletion;
    overlay().handleMediaAddition(*overlay().addButton.lock());
    delegate->mediaCompletion(clip("b"));
    add(clip("c"));
    delegate->mediaCompletion(clip("d"));
    platform->advance(1);
    EXPECT_EQ(store().state().media->size(), 2U) << "two clips are the max";
    EXPECT_EQ(ignored(), 2);

    // The second clip moves to the first position; pending answers for the first clip do not apply to it.
    tap(hudOf(0).replaceButton);
    const auto replaceFirst = delegate->mediaCompletion;
    tap(hudOf(1).replaceButton);
    const auto replaceSecond = delegate->mediaCompletion;
    tap(hudOf(0).deleteButton);
    const auto deleteFirst = delegate->deleteCompletion;
    deleteFirst();
    deleteFirst();
    replaceFirst(clip("e"));
    ASSERT_EQ(store().state().media->size(), 1U);
    EXPECT_EQ(store().state().media->at(0).url, URL("file:///b"));
    EXPECT_EQ(ignored(), 4);
    replaceSecond(clip("f"));
    replaceSecond(clip("g"));
    EXPECT_EQ(store().state().media->at(0).url, URL("file:///f")) << "requested for the second clip, now the first";
    EXPECT_EQ(ignored(), 5);
}

TEST_F(ScreenTest, SecondAnalysisInvalidatesPendingHostAnswers) {
    const auto delegate = std::make_shared<RecordingDelegate>();
    store().dispatch(SetConfigurationAction({true, true, {}, {}, delegate}));
    addAndShow(1);
    overlay().handleDiscardAndClose(*overlay().closeButton.lock());
    tap(hudOf(0).replaceButton);
    const auto replaceOld = delegate->mediaCompletion;
    VideoAnalysisController second({clip("h")}, VideoAnalysisConfiguration(true, true, {}, {}, delegate));
    second.present(host, ui::ModalPresentationStyle::fullScreen);
    platform->advance(1);
    delegate->closeCompletion();
    replaceOld(clip("i"));
    platform->drainMainQueue();
    EXPECT_TRUE(second.isOpen());
    EXPECT_EQ(store().state().media->at(0).url, URL("file:///h"));
    EXPECT_EQ(ignoredAnswers(*platform), 2);
}

TEST_F(ScreenTest, SecondAnalysisReplacesTheFirstScreen) {
    store();
    VideoAnalysisController first({clip("a")});
    EXPECT_FALSE(first.isOpen());
    first.present(host, ui::ModalPresentationStyle::fullScreen);
    platform->advance(1);
    const auto old = screen();
    EXPECT_TRUE(first.isOpen());
    first.present(host, ui::ModalPresentationStyle::fullScreen);
    EXPECT_NE(std::find(platform->log.begin(), platform->log.end(),
                        "A screen is presented already; the second presentation is ignored"),
              platform->log.end());

    VideoAnalysisController second({clip("b")});
    EXPECT_FALSE(second.isOpen());
    EXPECT_EQ(old->presentingViewController(), nullptr);
    EXPECT_TRUE(old->overlayWindow()->isHidden());
    second.present(host, ui::ModalPresentationStyle::fullScreen);
    platform->advance(1);
    EXPECT_EQ(host->presentedViewController(), screen());
    EXPECT_NE(screen(), old);
    EXPECT_EQ(store().subscriptions().size(), 2U) << "only those of the second screen";
    EXPECT_EQ(platform->headlessPresenter.overlays(),
              std::vector<std::shared_ptr<ui::ViewController>>{screen()->overlayViewController()});
    bool isGone = false;
    second.dismiss(true, [&] { isGone = true; });
    platform->drainMainQueue();
    EXPECT_TRUE(isGone);
    EXPECT_FALSE(second.isOpen());
    EXPECT_EQ(host->presentedViewController(), nullptr);
    EXPECT_TRUE(store().subscriptions().empty());
}

TEST_F(ScreenTest, FirstAnalysisRecordingIsDeliveredToItsOwnDelegate) {
    store();
    const auto firstHost = std::make_shared<RecordingDelegate>();
    const auto secondHost = std::make_shared<RecordingDelegate>();
    VideoAnalysisController first({clip("a")}, VideoAnalysisConfiguration(true, true, {}, {}, firstHost));
    first.present(host, ui::ModalPresentationStyle::fullScreen);
    platform->advance(1);
    store().dispatch(SetScreenRecordingStateAction(true));
    platform->drainMainQueue();
    platform->recorder.answerStart();
    platform->drainMainQueue();

    VideoAnalysisController second({clip("b")}, VideoAnalysisConfiguration(true, true, {}, {}, secondHost));
    second.present(host, ui::ModalPresentationStyle::fullScreen);
    EXPECT_FALSE(second.isRecording());
    platform->advance(1);
    EXPECT_EQ(platform->recorder.stops, 1);
    platform->recorder.answerStop();
    platform->advance(1);
    EXPECT_EQ(firstHost->calls, std::vector<std::string>{"finish"});
    EXPECT_TRUE(secondHost->calls.empty());
    EXPECT_EQ(platform->recorder.starts, 1) << "the second analysis does not record";
    EXPECT_TRUE(overlay().timerLabel.lock()->isHidden()) << "and shows no clock";
}

TEST_F(ScreenTest, ScreenPresentedAgainWhileDisappearingKeepsItsSubscriptions) {
    addAndShow(1);
    store().dispatch(DismissAction(true, {}));
    store().dispatch(SetPresentationConfigurationAction(host, ui::ModalPresentationStyle::fullScreen));
    platform->drainMainQueue();
    EXPECT_EQ(store().subscriptions().size(), 2U);
    EXPECT_EQ(platform->headlessPresenter.overlays().size(), 1U);
    overlay().tapOnLine(*overlay().addButton.lock());
    platform->drainMainQueue();
    EXPECT_TRUE(overlay().drawingToolButtons[1].lock()->isSelected()) << "the screen still follows the state";
}

TEST_F(ScreenTest, SelectsThePenOnEveryAppearance) {
    addAndShow(1);
    store().dispatch(SetDrawingToolTypeAction(SketchToolType::line, false));
    store().dispatch(DismissAction(true, {}));
    platform->drainMainQueue();
    EXPECT_EQ(screenState().toolType, SketchToolType::line);
    show();
    EXPECT_EQ(screenState().toolType, SketchToolType::pen);
    EXPECT_FALSE(screenState().isColorPickerOpened);
    EXPECT_TRUE(overlay().drawingToolButtons[0].lock()->isSelected());
}

// Dismissing a screen dismisses the screens presented over it.
TEST_F(ScreenTest, DismissingTheScreenDismissesTheTrimScreen) {
    addAndShow(1);
    VideoAnalysisController analysis({clip("a")});
    show();
    analysis.editMedia(0);
    platform->drainMainQueue();
    const auto trimmer = screen()->overlayViewController()->presentedViewController();
    ASSERT_NE(trimmer, nullptr);
    analysis.dismiss(true, {});
    platform->drainMainQueue();
    EXPECT_EQ(trimmer->presentingViewController(), nullptr);
}

TEST_F(ScreenTest, OverlayWindowExistsOnlyWhileTheScreenIsPresented) {
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

TEST_F(ScreenTest, ScreenWithoutItsOverlayManagesNoPlayers) {
    platform->headlessBundle.missing = {"OverlayViewController"};
    store().dispatch(ClearStateAction());
    EXPECT_EQ(screen()->overlayWindow(), nullptr);
    EXPECT_EQ(screen()->playersManager(), nullptr);
    store().dispatch(AddMediaAction(clip("a")));
    EXPECT_EQ(store().state().media->size(), 1U) << "the reduction keeps its changes so far";
    show();
    platform->headlessBundle.missing.clear();
    EXPECT_NE(screen()->playersManager(), nullptr) << "created on the next attempt";
}

}  // namespace
}  // namespace videoanalysis
