// The page of controls: range slider and checkbox under the mouse, fingers and keys, in a host's own QML.

#include "Platforms/QtQuick/CheckboxItem.h"
#include "Platforms/QtQuick/RangeSliderItem.h"
#include "QtQuick/OpenScreen.h"

#include <QtTest/QTest>

namespace videoanalysis {
namespace {

class ControlsPage : public OpenScreen {
protected:
    void openPage(QSize size = QSize(1024, 768)) {
        host = std::make_shared<host::HostApplication>(QStringList{clip("h264.mp4")}, [](const QString&) {});
        host->window().resize(size);
        host->show();
        screen = std::make_unique<host::ScreenDriver>(host->window());
        ASSERT_TRUE(until([&] { return host->window().isExposed(); }));
        screen->clickAt(host::ScreenDriver::rectOf(named<QQuickItem>("controlsButton")).center());
        ASSERT_TRUE(until([&] { return named<qt::RangeSliderItem>("rangeSlider") != nullptr; }));
        waitUntilIdle();
    }
    template <class Item>
    Item* named(const char* name) const {
        return host->window().contentItem()->findChild<Item*>(QString::fromLatin1(name));
    }
    QPointF at(const qt::RangeSliderItem& slider, double fraction) const {
        const QRectF rect = host::ScreenDriver::rectOf(&slider);
        return {rect.left() + 14 + (rect.width() - 28) * fraction, rect.top() + 42};
    }
    bool focus(const QString& name) const {
        for (int tab = 0; tab < 60; ++tab) {
            QTest::keyClick(&host->window(), Qt::Key_Tab);
            const QQuickItem* item = host->window().activeFocusItem();
            if (item &&
                (item->objectName() == name || (item->parentItem() && item->parentItem()->objectName() == name))) {
                return true;
            }
        }
        return false;
    }
};

TEST_F(ControlsPage, BothThumbsFollowMouseFingersAndKeys) {
    openPage();
    auto* slider = named<qt::RangeSliderItem>("rangeSlider");
    EXPECT_EQ(slider->lowerValue(), 20) << "independent of the order in which QML sets the properties";
    EXPECT_EQ(slider->upperValue(), 70);
    screen->drawWithMouse({at(*slider, 0.2), at(*slider, 0.3), at(*slider, 0.4)});
    EXPECT_NEAR(slider->lowerValue(), 40, 1.5);
    screen->drawWithTouch({at(*slider, 0.7), at(*slider, 0.5), at(*slider, 0.1)});
    EXPECT_NEAR(slider->upperValue(), slider->lowerValue(), 1e-9) << "they cannot cross";
    screen->drawWithMouse({at(*slider, 0.9), at(*slider, 0.9)});
    EXPECT_NEAR(slider->upperValue(), 90, 1.5) << "a press beside a thumb brings the nearer one";
    ASSERT_TRUE(focus(QStringLiteral("rangeSlider")));
    const double before = slider->lowerValue();
    QTest::keyClick(&host->window(), Qt::Key_Right);
    EXPECT_NEAR(slider->lowerValue(), before + 1, 1e-9);
}

TEST_F(ControlsPage, CheckboxTogglesByMouseAndKeys) {
    openPage();
    auto* checkbox = named<qt::CheckboxItem>("checkbox");
    const QPointF middle = host::ScreenDriver::rectOf(checkbox).center();
    screen->clickAt(middle);
    EXPECT_TRUE(checkbox->isChecked() && checkbox->isAnimated());
    // Pressed and let go beside it: nothing.
    screen->drawWithMouse({middle, middle - QPointF(0, 200)});
    EXPECT_TRUE(checkbox->isChecked());
    ASSERT_TRUE(focus(QStringLiteral("checkbox")));
    QTest::keyClick(&host->window(), Qt::Key_Space);
    EXPECT_FALSE(checkbox->isChecked());
}

TEST_F(ControlsPage, FitsEveryScreen) {
    for (const QSize size : {QSize(360, 640), QSize(1024, 768), QSize(1920, 1080)}) {
        openPage(size);
        named<qt::CheckboxItem>("checkbox")->press();
        waitUntilIdle();
        save(QStringLiteral("controls-%1x%2.png").arg(size.width()).arg(size.height()));
        const QRectF slider = host::ScreenDriver::rectOf(named<qt::RangeSliderItem>("rangeSlider"));
        EXPECT_GE(slider.left(), 0);
        EXPECT_LE(slider.right(), size.width());
        screen->clickAt(host::ScreenDriver::rectOf(named<QQuickItem>("closeControlsButton")).center());
        EXPECT_TRUE(until([&] { return named<qt::RangeSliderItem>("rangeSlider") == nullptr; }));
    }
}

}  // namespace
}  // namespace videoanalysis
