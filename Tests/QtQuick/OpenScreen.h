#pragma once

// An analysis of some clips on a real screen in memory, worked with synthetic mouse and touch input: the ground of the tests of the screen.

#include "Host/HostApplication.h"
#include "Testing/ScreenDriver.h"
#include "VideoAnalysis/Analysis/State.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCellController.h"
#include "VideoAnalysis/Screen/MainViewController.h"
#include "VideoAnalysis/Screen/PlayersManager.h"

#include <QDir>
#include <QStringList>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>

namespace videoanalysis {

class OpenScreen : public testing::Test {
protected:
    static QString clip(const char* name) {
        return QStringLiteral(VIDEOANALYSIS_TEST_CLIPS_DIR "/") + QLatin1String(name);
    }

    /// Opens the analysis and waits until every clip shows a picture or has failed.
    void open(const QStringList& clips, QSize size = QSize(1280, 800)) {
        host = std::make_shared<host::HostApplication>(clips, [this](const QString& line) { reports << line; });
        host->window().resize(size);
        host->show();
        screen = std::make_unique<host::ScreenDriver>(host->window());
        reopen();
    }

    void reopen() {
        host->openAnalysis();
        const auto count = static_cast<std::size_t>(host->clipNames().size());
        ASSERT_TRUE(until("every clip has a player", [&] { return screen->playerCount() == count; }));
        for (std::size_t index = 0; index < count; ++index) {
            ASSERT_TRUE(until("the clip shows a picture or has failed", [&] {
                const auto player = screen->player(index);
                return player &&
                       (player->currentFrame() || player->currentItem()->status() == media::ItemStatus::failed);
            })) << index;
        }
        ASSERT_TRUE(until("the controls are on the screen", [&] { return screen->item("closeButton") != nullptr; }));
        waitUntilIdle();
    }

    void close() {
        ASSERT_TRUE(screen->click(QStringLiteral("closeButton")));
        waitUntilClosed();
    }

    // ---- Waiting

    /// Lets the event loop run until `condition` holds. A failure says what was waited for, what `saw` reports (may be
    /// empty), and what the screen showed when it gave up.
    testing::AssertionResult until(const char* what, const std::function<bool()>& condition,
                                   const std::function<std::string()>& saw = {}, int milliseconds = 10000) const {
        if (host::ScreenDriver::wait(condition, milliseconds)) return testing::AssertionSuccess();
        auto failure = testing::AssertionFailure() << "gave up after " << milliseconds << " ms waiting until " << what;
        if (saw) failure << "; saw " << saw();
        if (screen) failure << "; " << screen->description().toStdString();
        return failure;
    }
    testing::AssertionResult until(const std::function<bool()>& condition, int milliseconds = 10000) const {
        return until("the condition holds", condition, {}, milliseconds);
    }
    /// Everything that moves has arrived, and what was dispatched is on the screen.
    void waitUntilIdle() const { EXPECT_TRUE(screen->waitUntilIdle()) << screen->description().toStdString(); }
    void waitUntilClosed() const {
        EXPECT_TRUE(until("the analysis is gone", [&] { return !screen->item("playersCollectionView"); }));
        waitUntilIdle();
    }
    void waitForFrame(std::size_t player, std::int64_t frame) const {
        EXPECT_TRUE(until("the frame is shown", [&] { return screen->frameIndex(player) == frame; }))
            << "player " << player + 1 << ", frame " << frame;
    }
    /// The stored drawings of every clip have been loaded.
    void waitForFirstLoads() const {
        EXPECT_TRUE(until("every clip has loaded its drawings", [] {
            const auto& players = MainViewController::of(mainStore().state())->playersManager()->cellControllers;
            return std::none_of(players.begin(), players.end(), [](const auto& each) { return each->isFirstLoad; });
        }));
        waitUntilIdle();
    }

    /// The number in the pixels of the window.
    std::int64_t shownFrame(std::size_t player) const {
        return screen->shownFrameNumber(player, screen->grab()).value_or(-1);
    }

    /// A point of a player's picture, each coordinate 0...1, in the window's points.
    QPointF at(std::size_t player, double x, double y) const {
        const QRectF picture = screen->pictureOf(player);
        return {picture.left() + picture.width() * x, picture.top() + picture.height() * y};
    }

    /// A straight stroke across a player's picture, at a height of 0...1.
    std::vector<QPointF> stroke(std::size_t player, double height) const {
        std::vector<QPointF> points;
        for (double x = 0.3; x < 0.7; x += 0.02) points.push_back(at(player, x, height));
        return points;
    }

    /// Whether the pen's own colour is at (or one pixel beside) that place of the picture.
    bool isInked(std::size_t player, double x, double y) const { return isInked(screen->grab(), at(player, x, y)); }
    static bool isInked(const QImage& window, QPointF point) {
        const QPoint centre = point.toPoint();
        for (const QPoint offset : {QPoint(0, 0), QPoint(0, 1), QPoint(0, -1), QPoint(1, 0), QPoint(-1, 0)}) {
            if (isNear(window.pixelColor(centre + offset), QColor(0, 229, 255))) return true;
        }
        return false;
    }
    /// Equal but for rounding.
    static bool isNear(const QColor& a, const QColor& b) {
        return std::abs(a.red() - b.red()) <= 2 && std::abs(a.green() - b.green()) <= 2 &&
               std::abs(a.blue() - b.blue()) <= 2;
    }

    /// With VIDEOANALYSIS_PICTURES naming a folder, the window's picture goes there: to be looked at, and for the documentation.
    void save(const QString& name) const {
        const char* folder = std::getenv("VIDEOANALYSIS_PICTURES");
        if (!folder) return;
        waitUntilIdle();
        screen->grab().save(QDir(QString::fromLocal8Bit(folder)).filePath(name));
    }

    void TearDown() override {
        if (host && screen->playerCount() > 0) close();
    }

    std::shared_ptr<host::HostApplication> host;
    std::unique_ptr<host::ScreenDriver> screen;
    QStringList reports;
};

}  // namespace videoanalysis
