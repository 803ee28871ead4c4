#include "Testing/ScreenDriver.h"

#include "Platforms/QtQuick/ViewItem.h"
#include "Testing/FrameNumber.h"
#include "VideoAnalysis/Video/VideoView.h"

#include <QElapsedTimer>
#include <QPointingDevice>
#include <QtTest/QTest>

#include <algorithm>
#include <utility>

namespace videoanalysis::host {
namespace {

void collect(QQuickItem& item, const QString& name, std::vector<QQuickItem*>& found) {
    if (!item.isVisible()) return;
    const auto* view = qobject_cast<const ViewItem*>(&item);
    if (view && view->isOutlet(name)) found.push_back(&item);
    for (QQuickItem* child : item.childItems()) collect(*child, name, found);
}

QPointingDevice* touchScreen() {
    static QPointingDevice* device = QTest::createTouchDevice();
    return device;
}

VideoView* videoView(const QQuickItem* item) {
    const auto* view = qobject_cast<const ViewItem*>(item);
    return view ? dynamic_cast<VideoView*>(view->view()) : nullptr;
}

}  // namespace

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
    const VideoView* view = videoView(shown);
    if (!view || !view->player() || !view->player()->currentFrame()) return {};
    const Rect picture = view->pictureRect();
    return shown->mapRectToScene({picture.origin.x, picture.origin.y, picture.size.width, picture.size.height});
}

std::shared_ptr<media::Player> ScreenDriver::player(std::size_t index) const {
    const VideoView* view = videoView(item(QStringLiteral("playerView"), index));
    return view ? view->player() : nullptr;
}

bool ScreenDriver::click(const QString& name, std::size_t index) const {
    const QQuickItem* control = item(name, index);
    if (!control) return false;
    clickAt(rectOf(control).center());
    return true;
}

void ScreenDriver::clickAt(QPointF position) const {
    QTest::mouseClick(window_, Qt::LeftButton, {}, position.toPoint());
}

void ScreenDriver::drawWithMouse(const std::vector<QPointF>& points) const {
    QTest::mousePress(window_, Qt::LeftButton, {}, points.front().toPoint());
    for (const QPointF& point : points) QTest::mouseMove(window_, point.toPoint());
    QTest::mouseRelease(window_, Qt::LeftButton, {}, points.back().toPoint());
}

void ScreenDriver::drawWithTouch(const std::vector<QPointF>& points) const {
    constexpr int finger = 0;
    QTest::touchEvent(window_, touchScreen()).press(finger, points.front().toPoint());
    for (const QPointF& point : points) {
        QTest::touchEvent(window_, touchScreen()).move(finger, point.toPoint());
        wait(1);
    }
    QTest::touchEvent(window_, touchScreen()).release(finger, points.back().toPoint());
}

void ScreenDriver::pinch(const QLineF& from, const QLineF& to, const std::vector<QPointF>& strokeFirst) const {
    constexpr int steps = 10;
    const QPoint first = (strokeFirst.empty() ? from.p1() : strokeFirst.front()).toPoint();
    QTest::touchEvent(window_, touchScreen()).press(0, first);
    for (const QPointF& point : strokeFirst) {
        QTest::touchEvent(window_, touchScreen()).move(0, point.toPoint());
        wait(1);
    }
    QTest::touchEvent(window_, touchScreen()).move(0, from.p1().toPoint()).press(1, from.p2().toPoint());
    for (int step = 1; step <= steps; ++step) {
        const double way = static_cast<double>(step) / steps;
        const auto between = [way](QPointF a, QPointF b) { return (a + (b - a) * way).toPoint(); };
        QTest::touchEvent(window_, touchScreen())
            .move(0, between(from.p1(), to.p1()))
            .move(1, between(from.p2(), to.p2()));
        wait(1);
    }
    QTest::touchEvent(window_, touchScreen()).release(0, to.p1().toPoint()).stationary(1);
    QTest::touchEvent(window_, touchScreen()).release(1, to.p2().toPoint());
}

bool ScreenDriver::wait(const std::function<bool()>& condition, int milliseconds) {
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > milliseconds) return false;
        QTest::qWait(1);
    }
    return true;
}

void ScreenDriver::wait(int milliseconds) { QTest::qWait(milliseconds); }

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

}  // namespace videoanalysis::host
