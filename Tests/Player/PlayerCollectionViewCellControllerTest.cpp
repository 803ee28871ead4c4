#include "Tests/Support/ComponentTest.h"
#include "VideoAnalysis/Player/PlaybackRate.h"
#include "VideoAnalysis/Video/GesturedScrollView.h"

#include <cmath>

namespace videoanalysis {
namespace {

using PlayerController = PlayerCollectionViewCellController;

class PlayerControllerTest : public ComponentTest {
protected:
    PlayerControllerTest() {
        store().dispatch(AddMediaAction(clip("a", {50, {1, 10}, {640, 360}})));
        store().dispatch(AddMediaAction(clip("b", {50, {1, 10}, {360, 640}})));
        show();
    }
    const PlayerController::LocalState& local(std::size_t index) { return players()[index]->localStore->state(); }
    void drag(std::size_t index, const std::vector<Point>& points) {
        const auto& pan = players()[index]->cell()->playerScrollView.lock()->customPanGestureRecognizer();
        pan->update(ui::GestureState::began, points.front());
        for (const Point& point : points) pan->update(ui::GestureState::changed, point);
        pan->update(ui::GestureState::ended, points.back());
    }
    static std::string image(const std::weak_ptr<ui::Button>& button) { return button.lock()->image().name(); }
};

TEST_F(PlayerControllerTest, ButtonsDispatchToTheStores) {
    tap(hudOf(0).playPauseButton);
    platform->advance(0.55);
    EXPECT_TRUE(local(0).isMediaPlaying);
    EXPECT_EQ(image(hudOf(0).playPauseButton), "pause.fill");
    EXPECT_EQ(frameOf(0), 5);
    EXPECT_EQ(frameOf(1), 0);
    EXPECT_FLOAT_EQ(hudOf(0).seekbar.lock()->value(), 0.1F);
    EXPECT_EQ(hudOf(0).positionLabel.lock()->text(), "0:00.50 · 5");

    tap(hudOf(0).forwardButton);
    platform->drainMainQueue();
    EXPECT_EQ(frameOf(0), 6);
    EXPECT_EQ(image(hudOf(0).playPauseButton), "play.fill");
    platform->advance(1);
    EXPECT_EQ(frameOf(0), 6) << "does not advance while paused";
    tap(hudOf(0).rewindButton);
    tap(hudOf(0).rewindButton);
    platform->drainMainQueue();
    EXPECT_EQ(frameOf(0), 4);
    EXPECT_EQ(hudOf(0).positionLabel.lock()->text(), "0:00.40 · 4");
}

TEST_F(PlayerControllerTest, LockAddressesEveryPlayer) {
    store().dispatch(SetPlaybackLockStateAction(true));
    platform->drainMainQueue();
    EXPECT_TRUE(hudOf(0).mediaControlView.lock()->isHidden());
    EXPECT_EQ(hudOf(0).seekbar.lock()->alpha(), 0);
    EXPECT_FALSE(hudOf(1).mediaControlView.lock()->isHidden());
    tap(hudOf(1).forwardButton);
    EXPECT_EQ(frameOf(0), 1);
    EXPECT_EQ(frameOf(1), 1);

    // All players stop when one reaches its end.
    playerOf(0).currentItem()->step(45);
    tap(hudOf(1).playPauseButton);
    platform->advance(0.65);
    EXPECT_FALSE(local(0).isMediaPlaying || local(1).isMediaPlaying);
    EXPECT_EQ(frameOf(0), 0) << "rewound";
    EXPECT_EQ(playerOf(1).rate(), 0.0F);
}

TEST_F(PlayerControllerTest, EveryControlAndKeyAddressesEveryPlayerWhileLocked) {
    for (std::size_t i : {0U, 1U}) playerOf(i).currentItem()->step(20);
    store().dispatch(SetPlaybackLockStateAction(true));
    platform->drainMainQueue();
    const auto expectRates = [&](float rate) {
        platform->drainMainQueue();
        EXPECT_EQ(local(0).playbackRate, rate);
        EXPECT_EQ(local(1).playbackRate, rate);
    };
    tap(hudOf(1).rewindButton);
    EXPECT_EQ(frameOf(0), 19);
    EXPECT_EQ(frameOf(1), 19);
    tap(hudOf(1).videoPlaybackSpeedButtons[2]);
    expectRates(0.5F);
    screen()->keyPressed({ui::Key::rightBracket, false, false});
    expectRates(0.75F);
    screen()->keyPressed({ui::Key::leftBracket, false, false});
    expectRates(0.5F);
    hudOf(1).seekbar.lock()->setValue(0.5F);
    hudOf(1).seekbar.lock()->sendActions(ui::ControlEvent::valueChanged);
    EXPECT_EQ(frameOf(0), 25);
    EXPECT_EQ(frameOf(1), 25);
    screen()->keyPressed({ui::Key::space, false, false});
    platform->drainMainQueue();
    EXPECT_TRUE(local(0).isMediaPlaying && local(1).isMediaPlaying);

    store().dispatch(SetPlaybackLockStateAction(false));
    screen()->keyPressed({ui::Key::leftBracket, false, false});
    platform->drainMainQueue();
    EXPECT_EQ(local(0).playbackRate, 0.5F) << "when unlocked, only the player touched last";
    EXPECT_EQ(local(1).playbackRate, 0.25F);
}

TEST_F(PlayerControllerTest, SeekPausesAndShowsTheExactFrame) {
    tap(hudOf(0).playPauseButton);
    platform->advance(0.35);
    ASSERT_EQ(playerOf(0).rate(), 1.0F);
    store().dispatch(CellVideoSeekToTimeAction({}, {}, media::Time(25, 10), 0));
    EXPECT_EQ(playerOf(0).rate(), 0.0F) << "paused without waiting for the state";
    platform->drainMainQueue();
    EXPECT_FALSE(local(0).isMediaPlaying);
    EXPECT_EQ(image(hudOf(0).playPauseButton), "play.fill");
    platform->advance(1);
    EXPECT_EQ(frameOf(0), 25);
}

TEST_F(PlayerControllerTest, FailedPlaybackStaysPausedAtItsPosition) {
    tap(hudOf(0).playPauseButton);
    platform->advance(0.55);
    HeadlessPlayer& player = playerOf(0);
    auto& item = dynamic_cast<HeadlessItem&>(*player.currentItem());
    int starts = 0;
    const auto token = player.observeRate([&] { starts += player.rate() > 0 ? 1 : 0; });
    // The engine has stopped; a state delivered before its error does not restart it.
    player.pause();
    players()[0]->localStore->dispatch(player::UndoAction(!local(0).canUndo));
    platform->drainMainQueue();
    item.post(media::PlayerItem::Event::failedToPlayToEnd);
    platform->advance(1);
    EXPECT_EQ(starts, 0);
    EXPECT_FALSE(local(0).isMediaPlaying);
    EXPECT_EQ(image(hudOf(0).playPauseButton), "play.fill");
    EXPECT_EQ(frameOf(0), 5) << "keeps its position";

    // Plays from elsewhere, and the next failure is handled, too.
    tap(hudOf(0).playPauseButton);
    platform->advance(0.35);
    EXPECT_GE(frameOf(0), 8);
    item.post(media::PlayerItem::Event::failedToPlayToEnd);
    platform->advance(0.5);
    EXPECT_FALSE(local(0).isMediaPlaying);
    EXPECT_EQ(player.rate(), 0.0F);
    // Play pressed twice before the states are delivered still plays.
    tap(hudOf(0).playPauseButton);
    tap(hudOf(0).forwardButton);
    tap(hudOf(0).playPauseButton);
    platform->drainMainQueue();
    EXPECT_EQ(player.rate(), 1.0F);

    // Like reaching the end, it stops all locked players.
    store().dispatch(SetPlaybackLockStateAction(true));
    store().dispatch(SetCellVideoPlayingStateAction(true, {}));
    platform->drainMainQueue();
    item.post(media::PlayerItem::Event::failedToPlayToEnd);
    platform->drainMainQueue();
    EXPECT_EQ(playerOf(1).rate(), 0.0F);
}

TEST_F(PlayerControllerTest, UnreadableClipNeitherPlaysNorAcceptsStrokes) {
    store().dispatch(UpdateMediaAction(0, {URL("file:///folder/lost%20clip.mp4"), {}}));
    platform->drainMainQueue();
    tap(hudOf(0).playPauseButton);
    platform->advance(1);
    const auto video = players()[0]->cell()->playerView.lock();
    EXPECT_EQ(video->clipName(), "lost clip.mp4");
    EXPECT_FALSE(video->failureReason().empty());
    EXPECT_FALSE(local(0).isMediaPlaying) << "play does not work before or after the failure is reported";
    tap(hudOf(0).playPauseButton);
    screen()->keyPressed({ui::Key::space, false, false});
    platform->drainMainQueue();
    EXPECT_FALSE(local(0).isMediaPlaying);
    EXPECT_EQ(image(hudOf(0).playPauseButton), "play.fill");
    const Rect whole = sketchOf(0).frame();
    drag(0, {whole.center(), {whole.midX() + 50, whole.midY()}});
    EXPECT_FALSE(sketchOf(0).canUndoAll());

    // While locked, the last player's button controls all players even if its own clip has failed.
    store().dispatch(UpdateMediaAction(0, clip("c", {50, {1, 10}, {640, 360}})));
    store().dispatch(UpdateMediaAction(1, {URL("file:///lost.mp4"), {}}));
    store().dispatch(SetPlaybackLockStateAction(true));
    platform->advance(1);
    EXPECT_TRUE(players()[0]->cell()->playerView.lock()->failureReason().empty());
    tap(hudOf(1).playPauseButton);
    platform->drainMainQueue();
    EXPECT_EQ(playerOf(0).rate(), 1.0F);
    tap(hudOf(1).playPauseButton);
    platform->drainMainQueue();
    EXPECT_EQ(playerOf(0).rate(), 0.0F);
}

TEST_F(PlayerControllerTest, RatePanelClosesOnEscapeHiddenControlsAndTouchesElsewhere) {
    const auto panel = [&](std::size_t index) { return hudOf(index).playbackRateSelectorContainerView.lock(); };
    const auto open = [&] {
        for (std::size_t i : {0U, 1U}) tap(hudOf(i).videoPlayRateSelectorButton);
        EXPECT_EQ(panel(0)->alpha() + panel(1)->alpha(), 2);
    };
    open();
    store().dispatch(SetHUDVisibleAction(false));
    platform->drainMainQueue();
    EXPECT_EQ(panel(0)->alpha() + panel(1)->alpha(), 0);
    store().dispatch(SetHUDVisibleAction(true));
    platform->drainMainQueue();
    EXPECT_EQ(panel(0)->alpha(), 0);

    open();
    EXPECT_TRUE(screen()->keyPressed({ui::Key::escape, false, false}));
    EXPECT_EQ(panel(0)->alpha() + panel(1)->alpha(), 0);
    EXPECT_FALSE(screen()->keyPressed({ui::Key::escape, false, false})) << "nothing to close";

    open();
    hudOf(0).didTouchBesideRates();
    EXPECT_EQ(panel(0)->alpha(), 0);
    EXPECT_EQ(panel(1)->alpha(), 1);
    // Locking hides the first player's button.
    tap(hudOf(0).videoPlayRateSelectorButton);
    store().dispatch(SetPlaybackLockStateAction(true));
    platform->drainMainQueue();
    EXPECT_EQ(panel(0)->alpha(), 0);
}

TEST_F(PlayerControllerTest, LongPressesAndRatesCountAsTouches) {
    const auto pressF = [&] {
        const auto before = std::pair(local(0).contentModeIndex, local(1).contentModeIndex);
        screen()->keyPressed({ui::Key::f, false, false});
        platform->drainMainQueue();
        return local(0).contentModeIndex != before.first ? 0 : local(1).contentModeIndex != before.second ? 1 : -1;
    };
    tap(hudOf(0).forwardButton);
    EXPECT_EQ(pressF(), 0);
    tap(hudOf(1).videoPlaybackSpeedButtons[0]);
    EXPECT_EQ(pressF(), 1);
    const auto press = hudOf(0).rewindButton.lock()->longPressGestureRecognizer;
    press->update(ui::GestureState::began, {});
    EXPECT_EQ(pressF(), 0);
    tap(hudOf(1).forwardButton);
    press->update(ui::GestureState::ended, {});
    EXPECT_EQ(pressF(), 1) << "the end of a long press is not a touch";
}

TEST_F(PlayerControllerTest, LongPressRepeatsUntilItEnds) {
    const auto press = hudOf(0).forwardButton.lock()->longPressGestureRecognizer;
    press->update(ui::GestureState::began, {});
    press->update(ui::GestureState::began, {});
    platform->advance(0.24);
    EXPECT_EQ(frameOf(0), 0);
    platform->advance(0.3);
    EXPECT_EQ(frameOf(0), 20);
    press->update(ui::GestureState::cancelled, {});
    platform->advance(0.25);
    EXPECT_EQ(frameOf(0), 30) << "a cancelled press continues";
    press->update(ui::GestureState::ended, {});
    platform->advance(1);
    EXPECT_EQ(frameOf(0), 30);

    const auto back = hudOf(0).rewindButton.lock()->longPressGestureRecognizer;
    back->update(ui::GestureState::began, {});
    store().dispatch(SetPlaybackLockStateAction(true));  // read at each repetition
    playerOf(1).currentItem()->step(30);
    platform->advance(0.25);
    EXPECT_EQ(frameOf(0), 20);
    EXPECT_EQ(frameOf(1), 20);
    back->update(ui::GestureState::ended, {});
}

TEST_F(PlayerControllerTest, ParsesAndFormatsRates) {
    EXPECT_EQ(rateFromTitle("1.5x"), 1.5F);
    EXPECT_EQ(rateFromTitle("x 0.25 x"), 0.25F);
    EXPECT_EQ(rateFromTitle("fast"), 1.0F);
    EXPECT_EQ(rateFromTitle("1.2.3x"), 1.0F);
    EXPECT_EQ(titleForRate(1), "1x");
    EXPECT_EQ(titleForRate(1.5F), "1.5x");
    EXPECT_EQ(titleForRate(0.25F), "0.25x");
    EXPECT_EQ(titleForRate(0.333F), "0.33x");

    auto& hud = hudOf(0);
    const auto container = hud.playbackRateSelectorContainerView.lock();
    tap(hud.videoPlayRateSelectorButton);
    EXPECT_EQ(container->alpha(), 1);
    tap(hud.videoPlaybackSpeedButtons[2]);
    platform->drainMainQueue();
    EXPECT_EQ(container->alpha(), 0);
    EXPECT_EQ(local(0).playbackRate, 0.5F);
    EXPECT_EQ(local(1).playbackRate, 1.0F);
    EXPECT_EQ(hud.videoPlayRateSelectorButton.lock()->title(), "0.5x");
    tap(hud.playPauseButton);
    platform->drainMainQueue();
    EXPECT_EQ(playerOf(0).rate(), 0.5F);
}

TEST_F(PlayerControllerTest, SeekBarFollowsPlaybackExceptDuringADrag) {
    const auto slider = hudOf(0).seekbar.lock();
    slider->sendActions(ui::ControlEvent::touchDown);
    slider->setValue(0.5F);
    slider->sendActions(ui::ControlEvent::valueChanged);
    platform->drainMainQueue();
    EXPECT_EQ(frameOf(0), 25);
    slider->setValue(0.52F);  // the drag continues during playback
    playerOf(0).currentItem()->step(1);
    platform->drainMainQueue();
    EXPECT_EQ(slider->value(), 0.52F);
    slider->sendActions(ui::ControlEvent::touchUpInside);
    playerOf(0).currentItem()->step(4);
    platform->drainMainQueue();
    EXPECT_FLOAT_EQ(slider->value(), 0.6F);
    slider->sendActions(ui::ControlEvent::touchDown);
    slider->sendActions(ui::ControlEvent::touchUpOutside);
    playerOf(0).currentItem()->step(1);
    platform->drainMainQueue();
    EXPECT_FLOAT_EQ(slider->value(), 0.62F) << "releasing outside of the bar ends the drag";
    slider->setValue(1);
    slider->sendActions(ui::ControlEvent::valueChanged);
    EXPECT_EQ(frameOf(0), 49) << "the max value is the last frame";
}

TEST_F(PlayerControllerTest, SketchCoversThePictureInEveryFillMode) {
    const auto video = players()[0]->cell()->playerView.lock();
    const Rect bounds = video->bounds();
    EXPECT_EQ(sketchOf(0).frame(), video->pictureRect());
    EXPECT_NEAR(sketchOf(0).frame().size.width / sketchOf(0).frame().size.height, 640.0 / 360, 1e-9);
    tap(hudOf(0).changeFillModeButton);
    platform->drainMainQueue();
    EXPECT_EQ(video->playerLayer().videoGravity(), media::VideoGravity::resizeAspectFill);
    EXPECT_EQ(sketchOf(0).frame(), video->pictureRect());
    EXPECT_GE(sketchOf(0).frame().size.height, bounds.size.height - 1e-9);
    tap(hudOf(0).changeFillModeButton);
    platform->drainMainQueue();
    EXPECT_EQ(sketchOf(0).frame(), bounds);
}

TEST_F(PlayerControllerTest, DrawingsHaveTheTimeOfTheirFrame) {
    store().dispatch(SetDrawingToolTypeAction(SketchToolType::line, false));
    store().dispatch(CellVideoSeekToTimeAction({}, {}, media::Time(7, 10), 0));
    platform->drainMainQueue();
    const Rect picture = sketchOf(0).frame();
    drag(0, {picture.center(), {picture.midX() + 10, picture.midY() + 10}});
    platform->drainMainQueue();
    ASSERT_EQ(sketchOf(0).pathArray.size(), 1U);
    EXPECT_EQ(sketchOf(0).pathArray[0]->lineColor(), Color::rgb255(0, 230, 118)) << "the selected tool's colour";
    EXPECT_TRUE(local(0).canUndo);
    EXPECT_TRUE(hudOf(0).undoButton.lock()->isEnabled());
    EXPECT_FALSE(hudOf(1).undoButton.lock()->isEnabled());

    tap(hudOf(0).rewindButton);
    platform->drainMainQueue();
    EXPECT_FALSE(hudOf(0).undoButton.lock()->isEnabled()) << "not visible one frame earlier";
    EXPECT_TRUE(hudOf(0).clearButton.lock()->isEnabled());
    tap(hudOf(0).forwardButton);
    platform->drainMainQueue();
    EXPECT_TRUE(hudOf(0).undoButton.lock()->isEnabled());

    tap(hudOf(0).undoButton);
    platform->drainMainQueue();
    EXPECT_TRUE(local(0).canRedo && !local(0).canUndo);
    tap(hudOf(0).redoButton);
    tap(hudOf(0).clearButton);
    platform->drainMainQueue();
    EXPECT_FALSE(hudOf(0).clearButton.lock()->isEnabled());
}

TEST_F(PlayerControllerTest, OnlyDragsInsideThePictureDraw) {
    const Rect picture = sketchOf(0).frame();
    drag(0, {picture.center()});
    EXPECT_FALSE(sketchOf(0).canUndoAll()) << "a tap does not draw";
    ASSERT_GT(picture.origin.y, 4);
    drag(0, {{picture.midX(), picture.origin.y - 2}, picture.center()});
    EXPECT_FALSE(sketchOf(0).canUndoAll());
    EXPECT_EQ(platform->log.back(), "touch point is not in sketch view location");

    players()[0]->cell()->playerScrollView.lock()->tap();
    platform->drainMainQueue();
    EXPECT_FALSE(screenState().isHUDVisible);
    EXPECT_TRUE(hudOf(0).shadowViews[0].lock()->isHidden());
    EXPECT_TRUE(hudOf(1).shadowViews[0].lock()->isHidden());
}

TEST_F(PlayerControllerTest, CancelledStrokeLeavesNoDrawingAndNoHistory) {
    drag(0, {{100, 150}, {150, 150}});
    platform->drainMainQueue();
    const auto& pan = players()[0]->cell()->playerScrollView.lock()->customPanGestureRecognizer();
    pan->update(ui::GestureState::began, {120, 170});
    pan->update(ui::GestureState::changed, {160, 170});
    EXPECT_EQ(sketchOf(0).pathArray.size(), 2U);
    pan->update(ui::GestureState::cancelled, {160, 170});
    platform->drainMainQueue();
    EXPECT_EQ(sketchOf(0).pathArray.size(), 1U);
    EXPECT_EQ(sketchOf(0).currentTool, nullptr);
    tap(hudOf(0).undoButton);
    platform->drainMainQueue();
    EXPECT_TRUE(sketchOf(0).pathArray.empty());
    EXPECT_FALSE(local(0).canUndo);
}

TEST_F(PlayerControllerTest, ZoomKeepsThePinchedPointAndTheEdgesOutside) {
    GesturedScrollView& scroll = *players()[0]->cell()->playerScrollView.lock();
    const Size size = scroll.bounds().size;
    const Point anchor{size.width * 0.25, size.height * 0.5};
    scroll.zoom(3, anchor);
    EXPECT_EQ(scroll.zoomScale(), 3);
    EXPECT_NEAR((scroll.contentOffset().x + anchor.x) / 3, anchor.x, 1e-9);
    EXPECT_NEAR((scroll.contentOffset().y + anchor.y) / 3, anchor.y, 1e-9);
    EXPECT_EQ(sketchOf(0).contentScale(), 1) << "unchanged during the pinch";
    scroll.zoomDidEnd();
    EXPECT_EQ(sketchOf(0).contentScale(), 3);

    scroll.move({1e6, -1e6});
    EXPECT_EQ(scroll.contentOffset(), (Point{0, size.height * 2}));
    scroll.zoom(1e9, anchor);
    EXPECT_EQ(scroll.zoomScale(), 8);
    for (const double nonsense : {0.0, -1.0, std::nan("")}) scroll.zoom(nonsense, anchor);
    EXPECT_EQ(scroll.zoomScale(), 8);

    // Strokes are in the coordinates of the zoomed picture.
    scroll.resetZoom();
    scroll.zoom(2, {0, 0});
    const Point start{sketchOf(0).frame().origin.x * 2 + 40, sketchOf(0).frame().origin.y * 2 + 40};
    drag(0, {start, {start.x + 60, start.y}});
    EXPECT_EQ(sketchOf(0).currentPoint, (Point{50, 20}));

    players()[0]->unbind();
    EXPECT_EQ(scroll.zoomScale(), 1);
    EXPECT_EQ(scroll.contentOffset(), Point());
}

TEST_F(PlayerControllerTest, KeysControlTheAddressedPlayers) {
    const auto press = [&](ui::Key key, bool isControlDown = false) {
        return screen()->keyPressed({key, false, isControlDown});
    };
    EXPECT_TRUE(press(ui::Key::f));
    platform->drainMainQueue();
    EXPECT_EQ(local(0).contentModeIndex, 1);
    EXPECT_EQ(local(1).contentModeIndex, 0);
    EXPECT_FALSE(press(ui::Key::f, true)) << "left to the host";
    EXPECT_FALSE(press(ui::Key::z));

    tap(hudOf(1).forwardButton);
    EXPECT_TRUE(press(ui::Key::right));
    platform->drainMainQueue();
    EXPECT_EQ(frameOf(0), 0);
    EXPECT_EQ(frameOf(1), 2);

    // While locked, keys control all players.
    store().dispatch(SetPlaybackLockStateAction(true));
    press(ui::Key::f);
    press(ui::Key::right);
    platform->drainMainQueue();
    EXPECT_EQ(local(0).contentModeIndex, 2);
    EXPECT_EQ(local(1).contentModeIndex, 1);
    EXPECT_EQ(frameOf(0), 1);
    EXPECT_EQ(frameOf(1), 3);

    store().dispatch(RemoveMediaAction(1));
    store().dispatch(RemoveMediaAction(0));
    platform->drainMainQueue();
    EXPECT_FALSE(press(ui::Key::space));
}

TEST_F(PlayerControllerTest, TimeObserverFiresOncePerFrameOrOncePerSecond) {
    EXPECT_EQ(playerOf(0).timeObserverIntervals(), std::vector{media::Time(1, 10)});
    dynamic_cast<HeadlessItem&>(*playerOf(0).currentItem()).post(media::PlayerItem::Event::statusChanged);
    platform->drainMainQueue();
    EXPECT_EQ(playerOf(0).timeObserverCount(), 1U) << "becoming ready again replaces the observer";
    const auto former = players()[0]->cell()->playerView.lock()->player();
    store().dispatch(UpdateMediaAction(0, {URL("file:///missing"), {}}));
    platform->advance(1);
    EXPECT_EQ(playerOf(0).timeObserverCount(), 0U) << "a clip that fails is not observed";
    EXPECT_EQ(dynamic_cast<HeadlessPlayer&>(*former).timeObserverCount(), 0U);
    EXPECT_EQ(hudOf(0).positionLabel.lock()->text(), "");
    tap(hudOf(0).forwardButton);
    tap(hudOf(1).forwardButton);
    EXPECT_EQ(frameOf(1), 1) << "the other player continues";
}

TEST_F(PlayerControllerTest, HostDecidesAboutDeletingAndReplacing) {
    tap(hudOf(0).deleteButton);
    tap(hudOf(0).replaceButton);
    EXPECT_EQ(store().state().media->size(), 2U) << "no effect without a host";
    const auto delegate = std::make_shared<RecordingDelegate>();
    store().dispatch(SetConfigurationAction({true, true, {}, {}, delegate}));
    tap(hudOf(1).replaceButton);
    EXPECT_EQ(delegate->calls, std::vector<std::string>{"media 1"});
    delegate->mediaCompletion(clip("c"));
    EXPECT_EQ(store().state().media->at(1).url, URL("file:///c"));
    tap(hudOf(0).deleteButton);
    delegate->deleteCompletion();
    EXPECT_EQ(store().state().media->size(), 1U);
}

TEST_F(PlayerControllerTest, PendingFirstLoadOfARemovedPlayerDoesNothing) {
    store().dispatch(UpdateMediaAction(1, clip("c")));
    platform->advance(0.1);  // displayed, but its first load is pending
    store().dispatch(RemoveMediaAction(1));
    platform->advance(1);
    EXPECT_EQ(players().size(), 1U);
}

TEST_F(PlayerControllerTest, RulerStepsBecomeFrameSteps) {
    const auto ruler = hudOf(0).timelineView.lock();
    ruler->setFrame({0, 0, 300, 44});
    platform->drainMainQueue();
    const auto scroll = [&](double points) {
        const auto& strip = ruler->collectionView();
        strip->setContentOffset({strip->contentOffset().x + points, 0});
    };
    ruler->collectionView()->beginDragging();
    scroll(96);
    EXPECT_EQ(frameOf(0), 12);
    scroll(-16);
    EXPECT_EQ(frameOf(0), 10);
    EXPECT_EQ(frameOf(1), 0);
    store().dispatch(SetPlaybackLockStateAction(true));
    scroll(8);
    EXPECT_EQ(frameOf(0), 11);
    EXPECT_EQ(frameOf(1), 1);
    players()[0]->localStore->dispatch(player::SetScrubbingDirectionStateAction(false));
    scroll(8);
    EXPECT_EQ(frameOf(0), 10) << "with the direction reversed";
    EXPECT_DEATH(players()[0]->commands.timelineViewDidScrollBy(std::nan(""), true), "not finite");
}

// ---- VideoView

class VideoViewTest : public ComponentTest {
protected:
    VideoViewTest() { view->delegate = listener; }
    struct Listener : VideoViewDelegate {
        int ready = 0;
        int finished = 0;
        int brokenOff = 0;
        void playerReadyToPlayFor(VideoView&) override { ++ready; }
        void playbackDidFinishFor(VideoView&) override { ++finished; }
        void playbackDidBreakOffFor(VideoView&) override { ++brokenOff; }
    };
    void open(VideoView::Repeat repeat) {
        view->setRepeat(repeat);
        view->setURL(clip("v", {5, {1, 10}, {100, 100}}).url);
        platform->drainMainQueue();
    }
    HeadlessPlayer& player() { return dynamic_cast<HeadlessPlayer&>(*view->player()); }

    const std::shared_ptr<Listener> listener = std::make_shared<Listener>();
    const std::shared_ptr<VideoView> view = std::make_shared<VideoView>(Rect(0, 0, 200, 100));
};

TEST_F(VideoViewTest, PlaysOnceAndReportsTheEnd) {
    open(VideoView::Repeat::once);
    EXPECT_EQ(listener->ready, 1);
    EXPECT_EQ(view->pictureRect(), Rect(50, 0, 100, 100));
    view->player()->play();
    platform->advance(2);
    EXPECT_EQ(listener->finished, 1);
    EXPECT_EQ(player().rate(), 0.0F);
    EXPECT_EQ(player().currentFrame()->index(), 0);
}

TEST_F(VideoViewTest, LoopContinuesAndResumesAfterAStall) {
    open(VideoView::Repeat::loop);
    view->player()->play();
    platform->advance(2);
    EXPECT_EQ(listener->finished, 0);
    EXPECT_EQ(player().rate(), 1.0F);
    player().pause();
    platform->drainMainQueue();
    EXPECT_EQ(player().rate(), 1.0F) << "a stall is resumed";
    dynamic_cast<HeadlessItem&>(*player().currentItem()).isBufferEmpty = true;
    player().pause();
    platform->drainMainQueue();
    EXPECT_EQ(player().rate(), 0.0F) << "but not without data to play";
}

TEST_F(VideoViewTest, FailureAndNewClipEndTheObservations) {
    open(VideoView::Repeat::loop);
    view->player()->play();
    platform->advance(0.25);
    dynamic_cast<HeadlessItem&>(*player().currentItem()).post(media::PlayerItem::Event::failedToPlayToEnd);
    platform->drainMainQueue();
    EXPECT_EQ(player().rate(), 0.0F);
    EXPECT_EQ(player().currentFrame()->index(), 2);
    EXPECT_EQ(listener->brokenOff, 1);
    EXPECT_EQ(listener->finished, 0);
    open(VideoView::Repeat::once);
    EXPECT_EQ(listener->ready, 2);
    view->setURL({});
    EXPECT_EQ(view->player(), nullptr);
    view->setContentMode(ui::ContentMode::scaleToFill);
    EXPECT_EQ(view->playerLayer().videoGravity(), media::VideoGravity::resize);
}

}  // namespace
}  // namespace videoanalysis
