// Where keys go on the real screen: which screen and which control has the keyboard, from opening to closing.

#include "Tests/QtQuick/OpenScreen.h"

#include "Platforms/QtQuick/ViewItem.h"
#include "VideoAnalysis/Analysis/State.h"

#include <QKeyEvent>
#include <QtTest/QTest>

namespace videoanalysis {
namespace {

class KeysTest : public OpenScreen {
protected:
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) { QTest::keyClick(&host->window(), key, modifiers); }
    QQuickItem* focused() const { return host->window().activeFocusItem(); }
    QString focusedName() const { return focused() ? focused()->objectName() : QString(); }
    bool isFocused(const char* outlet) const {
        const auto* item = qobject_cast<const qt::ViewItem*>(focused());
        return item && item->isOutlet(QLatin1String(outlet));
    }
    template <class Condition>
    bool tabTo(Condition&& isThere, Qt::Key key = Qt::Key_Tab) {
        for (int i = 0; i < 60 && !isThere(); ++i) press(key);
        return isThere();
    }
    bool isPlaying(std::size_t index = 0) const {
        const auto player = screen->player(index);
        return player && player->rate() > 0;
    }
    bool isPickerOpen() const { return mainStore().state().mainViewControllerState.isColorPickerOpened; }

    /// The start screen, with the keyboard on the button that opens the analysis.
    void showStart(const QStringList& clips) {
        host = std::make_shared<host::HostApplication>(clips, [](const QString&) {});
        host->window().resize(1280, 800);
        host->show();
        screen = std::make_unique<host::ScreenDriver>(host->window());
        ASSERT_TRUE(until([&] { return host->window().isExposed(); }));
        ASSERT_TRUE(QTest::qWaitForWindowActive(&host->window()));
        ASSERT_TRUE(tabTo([&] { return focusedName() == QStringLiteral("openButton"); }));
    }
    void waitForClip() {
        ASSERT_TRUE(until([&] { return screen->playerCount() == 1 && screen->frameIndex(0) == 0; }));
        ASSERT_TRUE(until([&] {
            return host->window().findChild<QQuickItem*>("startScreen") == nullptr ||
                   !host->window().findChild<QQuickItem*>("startScreen")->isVisible();
        }));
    }
};

// Opened and closed by keys alone: the button under the analysis hears none of them and is there again afterwards.
TEST_F(KeysTest, HiddenScreenReleasesTheKeyboardAndRegainsIt) {
    showStart({clip("h264.mp4")});
    press(Qt::Key_Return);
    waitForClip();
    EXPECT_NE(focusedName(), QStringLiteral("openButton"));
    const auto analysis = mainStore().state().existingMainViewController();
    press(Qt::Key_Return);
    press(Qt::Key_Space);
    EXPECT_TRUE(until([&] { return isPlaying(); })) << "Space is the player's";
    EXPECT_EQ(mainStore().state().existingMainViewController(), analysis) << "Return opened nothing";
    press(Qt::Key_Space);
    ASSERT_TRUE(tabTo([&] { return isFocused("closeButton"); }));
    for (int i = 0; i < 60; ++i) {
        press(i < 30 ? Qt::Key_Tab : Qt::Key_Backtab);
        EXPECT_NE(qobject_cast<qt::ViewItem*>(focused()), nullptr) << "Tab stays on the screen";
    }
    ASSERT_TRUE(tabTo([&] { return isFocused("closeButton"); }));
    press(Qt::Key_Space);
    ASSERT_TRUE(until([&] { return screen->playerCount() == 0; }));
    EXPECT_TRUE(until([&] { return focusedName() == QStringLiteral("openButton"); }));
    press(Qt::Key_Return);
    waitForClip();
}

TEST_F(KeysTest, AnalysisOpenedOverAnotherCanBeUsedAndClosed) {
    showStart({clip("h264.mp4")});
    press(Qt::Key_Return);
    waitForClip();
    const std::weak_ptr<AnalysisScreen> first = mainStore().state().existingMainViewController();
    host->openAnalysis();
    EXPECT_TRUE(until([&] { return first.expired(); })) << "the first screen is gone";
    waitForClip();
    press(Qt::Key_Space);
    EXPECT_TRUE(until([&] { return isPlaying(); }));
    ASSERT_TRUE(screen->click("closeButton"));
    ASSERT_TRUE(until([&] { return screen->playerCount() == 0; }));
    EXPECT_FALSE(host->analysis()->isOpen());
    EXPECT_TRUE(until([&] { return focusedName() == QStringLiteral("openButton"); }));
}

TEST_F(KeysTest, PressOnAPlayerReturnsKeyboardFocusToIt) {
    open({clip("h264.mp4")});
    const auto isPen = [&] { return isFocused("drawingToolButtons") && focused()->property("tag") == 0; };
    ASSERT_TRUE(tabTo(isPen));
    press(Qt::Key_Space);
    EXPECT_TRUE(until([&] { return isPickerOpen(); })) << "Space is the button's that Tab has reached";
    press(Qt::Key_Space);
    EXPECT_TRUE(until([&] { return !isPickerOpen(); }));
    ASSERT_TRUE(screen->click("undoButton"));
    press(Qt::Key_Space);
    EXPECT_TRUE(until([&] { return isPlaying(); })) << "after a click on any button";
    press(Qt::Key_Space);
    EXPECT_TRUE(until([&] { return !isPlaying(); }));

    ASSERT_TRUE(tabTo(isPen));
    screen->drawWithTouch(stroke(0, 0.5));
    press(Qt::Key_Space);
    EXPECT_TRUE(until([&] { return isPlaying(); })) << "after a touch on the picture";
    EXPECT_FALSE(isPickerOpen());
}

TEST_F(KeysTest, RemovedControlReceivesNoKeys) {
    open({clip("h264.mp4")});
    ASSERT_TRUE(tabTo([&] { return isFocused("drawingToolButtons"); }));
    press(Qt::Key_Space);
    ASSERT_TRUE(until([&] { return screen->item("colorPickerView") != nullptr; }));
    QMetaObject::invokeMethod(screen->item("colorPickerView"), "focusSwatch", Q_ARG(QVariant, 16));
    press(Qt::Key_Space);
    ASSERT_TRUE(until([&] { return screen->item("colorPickerView") == nullptr; })) << "a choice closes the picker";
    press(Qt::Key_Space);
    EXPECT_TRUE(until([&] { return isPlaying(); }));
}

TEST_F(KeysTest, HeldKeyPressesAButtonOnce) {
    open({clip("h264.mp4")});
    ASSERT_TRUE(tabTo([&] { return isFocused("drawingToolButtons"); }));
    for (const Qt::Key key : {Qt::Key_Space, Qt::Key_Return}) {
        const bool wasOpen = isPickerOpen();
        for (const bool isRepeat : {false, true, true, true}) {
            QKeyEvent down(QEvent::KeyPress, key, Qt::NoModifier, QString(), isRepeat);
            QCoreApplication::sendEvent(&host->window(), &down);
            EXPECT_EQ(isPickerOpen(), !wasOpen);
        }
    }
    EXPECT_FALSE(isPlaying()) << "a repeated key is not the player's either";
}

// The trim screen has the keyboard while it is there, and the control below gets it back.
TEST_F(KeysTest, TabStaysInTheTopmostScreen) {
    open({clip("h264.mp4")});
    ASSERT_TRUE(tabTo([&] { return isFocused("undoButton") || isFocused("drawingToolButtons"); }));
    QQuickItem* before = focused();
    host->editMedia(0);
    ASSERT_TRUE(until([&] { return screen->item("trimmerView") != nullptr; }));
    waitUntilIdle();
    const QQuickItem* overlay = screen->item("topBarView")->parentItem();
    for (int i = 0; i < 80; ++i) {
        press(i < 40 ? Qt::Key_Tab : Qt::Key_Backtab);
        ASSERT_NE(focused(), nullptr);
        EXPECT_FALSE(overlay->isAncestorOf(focused())) << focused()->metaObject()->className();
    }
    ASSERT_TRUE(tabTo([&] { return isFocused("cropButton"); }));
    screen->clickAt(host::ScreenDriver::rectOf(screen->item("durationLabel")).center());
    EXPECT_FALSE(isFocused("cropButton"));
    press(Qt::Key_Escape);
    ASSERT_TRUE(until([&] { return screen->item("trimmerView") == nullptr; })) << "Escape is the sheet's again";
    EXPECT_TRUE(until([&] { return focused() == before; }));
}

}  // namespace
}  // namespace videoanalysis
