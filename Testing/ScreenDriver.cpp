#include "Testing/ScreenDriver.h"

#include "Platforms/QtQuick/ViewItem.h"
#include "Testing/AnimationClock.h"
#include "Testing/FrameNumber.h"
#include "VideoAnalysis/Platform/Dispatch.h"
#include "VideoAnalysis/Sketch/SketchView.h"
#include "VideoAnalysis/Video/VideoView.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QMouseEvent>
#include <QPointingDevice>
#include <QTimer>
#include <QTouchEvent>
#include <QWheelEvent>
#include <QtGui/qtestsupport_gui.h>  // part of QtGui: hands touches to the application as a window system does

#include <algorithm>
#include <cmath>
#include <utility>

namespace videoanalysis::host {
namespace {

constexpr int frameMilliseconds = 16;
constexpr int pollMilliseconds = 2;     // for conditions that no event of this process brings about
constexpr quint64 betweenClicks = 500;  // milliseconds: two clicks are never a double click
constexpr int paintingPatience = 1000;  // milliseconds

/// Of the next input, in milliseconds; the same for all windows.
quint64 inputTime = 1000;

void collect(QQuickItem& item, const QString& name, std::vector<QQuickItem*>& found) {
    if (!item.isVisible()) return;
    const auto* view = qobject_cast<const qt::ViewItem*>(&item);
    if (view && view->isOutlet(name)) found.push_back(&item);
    for (QQuickItem* child : item.childItems()) collect(*child, name, found);
}

QPointingDevice* touchScreen() {
    static QPointingDevice* device = QTest::createTouchDevice();
    return device;
}

template <class View>
View* viewOf(const QQuickItem* item) {
    const auto* view = qobject_cast<const qt::ViewItem*>(item);
    return view ? dynamic_cast<View*>(view->view()) : nullptr;
}

}  // namespace

/// Puts the driver's time on touches, which the toolkit stamps with the clock's.
class ScreenDriver::TimeStamps : public QObject {
public:
    bool eventFilter(QObject*, QEvent* event) override {
        switch (event->type()) {
            case QEvent::TouchBegin:
            case QEvent::TouchUpdate:
            case QEvent::TouchEnd: static_cast<QTouchEvent*>(event)->setTimestamp(inputTime); break;
            default: break;
        }
        return false;
    }
};

ScreenDriver::ScreenDriver(QQuickWindow& window) : window_(&window), timeStamps_(std::make_unique<TimeStamps>()) {
    AnimationClock::shared();
    window.installEventFilter(timeStamps_.get());
}

ScreenDriver::~ScreenDriver() = default;

// ---- What is on the screen

std::vector<QQuickItem*> ScreenDriver::items(const QString& name) const {
    std::vector<QQuickItem*> found;
    if (!window_) return found;
    collect(*window_->contentItem(), name, found);
    std::stable_sort(found.begin(), found.end(), [](const QQuickItem* a, const QQuickItem* b) {
        const QPointF first = a->mapToScene({});
        const QPointF second = b->mapToScene({});
        return std::pair(first.y(), first.x()) < std::pair(second.y(), second.x());
    });
    return found;
}

QQuickItem* ScreenDriver::item(const QString& name, std::size_t index) const {
    const std::vector<QQuickItem*> found = items(name);
    return index < found.size() ? found[index] : nullptr;
}

QRectF ScreenDriver::rectOf(const QQuickItem* item) {
    return item ? item->mapRectToScene(item->boundingRect()) : QRectF();
}

QRectF ScreenDriver::pictureOf(std::size_t index) const {
    const QQuickItem* shown = item(QStringLiteral("playerView"), index);
    const auto* view = viewOf<VideoView>(shown);
    if (!view || !view->player() || !view->player()->currentFrame()) return {};
    const Rect picture = view->pictureRect();
    return shown->mapRectToScene({picture.origin.x, picture.origin.y, picture.size.width, picture.size.height});
}

std::shared_ptr<media::Player> ScreenDriver::player(std::size_t index) const {
    const auto* view = viewOf<VideoView>(item(QStringLiteral("playerView"), index));
    return view ? view->player() : nullptr;
}

QImage ScreenDriver::grab() const { return window_ ? window_->grabWindow() : QImage(); }

std::optional<int> ScreenDriver::shownFrameNumber(std::size_t index, const QImage& window) const {
    const QRectF picture = pictureOf(index);
    if (picture.isEmpty() || window.isNull()) return {};
    const QImage pixels = window.convertToFormat(QImage::Format_RGB32);
    const double scale = window_->effectiveDevicePixelRatio();
    return readFrameNumber(
        pixels.constBits(), pixels.width(), pixels.height(), pixels.bytesPerLine(),
        {picture.x() * scale, picture.y() * scale, picture.width() * scale, picture.height() * scale});
}

std::optional<std::int64_t> ScreenDriver::frameIndex(std::size_t index) const {
    const auto shown = player(index);
    const auto frame = shown ? shown->currentFrame() : nullptr;
    return frame ? std::optional(frame->index()) : std::nullopt;
}

QString ScreenDriver::description() const {
    QStringList players;
    for (std::size_t index = 0; index < playerCount(); ++index) {
        const auto shown = player(index);
        const float rate = shown ? shown->rate() : 0;
        players << QStringLiteral("player %1: frame %2, %3")
                       .arg(index + 1)
                       .arg(frameIndex(index).value_or(-1))
                       .arg(rate == 0 ? QStringLiteral("paused") : QStringLiteral("playing at %1").arg(rate));
    }
    if (players.isEmpty()) players << QStringLiteral("no player");
    const QString activity = this->activity();
    players << (activity.isEmpty() ? QStringLiteral("the screen is idle") : activity);
    return players.join(QStringLiteral("; "));
}

// ---- Input

bool ScreenDriver::click(const QString& name, std::size_t index) const {
    const QQuickItem* control = item(name, index);
    if (!control) return false;
    clickAt(rectOf(control).center());
    return true;
}

void ScreenDriver::clickAt(QPointF position) const {
    pressMouse(position);
    releaseMouse(position);
}

void ScreenDriver::sendMouse(QEvent::Type type, QPointF position, Qt::MouseButton button,
                             Qt::MouseButtons buttons) const {
    if (!window_) return;
    const QPointF point = position.toPoint();
    QMouseEvent event(type, point, window_->mapToGlobal(point), button, buttons, Qt::NoModifier);
    event.setTimestamp(++inputTime);
    QCoreApplication::sendEvent(window_, &event);
    QCoreApplication::processEvents();
}

void ScreenDriver::pressMouse(QPointF position, Qt::MouseButton button) const {
    pressed_ |= button;
    sendMouse(QEvent::MouseButtonPress, position, button, pressed_);
}

void ScreenDriver::moveMouse(QPointF position) const { sendMouse(QEvent::MouseMove, position, Qt::NoButton, pressed_); }

void ScreenDriver::releaseMouse(QPointF position, Qt::MouseButton button) const {
    pressed_ &= ~button;
    sendMouse(QEvent::MouseButtonRelease, position, button, pressed_);
    inputTime += betweenClicks;
}

void ScreenDriver::turnWheel(QPointF position, int notches, Qt::KeyboardModifiers modifiers) const {
    if (!window_) return;
    QWheelEvent event(position, window_->mapToGlobal(position), {}, {0, 120 * notches}, Qt::NoButton, modifiers,
                      Qt::NoScrollPhase, false);
    event.setTimestamp(++inputTime);
    QCoreApplication::sendEvent(window_, &event);
    QCoreApplication::processEvents();
}

void ScreenDriver::touch(const std::vector<Finger>& fingers) const {
    if (!window_) return;
    QList<QEventPoint> points;
    for (const Finger& finger : fingers) {
        const QPointF point = finger.position.toPoint();
        points << QEventPoint(finger.id, finger.state, point, window_->mapToGlobal(point));
    }
    ++inputTime;
    qt_handleTouchEventv2(window_, touchScreen(), points);
    QCoreApplication::processEvents();
}

void ScreenDriver::drawWithMouse(const std::vector<QPointF>& points) const {
    pressMouse(points.front());
    for (const QPointF& point : points) moveMouse(point);
    releaseMouse(points.back());
}

void ScreenDriver::drawWithTouch(const std::vector<QPointF>& points) const {
    touch({{0, QEventPoint::Pressed, points.front()}});
    for (const QPointF& point : points) touch({{0, QEventPoint::Updated, point}});
    touch({{0, QEventPoint::Released, points.back()}});
}

void ScreenDriver::pinch(const QLineF& from, const QLineF& to, const std::vector<QPointF>& strokeFirst) const {
    constexpr int steps = 10;
    touch({{0, QEventPoint::Pressed, strokeFirst.empty() ? from.p1() : strokeFirst.front()}});
    for (const QPointF& point : strokeFirst) touch({{0, QEventPoint::Updated, point}});
    touch({{0, QEventPoint::Updated, from.p1()}, {1, QEventPoint::Pressed, from.p2()}});
    for (int step = 1; step <= steps; ++step) {
        const double way = static_cast<double>(step) / steps;
        const auto between = [way](QPointF a, QPointF b) { return a + (b - a) * way; };
        touch({{0, QEventPoint::Updated, between(from.p1(), to.p1())},
               {1, QEventPoint::Updated, between(from.p2(), to.p2())}});
    }
    touch({{0, QEventPoint::Released, to.p1()}, {1, QEventPoint::Stationary, to.p2()}});
    touch({{1, QEventPoint::Released, to.p2()}});
}

void ScreenDriver::rest(double seconds) { inputTime += static_cast<quint64>(std::lround(seconds * 1000)); }

// ---- Waiting

bool ScreenDriver::wait(const std::function<bool()>& condition, int milliseconds) {
    const QDeadlineTimer deadline(milliseconds);
    QTimer poll;
    poll.start(pollMilliseconds);
    while (!condition()) {
        if (deadline.hasExpired()) return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    return true;
}

QString ScreenDriver::activity() const {
    if (AnimationClock::shared().isRunning()) return QStringLiteral("an animation is running");
    if (!dispatch::mainQueue().isEmpty()) return QStringLiteral("blocks are waiting on the main queue");
    for (const QQuickItem* item : items(QStringLiteral("sketchView"))) {
        const auto* sketch = viewOf<SketchView>(item);
        if (sketch && sketch->isRebuilding()) return QStringLiteral("drawings are being rebuilt");
    }
    return {};
}

bool ScreenDriver::waitUntilIdle(int milliseconds) const {
    const QDeadlineTimer deadline(milliseconds);
    // What was due when the last animation ended, such as the end of a presentation, comes before the frame asked for here.
    do {
        if (!wait([this] { return activity().isEmpty(); }, static_cast<int>(deadline.remainingTime()))) return false;
        if (!window_ || !window_->isExposed()) continue;
        bool isPainted = false;
        const auto painting =
            QObject::connect(window_, &QQuickWindow::frameSwapped, window_, [&] { isPainted = true; });
        window_->update();
        wait([&] { return isPainted; }, paintingPatience);
        QObject::disconnect(painting);
    } while (!activity().isEmpty());
    return true;
}

void ScreenDriver::passFrames(int count) {
    QTimer display;
    int passed = 0;
    display.setTimerType(Qt::PreciseTimer);
    display.callOnTimeout([&] { ++passed; });
    display.start(frameMilliseconds);
    wait([&] { return passed >= count; }, count * 1000);
}

}  // namespace videoanalysis::host
