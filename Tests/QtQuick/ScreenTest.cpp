// The analysis screen in a real window in memory: tools, colours, rotation, presentation and what it looks like.

#include "Tests/QtQuick/OpenScreen.h"

#include "Platforms/QtQuick/ColorPickerItem.h"
#include "VideoAnalysis/Analysis/Actions.h"

#include <QtTest/QTest>

namespace videoanalysis {
namespace {

using host::ScreenDriver;

class AnalysisScreenTest : public OpenScreen {
protected:
    const MainViewControllerState& state() const { return mainStore().state().mainViewControllerState; }

    QRectF rectOf(const char* name, std::size_t index = 0) const {
        return ScreenDriver::rectOf(screen->item(QLatin1String(name), index));
    }

    ColorPickerView& picker() const {
        auto* item = qobject_cast<ColorPickerItem*>(screen->item(QStringLiteral("colorPickerView")));
        return *static_cast<ColorPickerView*>(item->view());
    }

    /// The middle of a swatch in the window.
    QPointF swatch(const Color& color) const {
        const auto& colors = picker().colors();
        const auto index = std::find(colors.begin(), colors.end(), color) - colors.begin();
        const Rect& frame = picker().frameOfItem(index);
        return rectOf("colorPickerView").topLeft() + QPointF(frame.midX(), frame.midY() - picker().contentOffset().y);
    }

    static bool hasNear(const QImage& window, QPointF point, const QColor& color, int reach = 3) {
        for (int y = -reach; y <= reach; ++y) {
            for (int x = -reach; x <= reach; ++x) {
                if (isNear(window.pixelColor(point.toPoint() + QPoint(x, y)), color)) return true;
            }
        }
        return false;
    }
};

// What a user does first: compare two clips, lock them, choose a tool and a colour, draw, turn the device, close.
TEST_F(AnalysisScreenTest, AWholeVisitFromTheSecondClipToClosing) {
    open({clip("h264.mp4")});
    EXPECT_EQ(screen->items("drawingToolButtons").size(), 5U);
    EXPECT_EQ(screen->item("lockPlaybackButton"), nullptr);
    ASSERT_TRUE(screen->click("addButton"));
    ASSERT_TRUE(screen->wait([&] { return host->isChoosing(); }));
    host->chooseFile(QUrl::fromLocalFile(clip("h264.mp4")));
    ASSERT_TRUE(screen->wait([&] { return screen->playerCount() == 2 && screen->frameIndex(1) == 0; }));
    settle();
    EXPECT_EQ(screen->items("drawingToolButtons").size(), 1U) << "two players fold the strip";
    ASSERT_TRUE(screen->click("lockPlaybackButton"));
    ASSERT_TRUE(screen->wait([&] { return state().isMediaPlaybackLocked; }));
    settle();
    EXPECT_TRUE(hasNear(screen->grab(), rectOf("lockPlaybackButton").center(), QColor(255, 0, 0), 8));

    ASSERT_TRUE(screen->click("expandToolbarButton"));
    settle();
    ASSERT_EQ(screen->items("drawingToolButtons").size(), 5U);
    ASSERT_TRUE(screen->click("drawingToolButtons", 1));  // the line
    settle();
    EXPECT_EQ(screen->item("colorPickerView"), nullptr) << "another tool opens no picker";
    ASSERT_TRUE(screen->click("drawingToolButtons", 1));
    settle();
    ASSERT_NE(screen->item("colorPickerView"), nullptr);
    const Color magenta = Color::rgb255(245, 0, 170);
    EXPECT_TRUE(hasNear(screen->grab(), swatch(magenta), QColor(245, 0, 170)));
    screen->clickAt(swatch(magenta));
    settle();
    EXPECT_EQ(screen->item("colorPickerView"), nullptr) << "a choice closes the picker";
    EXPECT_TRUE(hasNear(screen->grab(), rectOf("drawingToolButtons", 1).center(), QColor(245, 0, 170)));
    EXPECT_TRUE(hasNear(screen->grab(), rectOf("drawingToolButtons", 0).center(), QColor(0, 229, 255), 12));

    screen->drawWithMouse({at(1, 0.3, 0.5), at(1, 0.4, 0.5), at(1, 0.7, 0.5)});
    settle();
    EXPECT_TRUE(hasNear(screen->grab(), at(1, 0.5, 0.5), QColor(245, 0, 170)));
    EXPECT_FALSE(hasNear(screen->grab(), at(0, 0.5, 0.5), QColor(245, 0, 170)));

    // A change of size alone folds nothing; a turn does. The drawing stays where it is on the picture.
    host->window().resize(1100, 760);
    settle();
    EXPECT_EQ(screen->items("drawingToolButtons").size(), 5U);
    for (const QSize size : {QSize(800, 1100), QSize(1000, 700), QSize(360, 640)}) {
        host->window().resize(size);
        settle();
        EXPECT_EQ(screen->items("drawingToolButtons").size(), 1U) << "a turn folds the strip";
        mainStore().dispatch(SetHUDVisibleAction(false));
        settle();
        EXPECT_TRUE(hasNear(screen->grab(), at(1, 0.5, 0.5), QColor(245, 0, 170))) << size.width();
        EXPECT_FALSE(hasNear(screen->grab(), at(1, 0.2, 0.5), QColor(245, 0, 170))) << size.width();
        mainStore().dispatch(SetHUDVisibleAction(true));
        settle();
        ASSERT_TRUE(screen->click("expandToolbarButton"));
        settle();
    }

    close();
    EXPECT_TRUE(mainStore().state().media->empty());
    EXPECT_EQ(screen->item("topBarView"), nullptr);
}

// Nothing covers anything that can be pressed, at any size, with any number of players, folded or not.
TEST_F(AnalysisScreenTest, ToolsAndButtonsKeepOutOfOneAnothersWayAtEverySize) {
    for (const QStringList& clips : {QStringList{clip("h264.mp4")}, QStringList{clip("h264.mp4"), clip("h264.mp4")}}) {
        open(clips);
        for (const QSize size : {QSize(360, 640), QSize(448, 640), QSize(600, 800), QSize(768, 1024), QSize(1024, 768),
                                 QSize(1920, 1080)}) {
            SCOPED_TRACE(testing::Message() << clips.size() << " at " << size.width() << " x " << size.height());
            host->window().resize(size);
            for (const bool isFolded : {true, false}) {
                mainStore().dispatch(SetDrawingToolsCollapseStateAction(isFolded));
                settle();
                const QRectF window(0, 0, size.width(), size.height());
                const QRectF strip = rectOf("drawingShapeView");
                EXPECT_TRUE(window.adjusted(12, 52, -12, -12).contains(strip));
                for (const char* other : {"leftButtonsView", "seekbar", "timelineView", "undoButton"}) {
                    for (const QQuickItem* item : screen->items(QLatin1String(other))) {
                        EXPECT_FALSE(ScreenDriver::rectOf(item).intersects(strip)) << other;
                    }
                }
                for (const QQuickItem* tool : screen->items("drawingToolButtons")) {
                    EXPECT_GE(tool->width(), 44);
                    EXPECT_TRUE(strip.contains(ScreenDriver::rectOf(tool)));
                }
            }
            mainStore().dispatch(SetColorPickerCollapseStateAction(true));
            settle();
            const QRectF palette = rectOf("colorPickerView");
            EXPECT_TRUE(QRectF(QPointF(), QSizeF(size)).adjusted(12, 52, -12, -12).contains(palette));
            EXPECT_FALSE(palette.intersects(rectOf("drawingShapeView")));
            EXPECT_FALSE(palette.intersects(rectOf("leftButtonsView")));
            EXPECT_GE(palette.height(), picker().contentSize().height) << "all colours at once";
        }
        close();
    }
}

TEST_F(AnalysisScreenTest, TheKeyboardWalksThroughThePaletteAndPicks) {
    open({clip("h264.mp4")});
    mainStore().dispatch(SetColorPickerCollapseStateAction(true));
    settle();
    QMetaObject::invokeMethod(screen->item("colorPickerView"), "focusSwatch", Q_ARG(QVariant, 16));
    EXPECT_EQ(host->window().activeFocusItem()->property("index"), 16);
    for (const auto key : {Qt::Key_Up, Qt::Key_Right, Qt::Key_Down, Qt::Key_Down, Qt::Key_Left}) {
        QTest::keyClick(&host->window(), key);
    }
    QQuickItem* focused = host->window().activeFocusItem();
    EXPECT_EQ(focused->property("index"), 20);
    QTest::keyClick(&host->window(), Qt::Key_Down);
    EXPECT_EQ(host->window().activeFocusItem(), focused) << "there is no line below";
    QTest::keyClick(&host->window(), Qt::Key_Space);
    settle();
    EXPECT_EQ(state().toolColorMap[SketchToolType::pen], ColorPickerView::standardColors()[20]);
    EXPECT_FALSE(state().isColorPickerOpened);
}

}  // namespace
}  // namespace videoanalysis
