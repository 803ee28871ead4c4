// The calls from the reducers to the screen, recorded in order by a fake screen.

#include "VideoAnalysis/Analysis/AnalysisScreen.h"

#include "Platforms/Headless/HeadlessPlatform.h"
#include "VideoAnalysis/Analysis/Actions.h"
#include "VideoAnalysis/Analysis/LocalState.h"
#include "VideoAnalysis/Analysis/Reducers.h"
#include "VideoAnalysis/Platform/UI/Bundle.h"

#include <gtest/gtest.h>

namespace videoanalysis {
namespace {

using Lines = std::vector<std::string>;

class WrittenScreen final : public ui::ViewController, public AnalysisScreen, public AnalysisPlayers {
public:
    Lines lines;

    /// The calls since the last call of this function.
    Lines take() { return std::exchange(lines, {}); }

    std::shared_ptr<AnalysisPlayers> players() override {
        return {shared_from_this(), static_cast<AnalysisPlayers*>(this)};
    }
    bool isPresented() const override { return isPresented_; }
    void presentOver(ui::ViewController&, ui::ModalPresentationStyle) override {
        isPresented_ = true;
        lines.emplace_back("present");
    }
    void dismiss(bool animated, Completion) override { lines.emplace_back(animated ? "dismiss animated" : "dismiss"); }

    std::size_t count() const override { return states_.size(); }
    const player::LocalState& localState(std::size_t position) const override { return states_.at(position); }
    void dispatch(std::size_t position, const Action& localAction) override {
        player::LocalState& state = states_.at(position);
        state = player::reduce(localAction, &state);
        note("", position, localAction.description());
    }
    bool contains(const Store<player::LocalState>&) const override { return false; }
    void insert(std::int64_t index, const VideoAnalysisController::Object& media) override {
        states_.emplace_back();
        note("insert", static_cast<std::size_t>(index), media.url.absoluteString());
    }
    void remove(std::size_t position) override {
        states_.pop_back();
        note("remove", position);
    }
    void replace(std::size_t position, const VideoAnalysisController::Object& media) override {
        note("replace", position, media.url.absoluteString());
    }
    void reload(std::size_t position) override { note("reload", position); }
    void clear() override { lines.emplace_back("clear"); }
    void endRulerThrow(std::size_t position) override { note("end throw", position); }
    void step(std::size_t position, std::int64_t steps) override { note("step", position, std::to_string(steps)); }
    void seek(std::size_t position, const media::Time& time) override {
        note("seek", position, std::to_string(time.value));
    }
    void edit(std::size_t position) override { note("edit", position); }
    std::vector<VideoAnalysisController::Object> currentMedia() const override { return {}; }

private:
    void note(const std::string& what, std::size_t position, const std::string& more = {}) {
        std::string line = what;
        for (const std::string& word : {std::to_string(position), more}) {
            if (!line.empty() && !word.empty()) line += ' ';
            line += word;
        }
        lines.push_back(line);
    }

    std::vector<player::LocalState> states_;
    bool isPresented_ = false;
};

class WrittenBundle final : public ui::Bundle,
                            public ui::Storyboard,
                            public std::enable_shared_from_this<WrittenBundle> {
public:
    std::shared_ptr<WrittenScreen> screen;

    std::shared_ptr<ui::Storyboard> storyboard(std::string_view) override { return shared_from_this(); }
    std::shared_ptr<ui::CellTemplate> cellTemplate(std::string_view) override { return nullptr; }
    std::shared_ptr<ui::ViewController> instantiateInitialViewController() override {
        screen = std::make_shared<WrittenScreen>();
        screen->setView(std::make_shared<ui::View>());
        return screen;
    }
    std::shared_ptr<ui::ViewController> instantiateViewController(std::string_view) override { return nullptr; }
};

class WrittenPlatform final : public HeadlessPlatform {
public:
    const std::shared_ptr<WrittenBundle> written = std::make_shared<WrittenBundle>();
    ui::Bundle& bundle() override { return *written; }
};

class AnalysisScreenCallsTest : public testing::Test {
protected:
    AnalysisScreenCallsTest() { installPlatform(platform); }

    Lines reduce(const Action& action) {
        state = std::make_unique<State>(reduceMain(action, state.get()));
        return platform->written->screen->take();
    }
    Lines add(const std::string& name) { return reduce(AddMediaAction({URL("file:///" + name), {}})); }

    const std::shared_ptr<WrittenPlatform> platform = std::make_shared<WrittenPlatform>();
    std::unique_ptr<State> state;
};

TEST_F(AnalysisScreenCallsTest, InsertsRemovesAndReplacesPlayersInOrder) {
    EXPECT_EQ(reduce(ClearStateAction()), Lines{"clear"});
    const Lines settings = {"0 SetHUDVisibleStateAction(newState: true)",
                            "0 SetScrubbingDirectionStateAction(newState: true)",
                            "0 SetTimeBasedDrawingsStateAction(newState: true)"};
    Lines expected = settings;
    expected.insert(expected.begin(), "insert 0 file:///a");
    EXPECT_EQ(add("a"), expected);
    (void)add("b");
    (void)reduce(SetPlaybackLockStateAction(true));

    expected = settings;
    expected.insert(expected.begin(), "replace 0 file:///c");
    for (const char* line : {"reload 0", "end throw 0", "0 SetMediaControlHiddenStateAction(newState: true)",
                             "end throw 1", "1 SetMediaControlHiddenStateAction(newState: false)"}) {
        expected.emplace_back(line);
    }
    EXPECT_EQ(reduce(UpdateMediaAction(0, {URL("file:///c"), {}})), expected);
    EXPECT_EQ(reduce(RemoveMediaAction(1)),
              (Lines{"remove 1", "0 SetHUDVisibleStateAction(newState: true)", "end throw 0",
                     "0 SetMediaControlHiddenStateAction(newState: false)"}));
    EXPECT_EQ(reduce(RemoveMediaAction(1)), Lines());
}

TEST_F(AnalysisScreenCallsTest, StepsAndSeeksPauseFirstAndAffectOnlyTheAddressedPlayers) {
    (void)add("a");
    (void)add("b");
    EXPECT_EQ(reduce(PerformCellVideoSeekBackwardAction(1, -2)),
              (Lines{"end throw 1", "1 SetCellVideoPlayingStateAction(newState: false)", "step 1 -2"}));
    EXPECT_EQ(reduce(CellVideoSeekToTimeAction({}, {}, media::Time(7, 30), {})),
              (Lines{"end throw 0", "0 SetCellVideoPlayingStateAction(newState: false)", "seek 0 7", "end throw 1",
                     "1 SetCellVideoPlayingStateAction(newState: false)", "seek 1 7"}));
    EXPECT_EQ(reduce(SetPlayerRate(2, 0.5F)), Lines());
}

TEST_F(AnalysisScreenCallsTest, ClearingTheAnalysisDismissesItsScreenFirst) {
    (void)add("a");
    const std::shared_ptr<WrittenScreen> first = platform->written->screen;
    EXPECT_EQ(reduce(SetPresentationConfigurationAction(std::make_shared<ui::ViewController>(),
                                                        ui::ModalPresentationStyle::fullScreen)),
              Lines{"present"});
    EXPECT_EQ(reduce(DismissAction(true, {})), Lines{"dismiss animated"});
    EXPECT_EQ(reduce(ClearStateAction()), Lines{"clear"}) << "on the new screen";
    EXPECT_EQ(first->take(), Lines{"dismiss"});
}

}  // namespace
}  // namespace videoanalysis
