// Stored drawings on a running screen: they appear at their times, or are all visible from the start.

#include "Support/ComponentTest.h"
#include "VideoAnalysis/Sketch/SketchView.h"

namespace videoanalysis {
namespace {

class Redisplays final : public ui::ViewObserver {
public:
    int count = 0;
    void viewDidChange(ui::View&, ui::Property) override {}
    void viewNeedsDisplay(ui::View&, const Rect&) override { ++count; }
};

class TimedDrawingsTest : public ComponentTest {
protected:
    void showClip(bool isTimeBased) {
        store().dispatch(SetConfigurationAction({isTimeBased, true, {}, {}, nullptr}));
        VideoAnalysisController::Object stored = clip("stored");
        stored.stack = JSON::parse(R"({"width": 4, "color": "#FF0000", "alpha": 1, "activeTool": 2, "redoStack": [],
            "drawnStack": [{"type": "line", "configuration": {"width": 4, "color": "#FF0000", "alpha": 1, "time": 1.5,
                "id": "A", "points": [{"startX": 10, "startY": 10, "endX": 90, "endY": 90}]}}]})");
        store().dispatch(AddMediaAction(stored));
        show();
        ASSERT_EQ(sketchOf(0).pathArray.size(), 1U);
    }
};

TEST_F(TimedDrawingsTest, AppearWhenThePlayerReachesTheirTime) {
    showClip(true);
    EXPECT_FALSE(sketchOf(0).canUndo());
    EXPECT_TRUE(sketchOf(0).canUndoAll());
    Redisplays redisplays;
    sketchOf(0).setObserver(&redisplays);
    tap(hudOf(0).playPauseButton);
    platform->advance(1);
    EXPECT_EQ(redisplays.count, 0);
    platform->advance(1);
    // Only the player's clock has moved.
    EXPECT_GT(playerOf(0).currentTime().seconds(), 1.5);
    EXPECT_EQ(redisplays.count, 1);
    EXPECT_TRUE(sketchOf(0).canUndo());
    sketchOf(0).setObserver(nullptr);
}

TEST_F(TimedDrawingsTest, AreVisibleFromTheStartUnlessTimeBased) {
    showClip(false);
    EXPECT_EQ(playerOf(0).currentTime().seconds(), 0);
    EXPECT_TRUE(sketchOf(0).canUndo());
}

}  // namespace
}  // namespace videoanalysis
