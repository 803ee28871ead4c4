#include "VideoAnalysis/Analysis/LocalState.h"

#include "Tests/Support/ComponentTest.h"

#include <limits>

namespace videoanalysis::player {
namespace {

using LocalStateTest = ComponentTest;

TEST_F(LocalStateTest, EachActionSetsItsOwnField) {
    LocalState state;
    state = reduce(UndoAction(true), &state);
    state = reduce(SetCellVideoPlaybackRateAction(0.25F), &state);
    state = reduce(SetCellVideoPlayingStateAction(true), &state);
    state = reduce(SetCellVideoTimeAction(2.5F), &state);
    state = reduce(SetEditingStateAction(true), &state);
    state = reduce(SetMediaControlHiddenStateAction(true), &state);
    state = reduce(SetHUDVisibleStateAction(false), &state);
    state = reduce(SetTimeBasedDrawingsStateAction(false), &state);
    state = reduce(SetScrubbingDirectionStateAction(false), &state);
    EXPECT_TRUE(state.canUndo && !state.canRedo && state.isEditing && state.isMediaPlaying &&
                state.isMediaControlHidden);
    EXPECT_FALSE(state.isHUDVisible || state.enableTimeBasedDrawings || state.defaultScrubbingDirection);
    EXPECT_EQ(state.playbackRate, 0.25F);
    EXPECT_EQ(state.playbackCurrentTime, 2.5F);
    EXPECT_TRUE(state.useOriginalPlaybackRate) << "no action sets it";
    EXPECT_FALSE(state.currentFPS || state.collectionView);
    state = reduce(RedoAction(true), &state);
    state = reduce(UndoAction(false), &state);
    EXPECT_TRUE(!state.canUndo && state.canRedo);
}

TEST_F(LocalStateTest, FillModeCyclesFromAnyIndex) {
    LocalState state;
    std::vector<std::int64_t> indices;
    for (int i = 0; i < 4; ++i) {
        state = reduce(ChangeCellVideoFillModeAction(), &state);
        indices.push_back(state.contentModeIndex);
    }
    EXPECT_EQ(indices, (std::vector<std::int64_t>{1, 2, 0, 1}));
    for (const std::int64_t strange : {-2L, 3L, 1000L}) {
        state.contentModeIndex = strange;
        EXPECT_EQ(reduce(ChangeCellVideoFillModeAction(), &state).contentModeIndex, 0);
    }
    state.contentModeIndex = std::numeric_limits<std::int64_t>::max();
    EXPECT_DEATH((void)reduce(ChangeCellVideoFillModeAction(), &state), "overflows");
}

TEST_F(LocalStateTest, AbsentStateBecomesTheInitialOneAndUnknownActionsAreIgnored) {
    const LocalState state = reduce(ReSwiftInit(), nullptr);
    EXPECT_TRUE(state.isHUDVisible && state.useOriginalPlaybackRate && state.enableTimeBasedDrawings);
    EXPECT_EQ(state.playbackRate, 1.0F);
    // The analysis action of the same name is a different type.
    LocalState playing;
    playing.isMediaPlaying = true;
    EXPECT_TRUE(reduce(videoanalysis::SetCellVideoPlayingStateAction(false, {}), &playing).isMediaPlaying);
    EXPECT_EQ(platform->log, (std::vector<std::string>(2, "Unknown CellController action")));
}

}  // namespace
}  // namespace videoanalysis::player
