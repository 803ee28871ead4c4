#pragma once

// An analysis of some clips on a real screen in memory, worked with synthetic mouse and touch input.

#include "Host/HostApplication.h"
#include "Testing/ScreenDriver.h"

#include <QDir>
#include <QStringList>

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

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
        ASSERT_TRUE(screen->wait([&] { return screen->playerCount() == count; }));
        for (std::size_t index = 0; index < count; ++index) {
            ASSERT_TRUE(screen->wait([&] {
                const auto player = screen->player(index);
                return player &&
                       (player->currentFrame() || player->currentItem()->status() == media::ItemStatus::failed);
            })) << index;
        }
        settle();
    }

    void close() {
        ASSERT_TRUE(screen->click(QStringLiteral("closeButton")));
        ASSERT_TRUE(screen->wait([&] { return screen->playerCount() == 0; }));
        settle();
    }

    /// Fades end, delayed loads have run, the picture stays.
    void settle() const { screen->wait(350); }

    void waitForFrame(std::size_t player, std::int64_t frame) const {
        EXPECT_TRUE(screen->wait([&] { return screen->frameIndex(player) == frame; }))
            << "player " << player << " shows " << screen->frameIndex(player).value_or(-1) << " instead of " << frame;
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
        screen->wait(800);  // what arrives in the background is there
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
