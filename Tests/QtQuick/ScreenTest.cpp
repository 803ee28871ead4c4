// The analysis screen in a real window in memory: tools, colours, rotation, presentation and what it looks like.

#include "Tests/QtQuick/ChildTest.h"
#include "Tests/QtQuick/OpenScreen.h"

#include "Platforms/QtQuick/ColorPickerItem.h"
#include "Platforms/QtQuick/Motion.h"
#include "Platforms/QtQuick/QtQuickPlatform.h"
#include "VideoAnalysis/Analysis/Actions.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCellController.h"
#include "VideoAnalysis/Screen/MainViewController.h"
#include "VideoAnalysis/Screen/OverlayViewController.h"
#include "VideoAnalysis/Screen/PlayersManager.h"

#include <QFile>
#include <QGuiApplication>
#include <QPainter>
#include <QSvgRenderer>
#include <QTemporaryDir>
#include <QTranslator>
#include <QtTest/QTest>

#include <algorithm>

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
        auto* item = qobject_cast<qt::ColorPickerItem*>(screen->item(QStringLiteral("colorPickerView")));
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
TEST_F(AnalysisScreenTest, AddsASecondClipWorksWithItAndCloses) {
    open({clip("h264.mp4")});
    EXPECT_EQ(screen->items("drawingToolButtons").size(), 5U);
    EXPECT_EQ(screen->item("lockPlaybackButton"), nullptr);
    ASSERT_TRUE(screen->click("addButton"));
    ASSERT_TRUE(until([&] { return host->isChoosing(); }));
    host->chooseFile(QUrl::fromLocalFile(clip("h264.mp4")));
    ASSERT_TRUE(until([&] { return screen->playerCount() == 2 && screen->frameIndex(1) == 0; }));
    waitUntilIdle();
    EXPECT_EQ(screen->items("drawingToolButtons").size(), 1U) << "two players fold the strip";
    ASSERT_TRUE(screen->click("lockPlaybackButton"));
    ASSERT_TRUE(until([&] { return state().isMediaPlaybackLocked; }));
    waitUntilIdle();
    EXPECT_TRUE(hasNear(screen->grab(), rectOf("lockPlaybackButton").center(), QColor(255, 0, 0), 8));

    ASSERT_TRUE(screen->click("expandToolbarButton"));
    waitUntilIdle();
    ASSERT_EQ(screen->items("drawingToolButtons").size(), 5U);
    ASSERT_TRUE(screen->click("drawingToolButtons", 1));  // the line
    waitUntilIdle();
    EXPECT_EQ(screen->item("colorPickerView"), nullptr) << "another tool opens no picker";
    ASSERT_TRUE(screen->click("drawingToolButtons", 1));
    waitUntilIdle();
    ASSERT_NE(screen->item("colorPickerView"), nullptr);
    const Color magenta = Color::rgb255(245, 0, 170);
    EXPECT_TRUE(hasNear(screen->grab(), swatch(magenta), QColor(245, 0, 170)));
    screen->clickAt(swatch(magenta));
    waitUntilIdle();
    EXPECT_EQ(screen->item("colorPickerView"), nullptr) << "a choice closes the picker";
    EXPECT_TRUE(hasNear(screen->grab(), rectOf("drawingToolButtons", 1).center(), QColor(245, 0, 170)));
    EXPECT_TRUE(hasNear(screen->grab(), rectOf("drawingToolButtons", 0).center(), QColor(0, 229, 255), 12));

    screen->drawWithMouse({at(1, 0.3, 0.5), at(1, 0.4, 0.5), at(1, 0.7, 0.5)});
    waitUntilIdle();
    EXPECT_TRUE(hasNear(screen->grab(), at(1, 0.5, 0.5), QColor(245, 0, 170)));
    EXPECT_FALSE(hasNear(screen->grab(), at(0, 0.5, 0.5), QColor(245, 0, 170)));

    // A change of size alone folds nothing; a turn does. The drawing stays where it is on the picture.
    host->window().resize(1100, 760);
    waitUntilIdle();
    EXPECT_EQ(screen->items("drawingToolButtons").size(), 5U);
    for (const QSize size : {QSize(800, 1100), QSize(1000, 700), QSize(360, 640)}) {
        host->window().resize(size);
        waitUntilIdle();
        EXPECT_EQ(screen->items("drawingToolButtons").size(), 1U) << "a turn folds the strip";
        mainStore().dispatch(SetHUDVisibleAction(false));
        waitUntilIdle();
        EXPECT_TRUE(hasNear(screen->grab(), at(1, 0.5, 0.5), QColor(245, 0, 170))) << size.width();
        EXPECT_FALSE(hasNear(screen->grab(), at(1, 0.2, 0.5), QColor(245, 0, 170))) << size.width();
        mainStore().dispatch(SetHUDVisibleAction(true));
        waitUntilIdle();
        ASSERT_TRUE(screen->click("expandToolbarButton"));
        waitUntilIdle();
    }

    close();
    EXPECT_TRUE(mainStore().state().media->empty());
    EXPECT_EQ(screen->item("topBarView"), nullptr);
}

// Nothing covers anything that can be pressed, at any size, with any number of players, folded or not, mirrored or not.
TEST_F(AnalysisScreenTest, ToolsAndButtonsNeverOverlapAtAnySize) {
    const QStringList samples = host::HostApplication::sampleClips();
    const std::vector<std::pair<QStringList, Qt::LayoutDirection>> screens = {
        {samples.first(1), Qt::LeftToRight}, {samples, Qt::LeftToRight}, {samples, Qt::RightToLeft}};
    for (const auto& [clips, direction] : screens) {
        QGuiApplication::setLayoutDirection(direction);
        open(clips);
        for (const QSize size : {QSize(360, 640), QSize(448, 640), QSize(600, 800), QSize(768, 1024), QSize(1024, 768),
                                 QSize(1920, 1080)}) {
            SCOPED_TRACE(testing::Message() << clips.size() << (direction == Qt::RightToLeft ? " mirrored" : "")
                                            << " at " << size.width() << " x " << size.height());
            host->window().resize(size);
            const QString name = QStringLiteral("%1x%2-%3-players%4-")
                                     .arg(size.width())
                                     .arg(size.height())
                                     .arg(clips.size())
                                     .arg(QLatin1String(direction == Qt::RightToLeft ? "-mirrored" : ""));
            for (const bool isFolded : {true, false}) {
                mainStore().dispatch(SetDrawingToolsCollapseStateAction(isFolded));
                waitUntilIdle();
                save(name + QLatin1String(isFolded ? "folded.png" : "tools.png"));
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
            waitUntilIdle();
            save(name + QStringLiteral("colors.png"));
            const QRectF palette = rectOf("colorPickerView");
            EXPECT_TRUE(QRectF(QPointF(), QSizeF(size)).adjusted(12, 52, -12, -12).contains(palette));
            EXPECT_FALSE(palette.intersects(rectOf("drawingShapeView")));
            EXPECT_FALSE(palette.intersects(rectOf("leftButtonsView")));
            EXPECT_GE(palette.height(), picker().contentSize().height) << "all colours at once";
        }
        close();
    }
    QGuiApplication::setLayoutDirection(Qt::LeftToRight);
}

// Turned while the controls are hidden and folded by it, the strip shows its marker beside the chosen tool when they are back.
TEST_F(AnalysisScreenTest, MarkerIsBesideTheToolAfterARotationWithHiddenControls) {
    open({clip("h264.mp4")}, QSize(1000, 800));
    ASSERT_TRUE(screen->click("drawingToolButtons", 3));
    ASSERT_TRUE(until([&] { return state().toolType == SketchToolType::rectangleStroke; }));
    const auto isBesideTheTool = [&](std::size_t tool) {
        return std::abs(rectOf("arrowImage").center().y() - rectOf("drawingToolButtons", tool).center().y()) < 1;
    };
    EXPECT_TRUE(until([&] { return isBesideTheTool(3); }));
    mainStore().dispatch(SetHUDVisibleAction(false));
    ASSERT_TRUE(until([&] { return screen->item("drawingShapeView") == nullptr; }));
    host->window().resize(700, 1000);
    ASSERT_TRUE(until([&] { return state().isDrawingToolsCollapsed; }));
    waitUntilIdle();
    mainStore().dispatch(SetHUDVisibleAction(true));
    ASSERT_TRUE(until([&] { return screen->items("drawingToolButtons").size() == 1; }));
    waitUntilIdle();
    EXPECT_TRUE(isBesideTheTool(0));
    save(QStringLiteral("marker-after-turn.png"));
    // As the user sees it.
    EXPECT_TRUE(hasNear(screen->grab(),
                        {rectOf("drawingShapeView").right() + 10, rectOf("drawingToolButtons").center().y()},
                        QColor(0, 176, 255), 10));
}

TEST_F(AnalysisScreenTest, HiddenClockCausesNoRepaint) {
    open({clip("h264.mp4")});
    mainStore().dispatch(HasRecordingPermissionAction(true));
    waitForFirstLoads();
    const auto overlay = MainViewController::of(mainStore().state())->overlayViewController();
    int frames = 0;
    const auto counting =
        QObject::connect(&host->window(), &QQuickWindow::frameSwapped, &host->window(), [&] { ++frames; });
    EXPECT_TRUE(until("the clock has gone on", [&] { return overlay->seconds >= 2; }));
    QObject::disconnect(counting);
    EXPECT_EQ(frames, 0);
}

TEST_F(AnalysisScreenTest, KeyboardMovesThroughThePaletteAndPicks) {
    open({clip("h264.mp4")});
    mainStore().dispatch(SetColorPickerCollapseStateAction(true));
    waitUntilIdle();
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
    waitUntilIdle();
    EXPECT_EQ(state().toolColorMap[SketchToolType::pen], ColorPickerView::standardColors()[20]);
    EXPECT_FALSE(state().isColorPickerOpened);
}

// ---- How the host wants it to look

class ConfiguredScreenTest : public AnalysisScreenTest {
protected:
    /// The analysis of a clip, presented by a separate host.
    void present(const VideoAnalysisConfiguration& configuration, ui::ModalPresentationStyle style,
                 QSize size = QSize(1280, 800)) {
        host = std::make_shared<host::HostApplication>(QStringList(), [](const QString&) {});
        host->window().resize(size);
        host->show();
        screen = std::make_unique<ScreenDriver>(host->window());
        startScreen = host->window().rootObject()->findChild<QQuickItem*>(QStringLiteral("startScreen"));
        VideoAnalysisController analysis({{URL::fileURL(clip("h264.mp4").toStdString()), {}}}, configuration);
        analysis.present(qtPlatform().viewController(*startScreen), style);
        ASSERT_TRUE(until("the picture and the controls are there",
                          [&] { return screen->frameIndex(0) == 0 && screen->item("closeButton"); }));
        waitUntilIdle();
    }
    static QtQuickPlatform& qtPlatform() { return dynamic_cast<QtQuickPlatform&>(platform()); }

    QColor pixel(QPointF point) const { return screen->grab().pixelColor(point.toPoint()); }

    void TearDown() override {
        QtQuickPlatform::setReducesMotion(false);
        QGuiApplication::setLayoutDirection(Qt::LeftToRight);
        // Without a delegate the close button does nothing.
        mainStore().dispatch(DismissAction(false, {}));
        mainStore().dispatch(ClearStateAction());
        waitUntilClosed();
    }

    QQuickItem* startScreen = nullptr;
};

TEST_F(ConfiguredScreenTest, ShowsTheHostsThemeTranslucencyAndIcons) {
    Theme theme;
    theme.secondaryColor = Color::rgb255(0, 60, 120);
    theme.buttonsTintColor = Color::rgb255(255, 200, 0);
    theme.translucentViewsOpacity = 0.5;
    auto square = std::make_shared<Bitmap>(24, 24, 1.0);
    std::fill(square->pixels.begin(), square->pixels.end(), 0xff40c080);
    VideoAnalysisIconsConfiguration icons;
    icons.closeButtonIcon = Image(square);
    icons.recordButtonIcon = Image::named(VIDEOANALYSIS_RESOURCES_DIR "/Images/film.svg");
    present({true, true, icons, theme, nullptr}, ui::ModalPresentationStyle::fullScreen);

    EXPECT_TRUE(isNear(pixel({640, 20}), QColor(0, 60, 120))) << "the ground, above the picture";
    EXPECT_TRUE(isNear(pixel(rectOf("closeButton").center()), QColor(0x40, 0xc0, 0x80)));
    EXPECT_TRUE(hasNear(screen->grab(), rectOf("addButton").center(), QColor(255, 200, 0), 10));
    EXPECT_EQ(screen->item("recordButton")->property("glyph"),
              QStringLiteral(VIDEOANALYSIS_RESOURCES_DIR "/Images/film.svg"));

    // The strip is half of the picture below it and half of the theme's colour.
    const QPointF inStrip = rectOf("drawingShapeView").center() - QPointF(24, 0);
    const QColor through = pixel(inStrip);
    mainStore().dispatch(SetHUDVisibleAction(false));
    waitUntilIdle();
    const QColor picture = pixel(inStrip);
    EXPECT_TRUE(isNear(through, QColor(picture.red() / 2, (picture.green() + 60) / 2, (picture.blue() + 120) / 2)));
    EXPECT_EQ(screen->item("topBarView"), nullptr);
}

TEST_F(ConfiguredScreenTest, EachPresentationStyleHasItsGeometry) {
    const VideoAnalysisConfiguration configuration(true, true, {}, {}, nullptr);
    const QRectF window(0, 0, 1280, 800);
    const std::vector<std::pair<ui::ModalPresentationStyle, QRectF>> places = {
        {ui::ModalPresentationStyle::fullScreen, window},
        {ui::ModalPresentationStyle::overFullScreen, window},
        {ui::ModalPresentationStyle::pageSheet, window.adjusted(32, 32, -32, -32)},
        {ui::ModalPresentationStyle::formSheet, QRectF(260, 40, 760, 720)},
        {ui::ModalPresentationStyle::popover, QRectF(828, 32, 420, 640)}};
    for (const auto& [style, place] : places) {
        SCOPED_TRACE(static_cast<int>(style));
        present(configuration, style);
        const QRectF players = rectOf("playersCollectionView", 0);
        EXPECT_EQ(players, place);
        EXPECT_EQ(rectOf("playersCollectionView", 1), players) << "the controls lie over the players";
        EXPECT_EQ(rectOf("topBarView").topLeft(), players.topLeft());
        EXPECT_TRUE(players.contains(rectOf("timelineView")));
        EXPECT_EQ(startScreen->isVisible(), style != ui::ModalPresentationStyle::fullScreen);

        // A press beside a card: only a popover goes away.
        const bool isCard = place != window;
        if (isCard) screen->clickAt({10, 400});
        waitUntilIdle();
        EXPECT_EQ(screen->playerCount(), style == ui::ModalPresentationStyle::popover ? 0U : 1U);
        EXPECT_EQ(mainStore().state().media->size(), 1U) << "nothing is lost";
        if (isCard && screen->playerCount() == 1) {
            host->window().resize(500, 700);
            waitUntilIdle();
            EXPECT_EQ(rectOf("topBarView").width(), 500) << "little room: cards fill it";
        }
        mainStore().dispatch(DismissAction(false, {}));
        mainStore().dispatch(ClearStateAction());
        waitUntilClosed();
        EXPECT_TRUE(startScreen->isVisible());
    }
}

TEST_F(ConfiguredScreenTest, SensorOverridesTheWindowsOrientation) {
    open({clip("h264.mp4"), clip("h264.mp4")});
    EXPECT_EQ(host->window().contentOrientation(), Qt::PrimaryOrientation)
        << "told of another one, a window system turns dialogs on their side";
    EXPECT_EQ(screen->pictureOf(0).top(), screen->pictureOf(1).top());
    ASSERT_TRUE(screen->click("expandToolbarButton"));
    waitUntilIdle();
    qtPlatform().setDeviceOrientation(ui::DeviceOrientation::faceUp);
    waitUntilIdle();
    EXPECT_EQ(screen->pictureOf(0).left(), screen->pictureOf(1).left()) << "stacked in a wide window";
    EXPECT_EQ(screen->items("drawingToolButtons").size(), 1U);
    ASSERT_TRUE(screen->click("expandToolbarButton"));
    waitUntilIdle();
    host->window().resize(700, 1000);
    waitUntilIdle();
    EXPECT_EQ(screen->items("drawingToolButtons").size(), 5U) << "the device has not turned";
    qtPlatform().setDeviceOrientation(ui::DeviceOrientation::landscapeRight);
    waitUntilIdle();
    EXPECT_EQ(screen->pictureOf(0).top(), screen->pictureOf(1).top());
    EXPECT_EQ(host->window().contentOrientation(), Qt::PrimaryOrientation);
}

/// Puts every text into quotation marks.
class Quoting : public QTranslator {
public:
    bool isEmpty() const override { return false; }
    QString translate(const char*, const char* text, const char*, int) const override {
        return QStringLiteral("“%1”").arg(QLatin1String(text));
    }
};

TEST_F(ConfiguredScreenTest, TranslatesTextsAndMirrorsBarsForTheHostsLanguage) {
    open({clip("h264.mp4")});
    mainStore().dispatch(SetColorPickerCollapseStateAction(true));
    waitUntilIdle();
    const QRectF close = rectOf("closeButton");
    const QRectF strip = rectOf("drawingShapeView");
    const QRectF palette = rectOf("colorPickerView");
    const QRectF marker = rectOf("arrowImage");
    Quoting language;
    QCoreApplication::installTranslator(&language);
    QGuiApplication::setLayoutDirection(Qt::RightToLeft);
    waitUntilIdle();
    EXPECT_EQ(screen->item("closeButton")->property("hint"), QStringLiteral("“Close”"));
    const auto mirrored = [](const QRectF& rect) {
        return QRectF(1280 - rect.right(), rect.y(), rect.width(), rect.height());
    };
    EXPECT_EQ(rectOf("closeButton"), mirrored(close));
    EXPECT_EQ(rectOf("drawingShapeView"), mirrored(strip));
    EXPECT_EQ(rectOf("colorPickerView"), mirrored(palette));
    EXPECT_EQ(rectOf("arrowImage"), mirrored(marker));
    EXPECT_LT(rectOf("rewindButton").x(), rectOf("forwardButton").x()) << "time runs from left to right everywhere";
    QCoreApplication::removeTranslator(&language);
    QGuiApplication::setLayoutDirection(Qt::LeftToRight);
    waitUntilIdle();
    EXPECT_EQ(screen->item("closeButton")->property("hint"), QStringLiteral("Close"));
    EXPECT_EQ(rectOf("drawingShapeView"), strip);
}

TEST_F(ConfiguredScreenTest, ReducedMotionShowsEverythingWithoutAnimation) {
    QTemporaryDir folder;
    const auto write = [&](const char* name, const char* text) {
        QFile file(folder.filePath(QLatin1String(name)));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    };
    ASSERT_TRUE(QDir(folder.path()).mkpath(QStringLiteral("gtk-3.0")));
    EXPECT_FALSE(qt::Motion::isReducedBy(folder.path()));
    write("gtk-3.0/settings.ini", "[Settings]\ngtk-enable-animations=0\n");
    EXPECT_TRUE(qt::Motion::isReducedBy(folder.path()));
    write("kdeglobals", "[KDE]\nAnimationDurationFactor=0.5\n");
    EXPECT_FALSE(qt::Motion::isReducedBy(folder.path()));
    write("kdeglobals", "[KDE]\nAnimationDurationFactor=0\n");
    EXPECT_TRUE(qt::Motion::isReducedBy(folder.path()));

    QtQuickPlatform::setReducesMotion(true);
    open({clip("h264.mp4")});
    for (int round = 0; round < 2; ++round) {
        mainStore().dispatch(SetColorPickerCollapseStateAction(true));
        ASSERT_TRUE(until([&] { return screen->item("colorPickerView") != nullptr; }));
        const QImage first = screen->grab();
        EXPECT_TRUE(isNear(first.pixelColor(swatch(Color::rgb255(41, 98, 255)).toPoint()), QColor(41, 98, 255)));
        waitUntilIdle();
        EXPECT_EQ(screen->grab(), first) << "nothing has moved since";
        mainStore().dispatch(SetColorPickerCollapseStateAction(false));
        waitUntilIdle();
    }
}

void collectViews(const std::shared_ptr<ui::View>& view, std::vector<std::weak_ptr<ui::View>>& views) {
    views.push_back(view);
    for (const auto& below : view->subviews()) collectViews(below, views);
}

void collectItems(const QQuickItem& item, QList<QPointer<const QQuickItem>>& items) {
    for (const QQuickItem* child : item.childItems()) {
        items << child;
        collectItems(*child, items);
    }
}

// Whatever one visit makes is gone after it: views, items, controllers and players.
TEST_F(ConfiguredScreenTest, HundredVisitsLeakNothing) {
    QtQuickPlatform::setReducesMotion(true);
    open({clip("h264.mp4")});
    close();
    QList<QPointer<const QQuickItem>> standing;
    collectItems(*host->window().contentItem(), standing);

    std::vector<std::weak_ptr<ui::View>> views;
    std::vector<std::weak_ptr<ui::ViewController>> controllers;
    std::vector<std::weak_ptr<PlayerCollectionViewCellController>> players;
    std::vector<std::weak_ptr<media::Player>> mediaPlayers;
    QList<QPointer<const QQuickItem>> items;
    for (int visit = 0; visit < 100; ++visit) {
        host->openAnalysis();
        ASSERT_TRUE(until([&] { return screen->playerCount() == 1 && screen->item("closeButton"); })) << visit;
        const auto main = MainViewController::of(mainStore().state());
        collectViews(main->view(), views);
        collectViews(main->overlayViewController()->view(), views);
        controllers.insert(controllers.end(), {main, main->overlayViewController()});
        for (const auto& player : main->playersManager()->cellControllers) players.push_back(player);
        mediaPlayers.push_back(screen->player(0));
        collectItems(*host->window().contentItem(), items);
        ASSERT_TRUE(screen->click("closeButton"));
        waitUntilClosed();
    }
    const auto living = [](const auto& all) {
        return std::count_if(all.begin(), all.end(), [](const auto& one) { return !one.expired(); });
    };
    EXPECT_TRUE(until("the last visit's views are gone", [&] { return living(views) == 0; }));
    EXPECT_GT(views.size(), 3000U);
    EXPECT_EQ(living(views), 0);
    EXPECT_EQ(living(controllers), 0);
    EXPECT_EQ(living(players), 0);
    EXPECT_EQ(living(mediaPlayers), 0);
    items.removeIf([&](const auto& item) { return item.isNull() || standing.contains(item); });
    EXPECT_EQ(items.size(), 0);
    QList<QPointer<const QQuickItem>> after;
    collectItems(*host->window().contentItem(), after);
    EXPECT_EQ(after.size(), standing.size());
}

// ---- Sharpness, each scale in a separate process

TEST_F(ConfiguredScreenTest, DISABLED_GlyphsAreDrawnInThePixelsOfTheScreen) {
    open({clip("h264.mp4")}, QSize(640, 640));
    const double scale = qEnvironmentVariable("QT_SCALE_FACTOR").toDouble();
    ASSERT_EQ(host->window().effectiveDevicePixelRatio(), scale);
    const QImage grabbed = screen->grab().convertToFormat(QImage::Format_RGB32);
    ASSERT_EQ(grabbed.size(), QSize(640, 640) * scale);

    // White on black: a pixel's grey is the glyph's coverage of it.
    const int side = qRound(24 * scale);
    QImage expected(side, side, QImage::Format_RGB32);
    expected.fill(Qt::black);
    QPainter painter(&expected);
    QSvgRenderer renderer(QStringLiteral(VIDEOANALYSIS_RESOURCES_DIR "/Images/close.svg"));
    QImage glyph(side, side, QImage::Format_ARGB32_Premultiplied);
    glyph.fill(Qt::transparent);
    QPainter glyphPainter(&glyph);
    renderer.render(&glyphPainter);
    glyphPainter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    glyphPainter.fillRect(glyph.rect(), Qt::white);
    glyphPainter.end();
    painter.drawImage(0, 0, glyph);
    painter.end();
    const QPointF corner = (rectOf("closeButton").center() - QPointF(12, 12)) * scale;
    const QImage shown = grabbed.copy(QRect(corner.toPoint(), expected.size()));
    int worst = 0;
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            worst = std::max(worst, std::abs(qGray(shown.pixel(x, y)) - qGray(expected.pixel(x, y))));
        }
    }
    EXPECT_LE(worst, 2);
}

TEST(ScaleTest, GlyphsAreSharpAtEveryScreenScale) {
    for (const char* scale : {"1", "1.5", "2", "3"}) {
        ChildTest child("GlyphsAreDrawnInThePixelsOfTheScreen", {{"QT_SCALE_FACTOR", QLatin1String(scale)}});
        EXPECT_TRUE(child.hasPassed()) << scale;
    }
}

}  // namespace
}  // namespace videoanalysis
