#include "Testing/ScreenConformance.h"

#include "VideoAnalysis/Analysis/Actions.h"
#include "VideoAnalysis/Platform/Dispatch.h"
#include "VideoAnalysis/Platform/UI/CollectionView.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCell.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCellHUDView.h"
#include "VideoAnalysis/Screen/MainViewController.h"
#include "VideoAnalysis/Screen/OverlayViewController.h"
#include "VideoAnalysis/Trimming/VideoTrimmerController.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>

namespace videoanalysis::conformance {

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(ScreenConformance);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(ScreenInputConformance);

namespace {

using Entries = std::vector<std::string>;

/// Writes down what happens to it.
class Diary : public ui::ViewController {
public:
    Entries entries;
    std::vector<ui::KeyPress> keys;
    bool takesKeys = true;

    void viewDidLoad() override { entries.emplace_back("loaded"); }
    void viewWillAppear(bool) override { entries.emplace_back("will appear"); }
    void viewDidAppear(bool) override { entries.emplace_back("did appear"); }
    void viewWillDisappear(bool) override { entries.emplace_back("will disappear"); }
    void viewDidDisappear(bool) override { entries.emplace_back("did disappear"); }
    bool keyPressed(const ui::KeyPress& press) override {
        keys.push_back(press);
        return takesKeys;
    }
    bool has(const std::string& entry) const { return std::count(entries.begin(), entries.end(), entry) > 0; }
};

/// Keeps the input that it is passed.
class Probe : public ui::View {
public:
    bool takes = true;
    std::vector<ui::PointerEvent> events;
    std::vector<std::size_t> batches;
    std::vector<ui::WheelEvent> wheels;

    bool handlePointers(std::span<const ui::PointerEvent> changed) override {
        for (const ui::PointerEvent& event : changed) {
            if (event.phase == ui::PointerPhase::began && takes) down_.insert(event.pointer);
            if (event.phase == ui::PointerPhase::ended) down_.erase(event.pointer);
            if (event.phase != ui::PointerPhase::cancelled) continue;
            if (down_.empty()) return takes;  // there is nothing to cancel
            down_.clear();
        }
        events.insert(events.end(), changed.begin(), changed.end());
        batches.push_back(changed.size());
        return takes;
    }
    bool handleWheel(const ui::WheelEvent& wheel) override {
        wheels.push_back(wheel);
        return takes;
    }

private:
    std::set<std::int64_t> down_;
};

ui::PointerEvent eventOf(std::int64_t pointer, ui::PointerPhase phase, Point position) {
    return {.pointer = pointer, .phase = phase, .position = position, .windowPosition = position};
}

/// The middle of a view on the screen, by the frames of the views above it.
Point middleOf(const ui::View& view) {
    Point middle = view.center();
    for (auto above = view.superview(); above; above = above->superview()) {
        middle.x += above->frame().origin.x;
        middle.y += above->frame().origin.y;
    }
    return middle;
}

}  // namespace

void ScreenConformance::presentAnother(ui::ViewController& below) {
    const auto another = std::make_shared<Diary>();
    bool isOver = false;
    below.present(another, false, [&] { another->dismiss(false, [&] { isOver = true; }); });
    EXPECT_TRUE(wait([&] { return isOver; }));
}

ScreenInputConformance::~ScreenInputConformance() {
    if (!overlay_) return;
    subject->platform().presenter().hideOverlay(overlay_);
    mainStore().dispatch(ClearStateAction());
    bool isOver = false;
    dispatch::mainQueue().async([&] { dispatch::mainQueue().async([&] { isOver = true; }); });
    EXPECT_TRUE(wait([&] { return isOver; }));
}

void ScreenInputConformance::finger(std::int64_t pointer, ui::PointerPhase phase, Point position) {
    const ui::PointerEvent event = eventOf(pointer, phase, position);
    subject->touch({&event, 1});
}

void ScreenInputConformance::click(Point position) {
    subject->mouse(ui::PointerPhase::began, ui::PointerButton::left, position);
    subject->mouse(ui::PointerPhase::ended, ui::PointerButton::left, position);
}

Bitmap ScreenInputConformance::stillPicture() {
    Bitmap picture = subject->picture();
    for (int i = 0; i < 50; ++i) {
        Bitmap next = subject->picture();
        if (next.pixels == picture.pixels) break;
        picture = std::move(next);
    }
    return picture;
}

std::shared_ptr<ui::ViewController> ScreenInputConformance::showOverlay() {
    overlay_ = subject->platform().bundle().storyboard("Main")->instantiateViewController("OverlayViewController");
    subject->platform().presenter().showOverlay(overlay_);
    EXPECT_TRUE(wait([&] { return overlay_->isViewLoaded() && !overlay_->view()->bounds().isEmpty(); }));
    return overlay_;
}

namespace {

// ---- Queues, timers and surroundings

TEST_P(ScreenConformance, RunsBlocksInOrderOnTheMainThread) {
    std::vector<int> order;
    const auto mainThread = std::this_thread::get_id();
    const auto note = [&](int number) {
        EXPECT_EQ(std::this_thread::get_id(), mainThread);
        order.push_back(number);
    };
    std::thread([&] {
        dispatch::mainQueue().asyncAfter(0.05, [&] { note(5); });
        for (int i = 0; i < 3; ++i) dispatch::mainQueue().async([&, i] { note(i); });
    }).join();
    EXPECT_TRUE(order.empty());
    dispatch::mainQueue().asyncAfter(0.02, [&] { note(4); });
    dispatch::mainQueue().async([&] { dispatch::mainQueue().async([&] { note(3); }); });
    EXPECT_TRUE(wait([&] { return order.size() == 6; }));
    EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4, 5}));
}

TEST_P(ScreenConformance, FiresTimersOnTheMainThread) {
    Platform& platform = subject->platform();
    const auto mainThread = std::this_thread::get_id();
    int ticks = 0;
    int once = 0;
    const double start = platform.wallClock();
    auto repeating = platform.scheduleTimer(0.01, true, [&] {
        EXPECT_EQ(std::this_thread::get_id(), mainThread);
        ++ticks;
    });
    const auto single = platform.scheduleTimer(0.02, false, [&] { ++once; });
    auto released = platform.scheduleTimer(0.02, false, [&] { ++once; });
    const auto cancelled = platform.scheduleTimer(0.01, true, [&] { ADD_FAILURE() << "it was invalidated"; });
    released = nullptr;  // which does not stop it
    cancelled->invalidate();
    EXPECT_FALSE(cancelled->isValid());
    EXPECT_TRUE(single->isValid());
    EXPECT_TRUE(repeating->isValid());
    EXPECT_EQ(ticks, 0) << "never from inside the call";
    ASSERT_TRUE(wait([&] { return ticks >= 5 && once == 2; }));
    EXPECT_GE(platform.wallClock() - start, 0.04) << "five ticks take their time";
    EXPECT_FALSE(single->isValid());
    repeating->invalidate();
    const int stopped = ticks;
    int later = 0;
    const auto next = platform.scheduleTimer(0.01, true, [&] { ++later; });
    ASSERT_TRUE(wait([&] { return later >= 5; }));
    next->invalidate();
    EXPECT_EQ(ticks, stopped);
    EXPECT_EQ(once, 2);
}

TEST_P(ScreenConformance, AnswersForItsSurroundings) {
    Platform& platform = subject->platform();
    EXPECT_FALSE(platform.mainScreen().size().isEmpty());
    EXPECT_GT(platform.mainScreen().scale(), 0);
    EXPECT_GT(platform.device().systemVersion(), 0);
    const std::string folder = platform.temporaryDirectory();
    EXPECT_NE(folder.back(), '/');
    EXPECT_EQ(platform.temporaryDirectory(), folder);
    const std::string file = folder + "/screen-conformance";
    EXPECT_TRUE(std::ofstream(file) << "a line");
    std::filesystem::remove(file);
    std::thread([&] { platform.debugLog("a line from another thread"); }).join();
}

// ---- Layouts

TEST_P(ScreenConformance, MakesControllersByName) {
    ui::Bundle& bundle = subject->platform().bundle();
    EXPECT_EQ(bundle.storyboard("Unknown"), nullptr);
    const auto storyboard = bundle.storyboard("Main");
    ASSERT_TRUE(storyboard);
    EXPECT_EQ(storyboard->instantiateViewController("Unknown"), nullptr);

    const auto screen = std::dynamic_pointer_cast<MainViewController>(storyboard->instantiateInitialViewController());
    ASSERT_TRUE(screen);
    EXPECT_FALSE(screen->isViewLoaded()) << "the first read of the view loads it";
    EXPECT_TRUE(screen->playersCollectionView.lock());
    EXPECT_NE(storyboard->instantiateInitialViewController(), screen) << "a new one each time";

    const auto overlay = std::dynamic_pointer_cast<OverlayViewController>(
        storyboard->instantiateViewController("OverlayViewController"));
    ASSERT_TRUE(overlay);
    std::set<int> tools;
    for (const auto& button : overlay->drawingToolButtons.required()) tools.insert(button->tag());
    EXPECT_EQ(tools,
              (std::set<int>{static_cast<int>(SketchToolType::pen), static_cast<int>(SketchToolType::line),
                             static_cast<int>(SketchToolType::arrow), static_cast<int>(SketchToolType::rectangleStroke),
                             static_cast<int>(SketchToolType::ellipseStroke)}));
    // Views belong to the controller's root view and go with it.
    const std::weak_ptr<ui::Button> close = overlay->closeButton;
    ASSERT_FALSE(close.expired());
    auto trimmer = std::dynamic_pointer_cast<VideoTrimmerController>(
        storyboard->instantiateViewController("VideoTrimmerController"));
    ASSERT_TRUE(trimmer);
    const std::weak_ptr<ui::Button> save = trimmer->saveButton;
    ASSERT_FALSE(save.expired());
    trimmer = nullptr;
    EXPECT_TRUE(wait([&] { return save.expired(); }));
}

TEST_P(ScreenConformance, MakesCellsByName) {
    ui::Bundle& bundle = subject->platform().bundle();
    EXPECT_EQ(bundle.cellTemplate("Unknown"), nullptr);
    const auto players = bundle.cellTemplate("PlayerCollectionViewCell");
    const auto overlays = bundle.cellTemplate("OverlayCollectionViewCell");
    ASSERT_TRUE(players && overlays);
    const auto cell = std::dynamic_pointer_cast<PlayerCollectionViewCell>(players->instantiate());
    ASSERT_TRUE(cell);
    EXPECT_TRUE(cell->playerView.lock() && cell->sketchView.lock() && cell->playerScrollView.lock());
    EXPECT_NE(players->instantiate(), cell) << "a new one each time";
    cell->setFrame({10, 20, 300, 200});
    EXPECT_EQ(cell->frame(), (Rect{10, 20, 300, 200})) << "the component places cells";
    const auto overlay = std::dynamic_pointer_cast<OverlayCollectionViewCell>(overlays->instantiate());
    ASSERT_TRUE(overlay && overlay->hudView.lock());
    std::vector<std::string> rates;
    for (const auto& button : overlay->hudView.lock()->videoPlaybackSpeedButtons.required())
        rates.push_back(button->title());
    EXPECT_EQ(rates, (Entries{"0.1x", "0.25x", "0.5x", "0.75x", "1x", "1.5x", "2x"})) << "in the layout's order";
}

// ---- Presentation

TEST_P(ScreenConformance, TellsAppearanceOnceInOrderAndNeverFromInsideTheCall) {
    const auto start = subject->startScreen();
    using Style = ui::ModalPresentationStyle;
    for (const Style style :
         {Style::fullScreen, Style::pageSheet, Style::formSheet, Style::overFullScreen, Style::popover}) {
        for (const bool animated : {false, true}) {
            if (animated && style != Style::fullScreen && style != Style::formSheet) continue;  // it takes its time
            SCOPED_TRACE(testing::Message() << "style " << static_cast<int>(style) << (animated ? ", animated" : ""));
            const auto diary = std::make_shared<Diary>();
            diary->setModalPresentationStyle(style);
            start->present(diary, animated, [&] { diary->entries.emplace_back("presented"); });
            EXPECT_TRUE(diary->entries.empty());
            EXPECT_EQ(start->presentedViewController(), diary);
            EXPECT_EQ(diary->presentingViewController(), start);
            ASSERT_TRUE(wait([&] { return diary->has("presented"); }));
            diary->dismiss(animated, [&] { diary->entries.emplace_back("dismissed"); });
            EXPECT_EQ(diary->entries.size(), 4U);
            ASSERT_TRUE(wait([&] { return diary->has("dismissed"); }));
            presentAnother(*start);
            EXPECT_EQ(diary->entries, (Entries{"loaded", "will appear", "did appear", "presented", "will disappear",
                                               "did disappear", "dismissed"}));
            EXPECT_EQ(start->presentedViewController(), nullptr);
        }
    }
}

TEST_P(ScreenConformance, CompletesAPresentationThatIsDismissedHalfway) {
    const auto start = subject->startScreen();
    const auto first = std::make_shared<Diary>();
    const auto second = std::make_shared<Diary>();
    start->present(first, true, [&] { first->entries.emplace_back("presented"); });
    first->dismiss(true, [&] { first->entries.emplace_back("dismissed"); });
    start->present(second, true, {});  // over the one that is being dismissed
    ASSERT_TRUE(wait([&] { return second->has("did appear") && first->has("dismissed"); }));
    presentAnother(*second);
    EXPECT_EQ(first->entries, (Entries{"loaded", "will appear", "did appear", "presented", "will disappear",
                                       "did disappear", "dismissed"}));
    EXPECT_EQ(second->entries.back(), "did appear");

    bool hasCompleted = false;
    first->dismiss(true, [&] { hasCompleted = true; });  // it is not on the screen
    EXPECT_FALSE(hasCompleted);
    EXPECT_TRUE(wait([&] { return hasCompleted; }));
    second->dismiss(false, {});
    EXPECT_TRUE(wait([&] { return second->has("did disappear"); }));
}

TEST_P(ScreenConformance, LetsAScreenLeaveBeforeItIsShownAgain) {
    const auto start = subject->startScreen();
    const auto diary = std::make_shared<Diary>();
    start->present(diary, true, {});
    ASSERT_TRUE(wait([&] { return diary->has("did appear"); }));
    diary->dismiss(true, [&] { diary->entries.emplace_back("dismissed"); });
    ASSERT_TRUE(wait([&] { return diary->has("will disappear"); }));
    bool isBack = false;
    start->present(diary, true, [&] { isBack = true; });
    start->present(std::make_shared<Diary>(), true, [&] { ADD_FAILURE() << "one screen at a time"; });
    ASSERT_TRUE(wait([&] { return isBack; }));
    EXPECT_EQ(diary->entries, (Entries{"loaded", "will appear", "did appear", "will disappear", "did disappear",
                                       "dismissed", "will appear", "did appear"}));
    diary->dismiss(false, {});
    EXPECT_TRUE(wait([&] { return diary->entries.back() == "did disappear"; }));
}

TEST_P(ScreenConformance, TakesWhatIsPresentedAboveAlong) {
    const auto start = subject->startScreen();
    const std::vector<std::shared_ptr<Diary>> screens = {std::make_shared<Diary>(), std::make_shared<Diary>(),
                                                         std::make_shared<Diary>()};
    std::shared_ptr<ui::ViewController> below = start;
    for (const auto& screen : screens) {
        below->present(screen, false, {});
        ASSERT_TRUE(wait([&] { return screen->has("did appear"); }));
        below = screen;
    }
    bool isOver = false;
    screens[0]->dismiss(true, [&] { isOver = true; });
    ASSERT_TRUE(wait([&] {
        return isOver &&
               std::all_of(screens.begin(), screens.end(), [](const auto& each) { return each->has("did disappear"); });
    }));
    for (const auto& screen : screens) {
        EXPECT_EQ(screen->entries, (Entries{"loaded", "will appear", "did appear", "will disappear", "did disappear"}));
        EXPECT_EQ(screen->presentingViewController(), nullptr);
    }
    EXPECT_EQ(start->presentedViewController(), nullptr);
}

TEST_P(ScreenConformance, ShowsAndHidesOverlays) {
    ui::Presenter& presenter = subject->platform().presenter();
    const auto overlay = std::make_shared<Diary>();
    presenter.showOverlay(overlay);
    presenter.showOverlay(overlay);  // once is enough
    EXPECT_TRUE(overlay->entries.empty());
    ASSERT_TRUE(wait([&] { return overlay->has("did appear"); }));
    const auto above = std::make_shared<Diary>();
    overlay->present(above, true, {});
    ASSERT_TRUE(wait([&] { return above->has("did appear"); }));
    presenter.hideOverlay(overlay);
    presenter.hideOverlay(overlay);
    ASSERT_TRUE(wait([&] { return overlay->has("did disappear") && above->has("did disappear"); }));
    EXPECT_EQ(overlay->entries, (Entries{"loaded", "will appear", "did appear", "will disappear", "did disappear"}));
    presenter.setPreferredOrientation(ui::DeviceOrientation::landscapeLeft);
    presenter.setPreferredOrientation(ui::DeviceOrientation::unknown);
}

// ---- Input

TEST_P(ScreenInputConformance, PassesFingersWithTheirPlaceAndTime) {
    const auto probe = std::make_shared<Probe>();
    subject->show(probe, {100, 50, 300, 200});
    finger(0, ui::PointerPhase::began, {110, 70});
    subject->rest(0.25);
    finger(0, ui::PointerPhase::moved, {150, 90});
    finger(1, ui::PointerPhase::began, {300, 100});
    const ui::PointerEvent together[] = {eventOf(0, ui::PointerPhase::moved, {160, 95}),
                                         eventOf(1, ui::PointerPhase::moved, {310, 110})};
    subject->touch(together);
    finger(0, ui::PointerPhase::ended, {160, 95});
    finger(1, ui::PointerPhase::moved, {600, 500});  // outside: it was pressed here
    finger(1, ui::PointerPhase::ended, {600, 500});

    using ui::PointerPhase;
    struct Expected {
        int finger;
        PointerPhase phase;
        Point position;
    };
    const std::vector<Expected> expected = {{0, PointerPhase::began, {10, 20}},   {0, PointerPhase::moved, {50, 40}},
                                            {1, PointerPhase::began, {200, 50}},  {0, PointerPhase::moved, {60, 45}},
                                            {1, PointerPhase::moved, {210, 60}},  {0, PointerPhase::ended, {60, 45}},
                                            {1, PointerPhase::moved, {500, 450}}, {1, PointerPhase::ended, {500, 450}}};
    ASSERT_EQ(probe->events.size(), expected.size());
    EXPECT_EQ(probe->batches, (std::vector<std::size_t>{1, 1, 1, 2, 1, 1, 1}))
        << "what changes together comes together";
    const std::int64_t ids[] = {probe->events[0].pointer, probe->events[2].pointer};
    EXPECT_NE(ids[0], ids[1]);
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const ui::PointerEvent& event = probe->events[i];
        EXPECT_EQ(event.pointer, ids[expected[i].finger]) << i;
        EXPECT_EQ(event.phase, expected[i].phase) << i;
        EXPECT_EQ(event.kind, ui::PointerKind::touch) << i;
        EXPECT_EQ(event.button, ui::PointerButton::left) << i;
        EXPECT_NEAR(event.position.x, expected[i].position.x, 1e-6) << i;
        EXPECT_NEAR(event.position.y, expected[i].position.y, 1e-6) << i;
        EXPECT_NEAR(event.windowPosition.x - event.position.x, 100, 1e-6) << i;
        EXPECT_NEAR(event.windowPosition.y - event.position.y, 50, 1e-6) << i;
        if (i > 0) {
            EXPECT_GE(event.time, probe->events[i - 1].time) << i;
        }
    }
    EXPECT_NEAR(probe->events[1].time - probe->events[0].time, 0.25, 0.03);
}

TEST_P(ScreenInputConformance, PassesTheMouseWithItsButtons) {
    const auto probe = std::make_shared<Probe>();
    subject->show(probe, {100, 50, 300, 200});
    using ui::PointerButton;
    using ui::PointerPhase;
    for (const PointerButton button : {PointerButton::left, PointerButton::middle, PointerButton::right}) {
        probe->events.clear();
        subject->mouse(PointerPhase::began, button, {120, 60});
        subject->mouse(PointerPhase::moved, PointerButton::none, {130, 80});
        subject->mouse(PointerPhase::ended, button, {130, 80});
        ASSERT_EQ(probe->events.size(), 3U);
        const PointerPhase phases[] = {PointerPhase::began, PointerPhase::moved, PointerPhase::ended};
        for (std::size_t i = 0; i < 3; ++i) {
            const ui::PointerEvent& event = probe->events[i];
            EXPECT_EQ(event.phase, phases[i]);
            EXPECT_EQ(event.kind, ui::PointerKind::mouse);
            EXPECT_EQ(event.button, i == 1 ? PointerButton::none : button);
            EXPECT_EQ(event.pointer, probe->events[0].pointer);
            EXPECT_EQ(event.position, (i == 0 ? Point{20, 10} : Point{30, 30}));
        }
    }
}

TEST_P(ScreenInputConformance, PassesWhatAViewDeclinesToTheOneBelow) {
    const auto below = std::make_shared<Probe>();
    const auto above = std::make_shared<Probe>();
    subject->show(below, {100, 50, 300, 200});
    subject->show(above, {200, 50, 300, 200});
    click({250, 100});
    EXPECT_EQ(above->events.size(), 2U);
    EXPECT_TRUE(below->events.empty());
    above->takes = false;
    above->events.clear();
    click({250, 100});
    ASSERT_EQ(below->events.size(), 2U);
    EXPECT_EQ(below->events[0].position, (Point{150, 50}));
    EXPECT_EQ(above->events.size(), 1U) << "asked, and then left alone";
    // What is not seen takes no presses.
    above->takes = true;
    for (const bool byAlpha : {true, false}) {
        above->events.clear();
        below->events.clear();
        above->setHidden(!byAlpha);
        above->setAlpha(byAlpha ? 0 : 1);
        click({250, 100});
        EXPECT_TRUE(above->events.empty());
        EXPECT_EQ(below->events.size(), 2U);
    }
    above->setHidden(false);
    click({250, 100});
    EXPECT_EQ(above->events.size(), 2U);
}

TEST_P(ScreenInputConformance, SaysWhenFingersAreTakenAway) {
    const auto probe = std::make_shared<Probe>();
    subject->show(probe, {100, 50, 300, 200});
    finger(0, ui::PointerPhase::began, {120, 60});
    subject->cancelTouches();
    ASSERT_EQ(probe->events.size(), 2U);
    EXPECT_EQ(probe->events[1].phase, ui::PointerPhase::cancelled);
}

TEST_P(ScreenInputConformance, PassesTheWheel) {
    const auto probe = std::make_shared<Probe>();
    subject->show(probe, {100, 50, 300, 200});
    subject->wheel({150, 70}, 1, false);
    subject->wheel({150, 70}, -2, true);
    ASSERT_EQ(probe->wheels.size(), 2U);
    EXPECT_EQ(probe->wheels[0].position, (Point{50, 20}));
    EXPECT_EQ(probe->wheels[0].notches, (Point{0, 1}));
    EXPECT_FALSE(probe->wheels[0].isControlDown);
    EXPECT_EQ(probe->wheels[1].notches, (Point{0, -2}));
    EXPECT_TRUE(probe->wheels[1].isControlDown);
}

TEST_P(ScreenInputConformance, TellsTheTopScreenOfKeys) {
    const auto start = subject->startScreen();
    const auto first = std::make_shared<Diary>();
    const auto second = std::make_shared<Diary>();
    start->present(first, false, {});
    ASSERT_TRUE(wait([&] { return first->has("did appear"); }));
    const std::vector<ui::KeyPress> keys = {{.key = ui::Key::space},
                                            {.key = ui::Key::left, .isShiftDown = true},
                                            {.key = ui::Key::z, .isControlDown = true},
                                            {.key = ui::Key::escape},
                                            {.key = ui::Key::home},
                                            {.key = ui::Key::leftBracket}};
    for (const ui::KeyPress& key : keys) subject->press(key);
    EXPECT_EQ(first->keys, keys);
    first->present(second, false, {});
    ASSERT_TRUE(wait([&] { return second->has("did appear"); }));
    second->takesKeys = false;
    subject->press({.key = ui::Key::f});
    EXPECT_EQ(second->keys, (std::vector<ui::KeyPress>{{.key = ui::Key::f}}));
    EXPECT_EQ(first->keys, keys) << "a screen that is covered hears nothing";
    first->dismiss(false, {});
    ASSERT_TRUE(wait([&] { return first->has("did disappear"); }));
    subject->press({.key = ui::Key::f});
    EXPECT_EQ(first->keys, keys);
}

// ---- What is seen

TEST_P(ScreenInputConformance, ConnectsControlsToTheirActions) {
    const auto overlay = std::dynamic_pointer_cast<OverlayViewController>(showOverlay());
    ASSERT_TRUE(overlay);
    mainStore().dispatch(AddMediaAction({URL("file:///conformance.mp4"), {}}));  // there is something to draw on
    (void)stillPicture();                                                        // everything has its place
    for (const SketchToolType tool : {SketchToolType::line, SketchToolType::arrow, SketchToolType::pen}) {
        const auto buttons = overlay->drawingToolButtons.required();
        const auto button = *std::find_if(buttons.begin(), buttons.end(),
                                          [&](const auto& each) { return each->tag() == static_cast<int>(tool); });
        Entries entries;
        button->addAction(ui::ControlEvent::touchDown, [&](ui::Control&) { entries.emplace_back("down"); });
        button->addAction(ui::ControlEvent::touchUpInside, [&](ui::Control&) { entries.emplace_back("up inside"); });
        const Point middle = middleOf(*button);
        subject->mouse(ui::PointerPhase::began, ui::PointerButton::left, middle);
        EXPECT_TRUE(button->isHighlighted());
        EXPECT_EQ(entries, Entries{"down"});
        subject->mouse(ui::PointerPhase::ended, ui::PointerButton::left, middle);
        EXPECT_FALSE(button->isHighlighted());
        EXPECT_EQ(entries, (Entries{"down", "up inside"}));
        button->removeAllActions();
        EXPECT_TRUE(wait([&] { return mainStore().state().mainViewControllerState.toolType == tool; }));
    }
}

TEST_P(ScreenInputConformance, FollowsTheSizeOfTheScreen) {
    const auto overlay = showOverlay();
    for (const Size size : {Size{640, 480}, Size{480, 640}, Size{800, 600}}) {
        subject->resize(size);
        EXPECT_TRUE(wait([&] { return overlay->view()->bounds().size == size; }));
        EXPECT_EQ(subject->platform().mainScreen().size(), size);
        EXPECT_EQ(ui::isLandscape(subject->platform().device().orientation()), size.width > size.height);
    }
}

/// Whether two pixels look the same: blending with an opacity next to 1 may round.
bool isNear(std::uint32_t a, std::uint32_t b) {
    for (const int shift : {16, 8, 0}) {
        if (std::abs(static_cast<int>(a >> shift & 0xFFU) - static_cast<int>(b >> shift & 0xFFU)) > 2) return false;
    }
    return true;
}

TEST_P(ScreenInputConformance, ShowsWhatAViewHolds) {
    const auto overlay = std::dynamic_pointer_cast<OverlayViewController>(showOverlay());
    ASSERT_TRUE(overlay);
    const auto button = overlay->closeButton.required();
    using Pixels = std::vector<std::uint32_t>;
    const auto around = [&](const Bitmap& picture) {
        const Point middle = middleOf(*button);
        Pixels pixels;
        for (int y = static_cast<int>(middle.y) - 12; y < static_cast<int>(middle.y) + 12; ++y) {
            for (int x = static_cast<int>(middle.x) - 12; x < static_cast<int>(middle.x) + 12; ++x)
                pixels.push_back(picture.pixels[static_cast<std::size_t>(y * picture.width + x)]);
        }
        return pixels;
    };
    const auto isSeen = [&](const std::function<bool(const Pixels&)>& isRight) {
        return wait([&] { return isRight(around(subject->picture())); });
    };
    const auto count = [](const Pixels& pixels, std::uint32_t color) {
        return std::count_if(pixels.begin(), pixels.end(), [&](std::uint32_t pixel) { return isNear(pixel, color); });
    };
    const auto isLike = [](const Pixels& expected) {
        return [&](const Pixels& pixels) { return std::equal(pixels.begin(), pixels.end(), expected.begin(), isNear); };
    };
    constexpr std::uint32_t white = 0xFFFFFFFF, green = 0xFF20A040, red = 0xFFFF0000;
    ASSERT_TRUE(isSeen([&](const Pixels& pixels) { return count(pixels, white) > 10; })) << "the cross";
    const Pixels shown = around(subject->picture());
    button->setHidden(true);
    ASSERT_TRUE(isSeen([&](const Pixels& pixels) { return count(pixels, white) == 0; }));
    const Pixels hidden = around(subject->picture());
    button->setHidden(false);
    EXPECT_TRUE(isSeen(isLike(shown)));
    button->setAlpha(0);
    EXPECT_TRUE(isSeen(isLike(hidden))) << "what has no alpha is not seen";
    button->setAlpha(1);
    EXPECT_TRUE(isSeen(isLike(shown)));
    button->animateAlpha(0.5, 0.05);
    EXPECT_TRUE(isSeen([&](const Pixels& pixels) { return !isLike(hidden)(pixels) && count(pixels, white) == 0; }));
    button->animateAlpha(1, 0.05);
    EXPECT_TRUE(isSeen(isLike(shown)));
    // A picture made in memory, and a colour for those of the resources.
    const auto bitmap = std::make_shared<Bitmap>(40, 40, 1);
    std::fill(bitmap->pixels.begin(), bitmap->pixels.end(), green);
    button->setImage(Image(bitmap));
    EXPECT_TRUE(isSeen([&](const Pixels& pixels) { return count(pixels, green) > 100; }));
    button->setImage(Image::named("close"));
    button->setTintColor({1, 0, 0, 1});
    EXPECT_TRUE(isSeen([&](const Pixels& pixels) { return count(pixels, red) > 10; }));
}

}  // namespace
}  // namespace videoanalysis::conformance
