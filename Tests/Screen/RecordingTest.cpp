// Recording the screen, headless: what the state asks of the recorder, and what its answers come to.

#include "Tests/Support/ComponentTest.h"
#include "VideoAnalysis/Player/GesturedScrollView.h"

#include <regex>
#include <thread>

namespace videoanalysis {
namespace {

/// A host that keeps what it is given at the end.
class FinishedDelegate final : public RecordingDelegate {
public:
    std::vector<std::optional<std::vector<Object>>> outputs;

    void videoAnalysisDidFinish(const std::optional<std::vector<Object>>& output) override {
        outputs.push_back(output);
    }
};

class RecordingTest : public ComponentTest {
protected:
    void SetUp() override {
        store().dispatch(SetConfigurationAction({true, true, {}, {}, delegate}));
        store().dispatch(AddMediaAction(clip("a")));
        store().dispatch(AddMediaAction(clip("b")));
        show();
        platform->log.clear();
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

TEST_F(RecordingTest, AStoppedRecordingIsDeliveredWithTheClipsAndTheirDrawingsOfThatMoment) {
    EXPECT_TRUE(recorder.microphone) << "switched on when the screen took the recorder";
    record();
    EXPECT_TRUE(screenState().hasStartedRecording);

    ask(false);
    EXPECT_EQ(recorder.stops, 1);
    const std::string path = recorder.output.path();
    EXPECT_TRUE(std::regex_match(
        path, std::regex("/tmp/[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}\\.mp4")))
        << path;
    draw(1);  // while the video is being finished
    answerStop();
    ASSERT_EQ(delegate->outputs.size(), 1U);
    const auto& output = *delegate->outputs[0];
    ASSERT_EQ(output.size(), 3U);
    EXPECT_EQ(output[0], (VideoAnalysisController::Object{recorder.output, {}}));
    EXPECT_EQ(output[1].url, URL("file:///a"));
    EXPECT_EQ((*output[1].stack)["drawnStack"].size(), 0U);
    EXPECT_EQ((*output[2].stack)["drawnStack"].size(), 1U);

    // The second recording of the same analysis turns the flag back, and has a file of its own.
    const URL first = recorder.output;
    record();
    EXPECT_FALSE(screenState().hasStartedRecording);
    ask(false);
    answerStop();
    EXPECT_NE(recorder.output, first);
    EXPECT_EQ(delegate->outputs.size(), 2U);
    EXPECT_TRUE(platform->log.empty());
}

TEST_F(RecordingTest, OneRequestIsServedAtATimeWhateverTheUserTaps) {
    ask(true);
    ask(false);  // before the recorder has begun
    ask(true);
    EXPECT_EQ(recorder.starts, 1);
    ask(false);
    recorder.answerStart();
    platform->drainMainQueue();
    EXPECT_EQ(recorder.stops, 1) << "what was asked for meanwhile is done as soon as it has begun";
    store().dispatch(SetHUDVisibleAction(false));
    platform->drainMainQueue();
    EXPECT_EQ(recorder.stops, 1);

    ask(true);  // while the video is being finished
    EXPECT_EQ(recorder.starts, 1);
    answerStop();
    EXPECT_EQ(delegate->outputs.size(), 1U);
    EXPECT_EQ(recorder.starts, 2);
    recorder.answerStart();
    platform->drainMainQueue();
    store().dispatch(SetHUDVisibleAction(true));
    platform->drainMainQueue();
    EXPECT_EQ(recorder.starts, 2) << "it records already";
}

TEST_F(RecordingTest, FailuresAreOneLineEachAndAFailedStopEndsTheRequest) {
    ask(true);
    recorder.answerStart("no permission");
    platform->drainMainQueue();
    EXPECT_TRUE(screenState().isScreenRecording) << "the request stands";
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

TEST_F(RecordingTest, WithoutATemporaryDirectoryTheRecordingGoesOn) {
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

TEST_F(RecordingTest, AnswersFromAnotherThreadAndAfterTheAnalysisWasClosedStillArrive) {
    record();
    ask(false);
    const auto old = screen();
    store().dispatch(DismissAction(true, {}));
    store().dispatch(ClearStateAction());
    platform->drainMainQueue();
    EXPECT_NE(screen(), old);
    std::thread([&] { recorder.answerStop(); }).join();
    EXPECT_TRUE(delegate->outputs.empty());
    platform->drainMainQueue();
    ASSERT_EQ(delegate->outputs.size(), 1U) << "the recording is not lost";
    EXPECT_EQ(delegate->outputs[0]->size(), 3U);
}

TEST_F(RecordingTest, OlderSystemsShowAPreviewAndReportItsEnd) {
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
