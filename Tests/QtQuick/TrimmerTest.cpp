// The trim screen as a person meets it: over the analysis, worked with the mouse, fingers and keys, its result on the screen.

#include "Platforms/QtQuick/CropViewItem.h"
#include "Platforms/QtQuick/TrimmerViewItem.h"
#include "QtQuick/OpenScreen.h"
#include "Testing/FrameNumber.h"
#include "VideoAnalysis/Analysis/Actions.h"
#include "VideoAnalysis/Trimming/TrimmerView.h"
#include "VideoAnalysis/Video/VideoView.h"

#include <QDir>
#include <QTest>

#include <cstdlib>

namespace videoanalysis {
namespace {

class TrimScreen : public OpenScreen {
protected:
    void openTrimmer(const QStringList& clips, QSize size = QSize(1280, 800)) {
        open(clips, size);
        host->editMedia(0);
        ASSERT_TRUE(until([&] { return trimmer() && trimmer()->isEnabled() && trimmer()->thumbnailCount() > 0; }));
        waitUntilIdle();
    }
    qt::TrimmerViewItem* trimmer() const {
        return qobject_cast<qt::TrimmerViewItem*>(screen->item(QStringLiteral("trimmerView")));
    }
    qt::CropViewItem* crop() const { return qobject_cast<qt::CropViewItem*>(screen->item(QStringLiteral("cropView"))); }
    bool isOpen() const { return trimmer() != nullptr; }
    void leave() {
        ASSERT_TRUE(screen->click(QStringLiteral("cancelButton")));
        ASSERT_TRUE(until([&] { return !isOpen(); }));
    }

    QPointF inRow(double x) const {
        const QRectF rect = host::ScreenDriver::rectOf(trimmer());
        return {rect.left() + x, rect.center().y()};
    }
    /// The number in the pixels of the trim screen's picture.
    int shownNumber() const {
        const QImage window = screen->grab();
        const QRectF picture = host::ScreenDriver::rectOf(screen->item(QStringLiteral("videoView")));
        const double scale = window.devicePixelRatio();
        return readFrameNumber(
                   window.constBits(), window.width(), window.height(), window.bytesPerLine(),
                   {picture.x() * scale, picture.y() * scale, picture.width() * scale, picture.height() * scale})
            .value_or(-1);
    }
};

TEST_F(TrimScreen, SavedTrimReplacesTheClip) {
    openTrimmer({clip("h264.mp4")});
    ASSERT_TRUE(screen->click(QStringLiteral("playButton"), 0));  // pauses
    // The picture under the handle is shown while it moves: the first one that is kept, then the last.
    const QPointF start = inRow(trimmer()->startX() - 10);
    const double perSecond = (trimmer()->endX() - trimmer()->startX()) / 4;
    screen->pressMouse(start);
    screen->moveMouse(start + QPointF(perSecond, 0));
    EXPECT_TRUE(until([&] { return shownNumber() == 30; })) << shownNumber();
    screen->releaseMouse(start + QPointF(perSecond, 0));
    const QPointF end = inRow(trimmer()->endX() + 10);
    screen->pressMouse(end);
    screen->moveMouse(end - QPointF(perSecond, 0));
    EXPECT_TRUE(until([&] { return shownNumber() == 89; })) << shownNumber();
    screen->releaseMouse(end - QPointF(perSecond, 0));
    EXPECT_NEAR(trimmer()->startTime(), 1, 0.001);
    EXPECT_NEAR(trimmer()->endTime(), 3, 0.001);

    ASSERT_TRUE(screen->click(QStringLiteral("saveButton")));
    ASSERT_TRUE(until([&] { return !isOpen(); }, 20000));
    ASSERT_TRUE(until([&] {
        const auto player = screen->player(0);
        return player && player->currentFrame() && player->currentItem()->duration().seconds() < 3;
    }));
    waitUntilIdle();
    EXPECT_NEAR(screen->player(0)->currentItem()->duration().seconds(), 2, 0.001);
    EXPECT_EQ(shownFrame(0), 30);
    EXPECT_TRUE(reports.isEmpty()) << reports.join(QLatin1Char('\n')).toStdString();
}

TEST_F(TrimScreen, TrimsByKeyboardAndClosesWithEscape) {
    openTrimmer({clip("h264.mp4")});
    QTest::keyClick(&host->window(), Qt::Key_Space);  // pauses
    const auto focus = [&](const QString& name) {
        for (int tab = 0; tab < 40; ++tab) {
            QTest::keyClick(&host->window(), Qt::Key_Tab);
            const QQuickItem* item = host->window().activeFocusItem();
            if (item && item->property("hint").toString() == name) return true;
        }
        return false;
    };
    ASSERT_TRUE(focus(QStringLiteral("Beginning")));
    QTest::keyClick(&host->window(), Qt::Key_Right);
    QTest::keyClick(&host->window(), Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_NEAR(trimmer()->startTime(), 11 / 30.0, 1e-6);
    EXPECT_TRUE(until([&] { return shownNumber() == 11; })) << shownNumber();
    ASSERT_TRUE(focus(QStringLiteral("End")));
    QTest::keyClick(&host->window(), Qt::Key_Left);
    EXPECT_TRUE(until([&] { return shownNumber() == 118; })) << shownNumber();
    QTest::keyClick(&host->window(), Qt::Key_Escape);
    EXPECT_TRUE(until([&] { return !isOpen(); }));
    EXPECT_EQ(screen->playerCount(), 1U);
    EXPECT_NEAR(screen->player(0)->currentItem()->duration().seconds(), 4, 0.001);
}

TEST_F(TrimScreen, KeyPressIsOneFrameAtVariableRate) {
    openTrimmer({clip("variable.mp4")});
    ASSERT_TRUE(screen->click(QStringLiteral("playButton"), 0));  // pauses
    QTest::keyClick(&host->window(), Qt::Key_Tab);
    const auto focusOn = [&](const QString& name) {
        for (int tab = 0; tab < 40; ++tab) {
            const QQuickItem* item = host->window().activeFocusItem();
            if (item && item->objectName() == name) return true;
            QTest::keyClick(&host->window(), Qt::Key_Tab);
        }
        return false;
    };
    ASSERT_TRUE(focusOn(QStringLiteral("positionBar")));
    for (int press = 0; press < 130; ++press) QTest::keyClick(&host->window(), Qt::Key_Left);
    EXPECT_TRUE(until([&] { return shownNumber() == 0; })) << shownNumber();
    // Faster than pictures come, and after a while at rest.
    for (int press = 1; press <= 60; ++press) {
        QTest::keyClick(&host->window(), Qt::Key_Right);
        if (press % 7 == 0) QCoreApplication::processEvents();
    }
    EXPECT_TRUE(until([&] { return shownNumber() == 60; })) << shownNumber();
    for (int number = 61; number <= 66; ++number) {
        QTest::keyClick(&host->window(), Qt::Key_Right);
        EXPECT_TRUE(until([&] { return shownNumber() == number; })) << shownNumber();
    }
    QTest::keyClick(&host->window(), Qt::Key_Left, Qt::ShiftModifier);
    EXPECT_TRUE(until([&] { return shownNumber() == 56; })) << shownNumber();
    leave();
}

TEST_F(TrimScreen, LoopNeverShowsTheFrameAfterTheCut) {
    openTrimmer({clip("gop250.mp4")});
    ASSERT_TRUE(screen->click(QStringLiteral("playButton"), 0));  // pauses
    auto* view = static_cast<TrimmerView*>(trimmer()->view());
    view->setEnd(6);
    view->setStart(5);
    const auto player =
        static_cast<VideoView*>(static_cast<qt::ViewItem*>(screen->item(QStringLiteral("videoView")))->view())
            ->player();
    ASSERT_TRUE(player);
    std::vector<std::int64_t> shown;
    ASSERT_TRUE(screen->click(QStringLiteral("playButton"), 0));
    ASSERT_TRUE(until([&] { return player->currentFrame()->index() >= 150; }));
    const auto token = player->observeFrame([&] { shown.push_back(player->currentFrame()->index()); });
    const auto rounds = [&] {
        int count = 0;
        for (std::size_t i = 1; i < shown.size(); ++i) count += shown[i] < shown[i - 1] ? 1 : 0;
        return count;
    };
    ASSERT_TRUE(until([&] { return rounds() >= 2; }, 20000));
    for (const std::int64_t frame : shown) {
        EXPECT_GE(frame, 150);
        EXPECT_LE(frame, 179);
    }
    leave();
}

TEST_F(TrimScreen, MaskShowsThePartThatIsSaved) {
    openTrimmer({clip("h264.mp4")});
    ASSERT_TRUE(screen->click(QStringLiteral("cropButton")));
    ASSERT_TRUE(until([&] { return crop()->isCropping(); }));
    ASSERT_TRUE(screen->click(QStringLiteral("aspectButtons"), 1));
    waitUntilIdle();  // the row of shapes takes its room
    const QRectF mask = crop()->maskRect();
    EXPECT_NEAR(mask.width(), mask.height(), 1e-6);
    // The picture goes left with the finger, so that its right end fills the mask.
    const QPointF corner = host::ScreenDriver::rectOf(crop()).topLeft();
    screen->drawWithTouch(
        {corner + mask.center(), corner + mask.center() - QPointF(60, 0), corner + mask.center() - QPointF(900, 0)});
    EXPECT_NEAR(crop()->pictureRect().right(), mask.right(), 1);
    save(QStringLiteral("cropping.png"));
    ASSERT_TRUE(screen->click(QStringLiteral("saveButton")));
    ASSERT_TRUE(until([&] { return !isOpen(); }, 30000));
    ASSERT_TRUE(until([&] {
        const auto player = screen->player(0);
        return player && player->currentFrame() && player->currentItem()->presentationSize().width < 400;
    }));
    EXPECT_EQ(screen->player(0)->currentItem()->presentationSize().width, 360);
    EXPECT_EQ(screen->player(0)->currentItem()->presentationSize().height, 360);
    EXPECT_NEAR(screen->player(0)->currentItem()->duration().seconds(), 4, 0.001);
}

TEST_F(TrimScreen, BlocksInputBelowAndClosesWithTheAnalysis) {
    openTrimmer({clip("h264.mp4"), clip("gop1.mp4")}, QSize(1024, 768));
    const QRectF close = host::ScreenDriver::rectOf(screen->item(QStringLiteral("closeButton")));
    screen->clickAt(close.center());
    waitUntilIdle();
    EXPECT_TRUE(isOpen());
    EXPECT_EQ(screen->playerCount(), 2U);
    // The host ends the analysis while the trim screen is open.
    mainStore().dispatch(DismissAction(true, {}));
    mainStore().dispatch(ClearStateAction());
    EXPECT_TRUE(until([&] { return !isOpen(); }));
    waitUntilClosed();
}

TEST_F(TrimScreen, ProgramMayQuitWhileItIsOpen) {
    openTrimmer({clip("h264.mp4"), clip("gop1.mp4")}, QSize(1024, 768));
    waitUntilIdle();
    host.reset();
}

TEST_F(TrimScreen, OpensFromTheMenuAndByKeys) {
    open({clip("h264.mp4"), clip("gop1.mp4")});
    QTest::keyClick(&host->window(), Qt::Key_E, Qt::ControlModifier | Qt::ShiftModifier);
    ASSERT_TRUE(until([&] { return trimmer() && trimmer()->isEnabled(); }));
    waitUntilIdle();
    save(QStringLiteral("trim-two-players.png"));
    QTest::keyClick(&host->window(), Qt::Key_Escape);
    ASSERT_TRUE(until([&] { return !isOpen(); }));
    waitUntilIdle();
    QTest::keyClick(&host->window(), Qt::Key_F10);
    const auto* entry =
        host->window().rootObject()->parentItem()->findChild<QQuickItem*>(QStringLiteral("trimFirstEntry"));
    ASSERT_TRUE(entry && entry->isVisible());
    save(QStringLiteral("menu.png"));
    screen->clickAt(host::ScreenDriver::rectOf(entry).center());
    EXPECT_TRUE(until([&] { return isOpen(); }));
    EXPECT_FALSE(entry->isVisible());
    ASSERT_TRUE(until([&] { return trimmer()->isEnabled(); }));
    ASSERT_TRUE(screen->click(QStringLiteral("cancelButton")));
    ASSERT_TRUE(until([&] { return !isOpen(); }));
}

TEST_F(TrimScreen, HandleHeldStillZoomsIn) {
    openTrimmer({QStringLiteral(VIDEOANALYSIS_SAMPLE_CLIPS_DIR "/runner.mp4")});
    const QPointF start = inRow(trimmer()->startX() - 10);
    screen->pressMouse(start);
    screen->moveMouse(start + QPointF(200, 0));
    EXPECT_TRUE(until([&] { return trimmer()->isZoomed(); }, 3000));
    save(QStringLiteral("zoomed.png"));
    screen->releaseMouse(start + QPointF(200, 0));
    EXPECT_FALSE(trimmer()->isZoomed());
    ASSERT_TRUE(screen->click(QStringLiteral("cancelButton")));
    ASSERT_TRUE(until([&] { return !isOpen(); }));
}

TEST_F(TrimScreen, SavingShowsProgressAndCanBeCancelled) {
    openTrimmer({QStringLiteral(VIDEOANALYSIS_SAMPLE_CLIPS_DIR "/runner.mp4")});
    ASSERT_TRUE(screen->click(QStringLiteral("cropButton")));
    waitUntilIdle();
    screen->drawWithMouse({host::ScreenDriver::rectOf(crop()).topLeft() + crop()->maskRect().topLeft() + QPointF(2, 2),
                           host::ScreenDriver::rectOf(crop()).center() - QPointF(120, 90)});
    EXPECT_LT(crop()->maskRect().width(), crop()->pictureRect().width());
    ASSERT_TRUE(screen->click(QStringLiteral("saveButton")));
    ASSERT_TRUE(until([&] { return screen->item(QStringLiteral("progressView")) != nullptr; }));
    if (crop()->isLocked()) {  // not over already
        const QRectF mask = crop()->maskRect();
        const QPointF middle = host::ScreenDriver::rectOf(crop()).topLeft() + mask.center();
        screen->drawWithMouse({middle, middle + QPointF(40, 30)});
        EXPECT_EQ(crop()->maskRect(), mask);
    }
    save(QStringLiteral("saving.png"));
    ASSERT_TRUE(screen->click(QStringLiteral("cancelButton")));
    EXPECT_TRUE(until([&] { return screen->item(QStringLiteral("progressView")) == nullptr; }));
    // Cancelled, or just in time: either way the screen or the new clip is there.
    waitUntilIdle();
    if (isOpen()) {
        EXPECT_TRUE(trimmer()->isEnabled());
        ASSERT_TRUE(screen->click(QStringLiteral("cancelButton")));
        ASSERT_TRUE(until([&] { return !isOpen(); }));
    }
}

TEST_F(TrimScreen, ControlsFitEveryScreen) {
    for (const QSize size : {QSize(360, 640), QSize(1024, 768), QSize(1920, 1080)}) {
        SCOPED_TRACE(size.width());
        openTrimmer({QStringLiteral(VIDEOANALYSIS_SAMPLE_CLIPS_DIR "/runner.mp4")}, size);
        const QString name = QStringLiteral("%1x%2").arg(size.width()).arg(size.height());
        save(QStringLiteral("trim-%1.png").arg(name));
        ASSERT_TRUE(screen->click(QStringLiteral("cropButton")));
        ASSERT_TRUE(screen->click(QStringLiteral("aspectButtons"), 3));
        ASSERT_TRUE(screen->click(QStringLiteral("aspectButtons"), 0));
        save(QStringLiteral("crop-%1.png").arg(name));
        const QRectF window({0, 0}, QSizeF(size));
        for (const char* outlet :
             {"cancelButton", "saveButton", "playButton", "cropButton", "aspectButtons", "trimmerView"}) {
            const auto items = screen->items(QString::fromLatin1(outlet));
            ASSERT_FALSE(items.empty()) << outlet;
            for (const QQuickItem* item : items) {
                const QRectF rect = host::ScreenDriver::rectOf(item);
                EXPECT_GE(rect.width(), 44) << outlet;
                EXPECT_GE(rect.height(), 44) << outlet;
                EXPECT_TRUE(window.contains(rect)) << outlet;
            }
        }
        EXPECT_GT(crop()->maskRect().width(), 200);
        ASSERT_TRUE(screen->click(QStringLiteral("cancelButton")));
        ASSERT_TRUE(until([&] { return !isOpen(); }));
        close();
    }
}

}  // namespace
}  // namespace videoanalysis
