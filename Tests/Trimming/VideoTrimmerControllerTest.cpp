// The trim screen from a player's edit to its outcome.

#include "VideoAnalysis/Trimming/VideoTrimmerController.h"
#include "Support/ComponentTest.h"
#include "Support/Pointers.h"
#include "VideoAnalysis/Trimming/CropView.h"
#include "VideoAnalysis/Trimming/TrimmerView.h"

#include <algorithm>

namespace videoanalysis {
namespace {

class VideoTrimmerControllerTest : public ComponentTest {
protected:
    void SetUp() override {
        delegate = std::make_shared<RecordingDelegate>();
        store().dispatch(SetConfigurationAction(VideoAnalysisConfiguration(true, true, {}, {}, delegate)));
        store().dispatch(AddMediaAction(clip("a.mov", {300, {1, 30}, {640, 360}})));
        store().dispatch(AddMediaAction(clip("b.mp4")));
        show();
    }

    /// The screen over the analysis; null when there is none.
    std::shared_ptr<VideoTrimmerController> editor() {
        const auto presenter = players().front()->presenteeViewController.lock();
        return std::dynamic_pointer_cast<VideoTrimmerController>(presenter->presentedViewController());
    }
    std::shared_ptr<VideoTrimmerController> edit(std::size_t index = 0) {
        players().at(index)->commands.edit();
        platform->advance(0.1);
        return editor();
    }
    using ComponentTest::playerOf;
    HeadlessPlayer& playerOf(VideoTrimmerController& screen) {
        return dynamic_cast<HeadlessPlayer&>(*screen.videoView.lock()->player());
    }
    /// Everything that happens before the clock moves.
    void settle() { platform->drainMainQueue(); }
    void drawLine() { sketchOf(0).pathArray.push_back(SketchTool::make(SketchToolType::line)); }
    std::vector<VideoAnalysisController::Object> mediaList() { return *store().state().media; }

    std::shared_ptr<RecordingDelegate> delegate;
    ui::Control control;
};

TEST_F(VideoTrimmerControllerTest, ClipLoopsBetweenTheHandles) {
    const auto screen = edit();
    ASSERT_TRUE(screen);
    EXPECT_EQ(screen->modalPresentationStyle(), ui::ModalPresentationStyle::formSheet);
    EXPECT_EQ(screen->url.absoluteString(), "file:///a.mov");
    HeadlessPlayer& player = playerOf(*screen);
    const auto trimmer = screen->trimmerView.lock();
    Finger finger(trimmer);
    EXPECT_EQ(player.rate(), 1);
    EXPECT_NEAR(trimmer->duration(), 10, 1e-9);
    EXPECT_EQ(screen->durationLabel.lock()->text(), "0:10.00");
    EXPECT_EQ(screen->playButton.lock()->image().name(), "pause.fill");

    // The finger stops it and shows the frame under the handle: the first one that is kept, the last one that is.
    finger.press({trimmer->xOf(0) - 10, 24});
    EXPECT_EQ(player.rate(), 0);
    finger.moveTo({trimmer->xOf(2) - 10, 24});
    settle();
    EXPECT_EQ(player.currentFrame()->index(), 60);
    EXPECT_EQ(screen->startLabel.lock()->text(), "0:02.00");
    finger.release();
    EXPECT_EQ(player.rate(), 1);
    finger.press({trimmer->xOf(10) + 10, 24});
    finger.moveTo({trimmer->xOf(4) + 10, 24});
    settle();
    EXPECT_EQ(player.currentFrame()->index(), 119);
    EXPECT_EQ(screen->durationLabel.lock()->text(), "0:02.00");
    finger.release();

    // Never outside the handles, and round and round.
    std::int64_t latest = 0;
    int rounds = 0;
    for (int tick = 0; tick < 240; ++tick) {
        platform->advance(1 / 30.0);
        const std::int64_t frame = player.currentFrame()->index();
        ASSERT_GE(frame, 60);
        ASSERT_LE(frame, 119) << "the frame after the cut is never shown";
        rounds += frame < latest ? 1 : 0;
        latest = frame;
        ASSERT_NEAR(trimmer->position(), static_cast<double>(frame) / 30, 0.04);
    }
    EXPECT_GE(rounds, 3);
    screen->togglePlaying(control);
    EXPECT_EQ(player.rate(), 0);
    trimmer->nudge(TrimmerView::Part::position, 1000);
    EXPECT_EQ(player.rate(), 0) << "the keyboard does not start it";
    screen->togglePlaying(control);
    settle();
    EXPECT_EQ(player.rate(), 1);

    // To the clip's own end as well.
    trimmer->setEnd(10);
    screen->togglePlaying(control);
    platform->advance(12);
    screen->togglePlaying(control);
    platform->advance(9);
    EXPECT_EQ(player.rate(), 1);
}

TEST_F(VideoTrimmerControllerTest, PlayersBelowArePaused) {
    store().dispatch(SetCellVideoPlayingStateAction(true, {}));
    platform->drainMainQueue();
    ASSERT_EQ(playerOf(0).rate() + playerOf(1).rate(), 2);
    ASSERT_TRUE(edit(1));
    EXPECT_EQ(playerOf(0).rate() + playerOf(1).rate(), 0);
    EXPECT_FALSE(players()[0]->localStore->state().isMediaPlaying);
}

TEST_F(VideoTrimmerControllerTest, NothingCanBeMovedWhileSaving) {
    const auto screen = edit();
    const auto crop = screen->cropView.lock();
    const auto trimmer = screen->trimmerView.lock();
    Finger finger(trimmer);
    screen->toggleCropping(control);
    crop->moveCorner(CropView::Corner::topLeft, {200, 260});
    finger.press({trimmer->xOf(0) - 10, 24});
    finger.moveTo({trimmer->xOf(2) - 10, 24});
    screen->save(control);
    const auto job = platform->mediaEngine.newestExport.lock();
    ASSERT_TRUE(job);
    EXPECT_NEAR(job->request.start.seconds(), 2, 0.02);
    EXPECT_EQ(job->request.crop, crop->crop());
    EXPECT_LT(job->request.crop.size.width, 1);

    const Rect cropped = crop->crop();
    crop->pan(50, 50);
    crop->zoom(0.5, {100, 100});
    crop->moveCorner(CropView::Corner::bottomRight, {250, 300});
    control.setTag(static_cast<int>(CropView::Aspect::square));
    screen->chooseAspect(control);
    screen->toggleCropping(control);
    screen->togglePlaying(control);
    finger.moveTo({trimmer->xOf(5), 24});
    finger.release();
    trimmer->nudge(TrimmerView::Part::end, -30);
    settle();
    EXPECT_TRUE(crop->isLocked());
    EXPECT_TRUE(crop->isCropping());
    EXPECT_EQ(crop->crop(), cropped);
    EXPECT_NEAR(trimmer->start(), 2, 1e-9);
    EXPECT_NEAR(trimmer->end(), 10, 1e-9);
    EXPECT_EQ(playerOf(*screen).rate(), 0);

    screen->cancel(control);
    settle();
    EXPECT_FALSE(crop->isLocked());
    crop->pan(5, 5);
    EXPECT_NE(crop->crop(), cropped);
}

TEST_F(VideoTrimmerControllerTest, TruncatedClipPausesAndCanBePlayedAgain) {
    const auto screen = edit();
    HeadlessPlayer& player = playerOf(*screen);
    platform->advance(1);
    const std::int64_t frame = player.currentFrame()->index();
    dynamic_cast<HeadlessItem&>(*player.currentItem()).post(media::PlayerItem::Event::failedToPlayToEnd);
    settle();
    EXPECT_EQ(player.rate(), 0);
    EXPECT_EQ(screen->playButton.lock()->image().name(), "play.fill");
    EXPECT_EQ(player.currentFrame()->index(), frame);
    screen->trimmerView.lock()->setEnd(frame / 30.0 + 1);
    screen->togglePlaying(control);
    platform->advance(3);
    EXPECT_EQ(player.rate(), 1) << "its end is heard of again";
}

// Worth running under the address sanitizer.
TEST_F(VideoTrimmerControllerTest, MayBeDestroyedDuringAZoomedDrag) {
    for (const bool viewsStay : {false, true}) {
        const auto storyboard = platform->headlessBundle.storyboard("Main");
        auto screen = std::dynamic_pointer_cast<VideoTrimmerController>(
            storyboard->instantiateViewController("VideoTrimmerController"));
        screen->url = URL("file:///a.mov");
        screen->view();
        auto trimmer = screen->trimmerView.lock();
        Finger finger(trimmer);
        auto save = screen->saveButton.lock();
        screen->viewWillAppear(false);
        platform->advance(0.1);
        finger.press({10, 24});
        platform->advance(TrimmerView::holdDelay - 0.1);
        finger.moveTo({10, 24});
        // Another row wants thumbnails in a later turn, and so does the zoom: by then the controller is gone.
        trimmer->setFrame({0, 440, 500, 48});
        const std::weak_ptr<VideoTrimmerController> gone = screen;
        if (!viewsStay) {
            trimmer.reset();
            save.reset();
        }
        screen.reset();
        EXPECT_TRUE(gone.expired());
        platform->advance(1);
        if (!viewsStay) continue;
        EXPECT_TRUE(trimmer->isZoomed());
        finger.moveTo({210, 24});
        finger.release();
        trimmer->nudge(TrimmerView::Part::end, -1);
        save->sendActions(ui::ControlEvent::touchUpInside);
        trimmer.reset();
        settle();
        EXPECT_TRUE(platform->mediaEngine.newestExport.expired());
    }
}

TEST_F(VideoTrimmerControllerTest, ReportsTheOutcomeOnce) {
    struct Listener : VideoEditorControllerDelegate {
        std::vector<std::string> reports;
        void videoEditorControllerDidSaveEditedVideoToPath(ui::ViewController&, const std::string&) override {
            reports.emplace_back("saved");
        }
        void videoEditorControllerDidCancel(ui::ViewController&) override { reports.emplace_back("cancelled"); }
        void videoEditorControllerDidFailWithError(ui::ViewController&, const std::string& error) override {
            reports.push_back(error);
        }
    };
    const auto listener = std::make_shared<Listener>();
    auto screen = edit();
    screen->delegate = listener;
    screen->cancel(control);
    screen->cancel(control);
    screen->save(control);
    settle();
    EXPECT_EQ(listener->reports, std::vector<std::string>{"cancelled"});
    EXPECT_FALSE(screen->isSaving());
    screen->dismiss(false, {});
    settle();

    listener->reports.clear();
    screen = edit();
    screen->delegate = listener;
    screen->save(control);
    const auto job = platform->mediaEngine.newestExport.lock();
    job->end({media::ExportResult::Status::finished, {}});
    job->cancel();
    screen->cancel(control);
    settle();
    screen->cancel(control);
    screen->save(control);
    settle();
    EXPECT_EQ(listener->reports, std::vector<std::string>{"saved"});
    screen->dismiss(false, {});
    settle();
}

TEST_F(VideoTrimmerControllerTest, ThumbnailsFillTheRowAfterEveryChange) {
    const auto screen = edit();
    const auto trimmer = screen->trimmerView.lock();
    Finger finger(trimmer);
    const auto areThere = [&] {
        return !trimmer->thumbnails().empty() &&
               std::all_of(trimmer->thumbnails().begin(), trimmer->thumbnails().end(),
                           [](const auto& thumbnail) { return !thumbnail.image.isEmpty(); });
    };
    EXPECT_TRUE(areThere());
    const std::size_t count = trimmer->thumbnails().size();
    trimmer->setFrame({0, 0, 720, 48});
    settle();
    EXPECT_GT(trimmer->thumbnails().size(), count);
    EXPECT_TRUE(areThere());
    finger.press({10, 24});
    platform->advance(0.6);
    EXPECT_TRUE(trimmer->isZoomed());
    EXPECT_LT(trimmer->thumbnails().back().time, 3);
    finger.release();
}

TEST_F(VideoTrimmerControllerTest, SavedEditReplacesTheClipAfterTheEditorCloses) {
    drawLine();
    const auto screen = edit();
    const auto trimmer = screen->trimmerView.lock();
    trimmer->setStart(2);
    trimmer->setEnd(5);
    screen->toggleCropping(control);
    control.setTag(static_cast<int>(CropView::Aspect::square));
    screen->chooseAspect(control);
    screen->save(control);
    ASSERT_TRUE(screen->isSaving());
    const auto job = platform->mediaEngine.newestExport.lock();
    ASSERT_TRUE(job);
    EXPECT_EQ(job->request.source.absoluteString(), "file:///a.mov");
    // Inside the frames that the handles stand before.
    EXPECT_GT(job->request.start.seconds(), 2);
    EXPECT_LT(job->request.start.seconds(), 2 + 1 / 30.0);
    EXPECT_GT(job->request.end.seconds(), 5 - 1 / 30.0);
    EXPECT_LT(job->request.end.seconds(), 5);
    EXPECT_NEAR(job->request.crop.size.width, 360.0 / 640, 1e-9);
    const std::string path = job->request.target.path();
    EXPECT_TRUE(path.starts_with("/tmp/") && path.ends_with(".mov")) << path;
    EXPECT_EQ(path.size(), std::string("/tmp/.mov").size() + 36);

    // Its progress is shown; nothing else can be pressed until it ends.
    EXPECT_FALSE(screen->saveButton.lock()->isEnabled());
    EXPECT_FALSE(trimmer->isEnabled());
    EXPECT_EQ(playerOf(*screen).rate(), 0);
    job->progressMade = 0.25;
    platform->advance(2);
    const auto progress = screen->progressView.lock();
    EXPECT_FALSE(progress->isHidden());
    EXPECT_EQ(progress->progress(), 0.25);
    ASSERT_TRUE(progress->secondsLeft());
    EXPECT_NEAR(*progress->secondsLeft(), 6, 0.3);
    screen->save(control);
    EXPECT_EQ(platform->mediaEngine.newestExport.lock(), job);

    job->end({media::ExportResult::Status::finished, {}});
    platform->queue.runTurn();
    EXPECT_TRUE(sketchOf(0).pathArray.empty()) << "the drawings go first";
    EXPECT_EQ(mediaList()[0].url.absoluteString(), "file:///a.mov") << "the editor is still there";
    settle();
    EXPECT_FALSE(editor());
    ASSERT_EQ(mediaList().size(), 2U);
    EXPECT_EQ(mediaList()[0].url.path(), path);
    EXPECT_FALSE(mediaList()[0].stack);
    EXPECT_EQ(mediaList()[1].url.absoluteString(), "file:///b.mp4");
    EXPECT_TRUE(delegate->calls.empty());
}

TEST_F(VideoTrimmerControllerTest, CancellingChangesNothing) {
    drawLine();
    auto screen = edit();
    const std::weak_ptr<media::Player> player = screen->videoView.lock()->player();
    screen->save(control);
    // The first press ends the save, the screen stays.
    screen->cancel(control);
    settle();
    EXPECT_EQ(editor(), screen);
    EXPECT_FALSE(screen->isSaving());
    EXPECT_TRUE(screen->saveButton.lock()->isEnabled());
    EXPECT_TRUE(screen->progressView.lock()->isHidden());
    screen->cancel(control);
    screen->cancel(control);
    settle();
    EXPECT_FALSE(editor());
    EXPECT_EQ(mediaList()[0].url.absoluteString(), "file:///a.mov");
    EXPECT_EQ(sketchOf(0).pathArray.size(), 1U);
    EXPECT_TRUE(delegate->calls.empty());
    const std::weak_ptr<VideoTrimmerController> gone = screen;
    screen.reset();
    settle();
    EXPECT_TRUE(gone.expired()) << "nothing holds on to it";
    EXPECT_TRUE(player.expired());
}

TEST_F(VideoTrimmerControllerTest, FailedSaveIsLoggedAndChangesNothing) {
    drawLine();
    const auto screen = edit();
    screen->save(control);
    testing::internal::CaptureStdout();
    platform->mediaEngine.newestExport.lock()->end({media::ExportResult::Status::failed, "No space left on device"});
    settle();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "A error occurred while editing video: No space left on device\n");
    EXPECT_FALSE(editor());
    EXPECT_EQ(mediaList()[0].url.absoluteString(), "file:///a.mov");
    EXPECT_EQ(sketchOf(0).pathArray.size(), 1U);

    platform->directory.clear();
    edit()->save(control);
    testing::internal::CaptureStdout();
    settle();
    testing::internal::GetCapturedStdout();
    EXPECT_FALSE(editor());
}

TEST_F(VideoTrimmerControllerTest, ClipMayBeReplacedOrRemovedWhileTheEditorIsOpen) {
    // Replaced: the edit of the old clip is dropped.
    auto screen = edit();
    screen->save(control);
    store().dispatch(UpdateMediaAction(0, clip("c.mp4")));
    settle();
    platform->mediaEngine.newestExport.lock()->end({media::ExportResult::Status::finished, {}});
    platform->advance(1);
    EXPECT_FALSE(editor());
    EXPECT_EQ(mediaList()[0].url.absoluteString(), "file:///c.mp4");

    // Deleted: the way out is still there.
    screen = edit(1);
    store().dispatch(RemoveMediaAction(1));
    settle();
    screen->cancel(control);
    platform->advance(1);
    EXPECT_FALSE(editor());
    EXPECT_EQ(mediaList().size(), 1U);

    // The screen is taken away in the middle of a save.
    screen = edit();
    screen->save(control);
    EXPECT_FALSE(platform->mediaEngine.newestExport.expired());
    screen->dismiss(false, {});
    platform->advance(1);
    EXPECT_TRUE(platform->mediaEngine.newestExport.expired()) << "the export ends with it";
    EXPECT_EQ(mediaList()[0].url.absoluteString(), "file:///c.mp4");
}

TEST_F(VideoTrimmerControllerTest, UnreadableClipOpensNoEditor) {
    platform->headlessBundle.missing = {"VideoTrimmerController"};
    EXPECT_FALSE(edit());
    platform->headlessBundle.missing = {"Main"};
    EXPECT_FALSE(edit());
    platform->headlessBundle.missing.clear();
    VideoAnalysisController analysis({clip("a.mov"), {URL("file:///unreadable"), {}}});
    analysis.editMedia(0);  // there is no screen yet to present it from
    settle();
    show();
    analysis.editMedia(-1);
    analysis.editMedia(2);
    settle();
    EXPECT_FALSE(editor());

    // A clip that cannot be read: nothing to save, only the way out.
    analysis.editMedia(1);
    platform->advance(1);
    const auto screen = editor();
    ASSERT_TRUE(screen);
    EXPECT_FALSE(screen->saveButton.lock()->isEnabled());
    screen->save(control);
    EXPECT_FALSE(screen->isSaving());
    screen->togglePlaying(control);
    screen->cancel(control);
    platform->advance(1);
    EXPECT_FALSE(editor());
}

TEST_F(VideoTrimmerControllerTest, SavesAClipOfOneFrameWhole) {
    store().dispatch(UpdateMediaAction(0, clip("one.webm", {1, {1, 30}, {64, 64}})));
    platform->advance(1);
    const auto screen = edit();
    screen->trimmerView.lock()->nudge(TrimmerView::Part::start, 5);
    screen->trimmerView.lock()->nudge(TrimmerView::Part::end, -5);
    platform->advance(0.5);
    screen->save(control);
    const auto job = platform->mediaEngine.newestExport.lock();
    ASSERT_TRUE(job);
    EXPECT_LT(job->request.start.seconds(), job->request.end.seconds());
    EXPECT_TRUE(job->request.target.path().ends_with(".webm"));
}

}  // namespace
}  // namespace videoanalysis
