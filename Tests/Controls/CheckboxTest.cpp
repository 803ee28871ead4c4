#include "VideoAnalysis/Controls/Checkbox.h"

#include "Support/ComponentTest.h"
#include "Support/Pointers.h"

#include <memory>

namespace videoanalysis {
namespace {

class CheckboxTest : public ComponentTest {
protected:
    CheckboxTest() { checkbox->setFrame({0, 0, 200, 44}); }

    const std::shared_ptr<Checkbox> checkbox = std::make_shared<Checkbox>();
};

TEST_F(CheckboxTest, TogglesOnAReleaseInside) {
    Finger finger(checkbox);
    finger.press({20, 20});
    EXPECT_TRUE(checkbox->isHighlighted());
    EXPECT_FALSE(checkbox->isChecked());
    finger.moveTo({20, 60});
    EXPECT_FALSE(checkbox->isHighlighted());
    finger.release();
    EXPECT_FALSE(checkbox->isChecked());
    finger.press({20, 20});
    finger.cancel();
    EXPECT_FALSE(checkbox->isHighlighted());
    EXPECT_FALSE(checkbox->isChecked());
    finger.drag({20, 20}, {200, 44});
    EXPECT_TRUE(checkbox->isChecked()) << "its edge belongs to it";
    EXPECT_FALSE(checkbox->isHighlighted());
    checkbox->setEnabled(false);
    finger.press({20, 20});
    EXPECT_FALSE(checkbox->isHighlighted());
    finger.release();
    EXPECT_TRUE(checkbox->isChecked());
}

TEST_F(CheckboxTest, PressAnimatesTheMarkAndSendsTheAction) {
    int changes = 0;
    checkbox->addAction(ui::ControlEvent::valueChanged, [&](ui::Control& sender) {
        EXPECT_EQ(static_cast<Checkbox&>(sender).isChecked(), changes == 0);
        ++changes;
    });
    checkbox->press();
    EXPECT_TRUE(checkbox->isChecked() && checkbox->isAnimated());
    checkbox->press();
    EXPECT_FALSE(checkbox->isChecked());
    checkbox->setChecked(true);
    EXPECT_TRUE(checkbox->isChecked() && !checkbox->isAnimated());
    EXPECT_EQ(changes, 2);
    checkbox->setEnabled(false);
    checkbox->press();
    EXPECT_TRUE(checkbox->isChecked());
    EXPECT_EQ(changes, 2);
}

}  // namespace
}  // namespace videoanalysis
