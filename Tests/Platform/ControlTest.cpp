// Pointer and keyboard input of buttons and sliders.

#include "VideoAnalysis/Platform/UI/Control.h"
#include "Tests/Support/ComponentTest.h"
#include "Tests/Support/Pointers.h"

namespace videoanalysis {
namespace {

using ui::ControlEvent;
using ui::PointerButton;
using ui::PointerPhase;

class ControlTest : public ComponentTest {
protected:
    ControlTest() {
        watch(*button);
        watch(*slider);
        button->setFrame({10, 10, 44, 44});
        slider->setFrame({0, 0, 120, 20});
        slider->setTrackInset(10);
        slider->setRange(0, 2);
    }
    void watch(ui::Control& control) {
        const auto note = [&](ControlEvent event, std::string name) {
            control.addAction(event, [this, name](ui::Control&) { heard += name + " "; });
        };
        note(ControlEvent::touchDown, "down");
        note(ControlEvent::touchUpInside, "inside");
        note(ControlEvent::touchUpOutside, "outside");
        note(ControlEvent::valueChanged, "value");
    }
    static void mouseTo(ui::View& view, PointerPhase phase, Point at, PointerButton changed = PointerButton::left) {
        const ui::PointerEvent event = mouse(changed, phase, at);
        EXPECT_TRUE(view.handlePointers({&event, 1}));
    }
    /// The actions since the last call of this function.
    std::string actions() { return std::exchange(heard, {}); }

    const std::shared_ptr<ui::Button> button = std::make_shared<ui::Button>();
    const std::shared_ptr<ui::Slider> slider = std::make_shared<ui::Slider>();
    std::string heard;
};

TEST_F(ControlTest, ButtonActsOnReleaseInside) {
    mouseTo(*button, PointerPhase::began, {20, 20});
    EXPECT_TRUE(button->isHighlighted());
    mouseTo(*button, PointerPhase::moved, {50, 20});
    EXPECT_FALSE(button->isHighlighted()) << "outside of the button";
    mouseTo(*button, PointerPhase::moved, {44, 20});
    EXPECT_TRUE(button->isHighlighted()) << "the edge is inside";
    mouseTo(*button, PointerPhase::ended, {44, 20});
    EXPECT_FALSE(button->isHighlighted());
    EXPECT_EQ(actions(), "down inside ");

    mouseTo(*button, PointerPhase::began, {20, 20});
    mouseTo(*button, PointerPhase::ended, {20, 45});
    EXPECT_EQ(actions(), "down outside ");
    mouseTo(*button, PointerPhase::ended, {20, 20});
    mouseTo(*button, PointerPhase::began, {20, 20}, PointerButton::right);
    EXPECT_EQ(actions(), "") << "other mouse buttons are ignored";

    mouseTo(*button, PointerPhase::began, {20, 20});
    button->click();
    mouseTo(*button, PointerPhase::cancelled, {});
    EXPECT_FALSE(button->isHighlighted());
    EXPECT_EQ(actions(), "down outside ") << "keys are ignored while a pointer is pressed";
    button->click();
    EXPECT_EQ(actions(), "down inside ");
    button->setEnabled(false);
    button->click();
    EXPECT_EQ(actions(), "");
}

TEST_F(ControlTest, HeldButtonRecognizesALongPressInsteadOfATap) {
    const auto recognizer = std::make_shared<ui::LongPressGestureRecognizer>(button);
    std::vector<ui::GestureState> states;
    recognizer->setHandler([&](ui::GestureRecognizer& sender) { states.push_back(sender.state()); });
    button->longPressGestureRecognizer = recognizer;

    mouseTo(*button, PointerPhase::began, {20, 21});
    platform->advance(0.49);
    mouseTo(*button, PointerPhase::ended, {20, 21});
    platform->advance(1);
    EXPECT_TRUE(states.empty()) << "released before the long press";
    EXPECT_EQ(actions(), "down inside ");

    mouseTo(*button, PointerPhase::began, {20, 21});
    platform->advance(0.51);
    EXPECT_EQ(states, (std::vector{ui::GestureState::began}));
    EXPECT_EQ(recognizer->location(), (Point{20, 21}));
    mouseTo(*button, PointerPhase::ended, {20, 21});
    EXPECT_EQ(states, (std::vector{ui::GestureState::began, ui::GestureState::ended}));
    EXPECT_EQ(actions(), "down ") << "a long press is not a tap";
    mouseTo(*button, PointerPhase::began, {20, 21});
    mouseTo(*button, PointerPhase::ended, {20, 21});
    EXPECT_EQ(actions(), "down inside ") << "the next press is a tap again";

    states.clear();
    mouseTo(*button, PointerPhase::began, {20, 21});
    button->setEnabled(false);
    platform->advance(1);
    EXPECT_TRUE(states.empty());
}

TEST_F(ControlTest, HoldsTheFirstPointerAndIgnoresPointersWhileDisabled) {
    Finger first(slider, 1);
    Finger second(slider, 2);
    first.press({60, 10});
    second.drag({110, 10}, {10, 10});
    EXPECT_EQ(slider->value(), 1.0F);
    EXPECT_TRUE(slider->isTracking());
    first.release();
    EXPECT_EQ(actions(), "down value inside ");

    slider->setEnabled(false);
    button->setEnabled(false);
    first.drag({10, 10}, {110, 10});
    EXPECT_EQ(slider->value(), 1.0F);
    mouseTo(*button, PointerPhase::began, {20, 20});
    EXPECT_FALSE(button->isHighlighted());
}

TEST_F(ControlTest, DraggingMovesTheSliderThumb) {
    mouseTo(*slider, PointerPhase::began, {60, 10});
    EXPECT_TRUE(slider->isTracking());
    EXPECT_EQ(slider->value(), 1.0F);
    mouseTo(*slider, PointerPhase::moved, {60, 15});
    mouseTo(*slider, PointerPhase::moved, {500, 10});
    EXPECT_EQ(slider->value(), 2.0F) << "clamped to the max value";
    EXPECT_EQ(slider->thumbPosition(), 1);
    mouseTo(*slider, PointerPhase::ended, {500, 10});
    EXPECT_FALSE(slider->isTracking());
    EXPECT_EQ(actions(), "down value value outside ");
    mouseTo(*slider, PointerPhase::moved, {0, 10});
    EXPECT_EQ(slider->value(), 2.0F);

    slider->step(-0.25);
    EXPECT_EQ(slider->value(), 1.5F);
    EXPECT_EQ(actions(), "down value inside ");
    mouseTo(*slider, PointerPhase::began, {85, 10});
    slider->step(0.25);
    mouseTo(*slider, PointerPhase::cancelled, {});
    EXPECT_EQ(slider->value(), 1.5F) << "keys are ignored while a pointer drags the thumb";
    EXPECT_EQ(actions(), "down outside ");
}

}  // namespace
}  // namespace videoanalysis
