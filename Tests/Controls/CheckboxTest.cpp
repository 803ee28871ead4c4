#include "VideoAnalysis/Controls/Checkbox.h"

#include <gtest/gtest.h>

#include <memory>

namespace videoanalysis {
namespace {

TEST(CheckboxTest, APressChecksAnimatedAndTells) {
    const auto checkbox = std::make_shared<Checkbox>();
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
