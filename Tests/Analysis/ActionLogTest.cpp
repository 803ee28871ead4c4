#include "VideoAnalysis/Analysis/ActionLog.h"

#include "Tests/Support/ComponentTest.h"
#include "VideoAnalysis/Analysis/Reducers.h"

#include <cstdlib>

namespace videoanalysis {
namespace {

class ActionLogTest : public ComponentTest {
protected:
    ~ActionLogTest() override { unsetenv("VIDEOANALYSIS_LOG_ACTIONS"); }
};

TEST_F(ActionLogTest, LogsEachActionWithItsStateChange) {
    setenv("VIDEOANALYSIS_LOG_ACTIONS", "1", 1);
    const auto analysis = Store<State>::make(reduceMain, State(), debuggingMiddleware<State>("analysis"), true);
    analysis->dispatch(SetDrawingToolTypeAction(SketchToolType::line, true));
    analysis->dispatch(SetDrawingToolTypeAction(SketchToolType::line, false));
    const auto one = Store<player::LocalState>::make(player::reduce, player::LocalState(),
                                                     debuggingMiddleware<player::LocalState>("player 2"), true);
    one->dispatch(player::SetCellVideoPlaybackRateAction(0.5F));
    one->dispatch(player::SetCellVideoTimeAction(3));
    EXPECT_EQ(platform->log,
              (std::vector<std::string>{
                  "analysis: SetDrawingToolTypeAction(selectedTool: 2, toggleColorPicker: true) | toolType: 0 -> 2",
                  "analysis: SetDrawingToolTypeAction(selectedTool: 2, toggleColorPicker: false) | nothing changed",
                  "player 2: SetCellVideoPlaybackRateAction(newRate: 0.5) | playbackRate: 1 -> 0.5"}));
}

TEST_F(ActionLogTest, IsInstalledOnlyIfTheEnvironmentVariableIsSet) {
    EXPECT_TRUE(debuggingMiddleware<State>("analysis").empty());
    setenv("VIDEOANALYSIS_LOG_ACTIONS", "0", 1);
    EXPECT_TRUE(debuggingMiddleware<State>("analysis").empty());
}

}  // namespace
}  // namespace videoanalysis
