#include "VideoAnalysis/Controls/RangeSlider.h"

#include "Support/ComponentTest.h"
#include "Support/Pointers.h"

#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <vector>

namespace videoanalysis {
namespace {

using Thumb = RangeSlider::Thumb;

class RangeSliderTest : public ComponentTest {
protected:
    RangeSliderTest() {
        slider->setFrame({0, 0, 1020, 40});
        slider->setTrackInset(10);
        slider->addAction(ui::ControlEvent::valueChanged, [this](ui::Control&) { ++changes; });
    }
    /// Fractions of the way.
    void drag(double from, double to) { finger.drag({10 + from * 1000, 20}, {10 + to * 1000, 20}); }

    const std::shared_ptr<RangeSlider> slider = std::make_shared<RangeSlider>();
    Finger finger{slider};
    int changes = 0;
};

TEST_F(RangeSliderTest, ThumbsFollowThePointerAndStopAtEachOther) {
    slider->setRange(10, 20);
    EXPECT_EQ(slider->lowerValue(), 10);
    EXPECT_EQ(slider->upperValue(), 10) << "the values follow into the range";
    slider->setUpperValue(20);
    slider->setMinimumDistance(2);
    drag(0.1, 0.5);
    EXPECT_NEAR(slider->lowerValue(), 15, 1e-9);
    drag(0.9, 0.2);
    EXPECT_NEAR(slider->upperValue(), 17, 1e-9);
    drag(0.55, 1);
    EXPECT_NEAR(slider->lowerValue(), 15, 1e-9) << "the upper thumb is not pushed";
    EXPECT_EQ(slider->trackedThumb(), Thumb::none);
    changes = 0;
    slider->setLowerValue(12);
    EXPECT_EQ(changes, 0) << "actions are for what the user does";
    drag(0.2, 0.2);
    EXPECT_EQ(changes, 0) << "nothing has changed";
    slider->setEnabled(false);
    drag(0.2, 0.3);
    EXPECT_EQ(slider->lowerValue(), 12);
}

TEST_F(RangeSliderTest, CoincidentThumbsTakeTheOneThatCanMove) {
    slider->setLowerValue(0);
    slider->setUpperValue(0);
    drag(0, 0.5);
    EXPECT_EQ(slider->lowerValue(), 0);
    EXPECT_EQ(slider->upperValue(), 0.5);
    slider->setUpperValue(1);
    slider->setLowerValue(1);
    drag(1, 0.5);
    EXPECT_EQ(slider->lowerValue(), 0.5);
    EXPECT_EQ(slider->upperValue(), 1);
}

TEST_F(RangeSliderTest, SnapsToStepsOrTheMaximum) {
    slider->setRange(0, 10);
    slider->setUpperValue(10);
    slider->setStep(3);
    EXPECT_EQ(slider->upperValue(), 10);
    drag(0, 0.25);
    EXPECT_EQ(slider->lowerValue(), 3);
    slider->nudge(Thumb::upper, -1);
    EXPECT_EQ(slider->upperValue(), 9);
    slider->nudge(Thumb::upper, 1);
    EXPECT_EQ(slider->upperValue(), 10);
    slider->setMinimumDistance(4);
    slider->nudge(Thumb::lower, 5);
    EXPECT_EQ(slider->lowerValue(), 6) << "the last step that leaves the distance";
    EXPECT_EQ(slider->textOf(2.5), "2.5");
    EXPECT_EQ(slider->textOf(-0.001), "0");
    slider->textOfValue = [](double value) { return std::to_string(std::lround(value)) + " s"; };
    EXPECT_EQ(slider->textOf(6), "6 s");
}

TEST_F(RangeSliderTest, HoldsOneThumbUntilThePointerIsReleasedOrCancelled) {
    std::string heard;
    slider->addAction(ui::ControlEvent::touchDown, [&](ui::Control&) { heard += "down "; });
    slider->addAction(ui::ControlEvent::valueChanged, [&](ui::Control&) { heard += "value "; });
    slider->addAction(ui::ControlEvent::touchUpInside, [&](ui::Control&) { heard += "up "; });
    finger.press({110, 20});
    EXPECT_TRUE(slider->isHighlighted());
    EXPECT_EQ(slider->trackedThumb(), Thumb::lower);
    EXPECT_NEAR(slider->lowerValue(), 0.1, 1e-9);
    Finger(slider, 1).drag({910, 20}, {700, 20});
    EXPECT_EQ(slider->upperValue(), 1) << "a second finger has no effect";
    slider->nudge(Thumb::upper, -1);
    EXPECT_EQ(slider->upperValue(), 1) << "nor has the keyboard";
    finger.moveTo({210, 300});
    EXPECT_NEAR(slider->lowerValue(), 0.2, 1e-9) << "also beside the slider";
    finger.cancel();
    EXPECT_FALSE(slider->isHighlighted());
    EXPECT_EQ(slider->trackedThumb(), Thumb::none);
    finger.moveTo({310, 20});
    finger.release();
    EXPECT_NEAR(slider->lowerValue(), 0.2, 1e-9);
    EXPECT_EQ(heard, "down value value up ");
}

TEST_F(RangeSliderTest, KeepsItsLimitsUnderAnyInput) {
    std::mt19937 random(11);
    const double odd[] = {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(), -1e300, 0};
    const auto value = [&]() -> double {
        return random() % 5 == 0 ? odd[random() % 4] : static_cast<double>(random() % 2000) / 10 - 100;
    };
    for (int round = 0; round < 5000; ++round) {
        switch (random() % 8) {
            case 0: slider->setRange(value(), value()); break;
            case 1: slider->setMinimumDistance(value()); break;
            case 2: slider->setStep(value()); break;
            case 3: slider->setLowerValue(value()); break;
            case 4: slider->setUpperValue(value()); break;
            case 5: drag(value() / 100, value() / 100); break;
            case 6: slider->nudge(Thumb::lower, static_cast<int>(random() % 9) - 4); break;
            case 7: slider->nudge(Thumb::upper, static_cast<int>(random() % 9) - 4); break;
        }
        ASSERT_GE(slider->lowerValue(), slider->minimumValue()) << round;
        ASSERT_LE(slider->upperValue(), slider->maximumValue()) << round;
        const double room = 1e-9 * std::max(1.0, std::abs(slider->maximumValue() - slider->minimumValue()));
        ASSERT_GE(slider->upperValue() - slider->lowerValue(), slider->minimumDistance() - room) << round;
    }
}

}  // namespace
}  // namespace videoanalysis
