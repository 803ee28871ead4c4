// Screen recording on the headless platform: requests from the state to the recorder, and the handling of its answers.

#include "Tests/Support/ComponentTest.h"
#include "VideoAnalysis/Video/GesturedScrollView.h"

#include <functional>
#include <regex>
#include <thread>

namespace videoanalysis {
namespace {

/// A host that stores the outputs it receives.
class FinishedDelegate final : public RecordingDelegate {
public:
    std::vector<std::optional<std::vector<Object>>> outputs;
    std::vector<std::string> breakOffs;

    void videoAnalysisDidFinish(const std::optional<std::vector<Object>>& output) override {
        outputs.push_back(output);
    }
    void videoAnalysisRecordingDidBreakOff(const std::string& reason) override { breakOffs.push_back(reason); }
};

class RecordingTest : public ComponentTest {
protected:
    void SetUp() override {
        openAnalysis();
        platform->log.clear();
    }

    void openAnalysis() {
        store().dispatch(SetConfigurationAction({true, true, {}, {}, delegate}));
        store().dispatch(AddMediaAction(clip("a")));
        store().dispatch(AddMediaAction(clip("b")));
        show();
    }
    void closeAnalysis() {
        store().dispatch(DismissAction(true, {}));
        store().dispatch(ClearStateAction());
        platform->drainMainQueue();
    }
    void answerStart(const recording::Error& error = {}) {
        recorder.answerStart(error);
        platform->drainMainQueue();
    }

    void ask(bool forRecording) {
        store().dispatch(SetScreenRecordingStateAction(forRecording));
        platform->drainMainQueue();
    }
    void record() {
        ask(true);
        recorder.answerStart();
        platform->drainMainQueue();
    }
    void draw(std::size_t player) {
        const auto& pan = players()[player]->cell()->playerScrollView.lock()->customPanGestureRecognizer();
        const Rect picture = sketchOf(player).frame();
        pan->update(ui::GestureState::began, {picture.midX() - 20, picture.midY()});
        pan->update(ui::GestureState::changed, {picture.midX() + 20, picture.midY()});
        pan->update(ui::GestureState::ended, {picture.midX() + 20, picture.midY()});
        platform->drainMainQueue();
    }
    void answerStop(const recording::Error& error = {}) {
        recorder.answerStop(error);
        platform->drainMainQueue();
    }

    HeadlessRecorder& recorder = platform->recorder;
    const std::shared_ptr<FinishedDelegate> delegate = std::make_shared<FinishedDelegate>();
};

TEST_F(RecordingTest, StoppedRecordingIsDeliveredWithTheCurrentClipsAndDrawings) {
    EXPECT_TRUE(recorder.microphone) << "enabled by the first use of the recorder";
    record();
    EXPECT_TRUE(screenState().hasStartedRecording);

    ask(false);
    EXPECT_EQ(recorder.stops, 1);
    const std::string path = recorder.output.path();
    EXPECT_TRUE(std::regex_match(
        path, std::regex("/tmp/[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}\\.mp4")))
        << path;
    draw(1);  // while the file is being finalized
    answerStop();
    ASSERT_EQ(delegate->outputs.size(), 1U);
    const auto& output = *delegate->outputs[0];
    ASSERT_EQ(output.size(), 3U);
    EXPECT_EQ(output[0], (VideoAnalysisController::Object{recorder.output, {}}));
    EXPECT_EQ(output[1].url, URL("file:///a"));
    EXPECT_EQ((*output[1].stack)["drawnStack"].size(), 0U);
    EXPECT_EQ((*output[2].stack)["drawnStack"].size(), 1U);

    // A second recording of the same analysis resets the flag and has a separate file.
    const URL first = recorder.output;
    record();
    EXPECT_FALSE(screenState().hasStartedRecording);
    ask(false);
    answerStop();
    EXPECT_NE(recorder.output, first);
    EXPECT_EQ(delegate->outputs.size(), 2U);
    EXPECT_TRUE(platform->log.empty());
}

TEST_F(RecordingTest, ServesOneRequestAtATime) {
    ask(true);
    ask(false);  // before the recorder has started
    ask(true);
    EXPECT_EQ(recorder.starts, 1);
    answerStart();
    ask(false);
    EXPECT_EQ(recorder.stops, 1);
    store().dispatch(SetHUDVisibleAction(false));
    platform->drainMainQueue();
    EXPECT_EQ(recorder.stops, 1);

    ask(true);  // while the file is being finalized
    EXPECT_EQ(recorder.starts, 1);
    answerStop();
    EXPECT_EQ(delegate->outputs.size(), 1U);
    EXPECT_EQ(recorder.starts, 2);
    recorder.answerStart();
    platform->drainMainQueue();
    store().dispatch(SetHUDVisibleAction(true));
    platform->drainMainQueue();
    EXPECT_EQ(recorder.starts, 2) << "already recording";
}

TEST_F(RecordingTest, LogsFailuresAndEndsTheRequestOnAFailedStop) {
    ask(true);
    recorder.answerStart("no permission");
    platform->drainMainQueue();
    EXPECT_TRUE(screenState().isScreenRecording) << "the request remains";
    EXPECT_FALSE(screenState().hasStartedRecording);
    EXPECT_EQ(platform->log, std::vector<std::string>{"no permission"});
    ask(false);
    EXPECT_EQ(recorder.stops, 0);

    record();
    ask(false);
    store().dispatch(SetScreenRecordingStateAction(true));
    answerStop("disk full");
    EXPECT_EQ(platform->log, (std::vector<std::string>{"no permission", "disk full"}));
    EXPECT_FALSE(screenState().isScreenRecording);
    EXPECT_FALSE(recorder.recording);
    EXPECT_TRUE(delegate->outputs.empty());
}

TEST_F(RecordingTest, RecordingContinuesWithoutATemporaryDirectory) {
    record();
    platform->directory.clear();
    ask(false);
    EXPECT_EQ(recorder.stops, 0);
    platform->directory = "/tmp";
    platform->headlessDevice.version = 13;
    store().dispatch(SetHUDVisibleAction(false));
    platform->drainMainQueue();
    EXPECT_EQ(recorder.stops, 1) << "the next state stops it";
}

TEST_F(RecordingTest, HandlesAnswersFromOtherThreadsAndAfterClosing) {
    record();
    ask(false);
    const auto old = screen();
    closeAnalysis();
    EXPECT_NE(screen(), old);
    std::thread([&] { recorder.answerStop(); }).join();
    EXPECT_TRUE(delegate->outputs.empty());
    platform->drainMainQueue();
    ASSERT_EQ(delegate->outputs.size(), 1U) << "the recording is not lost";
    EXPECT_EQ(delegate->outputs[0]->size(), 3U);
}

TEST_F(RecordingTest, DismissingTheScreenStopsAndDeliversTheRecording) {
    const auto dismissals = {
        std::function<void()>([&] { screen()->dismiss(true, {}); }),  // a press outside a popover
        std::function<void()>([&] { closeAnalysis(); }),
        std::function<void()>([&] { platform->headlessPresenter.dismiss(screen(), true, {}); }),  // by its presenter
    };
    int count = 0;
    for (const auto& dismiss : dismissals) {
        SCOPED_TRACE(count);
        if (players().empty()) openAnalysis();
        record();
        const auto timer = screen()->overlayViewController()->recordingTimer;
        dismiss();
        platform->drainMainQueue();
        ++count;
        EXPECT_EQ(recorder.stops, count);
        EXPECT_FALSE(recorder.isRecording());
        EXPECT_FALSE(screenState().isScreenRecording);
        EXPECT_FALSE(timer->isValid());
        answerStop();
        ASSERT_EQ(delegate->outputs.size(), static_cast<std::size_t>(count));
        EXPECT_EQ(delegate->outputs.back()->size(), 3U);
        show();
        EXPECT_EQ(recorder.starts, count) << "presenting again does not start a recording";
        closeAnalysis();
    }
}

TEST_F(RecordingTest, NewAnalysisDoesNotInheritTheRecordingRequest) {
    record();
    ask(false);
    EXPECT_FALSE(recorder.isRecording()) << "as soon as the stop is requested";
    closeAnalysis();
    openAnalysis();
    EXPECT_FALSE(screenState().isScreenRecording);
    answerStop();
    EXPECT_EQ(delegate->outputs.size(), 1U);
    EXPECT_EQ(recorder.starts, 1);

    // A start requested while the previous recording is being finalized is served afterwards.
    record();
    closeAnalysis();
    openAnalysis();
    ask(true);
    EXPECT_EQ(recorder.starts, 2);
    answerStop();
    EXPECT_EQ(delegate->outputs.size(), 2U);
    EXPECT_EQ(recorder.starts, 3);
}

TEST_F(RecordingTest, StartThatIsNoLongerRequestedIsDiscarded) {
    for (const int version : {16, 13}) {
        platform->headlessDevice.version = version;
        recorder.taken.clear();
        const int stops = recorder.stops;
        ask(true);
        ask(false);
        answerStart();
        EXPECT_EQ(recorder.stops, stops + 1);
        EXPECT_FALSE(screenState().hasStartedRecording);
        answerStop();
        EXPECT_EQ(recorder.taken.size(), 1U);

        ask(true);
        closeAnalysis();
        answerStart();
        EXPECT_EQ(recorder.stops, stops + 2);
        openAnalysis();
        ask(true);  // pending
        const int starts = recorder.starts;
        answerStop();
        EXPECT_EQ(recorder.taken.size(), 2U);
        EXPECT_EQ(recorder.starts, starts + 1);
        answerStart();
        EXPECT_TRUE(screenState().hasStartedRecording);
        EXPECT_TRUE(delegate->outputs.empty());
        closeAnalysis();
        recorder.answerStop();
        platform->drainMainQueue();
        delegate->outputs.clear();
        openAnalysis();
    }
}

TEST_F(RecordingTest, FailedRecordingIsReportedAndItsPlayablePartDelivered) {
    record();
    recorder.breakOff("disk full");
    platform->drainMainQueue();
    EXPECT_EQ(delegate->breakOffs, std::vector<std::string>{"disk full"});
    EXPECT_EQ(platform->log, std::vector<std::string>{"disk full"});
    EXPECT_FALSE(screenState().isScreenRecording);
    EXPECT_EQ(recorder.stops, 1);
    answerStop();
    EXPECT_EQ(delegate->outputs.size(), 1U);
}

TEST_F(RecordingTest, ClockRestartsWithEachRecording) {
    OverlayViewController& overlay = *screen()->overlayViewController();
    record();
    const auto timer = overlay.recordingTimer;
    ASSERT_TRUE(timer && timer->isValid());
    platform->advance(61.5);
    EXPECT_EQ(overlay.timerLabel.lock()->text(), "00:01:01");
    EXPECT_FALSE(overlay.timerLabel.lock()->isHidden());
    ask(false);
    EXPECT_FALSE(timer->isValid());
    EXPECT_EQ(overlay.seconds, 0);
    EXPECT_TRUE(overlay.timerLabel.lock()->isHidden());
    answerStop();
}

TEST_F(RecordingTest, OlderSystemsShowAPreviewAndReportItsDismissal) {
    platform->headlessDevice.version = 13;
    platform->headlessDevice.idiom = ui::InterfaceIdiom::pad;
    for (const bool isPad : {true, false}) {
        platform->headlessDevice.idiom = isPad ? ui::InterfaceIdiom::pad : ui::InterfaceIdiom::phone;
        delegate->outputs.clear();
        record();
        ask(false);
        const auto preview = std::make_shared<recording::PreviewViewController>();
        recorder.answerStop(preview);
        platform->drainMainQueue();
        EXPECT_EQ(screen()->overlayViewController()->presentedViewController(), preview);
        EXPECT_EQ(preview->previewControllerDelegate.lock(), screen());
        EXPECT_EQ(preview->popoverPresentation.has_value(), isPad);
        if (isPad) {
            EXPECT_EQ(preview->modalPresentationStyle(), ui::ModalPresentationStyle::popover);
            EXPECT_EQ(preview->popoverPresentation->sourceRect, Rect());
            EXPECT_EQ(preview->popoverPresentation->sourceView.lock(), screen()->view());
        }
        EXPECT_TRUE(delegate->outputs.empty());
        preview->previewControllerDelegate.lock()->previewControllerDidFinish(*preview);
        platform->drainMainQueue();
        EXPECT_EQ(screen()->overlayViewController()->presentedViewController(), nullptr);
        ASSERT_EQ(delegate->outputs.size(), 1U);
        EXPECT_FALSE(delegate->outputs[0].has_value());
    }
    record();
    ask(false);
    answerStop("no preview");
    EXPECT_EQ(platform->log, std::vector<std::string>{"no preview"});
    EXPECT_FALSE(screenState().isScreenRecording);
}

}  // namespace
}  // namespace videoanalysis
