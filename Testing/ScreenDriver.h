#pragma once
// Works an analysis screen from outside: finds controls where they are in the window, presses them and draws with synthetic
// mouse and touch input, waits for what comes of it, and reads what is shown. For end-to-end tests, benchmarks and the run
// without a display.

#include "VideoAnalysis/Platform/Media.h"

#include <QEventPoint>
#include <QImage>
#include <QLineF>
#include <QPointF>
#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>
#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace videoanalysis::host {

/// A finger in a touch event; every finger on the screen is in each event.
struct Finger {
    int id = 0;
    QEventPoint::State state = QEventPoint::Pressed;
    QPointF position;
};

/// Main thread. Positions are points in the window. Input is delivered and handled before the call returns. Its time stamps are
/// the driver's own: they pass as `rest` says, not by the clock, so that a gesture takes no longer than its events.
class ScreenDriver {
public:
    explicit ScreenDriver(QQuickWindow& window);
    ~ScreenDriver();

    // ---- What is on the screen

    /// The visible items that are the outlet `name`, those of the first player first.
    std::vector<QQuickItem*> items(const QString& name) const;
    /// One of them; null when there are not so many.
    QQuickItem* item(const QString& name, std::size_t index = 0) const;
    /// The item's rectangle in the window; an empty one for null.
    static QRectF rectOf(const QQuickItem* item);
    /// The rectangle of a player's picture; empty while there is none.
    QRectF pictureOf(std::size_t index) const;
    /// Null while there is no such player.
    std::shared_ptr<media::Player> player(std::size_t index) const;
    std::size_t playerCount() const { return items(QStringLiteral("playerView")).size(); }

    /// The window's pixels, after everything that was due has been painted.
    QImage grab() const;
    /// The number that the picture of a made clip carries in its pixels, as the window shows it.
    std::optional<int> shownFrameNumber(std::size_t index, const QImage& window) const;
    /// The number of the frame that the player reports as shown.
    std::optional<std::int64_t> frameIndex(std::size_t index) const;
    /// The players with their frames, and what is going on: one line, for a test that has given up waiting.
    QString description() const;

    // ---- Input

    /// A click in the middle of the control, as far as it can be hit there. False when it is not on the screen.
    bool click(const QString& name, std::size_t index = 0) const;
    void clickAt(QPointF position) const;
    void pressMouse(QPointF position, Qt::MouseButton button = Qt::LeftButton) const;
    void moveMouse(QPointF position) const;
    void releaseMouse(QPointF position, Qt::MouseButton button = Qt::LeftButton) const;
    /// Positive away from the user.
    void turnWheel(QPointF position, int notches, Qt::KeyboardModifiers modifiers = {}) const;
    void touch(const std::vector<Finger>& fingers) const;
    /// Press, moves and release through `points`, at least one.
    void drawWithMouse(const std::vector<QPointF>& points) const;
    void drawWithTouch(const std::vector<QPointF>& points) const;
    /// Two fingers at the ends of `from` move in steps to those of `to`. With `strokeFirst` the first one has drawn through
    /// these points before the second one comes.
    void pinch(const QLineF& from, const QLineF& to, const std::vector<QPointF>& strokeFirst = {}) const;
    /// The next input comes `seconds` (0 or more) later, by its time stamps.
    static void rest(double seconds);

    // ---- Waiting

    /// Lets the event loop run until `condition` holds; false after `milliseconds`.
    static bool wait(const std::function<bool()>& condition, int milliseconds = 10000);
    /// Waits until the screen is idle: no animation is running, screens have come and gone, every state has been delivered,
    /// drawings are rebuilt, and all of it has been painted. False after `milliseconds`. Clips may be playing; a frame on
    /// its way from a decoder, and a timer that has longer to run, are not waited for.
    bool waitUntilIdle(int milliseconds = 10000) const;
    /// Lets `count` frames of the display pass, whether anything is painted in them or not.
    static void passFrames(int count);

private:
    class TimeStamps;

    /// What keeps the screen from being idle; empty when it is.
    QString activity() const;
    void sendMouse(QEvent::Type type, QPointF position, Qt::MouseButton button, Qt::MouseButtons buttons) const;

    QPointer<QQuickWindow> window_;
    mutable Qt::MouseButtons pressed_;
    std::unique_ptr<TimeStamps> timeStamps_;
};

}  // namespace videoanalysis::host
