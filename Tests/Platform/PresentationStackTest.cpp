// Which screens are presented, where they are placed, and when their peers and controllers are called.

#include "VideoAnalysis/Platform/UI/PresentationStack.h"

#include "Support/ComponentTest.h"

#include <utility>

namespace videoanalysis {
namespace {

using Style = ui::ModalPresentationStyle;

TEST(PlacementTest, CardsLeaveAMarginAndSmallWindowsNone) {
    EXPECT_EQ(ui::placementOf(Style::fullScreen, {1280, 800}).frame, Rect(0, 0, 1280, 800));
    EXPECT_FALSE(ui::placementOf(Style::overFullScreen, {1280, 800}).isCard);
    const ui::Placement page = ui::placementOf(Style::pageSheet, {1280, 800});
    EXPECT_EQ(page.frame, Rect(32, 32, 1216, 736));
    EXPECT_TRUE(page.isCard && page.dimming > 0 && !page.isDismissedBeside);
    EXPECT_EQ(ui::placementOf(Style::formSheet, {1280, 800}).frame, Rect(260, 40, 760, 720));
    EXPECT_EQ(ui::placementOf(Style::formSheet, {700, 650}).frame, Rect(32, 32, 636, 586)) << "as large as fits";
    const ui::Placement popover = ui::placementOf(Style::popover, {1280, 800});
    EXPECT_EQ(popover.frame, Rect(1280 - 32 - 420, 32, 420, 640));
    EXPECT_TRUE(popover.isCard && popover.dimming == 0 && popover.isDismissedBeside);
    for (const Style style : {Style::pageSheet, Style::formSheet, Style::popover}) {
        EXPECT_EQ(ui::placementOf(style, {639, 900}), ui::placementOf(Style::fullScreen, {639, 900}));
        EXPECT_EQ(ui::placementOf(style, {900, 599}), ui::placementOf(Style::fullScreen, {900, 599}));
        EXPECT_TRUE(ui::placementOf(style, {640, 600}).isCard);
    }
    EXPECT_EQ(ui::placementOf(Style::formSheet, {1281, 801}).frame, Rect(261, 41, 760, 720)) << "on whole points";
    EXPECT_EQ(ui::placementOf(Style::fullScreen, {}).frame, Rect());
}

using Calls = std::vector<std::string>;

class NotedController : public ui::ViewController {
public:
    NotedController(std::string name, Calls& calls) : name_(std::move(name)), calls_(calls) {}

    bool takesKeys = false;

    void viewDidLoad() override { note("load"); }
    void viewWillAppear(bool) override { note("willAppear"); }
    void viewDidAppear(bool) override { note("didAppear"); }
    void viewWillDisappear(bool) override { note("willDisappear"); }
    void viewDidDisappear(bool) override { note("didDisappear"); }
    void viewWillTransition(Size size) override { note("transition " + std::to_string(std::lround(size.width))); }
    bool keyPressed(const ui::KeyPress&) override {
        note("key");
        return takesKeys;
    }

private:
    void note(const std::string& call) { calls_.push_back(name_ + " " + call); }

    std::string name_;
    Calls& calls_;
};

/// Notes what it is told, and the latest placement of each screen.
class NotedStack : public ui::PresentationStack {
public:
    explicit NotedStack(Calls& calls) : calls_(calls) {}

    Size size{1280, 800};
    std::vector<Rect> frames;
    std::vector<int> levels;

    void setPreferredOrientation(ui::DeviceOrientation) override {}

private:
    class Peer : public ui::ScreenPeer {
    public:
        Peer(NotedStack& stack, const ui::Presentation& presentation)
            : stack_(stack), calls_(stack.calls_), presentation_(presentation) {}
        void willCover() override { note("cover"); }
        void load() override {
            stack_.levels.push_back(presentation_.level);
            presentation_.controller->view();
        }
        void place(const ui::Placement& placement) override {
            note("place");
            stack_.frames.push_back(placement.frame);
        }
        void show(double seconds) override { note(seconds > 0 ? "fade in" : "show"); }
        void hideBelow(ui::ViewController&) override { note("hide below"); }
        void showBelow() override { note("show below"); }
        void hide(double seconds) override { note(seconds > 0 ? "fade out" : "hide"); }
        void remove(bool isShownAgain) override { note(isShownAgain ? "replace" : "remove"); }

    private:
        void note(const std::string& call) { calls_.push_back("- " + call); }
        NotedStack& stack_;
        Calls& calls_;
        const ui::Presentation& presentation_;
    };

    std::unique_ptr<ui::ScreenPeer> makePeer(const ui::Presentation& presentation) override {
        return std::make_unique<Peer>(*this, presentation);
    }
    Size windowSize() const override { return size; }
    double fadeDuration() const override { return 0.2; }

    Calls& calls_;
};

class PresentationStackTest : public ComponentTest {
protected:
    std::shared_ptr<NotedController> controller(const std::string& name, Style style = Style::fullScreen) {
        auto made = std::make_shared<NotedController>(name, calls);
        made->setModalPresentationStyle(style);
        return made;
    }
    void present(const std::shared_ptr<ui::ViewController>& above, const std::shared_ptr<NotedController>& presented) {
        stack->present(above, presented, false, {});
        platform->drainMainQueue();
    }
    Calls taken() { return std::exchange(calls, {}); }

    Calls calls;
    std::unique_ptr<NotedStack> stack = std::make_unique<NotedStack>(calls);
};

TEST_F(PresentationStackTest, AScreenComesAndLeavesInOneOrder) {
    const auto screen = controller("a");
    stack->present(host, screen, true, [&] { calls.push_back("completion"); });
    EXPECT_EQ(taken(), Calls{}) << "nothing happens inside the call";
    platform->drainMainQueue();
    EXPECT_EQ(taken(), (Calls{"- cover", "a load", "a willAppear", "- place", "- fade in"}));
    platform->advance(0.19);
    EXPECT_EQ(taken(), Calls{});
    platform->advance(0.02);
    EXPECT_EQ(taken(), (Calls{"- hide below", "a didAppear", "completion"}));
    EXPECT_EQ(stack->frames, (std::vector{Rect(0, 0, 1280, 800)}));

    stack->dismiss(screen, true, [&] { calls.push_back("completion"); });
    EXPECT_EQ(taken(), Calls{});
    platform->drainMainQueue();
    EXPECT_EQ(taken(), (Calls{"- show below", "a willDisappear", "- fade out"}));
    platform->advance(0.21);
    EXPECT_EQ(taken(), (Calls{"- remove", "a didDisappear", "completion"}));
    EXPECT_TRUE(stack->presentations().empty() && stack->leaving().empty());
    EXPECT_FALSE(host->presentedViewController());
    stack->dismiss(screen, false, [&] { calls.push_back("completion"); });
    platform->drainMainQueue();
    EXPECT_EQ(taken(), Calls{"completion"}) << "what is not presented is gone already";
}

TEST_F(PresentationStackTest, OnlyAFullScreenHidesWhatIsBelow) {
    for (const Style style : {Style::overFullScreen, Style::pageSheet, Style::formSheet, Style::popover}) {
        const auto screen = controller("a", style);
        present(host, screen);
        EXPECT_EQ(taken(), (Calls{"- cover", "a load", "a willAppear", "- place", "- show", "a didAppear"}));
        stack->dismiss(screen, false, {});
        platform->drainMainQueue();
        taken();
    }
}

TEST_F(PresentationStackTest, ADismissedScreenTakesThoseAboveAlong) {
    const auto lower = controller("a");
    const auto upper = controller("b", Style::formSheet);
    present(host, lower);
    present(lower, upper);
    EXPECT_EQ(stack->levels, (std::vector{0, 1}));
    EXPECT_EQ(stack->top()->controller, upper);
    taken();
    stack->dismiss(lower, false, {});
    platform->drainMainQueue();
    EXPECT_EQ(taken(), (Calls{"- show below", "b willDisappear", "- hide", "- show below", "a willDisappear", "- hide",
                              "- remove", "b didDisappear", "- remove", "a didDisappear"}));
    EXPECT_EQ(stack->top(), nullptr);
}

TEST_F(PresentationStackTest, AScreenThatIsShownAgainWhileItLeavesHasLeftFirst) {
    const auto screen = controller("a", Style::overFullScreen);
    present(host, screen);
    taken();
    stack->dismiss(screen, true, {});
    platform->advance(0.1);
    stack->present(host, screen, true, {});
    platform->advance(1);
    EXPECT_EQ(taken(), (Calls{"- show below", "a willDisappear", "- fade out", "- replace", "a didDisappear", "- cover",
                              "a willAppear", "- place", "- fade in", "a didAppear"}));
    // Dismissed before it has come: each callback once, and nothing is loaded or placed.
    stack->dismiss(screen, false, {});
    platform->drainMainQueue();
    taken();
    stack->present(host, screen, true, {});
    stack->dismiss(screen, true, {});
    platform->advance(1);
    EXPECT_EQ(taken(), (Calls{"- show below", "a willAppear", "a didAppear", "a willDisappear", "- fade out",
                              "- remove", "a didDisappear"}));
}

TEST_F(PresentationStackTest, OverlaysArePlacedLikeTheScreenBelowAndHearKeysFirst) {
    const auto screen = controller("a", Style::formSheet);
    const auto covered = controller("c");
    const auto overlay = controller("o");
    present(host, covered);
    present(covered, screen);
    stack->frames.clear();
    stack->showOverlay(overlay);
    stack->showOverlay(overlay);
    platform->advance(1);
    EXPECT_EQ(stack->frames, (std::vector{Rect(260, 40, 760, 720)}));
    EXPECT_EQ(stack->top()->controller, screen);
    taken();
    EXPECT_FALSE(stack->keyPressed({}));
    EXPECT_EQ(taken(), (Calls{"o key", "a key"})) << "what is covered does not hear";
    overlay->takesKeys = true;
    EXPECT_TRUE(stack->keyPressed({}));
    EXPECT_EQ(taken(), Calls{"o key"});
    const auto above = controller("b");
    present(overlay, above);
    EXPECT_GT(stack->levels.back(), *(stack->levels.end() - 2)) << "in front of the overlay";
    EXPECT_GT(*(stack->levels.end() - 2), *(stack->levels.end() - 3));
    stack->dismiss(above, false, {});
    platform->drainMainQueue();
    taken();
    stack->hideOverlay(overlay);
    platform->advance(1);
    EXPECT_EQ(taken(), (Calls{"- show below", "o willDisappear", "- fade out", "- remove", "o didDisappear"}));
}

TEST_F(PresentationStackTest, TheScreensFollowTheWindowOnceForSeveralChanges) {
    const auto screen = controller("a");
    present(host, screen);
    taken();
    stack->size = {800, 1280};
    stack->layOutLater();
    stack->layOutLater();
    EXPECT_EQ(taken(), Calls{});
    platform->drainMainQueue();
    EXPECT_EQ(taken(), Calls{"- place"});
    EXPECT_EQ(stack->frames.back(), Rect(0, 0, 800, 1280));
    platform->headlessDevice.currentOrientation = ui::DeviceOrientation::landscapeLeft;
    stack->layOutLater();
    platform->drainMainQueue();
    EXPECT_EQ(taken(), (Calls{"a transition 800", "- place"}));
    // A screen that has not come yet is placed when it does.
    const auto next = controller("b");
    stack->layOutLater();
    stack->present(screen, next, false, {});
    platform->drainMainQueue();
    EXPECT_EQ(taken(), (Calls{"- place", "- cover", "b load", "b willAppear", "- place", "- show", "- hide below",
                              "b didAppear"}));
}

TEST_F(PresentationStackTest, MayGoBeforeItsScreens) {
    const auto screen = controller("a");
    stack->present(host, screen, true, {});
    platform->drainMainQueue();
    stack->layOutLater();
    stack->dismiss(screen, true, {});
    const auto next = controller("b");
    stack->present(host, next, true, {});
    stack.reset();
    taken();
    platform->advance(1);
    EXPECT_EQ(taken(), (Calls{"- show below", "a didAppear", "a willDisappear"})) << "the pending dismissal";
}

}  // namespace
}  // namespace videoanalysis
