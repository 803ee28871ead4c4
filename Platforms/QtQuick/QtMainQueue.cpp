#include "Platforms/QtQuick/QtMainQueue.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <algorithm>
#include <memory>
#include <utility>

namespace videoanalysis {
namespace {

constexpr qint64 sliceMilliseconds = 4;

QEvent::Type wakeEvent() {
    static const int type = QEvent::registerEventType();
    return static_cast<QEvent::Type>(type);
}

}  // namespace

QtMainQueue::QtMainQueue() {
    wakeEvent();
    continuation_.setSingleShot(true);
    continuation_.setInterval(0);
    continuation_.callOnTimeout(this, [this] { runTurns(); });
}

void QtMainQueue::asyncAfter(double seconds, dispatch::Block block) {
    // Timers belong to the thread that starts them, so that the main thread does.
    auto shared = std::make_shared<dispatch::Block>(std::move(block));
    const int milliseconds = static_cast<int>(std::clamp(seconds, 0.0, 1e6) * 1000);
    async([this, milliseconds, shared = std::move(shared)] {
        QTimer::singleShot(milliseconds, Qt::PreciseTimer, this, [this, shared] { async(std::move(*shared)); });
    });
}

void QtMainQueue::wake() {
    if (!isAwake_.exchange(true)) QCoreApplication::postEvent(this, new QEvent(wakeEvent()));
}

bool QtMainQueue::event(QEvent* event) {
    if (event->type() != wakeEvent()) return QObject::event(event);
    runTurns();
    return true;
}

void QtMainQueue::runTurns() {
    QElapsedTimer timer;
    timer.start();
    while (runTurn()) {
        if (timer.elapsed() >= sliceMilliseconds && !isEmpty()) {
            continuation_.start();
            return;
        }
    }
    isAwake_ = false;
    if (!isEmpty()) wake();  // posted between the last turn and the line above
}

}  // namespace videoanalysis
