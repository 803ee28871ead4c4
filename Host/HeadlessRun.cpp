#include "Host/HeadlessRun.h"

#include "Host/HostApplication.h"
#include "Testing/ScreenDriver.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTextStream>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <utility>

namespace videoanalysis::host {
namespace {

constexpr int badInput = 2;
constexpr int screenFailed = 1;
constexpr int framesToPlay = 12;
constexpr QSize windowSize(1280, 800);

void complain(const QString& line) { std::fprintf(stderr, "video-analysis: %s\n", qPrintable(line)); }

void complainAbout(const QString& folder, const QFile& file) {
    complain(QStringLiteral("cannot write into %1: %2").arg(folder, file.errorString()));
}

/// A wavy stroke across a picture, `height` (0...1) from its top.
std::vector<QPointF> wave(const QRectF& picture, double height) {
    constexpr int steps = 40;
    std::vector<QPointF> points;
    for (int i = 0; i <= steps; ++i) {
        const double along = static_cast<double>(i) / steps;
        points.emplace_back(picture.left() + picture.width() * (0.3 + 0.4 * along),
                            picture.top() +
                                picture.height() * (height + 0.06 * std::sin(along * 2 * std::numbers::pi)));
    }
    return points;
}

/// One run on an open window.
class Session {
public:
    Session(HostApplication& host, QTextStream& log) : host_(host), driver_(host.window()), log_(log) {
        timer_.start();
    }

    /// Whether every step has succeeded.
    bool work(std::size_t clipCount) {
        const auto hasOpened = [&] { return driver_.playerCount() == clipCount; };
        if (!driver_.wait(hasOpened)) return fail("the screen did not appear");
        const auto isSettled = [&](std::size_t index) {
            const auto player = driver_.player(index);
            const auto status = player ? player->currentItem()->status() : media::ItemStatus::unknown;
            return status == media::ItemStatus::failed || (player && player->currentFrame());
        };
        for (std::size_t index = 0; index < clipCount; ++index) {
            if (!driver_.wait([&] { return isSettled(index); }, 30000)) return fail("a clip did not become ready");
            if (driver_.player(index)->currentFrame()) players_.push_back(index);
        }
        if (!driver_.wait([&] { return driver_.item(QStringLiteral("closeButton")) != nullptr; }))
            return fail("the controls did not appear");
        driver_.waitUntilIdle();
        note("opened");

        play();
        for (const std::size_t index : players_) {
            for (int i = 0; i < 3; ++i) step("forwardButton", index, 1);
            step("rewindButton", index, -1);
        }
        for (const std::size_t index : players_) draw(index);
        return isFine_;
    }

    QImage grab() const { return driver_.grab(); }

private:
    bool fail(const char* what) {
        log_ << "failed: " << what << '\n';
        complain(QLatin1String(what));
        return isFine_ = false;
    }

    void play() {
        for (const std::size_t index : players_) {
            press("playPauseButton", index);
            driver_.wait([&] { return driver_.frameIndex(index).value_or(0) >= framesToPlay || isAtRest(index); },
                         5000);
        }
        for (const std::size_t index : players_) {
            if (!isAtRest(index)) press("playPauseButton", index);
            if (!driver_.wait([&] { return isAtRest(index); })) fail("a clip did not pause");
        }
        driver_.waitUntilIdle();
        note("played and paused");
    }

    /// Presses a button that moves the player by `count` frames.
    void step(const char* button, std::size_t index, int count) {
        const std::int64_t wanted = driver_.frameIndex(index).value_or(0) + count;
        press(button, index);
        if (!driver_.wait([&] { return driver_.frameIndex(index) == wanted; })) fail(button);
        note(QStringLiteral("player %1: %2").arg(index + 1).arg(QLatin1String(button)));
    }

    /// Draws two strokes, undoes the second one and draws a third.
    void draw(std::size_t index) {
        const QRectF picture = driver_.pictureOf(index);
        const auto stroke = [&](double height) {
            const std::vector<QPointF> points = wave(picture, height);
            const QImage before = grab();
            if (index == 0) {
                driver_.drawWithMouse(points);
            } else {
                driver_.drawWithTouch(points);
            }
            driver_.waitUntilIdle();
            note(QStringLiteral("player %1: drew with the %2, %3 pixels changed")
                     .arg(index + 1)
                     .arg(index == 0 ? QStringLiteral("mouse") : QStringLiteral("finger"))
                     .arg(changedPixels(before, grab(), picture)));
        };
        stroke(0.35);
        stroke(0.5);
        const QImage drawn = grab();
        press("undoButton", index);
        driver_.waitUntilIdle();
        note(QStringLiteral("player %1: undid one, %2 pixels changed")
                 .arg(index + 1)
                 .arg(changedPixels(drawn, grab(), picture)));
        stroke(0.65);
    }

    bool isAtRest(std::size_t index) const { return driver_.player(index)->rate() == 0; }

    void press(const char* name, std::size_t index) {
        if (!driver_.click(QLatin1String(name), index)) fail(name);
    }

    /// The count of pixels that differ.
    int changedPixels(const QImage& before, const QImage& after, const QRectF& picture) const {
        const double scale = host_.window().effectiveDevicePixelRatio();
        const QRect pixels =
            QRectF(picture.topLeft() * scale, picture.size() * scale).toRect() & before.rect() & after.rect();
        int count = 0;
        for (int y = pixels.top(); y <= pixels.bottom(); ++y) {
            for (int x = pixels.left(); x <= pixels.right(); ++x) count += before.pixel(x, y) != after.pixel(x, y);
        }
        return count;
    }

    /// Logs an event with the frame numbers, as reported by the players and as read from the window's pixels.
    void note(const QString& what) {
        log_ << QStringLiteral("%1 s  %2").arg(static_cast<double>(timer_.elapsed()) / 1000, 7, 'f', 3).arg(what);
        const QImage window = grab();
        for (const std::size_t index : players_) {
            const auto shown = driver_.shownFrameNumber(index, window);
            log_ << QStringLiteral("; player %1 frame %2").arg(index + 1).arg(driver_.frameIndex(index).value_or(-1));
            if (shown) log_ << QStringLiteral(" (window shows %1)").arg(*shown);
        }
        log_ << '\n';
        log_.flush();
    }

    HostApplication& host_;
    ScreenDriver driver_;
    QTextStream& log_;
    QElapsedTimer timer_;
    std::vector<std::size_t> players_;  ///< those with a video picture
    bool isFine_ = true;
};

JSON stacksOf(const HostApplication& host) {
    JSON players = JSON::array({});
    for (const VideoAnalysisController::Object& media : host.analysis()->currentMedia()) {
        JSON player;
        player.set("url", media.url.absoluteString());
        player.set("stack", media.stack.value_or(JSON()));
        players.append(std::move(player));
    }
    JSON result;
    result.set("players", std::move(players));
    return result;
}

}  // namespace

int HeadlessRun::run(const QStringList& clips, const QString& folder) {
    const QDir directory(folder);
    QFile log(directory.filePath(QStringLiteral("session.log")));
    QFile stack(directory.filePath(QStringLiteral("stack.json")));
    QFile screen(directory.filePath(QStringLiteral("screen.png")));
    constexpr auto mode = QIODevice::WriteOnly | QIODevice::Truncate;
    if (!QDir().mkpath(folder) || !log.open(mode) || !stack.open(mode) || !screen.open(mode)) {
        complain(QStringLiteral("cannot write into %1").arg(folder));
        return badInput;
    }
    QTextStream text(&log);
    bool someFailed = false;
    const auto host = std::make_shared<HostApplication>(clips.isEmpty() ? HostApplication::sampleClips() : clips,
                                                        [&](const QString& line) {
                                                            complain(line);
                                                            text << "clip failed: " << line << '\n';
                                                            someFailed = true;
                                                        });
    host->window().resize(windowSize);
    host->show();
    host->openAnalysis();
    Session session(*host, text);
    const bool isFine = session.work(static_cast<std::size_t>(host->clipNames().size()));
    QBuffer picture;  // encoded in memory, because the PNG library prints its own line about a full disk
    picture.open(QIODevice::WriteOnly);
    session.grab().save(&picture, "PNG");
    screen.write(picture.data());
    stack.write(stacksOf(*host).serialized().c_str());
    text.flush();
    bool isWritten = true;
    for (QFile* file : {&log, &stack, &screen}) {
        // A full disk is detected only when the buffers are flushed.
        const bool isComplete = file->flush() && file->error() == QFileDevice::NoError && file->size() > 0;
        if (!isComplete && std::exchange(isWritten, false)) complainAbout(folder, *file);
    }
    if (!isFine) return screenFailed;
    return someFailed || !isWritten ? badInput : 0;
}

}  // namespace videoanalysis::host
