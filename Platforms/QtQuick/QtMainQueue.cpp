#include "Platforms/QtQuick/QtMainQueue.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>

namespace videoanalysis::qt {
namespace {

constexpr qint64 sliceMilliseconds = 4;

/// What wakes the loop. Rarely is more than one pending, so a few preallocated places serve all: posting does not allocate.
class WakeEvent : public QEvent {
public:
    WakeEvent() : QEvent(kind()) {}

    static Type kind() {
        static const int type = QEvent::registerEventType();
        return static_cast<Type>(type);
    }

    static void* operator new(std::size_t size) {
        for (Place& place : places) {
            if (!place.isTaken.exchange(true)) return place.bytes;
        }
        return ::operator new(size);
    }
    static void operator delete(void* event) {
        for (Place& place : places) {
            if (event == place.bytes) {
                place.isTaken = false;
                return;
            }
        }
        ::operator delete(event);
    }

private:
    struct Place {
        alignas(std::max_align_t) unsigned char bytes[64];
        std::atomic<bool> isTaken;
    };
    static std::array<Place, 4> places;
};

std::array<WakeEvent::Place, 4> WakeEvent::places;
static_assert(sizeof(WakeEvent) <= 64);

}  // namespace

QtMainQueue::QtMainQueue() {
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
    if (!isAwake_.exchange(true)) QCoreApplication::postEvent(this, new WakeEvent);
}

bool QtMainQueue::event(QEvent* event) {
    if (event->type() != WakeEvent::kind()) return QObject::event(event);
    if (!continuation_.isActive()) runTurns();
    return true;
}

void QtMainQueue::runTurns() {
    isAwake_ = false;
    if (!hasWork()) return;
    wake();  // for an event loop that a block runs, such as a dialog's: it goes on with what is left here
    QElapsedTimer timer;
    timer.start();
    while (runTurn(true)) {
        if (timer.elapsed() >= sliceMilliseconds && !isEmpty()) {
            continuation_.start();
            return;
        }
    }
}

}  // namespace videoanalysis::qt
