#include "VideoAnalysis/Sketch/SketchView.h"

#include "Platforms/Cairo/CairoEngine.h"
#include "Platforms/Headless/HeadlessPlatform.h"
#include "VideoAnalysis/Platform/DrawingCancellation.h"
#include "VideoAnalysis/Sketch/ArrowTool.h"
#include "VideoAnalysis/Sketch/EraserTool.h"
#include "VideoAnalysis/Sketch/PenTool.h"
#include "VideoAnalysis/Sketch/RectTool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace videoanalysis {
namespace {

/// Counts the contexts created on the main thread, one per bitmap drawn into. Blocks background drawing while
/// `isBackgroundHeld`, until it is cancelled.
class InstrumentedEngine final : public graphics::Engine {
public:
    InstrumentedEngine(int& count, std::atomic<bool>& isBackgroundHeld) : count_(count), isHeld_(isBackgroundHeld) {}
    std::unique_ptr<graphics::Context> makeContext(Bitmap& bitmap) override {
        if (std::this_thread::get_id() == mainThread_)
            ++count_;
        else
            while (isHeld_ && !graphics::isDrawingCancelled()) std::this_thread::yield();
        return cairo_.makeContext(bitmap);
    }

private:
    const std::thread::id mainThread_ = std::this_thread::get_id();
    int& count_;
    std::atomic<bool>& isHeld_;
    graphics::CairoEngine cairo_;
};

class Owner final : public SketchViewDelegate {
public:
    double time = 0;
    bool isTimeBased = true;
    std::vector<std::string> calls;
    /// Called at the end of a stroke; may be empty.
    std::function<void(SketchView&)> didEnd;

    double currentTime() const override { return time; }
    bool isTimeBasedDrawingsEnabled() const override { return isTimeBased; }
    void drawViewWillBeginDraw(SketchView& view, SketchTool& tool) override {
        calls.push_back("begin " + std::to_string(view.pathArray.size()) +
                        (view.currentTool.get() == &tool ? " current" : ""));
    }
    void drawViewDidEndDraw(SketchView& view, SketchTool& tool) override {
        calls.push_back("end " + std::to_string(view.pathArray.size()) +
                        (view.currentTool.get() == &tool ? " current" : ""));
        if (didEnd) didEnd(view);
    }
};

class DirtyRegions final : public ui::ViewObserver {
public:
    std::vector<Rect> regions;
    void viewDidChange(ui::View&, ui::Property) override {}
    void viewNeedsDisplay(ui::View&, const Rect& rect) override { regions.push_back(rect); }
};

class SketchViewTest : public testing::Test {
protected:
    SketchViewTest() {
        installPlatform(platform);
        view->sketchViewDelegate = owner;
    }
    ~SketchViewTest() override { installPlatform(nullptr); }

    void drag(const std::vector<Point>& points) {
        view->beginDrawing(points.front());
        for (std::size_t i = 1; i < points.size(); ++i) view->continueDrawing(points[i - 1], points[i]);
        view->endDrawing();
    }
    /// Draws a horizontal line at height `y` and returns it.
    std::shared_ptr<SketchTool> line(double y) {
        view->drawTool = SketchToolType::line;
        drag({{10, y}, {90, y}});
        return view->pathArray.back();
    }
    /// The view drawn into a transparent layer.
    std::vector<std::uint32_t> picture(SketchView& shown) {
        Bitmap layer(static_cast<int>(shown.bounds().size.width), static_cast<int>(shown.bounds().size.height), 1);
        const auto context = graphics::CairoEngine().makeContext(layer);
        const graphics::CurrentContextScope scope(*context);
        shown.draw(shown.bounds());
        context->flush();
        return layer.pixels;
    }
    std::uint32_t seen(int x, int y) {
        return picture(*view)[static_cast<std::size_t>(y) * static_cast<std::size_t>(view->bounds().size.width) +
                              static_cast<std::size_t>(x)];
    }
    bool isSeen(int y) { return seen(50, y) != 0; }

    /// A scribble that exceeds the main thread's drawing budget.
    static std::shared_ptr<SketchTool> scribble(const Color& color) {
        std::mt19937 generator(3);
        std::uniform_real_distribution<double> coordinate(0, 100);
        std::vector<Point> touches(8000);
        for (Point& touch : touches) touch = {coordinate(generator), coordinate(generator) / 2};
        const auto pen = std::make_shared<PenTool>();
        pen->setLineColor(color);
        pen->setLineAlpha(1);
        pen->setLineWidth(30);
        pen->setTouchPoints(touches);
        return pen;
    }
    void finishBackground() {
        isBackgroundHeld = false;
        while (view->isRebuilding()) {
            platform->drainMainQueue();
            std::this_thread::yield();
        }
    }
    /// Whether the bitmap equals a full redraw of all drawings.
    bool isComplete() {
        Bitmap expected(static_cast<int>(view->bounds().size.width), static_cast<int>(view->bounds().size.height), 1);
        const auto context = graphics::CairoEngine().makeContext(expected);
        const graphics::CurrentContextScope scope(*context);
        for (const auto& tool : view->pathArray) tool->draw();
        context->flush();
        return expected.pixels == view->image().bitmap()->pixels && expected.pixels == picture(*view);
    }

    int contexts = 0;
    std::atomic<bool> isBackgroundHeld = false;
    std::shared_ptr<HeadlessPlatform> platform =
        std::make_shared<HeadlessPlatform>(std::make_unique<InstrumentedEngine>(contexts, isBackgroundHeld));
    std::shared_ptr<Owner> owner = std::make_shared<Owner>();
    std::shared_ptr<SketchView> view = std::make_shared<SketchView>(Rect{0, 0, 100, 100});
};

TEST_F(SketchViewTest, IsInitiallyEmpty) {
    EXPECT_EQ(view->lineAlpha, 1);
    EXPECT_EQ(view->lineWidth, 4);
    EXPECT_EQ(view->lineColor, Color::black());
    EXPECT_EQ(view->drawTool, SketchToolType::pen);
    EXPECT_EQ(view->drawingPenType, PenType::normal);
    EXPECT_EQ(view->drawMode, ImageRenderingMode::scale);
    EXPECT_EQ(view->backgroundColor(), Color::clear());
    EXPECT_FALSE(view->currentTool || view->currentPoint || view->previousPoint1 || view->previousPoint2);
    EXPECT_TRUE(view->image().isEmpty() && view->stampImage.isEmpty() && view->backgroundImage.isEmpty());
    EXPECT_FALSE(view->canUndo() || view->canRedo() || view->canUndoAll() || view->canRedoAll());
    view->undo();
    view->redo();
    view->continueDrawing({1, 1}, {2, 2});
    EXPECT_TRUE(view->pathArray.empty());
    EXPECT_FALSE(view->currentPoint);
}

TEST_F(SketchViewTest, TouchSequenceBecomesADrawing) {
    view->lineWidth = 6;
    view->lineColor = {1, 0, 0, 1};
    view->lineAlpha = 0.5;
    view->drawingPenType = PenType::blur;
    owner->time = 2;
    view->beginDrawing({10, 10});
    ASSERT_EQ(view->pathArray.size(), 1U);
    EXPECT_EQ(view->pathArray.front(), view->currentTool);
    EXPECT_EQ(view->currentTool->time(), 0);
    EXPECT_EQ(owner->calls, std::vector<std::string>{"begin 0 current"});
    const auto pen = std::dynamic_pointer_cast<PenTool>(view->currentTool);
    ASSERT_TRUE(pen);
    EXPECT_EQ(pen->lineWidth(), 6);
    EXPECT_EQ(pen->lineColor(), (Color{1, 0, 0, 1}));
    EXPECT_EQ(pen->lineAlpha(), 0.5);
    EXPECT_EQ(pen->drawingPenType(), PenType::blur);

    // Selecting another tool affects the next sequence.
    view->drawTool = SketchToolType::arrow;
    view->continueDrawing({10, 10}, {20, 10});
    EXPECT_EQ(*view->previousPoint2, (Point{10, 10}));
    EXPECT_EQ(*view->previousPoint1, (Point{10, 10}));
    EXPECT_EQ(*view->currentPoint, (Point{20, 10}));
    view->continueDrawing({20, 10}, {20, 30});
    EXPECT_EQ(*view->previousPoint2, (Point{10, 10}));
    EXPECT_EQ(pen->touchPoints(), (std::vector<Point>{{10, 10}, {20, 10}, {20, 30}}));
    view->endDrawing();
    EXPECT_EQ(pen->time(), 2);
    EXPECT_FALSE(view->currentTool);
    EXPECT_EQ(owner->calls.back(), "end 1 current");

    // Beginning a sequence ends the previous one.
    view->beginDrawing({1, 1});
    view->continueDrawing({1, 1}, {50, 60});
    owner->time = 3;
    view->beginDrawing({2, 2});
    ASSERT_EQ(view->pathArray.size(), 3U);
    EXPECT_EQ(view->pathArray[1]->time(), 3);
    EXPECT_EQ(view->currentTool, view->pathArray[2]);
    const auto& arrow = dynamic_cast<ArrowTool&>(*view->pathArray[1]);
    EXPECT_EQ(arrow.firstPoint(), (Point{1, 1}));
    EXPECT_EQ(arrow.lastPoint(), (Point{50, 60}));
}

TEST_F(SketchViewTest, StrokesHaveWallClockTimesWithoutADelegate) {
    view->sketchViewDelegate.reset();
    const double time = line(50)->time();
    EXPECT_NEAR(time, platform->wallClock(), 1);
    EXPECT_GT(time, 1e8);
    EXPECT_TRUE(isSeen(50));
    // Hidden with a player that never reaches that time.
    view->sketchViewDelegate = owner;
    owner->time = 100'000;
    EXPECT_TRUE(view->updateCacheImage(true));
    EXPECT_FALSE(isSeen(50));
    EXPECT_FALSE(view->canUndo());
    EXPECT_TRUE(view->canUndoAll());
}

TEST_F(SketchViewTest, AppliesAlphaOncePerStroke) {
    view->lineColor = {1, 0, 0, 1};
    view->lineAlpha = 0.5;
    view->lineWidth = 10;
    view->beginDrawing({10, 50});
    for (const double x : {50.0, 90.0, 50.0, 10.0, 50.0, 90.0}) view->continueDrawing(*view->currentPoint, {x, 50});
    const std::uint32_t live = seen(50, 50);
    EXPECT_NEAR(static_cast<int>(live >> 24U), 128, 1);
    // Rebuilding during the stroke does not add it to the bitmap.
    view->updateCacheImage(true);
    view->continueDrawing({90, 50}, {50, 50});
    view->updateCacheImage(true);
    EXPECT_EQ(seen(50, 50), live);
    // Drawn once although it is both in the list and current.
    owner->didEnd = [&](SketchView& ended) { EXPECT_EQ(ended.image().bitmap()->pixels[50 * 100 + 50], live); };
    view->endDrawing();
    EXPECT_EQ(seen(50, 50), live);
    EXPECT_EQ(owner->calls.size(), 2U);

    // Without `redraw` the tool in progress is added to the bitmap; the next rebuild removes it.
    view->beginDrawing({10, 20});
    view->continueDrawing({10, 20}, {90, 20});
    view->continueDrawing({90, 20}, {10, 20});
    EXPECT_EQ(view->image().bitmap()->pixels[20 * 100 + 30], 0U);
    EXPECT_TRUE(view->updateCacheImage(false));
    EXPECT_NE(view->image().bitmap()->pixels[20 * 100 + 30], 0U);
    EXPECT_TRUE(view->updateCacheImage(true));
    EXPECT_EQ(view->image().bitmap()->pixels[20 * 100 + 30], 0U);
}

TEST_F(SketchViewTest, EraserCutsHolesDuringAndAfterTheStroke) {
    view->lineColor = {0, 0, 1, 1};
    view->drawTool = SketchToolType::rectangleFill;
    drag({{80, 80}, {20, 20}});
    EXPECT_EQ(seen(50, 50), 0xFF0000FFU);
    view->drawTool = SketchToolType::eraser;
    view->beginDrawing({0, 50});
    view->continueDrawing({0, 50}, {50, 50});
    view->continueDrawing({50, 50}, {100, 50});
    EXPECT_EQ(seen(50, 50), 0U);
    view->endDrawing();
    EXPECT_EQ(seen(50, 50), 0U);
    EXPECT_EQ(seen(10, 50), 0U);
    EXPECT_EQ(seen(50, 60), 0xFF0000FFU);
    view->undo();
    EXPECT_EQ(seen(50, 50), 0xFF0000FFU);
}

TEST_F(SketchViewTest, DrawingsDoNotLeakContextState) {
    view->drawingPenType = PenType::neon;
    view->lineAlpha = 0.3;
    view->lineColor = {0, 1, 0, 1};
    drag({{10, 20}, {50, 20}, {90, 20}});
    EXPECT_EQ(seen(40, 20), 0xFFFFFFFFU);
    view->lineAlpha = 1;
    view->lineColor = {1, 0, 0, 1};
    line(70);
    EXPECT_EQ(seen(50, 70), 0xFFFF0000U);
    // Neither the glow nor the alpha carries over.
    EXPECT_EQ(seen(50, 75), 0U);
}

TEST_F(SketchViewTest, UndoAndRedoFollowTheTime) {
    for (const double time : {1.0, 2.0, 3.0}) {
        owner->time = time;
        line(time * 20);
    }
    const auto first = view->pathArray[0], second = view->pathArray[1], third = view->pathArray[2];
    owner->time = 0.5;
    EXPECT_TRUE(view->updateCacheImage(true));
    EXPECT_FALSE(isSeen(20));
    EXPECT_FALSE(view->canUndo());
    EXPECT_TRUE(view->canUndoAll());
    view->undo();
    EXPECT_EQ(view->pathArray.size(), 3U);

    // Visible from exactly its time on: at 2 seconds the second one is shown and is the one to undo.
    owner->time = 2;
    view->updateCacheImage(true);
    EXPECT_TRUE(isSeen(20) && isSeen(40) && !isSeen(60));
    view->undo();
    EXPECT_EQ(view->pathArray, (std::vector{first, third}));
    EXPECT_EQ(view->bufferArray, std::vector{second});
    EXPECT_TRUE(isSeen(20) && !isSeen(40));
    owner->time = 1.5;
    EXPECT_FALSE(view->canRedo());
    EXPECT_TRUE(view->canRedoAll());
    view->redo();
    EXPECT_EQ(view->bufferArray.size(), 1U);
    owner->isTimeBased = false;
    EXPECT_TRUE(view->canRedo());
    view->updateCacheImage(true);
    EXPECT_TRUE(isSeen(60));

    // A new drawing keeps the redo list; redo adds on top.
    line(80);
    view->redo();
    EXPECT_EQ(view->pathArray.back(), second);
    EXPECT_FALSE(view->canRedoAll());
    EXPECT_TRUE(isSeen(40));
    view->undo();
    view->clear();
    EXPECT_FALSE(view->canRedoAll() || view->canUndoAll());
    EXPECT_FALSE(isSeen(20));
}

TEST_F(SketchViewTest, UndoAndRedoMoveAllDrawingsWithTheSameId) {
    line(20)->setId("same");
    const auto other = line(40);
    line(60)->setId("same");
    view->undo();
    EXPECT_EQ(view->pathArray, std::vector{other});
    EXPECT_EQ(view->bufferArray.size(), 1U);
    EXPECT_FALSE(isSeen(20));
    EXPECT_FALSE(isSeen(60));
}

TEST_F(SketchViewTest, LoadingAndClearingDiscardTheToolInProgress) {
    const auto begin = [&] {
        view->beginDrawing({10, 10});
        view->continueDrawing({10, 10}, {90, 90});
    };
    begin();
    view->undo();
    EXPECT_FALSE(view->currentTool);
    EXPECT_TRUE(view->pathArray.empty());
    // The rest of the touch sequence draws nothing, and the delegate is not notified of its end.
    view->continueDrawing({90, 90}, {10, 90});
    view->endDrawing();
    EXPECT_EQ(owner->calls, std::vector<std::string>{"begin 0 current"});
    view->beginDrawing({1, 1});
    view->redo();
    EXPECT_FALSE(view->currentTool);
    begin();
    view->clear();
    EXPECT_FALSE(view->currentTool);
    begin();
    view->loadImage(Image(), ImageRenderingMode::scale);
    EXPECT_FALSE(view->currentTool);
    EXPECT_TRUE(view->pathArray.empty());
}

TEST_F(SketchViewTest, DrawingsScaleWithTheBounds) {
    view->drawTool = SketchToolType::rectangleStroke;
    drag({{20, 20}, {60, 80}});
    view->drawTool = SketchToolType::pen;
    drag({{10, 10}, {20, 40}, {50, 60}});
    view->undo();
    view->setFrame({0, 0, 200, 50});
    const auto& rectangle = dynamic_cast<RectTool&>(*view->pathArray[0]);
    EXPECT_EQ(rectangle.firstPoint(), (Point{40, 10}));
    EXPECT_EQ(rectangle.lastPoint(), (Point{120, 40}));
    EXPECT_EQ(dynamic_cast<PenTool&>(*view->bufferArray[0]).touchPoints(),
              (std::vector<Point>{{20, 5}, {40, 20}, {100, 30}}));
    EXPECT_EQ(view->image().size(), (Size{200, 50}));
    EXPECT_NE(seen(40, 20), 0U);

    // Empty bounds in between do not affect the geometry.
    view->setFrame({0, 0, 0, 50});
    EXPECT_TRUE(view->image().isEmpty());
    EXPECT_FALSE(view->updateCacheImage(true));
    view->setFrame({0, 0, 0, 0});
    view->setFrame({30, 30, 100, 100});
    EXPECT_EQ(rectangle.firstPoint(), (Point{20, 20}));
    EXPECT_EQ(rectangle.lastPoint(), (Point{60, 80}));
    EXPECT_EQ(*view->lastKnownBounds, (Rect{0, 0, 100, 100}));
    EXPECT_NE(seen(20, 50), 0U);
    // Moving the view without resizing changes nothing.
    const int before = contexts;
    view->setFrame({0, 0, 100, 100});
    EXPECT_EQ(contexts, before);
}

TEST_F(SketchViewTest, BackgroundIsDrawnBelowTheDrawings) {
    auto background = std::make_shared<Bitmap>(50, 50, 1);
    std::fill(background->pixels.begin(), background->pixels.end(), 0xFF00FF00U);
    line(90);
    view->loadImage(Image(background), ImageRenderingMode::scale);
    EXPECT_FALSE(view->canUndoAll());
    EXPECT_EQ(seen(99, 99), 0xFF00FF00U);
    view->loadImage(Image(background), ImageRenderingMode::original);
    EXPECT_EQ(seen(49, 49), 0xFF00FF00U);
    EXPECT_EQ(seen(51, 51), 0U);
    line(25);
    EXPECT_EQ(seen(30, 25), 0xFF000000U);
    view->clear();
    EXPECT_EQ(seen(30, 25), 0xFF00FF00U);
}

TEST_F(SketchViewTest, InvalidatesOnlyTheRegionOfANewSegment) {
    DirtyRegions dirty;
    view->setObserver(&dirty);
    view->beginDrawing({50, 50});
    EXPECT_TRUE(dirty.regions.empty());
    view->continueDrawing({50, 50}, {54, 58});
    EXPECT_EQ(dirty.regions, (std::vector<Rect>{{42, 42, 2 + 16, 4 + 16}}));
    view->endDrawing();
    EXPECT_EQ(dirty.regions.back(), view->bounds());
    dirty.regions.clear();
    view->drawTool = SketchToolType::line;
    view->beginDrawing({50, 50});
    view->continueDrawing({50, 50}, {54, 58});
    EXPECT_EQ(dirty.regions, (std::vector<Rect>{view->bounds()}));
    view->setObserver(nullptr);
}

TEST_F(SketchViewTest, DrawingByRegionsMatchesDrawingTheWholeStroke) {
    std::mt19937 generator(11);
    std::uniform_real_distribution<double> step(-9, 9);
    for (const PenType type : {PenType::normal, PenType::blur, PenType::neon}) {
        view->clear();
        view->drawingPenType = type;
        view->lineAlpha = 0.6;
        DirtyRegions dirty;
        view->setObserver(&dirty);
        Bitmap layer(100, 100, 1);
        const auto context = graphics::CairoEngine().makeContext(layer);
        view->updateCacheImage(true);
        view->beginDrawing({50, 50});
        Point point{50, 50};
        for (int i = 0; i < 150; ++i) {
            const Point next{std::clamp(point.x + step(generator), 0.0, 100.0),
                             std::clamp(point.y + step(generator), 0.0, 100.0)};
            dirty.regions.clear();
            view->continueDrawing(point, next);
            point = next;
            const graphics::CurrentContextScope scope(*context);
            for (const Rect& region : dirty.regions) {
                context->clearRect(region);
                view->draw(region);
            }
        }
        context->flush();
        EXPECT_EQ(layer.pixels, picture(*view)) << static_cast<int>(type);
        view->endDrawing();
        EXPECT_EQ(layer.pixels, picture(*view)) << static_cast<int>(type);
        view->setObserver(nullptr);
    }
}

TEST_F(SketchViewTest, UnchangedRebuildDrawsNothing) {
    for (const double time : {1.0, 2.0, 3.0}) {
        owner->time = time;
        line(time * 20);
    }
    const auto draws = [&] {
        const int before = contexts;
        const bool hasChanged = view->updateCacheImage(true);
        EXPECT_EQ(hasChanged, contexts != before);
        return hasChanged;
    };
    EXPECT_FALSE(draws());
    owner->time = 100;
    EXPECT_FALSE(draws());
    owner->time = 2.5;
    EXPECT_TRUE(draws());
    EXPECT_FALSE(draws());
    view->pathArray[0]->setLineColor({1, 1, 0, 1});
    EXPECT_TRUE(draws());
    EXPECT_EQ(seen(50, 20), 0xFFFFFF00U);
    std::swap(view->pathArray[0], view->pathArray[1]);
    EXPECT_TRUE(draws());
    view->drawMode = ImageRenderingMode::original;
    EXPECT_TRUE(draws());
    platform->screen.pixelsPerPoint = 2;
    EXPECT_TRUE(draws());
    EXPECT_EQ(view->image().bitmap()->width, 200);
    EXPECT_FALSE(draws());
    // An image obtained earlier keeps its content.
    const std::shared_ptr<const Bitmap> kept = view->image().bitmap();
    const std::vector<std::uint32_t> pixels = kept->pixels;
    owner->time = 3;
    EXPECT_TRUE(draws());
    EXPECT_EQ(kept->pixels, pixels);
    EXPECT_NE(view->image().bitmap()->pixels, pixels);
}

/// Random touches, undo, redo, time changes, resizes and background changes of a view.
class RandomEditor {
public:
    RandomEditor(SketchView& view, Owner& owner) : view_(view), owner_(owner) {
        std::fill(background_->pixels.begin(), background_->pixels.end(), 0x80004000U);
    }
    void step() {
        switch (random(14)) {
            case 0:
            case 1:
            case 2:
                view_.drawTool = static_cast<SketchToolType>(random(8));
                view_.drawingPenType = static_cast<PenType>(random(3));
                view_.lineColor = {random(2) * 1.0, random(2) * 1.0, random(2) * 0.5, 1};
                view_.lineAlpha = random(3) / 2.0;
                view_.lineWidth = 1 + random(9);
                view_.beginDrawing(point());
                break;
            case 3:
            case 4:
                if (view_.currentPoint) view_.continueDrawing(*view_.currentPoint, point());
                break;
            case 5: view_.endDrawing(); break;
            case 6: view_.undo(); break;
            case 7: view_.redo(); break;
            case 8: owner_.time = random(40); break;
            case 9: owner_.isTimeBased = random(4) > 0; break;
            case 10:
                if (random(6) == 0) view_.setFrame({0, 0, 60.0 + random(60), 60.0 + random(60)});
                break;
            case 11:
                if (!view_.pathArray.empty())
                    view_.pathArray[generator_() % view_.pathArray.size()]->setLineAlpha(random(3) / 2.0);
                break;
            case 12:
                if (random(20) == 0) view_.loadImage(Image(background_), static_cast<ImageRenderingMode>(random(2)));
                break;
            case 13: owner_.time += 1; break;
        }
    }

private:
    int random(int count) { return static_cast<int>(generator_() % static_cast<unsigned>(count)); }
    Point point() { return {random(1000) / 10.0, random(1000) / 10.0}; }

    SketchView& view_;
    Owner& owner_;
    std::mt19937 generator_{17};
    std::shared_ptr<Bitmap> background_ = std::make_shared<Bitmap>(40, 40, 1);
};

TEST_F(SketchViewTest, IncrementalUpdatesMatchAFullRebuild) {
    RandomEditor editor(*view, *owner);
    int skipped = 0;
    for (int step = 0; step < 1500; ++step) {
        editor.step();
        if (!view->updateCacheImage(true)) ++skipped;

        // The same tools in a new view, which draws all of them.
        SketchView fresh;
        fresh.sketchViewDelegate = owner;
        fresh.backgroundImage = view->backgroundImage;
        fresh.drawMode = view->drawMode;
        fresh.setFrame(view->frame());
        fresh.pathArray = view->pathArray;
        fresh.currentTool = view->currentTool;
        fresh.updateCacheImage(true);
        ASSERT_EQ(picture(*view), picture(fresh)) << "step " << step;
    }
    EXPECT_GT(skipped, 200);
}

TEST_F(SketchViewTest, DrawsSlowDrawingsInTheBackground) {
    const auto old = line(90);
    const auto heavy = scribble({0, 0, 1, 1});
    isBackgroundHeld = true;
    view->pathArray.insert(view->pathArray.begin(), heavy);
    const int before = contexts;
    EXPECT_FALSE(view->updateCacheImage(true));
    EXPECT_TRUE(view->isRebuilding());
    EXPECT_EQ(contexts, before);
    EXPECT_TRUE(isSeen(90)) << "the old bitmap is still shown";
    EXPECT_FALSE(isSeen(25));

    // New strokes are shown, undone and redone without waiting for the rebuild.
    view->beginDrawing({10, 70});
    view->continueDrawing({10, 70}, {90, 70});
    EXPECT_TRUE(isSeen(70));
    EXPECT_FALSE(view->updateCacheImage(true));
    view->endDrawing();
    EXPECT_TRUE(isSeen(70) && isSeen(90));
    EXPECT_FALSE(view->updateCacheImage(true));
    EXPECT_TRUE(isSeen(70));
    view->undo();
    EXPECT_FALSE(isSeen(70));
    view->redo();
    EXPECT_TRUE(isSeen(70));
    EXPECT_FALSE(isSeen(25));
    EXPECT_EQ(contexts, before);

    // The result is shown when the rebuild finishes.
    DirtyRegions dirty;
    view->setObserver(&dirty);
    finishBackground();
    view->setObserver(nullptr);
    EXPECT_FALSE(dirty.regions.empty());
    EXPECT_TRUE(isSeen(25));
    EXPECT_TRUE(isComplete());
    EXPECT_FALSE(view->updateCacheImage(true));

    // A stroke just finished is drawn on the main thread.
    line(60);
    EXPECT_FALSE(view->isRebuilding());
    EXPECT_TRUE(isComplete());
    view->updateCacheImage(true);
    EXPECT_FALSE(view->isRebuilding());
}

TEST_F(SketchViewTest, StretchesTheOldBitmapDuringARebuildForANewSize) {
    line(90);
    view->pathArray.insert(view->pathArray.begin(), scribble({0, 0, 1, 1}));
    view->updateCacheImage(true);
    finishBackground();
    isBackgroundHeld = true;
    view->setFrame({0, 0, 200, 100});
    EXPECT_TRUE(view->isRebuilding());
    EXPECT_NE(picture(*view)[90 * 200 + 100], 0U);
    finishBackground();
    EXPECT_TRUE(isComplete());
}

TEST_F(SketchViewTest, NewerRebuildCancelsARunningOne) {
    isBackgroundHeld = true;
    view->pathArray = {scribble({1, 0, 0, 1})};
    view->updateCacheImage(true);
    view->pathArray[0]->setLineColor({0, 1, 0, 1});
    view->updateCacheImage(true);
    EXPECT_TRUE(view->isRebuilding());
    finishBackground();
    EXPECT_TRUE(isComplete());
    EXPECT_EQ(view->image().bitmap()->pixels[25 * 100 + 50], 0xFF00FF00U);

    // A rebuild whose result is already on the screen, or is empty, is cancelled.
    const auto heavy = view->pathArray[0];
    isBackgroundHeld = true;
    view->pathArray.insert(view->pathArray.begin(), scribble({1, 0, 0, 1}));
    view->updateCacheImage(true);
    EXPECT_TRUE(view->isRebuilding());
    view->pathArray = {heavy};
    EXPECT_FALSE(view->updateCacheImage(true));
    EXPECT_FALSE(view->isRebuilding());
    view->pathArray.push_back(scribble({0, 0, 1, 1}));
    view->updateCacheImage(true);
    EXPECT_TRUE(view->isRebuilding());
    view->clear();
    EXPECT_FALSE(view->isRebuilding());
    EXPECT_FALSE(isSeen(25));
    isBackgroundHeld = false;
    platform->drainMainQueue();
    EXPECT_FALSE(isSeen(25));

    // Destroying the view cancels its rebuild; otherwise this would hang.
    isBackgroundHeld = true;
    view->pathArray = {heavy};
    view->updateCacheImage(true);
    EXPECT_TRUE(view->isRebuilding());
    view.reset();
    platform->drainMainQueue();
}

TEST_F(SketchViewTest, ChangesDuringABackgroundRebuildAreShownWhenItFinishes) {
    std::mt19937 generator(23);
    const auto random = [&](int count) { return static_cast<int>(generator() % static_cast<unsigned>(count)); };
    view->pathArray = {scribble({1, 0, 0, 1}), scribble({0, 0, 1, 1})};
    view->pathArray[1]->setTime(20);
    for (int step = 0; step < 160; ++step) {
        isBackgroundHeld = random(3) > 0;
        switch (random(8)) {
            case 0: line(random(100)); break;
            case 1: view->undo(); break;
            case 2: view->redo(); break;
            case 3: owner->time = random(40); break;
            case 4: owner->time += 1; break;
            case 5: platform->drainMainQueue(); break;
            case 6:
                view->pathArray.empty() ? view->redo() : view->pathArray.back()->setLineAlpha(random(3) / 2.0);
                break;
            case 7:
                if (random(8) == 0) view->setFrame({0, 0, 80.0 + random(40), 80.0 + random(40)});
                break;
        }
        view->updateCacheImage(true);
        if (step % 20 != 19) continue;
        finishBackground();
        owner->isTimeBased = false;
        view->updateCacheImage(true);
        finishBackground();
        ASSERT_TRUE(isComplete()) << step;
        owner->isTimeBased = true;
    }
}

}  // namespace
}  // namespace videoanalysis
