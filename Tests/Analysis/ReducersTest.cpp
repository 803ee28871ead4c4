// The whole analysis on the headless platform: actions in, states, players and collections out.

#include "VideoAnalysis/Analysis/Reducers.h"
#include "Tests/Support/ComponentTest.h"

#include <algorithm>

namespace videoanalysis {
namespace {

using PlayerController = PlayerCollectionViewCellController;

class ReducersTest : public ComponentTest {
protected:
    void add(const std::string& name) { store().dispatch(AddMediaAction(clip(name))); }
    std::int64_t shownItems() { return screen()->playersCollectionView.lock()->numberOfItemsInSection(0); }
    std::int64_t shownOverlays() {
        return screen()->overlayViewController()->playersCollectionView.lock()->numberOfItemsInSection(0);
    }
    std::vector<bool> hiddenControls() {
        std::vector<bool> hidden;
        for (const auto& player : players()) hidden.push_back(player->localStore->state().isMediaControlHidden);
        return hidden;
    }
    std::size_t logged(const std::string& line) {
        return static_cast<std::size_t>(std::count(platform->log.begin(), platform->log.end(), line));
    }
};

TEST_F(ReducersTest, ClearingRestoresTheDefaultsAndReadsTheRecorder) {
    platform->recorder.available = false;
    platform->recorder.microphone = true;
    store().dispatch(SetDrawingToolTypeAction(SketchToolType::arrow, false));
    add("a");
    const auto before = screen();
    platform->recorder.recording = true;
    store().dispatch(ClearStateAction());

    const State& state = store().state();
    EXPECT_TRUE(state.media->empty());
    EXPECT_EQ(state.theme, Theme());
    EXPECT_TRUE(state.enableTimeBasedDrawings && state.defaultScrubbingDirection);
    EXPECT_TRUE(screenState().isHUDVisible);
    EXPECT_EQ(screenState().toolType, SketchToolType::pen);
    EXPECT_TRUE(screenState().isScreenRecording);
    EXPECT_FALSE(screenState().shouldAllowRecording);
    EXPECT_TRUE(screenState().isMicrophoneEnabled);
    EXPECT_EQ(screenState().toolColorMap[SketchToolType::eraser], std::nullopt);
    EXPECT_EQ(screenState().toolColorMap[SketchToolType::pen], Color::rgb255(0, 229, 255));
    EXPECT_EQ(screenState().toolColorMap[SketchToolType::rectangleFill], Color::rgb255(0, 176, 255));
    EXPECT_NE(screen(), before) << "a new analysis has a new screen";
    EXPECT_EQ(screen(), store().state().mainViewController());
    EXPECT_TRUE(players().empty());
}

TEST_F(ReducersTest, CopiesOfAStateShareOneScreen) {
    const State state;
    const State copy = state;
    EXPECT_NE(state.mainViewController(), nullptr);
    EXPECT_EQ(copy.mainViewController(), state.mainViewController());
    platform->headlessBundle.missing = {"Main"};
    EXPECT_EQ(State().mainViewController(), nullptr);
    platform->headlessBundle.missing = {"MainViewController"};
    EXPECT_EQ(State().mainViewController(), nullptr);
}

TEST_F(ReducersTest, MediaCountEnablesActions) {
    add("a");
    EXPECT_TRUE(screenState().shouldAllowAddingMedia);
    EXPECT_FALSE(screenState().shouldAllowDeletingMedia);
    EXPECT_TRUE(screenState().isDrawingToolsVisible);
    EXPECT_FALSE(screenState().isDrawingToolsCollapsed);
    EXPECT_FALSE(screenState().shouldAllowMediaPlaybackLock);
    EXPECT_TRUE(screenState().shouldAllowRecording);
    add("b");
    EXPECT_FALSE(screenState().shouldAllowAddingMedia);
    EXPECT_TRUE(screenState().shouldAllowDeletingMedia);
    EXPECT_TRUE(screenState().shouldAllowMediaPlaybackLock);
    EXPECT_TRUE(screenState().isDrawingToolsCollapsed);
    EXPECT_TRUE(screenState().isDrawingToolsDrawerCollapsed);
    EXPECT_EQ(shownItems(), 2);
    EXPECT_EQ(shownOverlays(), 2);

    store().dispatch(RemoveMediaAction(5));
    store().dispatch(RemoveMediaAction(-1));
    EXPECT_EQ(store().state().media->size(), 2U);
    store().dispatch(RemoveMediaAction(0));
    EXPECT_TRUE(screenState().shouldAllowAddingMedia);
    EXPECT_FALSE(screenState().shouldAllowDeletingMedia);
    EXPECT_FALSE(screenState().shouldAllowMediaPlaybackLock);
    EXPECT_FALSE(screenState().isDrawingToolsCollapsed);
    EXPECT_FALSE(screenState().isDrawingToolsDrawerCollapsed);
    EXPECT_TRUE(screenState().isDrawingToolsVisible);
    EXPECT_TRUE(screenState().shouldAllowRecording);
    EXPECT_EQ(shownItems(), 1);
    store().dispatch(RemoveMediaAction(0));
    EXPECT_TRUE(screenState().shouldAllowAddingMedia);
    EXPECT_FALSE(screenState().isDrawingToolsVisible);
    EXPECT_FALSE(screenState().shouldAllowRecording);
    EXPECT_EQ(shownItems(), 0);
}

TEST_F(ReducersTest, LocalActionsAreDispatchedToEveryPlayerInOrder) {
    store().dispatch(SetConfigurationAction({false, false, {}, {}, nullptr}));
    add("a");
    add("b");
    for (const auto& player : players()) {
        EXPECT_FALSE(player->localStore->state().enableTimeBasedDrawings);
        EXPECT_FALSE(player->localStore->state().defaultScrubbingDirection);
    }
    store().dispatch(UpdateMediaAction(1, clip("c")));
    EXPECT_FALSE(players()[1]->localStore->state().enableTimeBasedDrawings)
        << "as for a controller created by adding a clip";
    store().dispatch(SetConfigurationAction({true, true, {}, {}, nullptr}));
    EXPECT_TRUE(players()[0]->localStore->state().enableTimeBasedDrawings);
    EXPECT_TRUE(players()[1]->localStore->state().defaultScrubbingDirection);
}

TEST_F(ReducersTest, RemovalRenumbersTheRemainingPlayers) {
    add("a");
    add("b");
    show();
    const auto first = players()[0];
    auto& removedPlayer = playerOf(0);
    EXPECT_EQ(removedPlayer.timeObserverCount(), 1U);
    const std::weak_ptr<media::Player> watched = players()[0]->cell()->playerView.lock()->player();
    store().dispatch(RemoveMediaAction(0));
    platform->drainMainQueue();
    ASSERT_EQ(players().size(), 1U);
    EXPECT_EQ(players()[0]->index, 0);
    EXPECT_EQ(store().state().media->at(0).url, URL("file:///b"));
    EXPECT_TRUE(watched.expired()) << "a removed clip's player is destroyed";
    EXPECT_EQ(first->cell(), nullptr);

    store().dispatch(PerformCellVideoSeekForwardAction(0, 3));
    platform->drainMainQueue();
    EXPECT_EQ(frameOf(0), 3) << "the remaining player has a new index";
}

TEST_F(ReducersTest, UpdatingMediaReplacesThePlayerAndItsDrawings) {
    add("a");
    add("b");
    show();
    sketchOf(1).beginDrawing({10, 10});
    sketchOf(1).continueDrawing({10, 10}, {20, 20});
    sketchOf(1).endDrawing();
    const auto old = players()[1];
    const auto untouched = players()[0];
    store().dispatch(UpdateMediaAction(1, clip("c")));
    platform->advance(1);
    EXPECT_NE(players()[1], old);
    EXPECT_EQ(players()[0], untouched);
    ASSERT_NE(players()[1]->cell(), nullptr);
    EXPECT_FALSE(sketchOf(1).canUndoAll());
    EXPECT_EQ(playerOf(1).currentItem()->url(), URL("file:///c"));

    store().dispatch(UpdateMediaAction(2, clip("d")));
    EXPECT_EQ(store().state().media->size(), 2U);
    EXPECT_EQ(store().state().media->at(1).url, URL("file:///c"));
}

// Before the first layout the collections have not requested their counts.
TEST_F(ReducersTest, ClipCanBeRemovedBeforeTheFirstLayout) {
    screen()->playersCollectionView.lock()->setFrame({});
    screen()->overlayViewController()->playersCollectionView.lock()->setFrame({});
    add("a");
    add("b");
    screen()->playersCollectionView.lock()->reloadData();
    screen()->overlayViewController()->playersCollectionView.lock()->reloadData();
    store().dispatch(RemoveMediaAction(0));
    EXPECT_EQ(shownItems(), 1);
    EXPECT_EQ(shownOverlays(), 1);
    EXPECT_EQ(store().state().media->at(0).url, URL("file:///b"));
}

// Players render again because their appearance depends on each other; hidden controls stay hidden.
TEST_F(ReducersTest, LastPlayerHasNoDeleteButton) {
    add("a");
    add("b");
    show();
    EXPECT_FALSE(hudOf(1).deleteButton.lock()->isHidden());
    store().dispatch(SetHUDVisibleAction(false));
    platform->drainMainQueue();
    store().dispatch(RemoveMediaAction(0));
    platform->drainMainQueue();
    EXPECT_TRUE(hudOf(0).deleteButton.lock()->isHidden());
    EXPECT_FALSE(players()[0]->localStore->state().isHUDVisible);
}

TEST_F(ReducersTest, ReplacingAClipKeepsTheControlsHidden) {
    add("a");
    show();
    store().dispatch(SetHUDVisibleAction(false));
    store().dispatch(UpdateMediaAction(0, clip("b")));
    platform->advance(1);
    EXPECT_FALSE(players()[0]->localStore->state().isHUDVisible);
    EXPECT_TRUE(hudOf(0).shadowViews[0].lock()->isHidden());
    store().dispatch(SetHUDVisibleAction(true));
    store().dispatch(UpdateMediaAction(0, clip("c")));
    platform->advance(1);
    EXPECT_FALSE(hudOf(0).shadowViews[0].lock()->isHidden());
}

TEST_F(ReducersTest, LockingHidesTheControlsOfAllButTheLastPlayer) {
    add("a");
    add("b");
    store().dispatch(SetPlaybackLockStateAction(true));
    EXPECT_TRUE(screenState().isMediaPlaybackLocked);
    EXPECT_EQ(hiddenControls(), (std::vector{true, false}));
    add("c");
    EXPECT_EQ(hiddenControls(), (std::vector{true, true, false}));
    store().dispatch(UpdateMediaAction(0, clip("d")));
    EXPECT_EQ(hiddenControls(), (std::vector{true, true, false}));
    store().dispatch(RemoveMediaAction(2));
    EXPECT_EQ(hiddenControls(), (std::vector{true, false}));
    store().dispatch(SetPlaybackLockStateAction(false));
    EXPECT_EQ(hiddenControls(), (std::vector{false, false}));
}

TEST_F(ReducersTest, ControlsCannotBeHiddenWithoutMedia) {
    store().dispatch(SetHUDVisibleAction(false));
    EXPECT_TRUE(screenState().isHUDVisible);
    add("a");
    store().dispatch(SetHUDVisibleAction(false));
    EXPECT_FALSE(screenState().isHUDVisible);
    EXPECT_FALSE(players()[0]->localStore->state().isHUDVisible);
    add("b");
    EXPECT_TRUE(screenState().isHUDVisible) << "adding a player shows the controls";
    EXPECT_FALSE(players()[0]->localStore->state().isHUDVisible) << "sent again unchanged";
}

TEST_F(ReducersTest, SelectsToolsAndColoursAndOpensThePicker) {
    store().dispatch(SetDrawingToolTypeAction(SketchToolType::pen, true));
    EXPECT_TRUE(screenState().isColorPickerOpened);
    store().dispatch(SetDrawingToolTypeAction(SketchToolType::pen, false));
    EXPECT_TRUE(screenState().isColorPickerOpened);
    store().dispatch(SetDrawingToolTypeAction(SketchToolType::pen, true));
    EXPECT_FALSE(screenState().isColorPickerOpened);
    store().dispatch(SetColorPickerCollapseStateAction(true));
    EXPECT_TRUE(screenState().isColorPickerOpened) << "stored unchanged";
    store().dispatch(SetDrawingToolTypeAction(SketchToolType::eraser, true));
    EXPECT_FALSE(screenState().isColorPickerOpened) << "selecting another tool closes it";

    store().dispatch(SetColorPickerCollapseStateAction(true));
    const ToolColorMap before = screenState().toolColorMap;
    store().dispatch(SetDrawingToolColorAction(Color{0.5, 0.25, 0, 1}));
    EXPECT_FALSE(screenState().isColorPickerOpened);
    EXPECT_EQ(screenState().toolColorMap[SketchToolType::eraser], (Color{0.5, 0.25, 0, 1}));
    EXPECT_EQ(screenState().toolColorMap[SketchToolType::pen], before[SketchToolType::pen]);
    store().dispatch(SetToolColorMapAction(before));
    EXPECT_EQ(screenState().toolColorMap, before);

    store().dispatch(SetColorPickerCollapseStateAction(true));
    store().dispatch(SetDrawingToolsCollapseStateAction(false));
    EXPECT_TRUE(screenState().isColorPickerOpened);
    store().dispatch(SetDrawingToolsCollapseStateAction(true));
    EXPECT_FALSE(screenState().isColorPickerOpened);
    EXPECT_TRUE(screenState().isDrawingToolsCollapsed);
}

TEST_F(ReducersTest, RecordingFlagsRequireARecorder) {
    store().dispatch(HasRecordingPermissionAction(true));
    EXPECT_TRUE(screenState().hasStartedRecording);
    store().dispatch(SetMicRecordingStateAction(true));
    EXPECT_TRUE(screenState().isMicrophoneEnabled);
    platform->recorder.available = false;
    store().dispatch(SetScreenRecordingStateAction(true));
    EXPECT_FALSE(screenState().isScreenRecording);
    store().dispatch(SetMicRecordingStateAction(true));
    EXPECT_FALSE(screenState().isMicrophoneEnabled);
}

TEST_F(ReducersTest, StepDirectionFollowsTheSignOfTheCount) {
    add("a");
    add("b");
    show();
    players()[0]->localStore->dispatch(player::SetCellVideoPlayingStateAction(true));
    store().dispatch(PerformCellVideoSeekForwardAction({}, 5));
    EXPECT_FALSE(players()[0]->localStore->state().isMediaPlaying) << "a step pauses";
    EXPECT_EQ(frameOf(0), 5);
    EXPECT_EQ(frameOf(1), 5);
    store().dispatch(PerformCellVideoSeekBackwardAction(1, -2));
    store().dispatch(PerformCellVideoSeekForwardAction(0, 0));
    EXPECT_EQ(frameOf(0), 5);
    EXPECT_EQ(frameOf(1), 3);
    store().dispatch(PerformCellVideoSeekForwardAction(0, -4));
    EXPECT_EQ(frameOf(0), 1);
    store().dispatch(PerformCellVideoSeekBackwardAction(0, 4));
    EXPECT_EQ(frameOf(0), 5) << "the sign gives the direction, not the name";
    store().dispatch(PerformCellVideoSeekForwardAction(0, 1000));
    EXPECT_EQ(frameOf(0), 99);
    store().dispatch(PerformCellVideoSeekForwardAction(7, 1));
    EXPECT_EQ(frameOf(0), 99);
}

TEST_F(ReducersTest, SeeksAndRatesAffectTheAddressedPlayers) {
    add("a");
    add("b");
    show();
    store().dispatch(CellVideoSeekToTimeAction({}, {}, media::Time(30, 25), 1));
    EXPECT_EQ(frameOf(0), 0);
    EXPECT_EQ(frameOf(1), 30);
    store().dispatch(CellVideoSeekToTimeAction({}, {}, media::Time(1, 1), {}));
    EXPECT_EQ(frameOf(0), 25);
    EXPECT_EQ(frameOf(1), 25);
    store().dispatch(SetPlayerRate(0, 0.5F));
    EXPECT_EQ(players()[0]->localStore->state().playbackRate, 0.5F);
    EXPECT_EQ(players()[1]->localStore->state().playbackRate, 1.0F);
    store().dispatch(SetCellVideoPlayingStateAction(true, {}));
    EXPECT_TRUE(players()[0]->localStore->state().isMediaPlaying && players()[1]->localStore->state().isMediaPlaying);
}

TEST_F(ReducersTest, UnknownActionsAreLoggedAndIgnored) {
    add("a");
    store().dispatch(player::UndoAction(true));
    EXPECT_EQ(logged("Unknown action"), 1U);
    (void)reduceScreen(ClearStateAction(), nullptr);
    EXPECT_EQ(logged("Unknown mainViewController action"), 1U);
    (void)reducePlayers(ClearStateAction(), store().state());
    EXPECT_EQ(logged("Unknown cellController action"), 1U);
    players()[0]->localStore->dispatch(ClearStateAction());
    EXPECT_EQ(logged("Unknown CellController action"), 1U);
    EXPECT_EQ(store().state().media->size(), 1U);
}

TEST_F(ReducersTest, DescriptionsShowTypeAndFields) {
    EXPECT_EQ(SetPlayerRate({}, 0.5F).description(), "SetPlayerRate(index: none, playerRate: 0.5)");
    EXPECT_EQ(CellVideoSeekToTimeAction({}, 0.25, media::Time(3, 30), 1).description(),
              "CellVideoSeekToTimeAction(delta: none, percentage: 0.25, time: 3/30, index: 1)");
    EXPECT_EQ(AddMediaAction({URL("file:///a"), {}}).description(),
              "AddMediaAction(media: Object(url: file:///a, stack: none))");
}

// ---- VideoAnalysisController

using EntryTest = ReducersTest;

TEST_F(EntryTest, DispatchesItsActionsInOrderAndPresents) {
    add("old");
    std::vector<std::string> dispatched;
    store().setMiddleware({[&](DispatchFunction, std::function<Snapshot<State>()>) {
        return [&](DispatchFunction next) -> DispatchFunction {
            return [&, next](const Action& action) {
                dispatched.push_back(action.description().substr(0, action.description().find('(')));
                next(action);
            };
        };
    }});
    const auto delegate = std::make_shared<RecordingDelegate>();
    VideoAnalysisController controller({clip("a"), clip("b"), clip("c")},
                                       VideoAnalysisConfiguration(true, true, {}, {}, delegate));
    EXPECT_EQ(dispatched, (std::vector<std::string>{"ClearStateAction", "SetConfigurationAction", "AddMediaAction",
                                                    "AddMediaAction", "AddMediaAction"}));
    EXPECT_EQ(store().state().media->size(), 3U);
    EXPECT_EQ(store().state().delegate.lock(), delegate);

    controller.present(host, ui::ModalPresentationStyle::overFullScreen);
    platform->drainMainQueue();
    EXPECT_EQ(store().state().presenterViewController, host);
    EXPECT_EQ(host->presentedViewController(), screen());
    EXPECT_EQ(screen()->modalPresentationStyle(), ui::ModalPresentationStyle::overFullScreen);
    EXPECT_EQ(platform->headlessPresenter.overlays().size(), 1U);

    dispatched.clear();
    bool isGone = false;
    controller.dismiss(false, [&] { isGone = true; });
    EXPECT_EQ(dispatched, (std::vector<std::string>{"DismissAction", "ClearStateAction"}));
    platform->drainMainQueue();
    EXPECT_TRUE(isGone);
    EXPECT_EQ(host->presentedViewController(), nullptr);
    EXPECT_TRUE(platform->headlessPresenter.overlays().empty());
    store().setMiddleware({});
}

TEST_F(EntryTest, EmptyAnalysisHasTheDefaultState) {
    add("old");
    VideoAnalysisController controller({});
    EXPECT_TRUE(store().state().media->empty());
    EXPECT_TRUE(controller.currentMedia().empty());
    EXPECT_TRUE(screenState().shouldAllowAddingMedia);
}

TEST_F(EntryTest, HostCanChangeClipsAndStopTheRecording) {
    store();
    VideoAnalysisController analysis({clip("a")});
    show();
    EXPECT_EQ(analysis.mediaCount(), 1);
    EXPECT_TRUE(analysis.replaceMedia(1, clip("b"))) << "an index equal to the count appends";
    EXPECT_FALSE(analysis.addMedia(clip("c")));
    EXPECT_FALSE(analysis.replaceMedia(2, clip("c")));
    EXPECT_FALSE(analysis.replaceMedia(-1, clip("c")));
    EXPECT_EQ(store().state().media->back().url, URL("file:///b"));
    EXPECT_TRUE(analysis.replaceMedia(0, clip("d")));
    EXPECT_EQ(store().state().media->front().url, URL("file:///d"));
    EXPECT_FALSE(analysis.removeMedia(2));
    EXPECT_FALSE(analysis.removeMedia(-1));
    EXPECT_TRUE(analysis.removeMedia(0));
    EXPECT_EQ(analysis.mediaCount(), 1);
    EXPECT_TRUE(analysis.addMedia(clip("e")));
    platform->drainMainQueue();
    EXPECT_EQ(players().size(), 2U);

    EXPECT_FALSE(analysis.isRecording());
    store().dispatch(SetScreenRecordingStateAction(true));
    platform->drainMainQueue();
    platform->recorder.answerStart();
    platform->drainMainQueue();
    EXPECT_TRUE(analysis.isRecording());
    analysis.stopRecording();
    platform->drainMainQueue();
    EXPECT_FALSE(analysis.isRecording());
    EXPECT_EQ(platform->recorder.stops, 1);
    platform->recorder.answerStop();
    platform->drainMainQueue();
}

TEST_F(EntryTest, HostCanReadTheDrawingsAtAnyTime) {
    store();
    const VideoAnalysisController controller({clip("a"), clip("b")});
    show();
    sketchOf(0).beginDrawing({10, 10});
    sketchOf(0).continueDrawing({10, 10}, {20, 20});
    sketchOf(0).endDrawing();
    const auto media = controller.currentMedia();
    ASSERT_EQ(media.size(), 2U);
    ASSERT_TRUE(media[0].stack && media[1].stack);
    EXPECT_NE(media[0].stack->serialized(), media[1].stack->serialized());

    // The saved drawings can be loaded again.
    const VideoAnalysisController again(media);
    EXPECT_EQ(again.currentMedia(), media) << "a stack that is not loaded yet is returned unchanged";
    show();
    EXPECT_TRUE(sketchOf(0).canUndoAll());
    EXPECT_FALSE(sketchOf(1).canUndoAll());
    EXPECT_EQ(again.currentMedia(), media);
}

}  // namespace
}  // namespace videoanalysis
