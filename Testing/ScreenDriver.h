#pragma once
// Works an analysis screen from outside: it finds controls where they stand in the window, presses them and draws with
// synthetic mouse and touch input, and reads what is shown. For runs without a screen and for end-to-end tests.

#include "VideoAnalysis/Platform/Media.h"

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

/// Main thread; the calls let the event loop run. Positions are points in the window.
class ScreenDriver {
public:
    explicit ScreenDriver(QQuickWindow& window) : window_(&window) {}

    /// The visible items that are the outlet `name`, those of the first player first.
    std::vector<QQuickItem*> items(const QString& name) const;
    /// One of them; null when there are not so many.
    QQuickItem* item(const QString& name, std::size_t index = 0) const;
    /// The item's rectangle in the window; an empty one for null.
    static QRectF rectOf(const QQuickItem* item);
    /// Where the picture of a player stands; empty while there is none.
    QRectF pictureOf(std::size_t index) const;
    /// Null while there is no such player.
    std::shared_ptr<media::Player> player(std::size_t index) const;
    std::size_t playerCount() const { return items(QStringLiteral("playerView")).size(); }

    /// A click in the middle of the control, as far as it can be hit there. False when it is not on the screen.
    bool click(const QString& name, std::size_t index = 0) const;
    void clickAt(QPointF position) const;
    /// Press, moves and release through `points`, at least one.
    void drawWithMouse(const std::vector<QPointF>& points) const;
    void drawWithTouch(const std::vector<QPointF>& points) const;
    /// Two fingers at the ends of `from` move in steps to those of `to`. With `strokeFirst` the first one has drawn through
    /// these points before the second one comes.
    void pinch(const QLineF& from, const QLineF& to, const std::vector<QPointF>& strokeFirst = {}) const;

    /// Lets the event loop run until `condition` holds; false after `milliseconds`.
    static bool wait(const std::function<bool()>& condition, int milliseconds = 10000);
    /// Lets the event loop run for so long.
    static void wait(int milliseconds);

    /// What the window shows, in its own pixels, after everything that was due has been painted.
    QImage grab() const;
    /// The number that the picture of a made clip carries in its pixels, as the window shows it.
    std::optional<int> shownFrameNumber(std::size_t index, const QImage& window) const;
    /// The number of the frame that the player shows by its own account.
    std::optional<std::int64_t> frameIndex(std::size_t index) const;

private:
    QPointer<QQuickWindow> window_;
};

}  // namespace videoanalysis::host
