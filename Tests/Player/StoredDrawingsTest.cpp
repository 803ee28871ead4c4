// A clip's stored drawings: when they are loaded into the sketch view, what the host gets back, and when they are visible.

#include "Tests/Support/ComponentTest.h"

#include "Platforms/Cairo/CairoEngine.h"
#include "VideoAnalysis/Sketch/SketchView.h"
#include "VideoAnalysis/Sketch/TwoPointTool.h"

#include <algorithm>

namespace videoanalysis {
namespace {

class StoredDrawingsTest : public ComponentTest {
protected:
    StoredDrawingsTest() : ComponentTest(std::make_unique<graphics::CairoEngine>()) {}

    static JSON line(const std::string& id, double time) {
        return JSON::dictionary(
            {{"type", "line"},
             {"configuration",
              JSON::dictionary({{"width", 8},
                                {"color", "#00FF00"},
                                {"alpha", 1},
                                {"time", time},
                                {"id", id},
                                {"points", JSON::array({JSON::dictionary(
                                               {{"startX", 10}, {"startY", 10}, {"endX", 90}, {"endY", 10}})})}})}});
    }
    /// A stack with two lines, "a" and "b", an undone one, "c", and settings that differ from the defaults.
    static JSON stack() {
        return JSON::dictionary({{"width", 9},
                                 {"color", "#0000FF"},
                                 {"alpha", 0.5},
                                 {"activeTool", 3},
                                 {"ios", JSON::dictionary({{"drawMode", 1}})},
                                 {"drawnStack", JSON::array({line("a", 0), line("b", 0)})},
                                 {"redoStack", JSON::array({line("c", 0)})}});
    }
    VideoAnalysisController::Object storedClip(const std::string& name) {
        return {clip(name, {50, {1, 10}, {640, 360}}).url, stack()};
    }
    /// Presents the clips until they can be drawn on, but before their drawings are loaded.
    void showBeforeLoad(const std::vector<VideoAnalysisController::Object>& media) {
        for (const auto& object : media) store().dispatch(AddMediaAction(object));
        store().dispatch(SetPresentationConfigurationAction(host, ui::ModalPresentationStyle::fullScreen));
        platform->advance(0.2);
        ASSERT_FALSE(sketchOf(0).bounds().isEmpty());
    }
    void stroke(std::size_t index, const std::string& id) {
        sketchOf(index).drawTool = SketchToolType::line;
        sketchOf(index).beginDrawing({10, 20});
        sketchOf(index).currentTool->setId(id);
        sketchOf(index).continueDrawing({10, 20}, {60, 20});
        sketchOf(index).endDrawing();
        platform->drainMainQueue();
    }
    static std::vector<std::string> ids(const std::vector<std::shared_ptr<SketchTool>>& tools) {
        std::vector<std::string> result;
        for (const auto& tool : tools) result.push_back(tool->id());
        return result;
    }
    static std::vector<std::string> ids(const JSON& list) {
        std::vector<std::string> result;
        for (std::size_t i = 0; i < list.size(); ++i) result.push_back(*list[i]["configuration"]["id"].string());
        return result;
    }
    JSON savedStack(std::size_t index) { return players().at(index)->media().stack.value_or(nullptr); }
    using Names = std::vector<std::string>;
};

TEST_F(StoredDrawingsTest, StrokesBeforeTheLoadStayOnTopOfStoredDrawings) {
    showBeforeLoad({storedClip("a")});
    EXPECT_EQ(savedStack(0), stack()) << "unchanged";
    stroke(0, "x");
    stroke(0, "y");
    tap(hudOf(0).undoButton);
    // Before the load, the host gets its unchanged stack plus the new drawings.
    const JSON early = savedStack(0);
    EXPECT_EQ(ids(early["drawnStack"]), (Names{"a", "b", "x"}));
    EXPECT_EQ(ids(early["redoStack"]), (Names{"c", "y"}));
    EXPECT_EQ(early["drawnStack"][1], line("b", 0));
    EXPECT_EQ(early["width"].number(), 9);

    // A stroke in progress continues through the load.
    SketchView& sketch = sketchOf(0);
    sketch.beginDrawing({10, 40});
    sketch.currentTool->setId("z");
    sketch.continueDrawing({10, 40}, {30, 40});
    platform->advance(1);
    EXPECT_EQ(sketch.lineWidth, 9) << "loaded";
    ASSERT_TRUE(sketch.currentTool);
    sketch.continueDrawing({30, 40}, {80, 40});
    sketch.endDrawing();
    platform->drainMainQueue();
    ASSERT_EQ(ids(sketch.pathArray), (Names{"a", "b", "x", "z"}));
    EXPECT_EQ(ids(sketch.bufferArray), (Names{"c", "y"}));
    EXPECT_EQ(sketch.pathArray[3]->lineWidth(), 4);
    EXPECT_TRUE(players()[0]->localStore->state().canRedo);
    EXPECT_EQ(ids(savedStack(0)["drawnStack"]), (Names{"a", "b", "x", "z"}));

    platform->advance(5);
    EXPECT_EQ(sketch.pathArray.size(), 4U) << "loaded once";
}

TEST_F(StoredDrawingsTest, UnloadedStackIsReturnedUnchanged) {
    for (const JSON& strange : {JSON("text"), JSON::array({1}), JSON::dictionary({{"drawnStack", 7}, {"own", true}})}) {
        store().dispatch(ClearStateAction());
        showBeforeLoad({{clip("a").url, strange}});
        EXPECT_EQ(savedStack(0), strange);
        stroke(0, "x");
        EXPECT_EQ(ids(savedStack(0)["drawnStack"]), Names{"x"});
        if (strange.dictionary()) {
            EXPECT_EQ(savedStack(0)["own"], strange["own"]);
        }
        platform->advance(1);
        EXPECT_EQ(ids(savedStack(0)["drawnStack"]), Names{"x"});
    }
    store().dispatch(ClearStateAction());
    showBeforeLoad({clip("a")});
    EXPECT_FALSE(players()[0]->media().stack);
    stroke(0, "x");
    EXPECT_EQ(ids(savedStack(0)["drawnStack"]), Names{"x"});
    platform->advance(1);
    EXPECT_EQ(ids(savedStack(0)["drawnStack"]), Names{"x"});
}

TEST_F(StoredDrawingsTest, PendingLoadAppliesToItsOwnItem) {
    showBeforeLoad({clip("a")});
    platform->advance(1);
    store().dispatch(AddMediaAction(storedClip("b")));
    platform->advance(0.2);
    store().dispatch(RemoveMediaAction(0));
    platform->advance(1);
    EXPECT_EQ(ids(sketchOf(0).pathArray), (Names{"a", "b"}));

    // Clips added and replaced within the load delay get their own drawings.
    store().dispatch(AddMediaAction(storedClip("c")));
    platform->advance(0.2);
    store().dispatch(UpdateMediaAction(1, clip("d")));
    platform->advance(0.4);
    stroke(1, "x");
    platform->advance(1);
    EXPECT_EQ(ids(sketchOf(1).pathArray), Names{"x"});
    EXPECT_EQ(sketchOf(1).lineWidth, 4);
}

TEST_F(StoredDrawingsTest, LoadsWhenTheViewGetsASize) {
    showBeforeLoad({storedClip("a")});
    const auto cell = players()[0]->cell();
    const Rect frame = cell->frame();
    cell->setFrame({});
    platform->advance(2);
    ASSERT_TRUE(sketchOf(0).bounds().isEmpty());
    EXPECT_FALSE(sketchOf(0).canUndoAll());
    EXPECT_EQ(savedStack(0), stack());
    cell->setFrame(frame);
    platform->drainMainQueue();
    ASSERT_EQ(ids(sketchOf(0).pathArray), (Names{"a", "b"}));
    EXPECT_TRUE(players()[0]->localStore->state().canUndo);
    // Percentages refer to the new size.
    const auto& a = dynamic_cast<TwoPointTool&>(*sketchOf(0).pathArray[0]);
    EXPECT_NEAR(a.lastPoint().x, sketchOf(0).bounds().size.width * 0.9, 1e-9);
}

TEST_F(StoredDrawingsTest, ReusedCellKeepsNothingOfItsPreviousClip) {
    showBeforeLoad({storedClip("a")});
    platform->advance(1);
    SketchView* const reused = &sketchOf(0);
    ASSERT_EQ(reused->drawMode, ImageRenderingMode::original);
    reused->drawingPenType = PenType::neon;
    reused->backgroundImage = reused->stampImage = reused->image();
    ASSERT_FALSE(reused->backgroundImage.isEmpty());
    reused->beginDrawing({1, 1});
    store().dispatch(UpdateMediaAction(0, clip("b")));
    platform->advance(1);
    ASSERT_EQ(&sketchOf(0), reused) << "the cell is reused";
    const SketchView fresh;
    EXPECT_EQ(reused->lineWidth, fresh.lineWidth);
    EXPECT_EQ(reused->lineAlpha, fresh.lineAlpha);
    EXPECT_EQ(reused->lineColor, fresh.lineColor);
    EXPECT_EQ(reused->drawTool, fresh.drawTool);
    EXPECT_EQ(reused->drawingPenType, fresh.drawingPenType);
    EXPECT_EQ(reused->drawMode, fresh.drawMode);
    EXPECT_TRUE(reused->backgroundImage.isEmpty() && reused->stampImage.isEmpty());
    EXPECT_FALSE(reused->currentTool || reused->currentPoint || reused->previousPoint1 || reused->previousPoint2);
    EXPECT_FALSE(reused->canUndoAll() || reused->canRedoAll());
    const auto& pixels = reused->image().bitmap()->pixels;
    EXPECT_TRUE(std::all_of(pixels.begin(), pixels.end(), [](auto pixel) { return pixel == 0; }));
}

// ---- Visibility during playback

class VisibleDrawingsTest : public StoredDrawingsTest {
protected:
    /// One clip with a stored line that is visible from frame 7 on.
    void showWithLineAtFrame7(bool isTimeBased) {
        store().dispatch(SetConfigurationAction({isTimeBased, true, {}, {}, {}}));
        JSON stored = stack();
        stored.set("ios", JSON::dictionary({{"drawMode", 0}}));
        stored.set("drawnStack", JSON::array({line("late", 0.7)}));
        stored.set("redoStack", JSON::array({}));
        store().dispatch(AddMediaAction({clip("a", {50, {1, 10}, {640, 360}}).url, stored}));
        show();
        sketchOf(0).setObserver(&sketchPeer);
    }
    ~VisibleDrawingsTest() override {
        if (!players().empty() && players()[0]->cell()) sketchOf(0).setObserver(nullptr);
    }
    /// Whether any drawing is visible.
    bool isInked() {
        const auto& pixels = sketchOf(0).image().bitmap()->pixels;
        return std::any_of(pixels.begin(), pixels.end(), [](auto pixel) { return pixel != 0; });
    }
    struct ScreenOfSketch final : ui::ViewObserver {
        int paints = 0;
        void viewDidChange(ui::View&, ui::Property) override {}
        void viewNeedsDisplay(ui::View&, const Rect&) override { ++paints; }
    } sketchPeer;
};

TEST_F(VisibleDrawingsTest, DrawingIsVisibleOnlyFromItsTimeOn) {
    showWithLineAtFrame7(true);
    EXPECT_FALSE(isInked());
    tap(hudOf(0).playPauseButton);
    platform->advance(0.65);
    ASSERT_EQ(frameOf(0), 6);
    EXPECT_FALSE(isInked());
    EXPECT_FALSE(hudOf(0).undoButton.lock()->isEnabled());
    EXPECT_EQ(sketchPeer.paints, 0) << "no repaint for frames that reveal no drawing";
    platform->advance(0.1);
    ASSERT_EQ(frameOf(0), 7);
    EXPECT_TRUE(isInked());
    EXPECT_EQ(sketchPeer.paints, 1);
    EXPECT_TRUE(players()[0]->localStore->state().canUndo);
    EXPECT_TRUE(hudOf(0).undoButton.lock()->isEnabled());

    tap(hudOf(0).rewindButton);
    platform->drainMainQueue();
    EXPECT_FALSE(isInked());
    EXPECT_FALSE(players()[0]->localStore->state().canUndo);
    store().dispatch(CellVideoSeekToTimeAction({}, {}, media::Time(40, 10), 0));
    platform->drainMainQueue();
    EXPECT_TRUE(isInked());
}

TEST_F(VisibleDrawingsTest, AllDrawingsAreVisibleUnlessTimeBased) {
    showWithLineAtFrame7(false);
    EXPECT_TRUE(isInked());
    EXPECT_TRUE(hudOf(0).undoButton.lock()->isEnabled());
    tap(hudOf(0).undoButton);
    platform->drainMainQueue();
    EXPECT_FALSE(isInked());
    tap(hudOf(0).redoButton);
    // Can be enabled while the clip is shown.
    store().dispatch(SetConfigurationAction({true, true, {}, {}, {}}));
    tap(hudOf(0).forwardButton);
    platform->drainMainQueue();
    EXPECT_FALSE(isInked());
}

}  // namespace
}  // namespace videoanalysis
