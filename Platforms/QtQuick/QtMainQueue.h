#pragma once
// The main queue on Qt's event loop: posting wakes the loop with one event, whose handler runs turns until the queue is
// empty or a few milliseconds are used up. A block may run a nested event loop: the queue goes on in it. `QtQuickPlatform`
// owns it.

#include "VideoAnalysis/Platform/Dispatch.h"

#include <QObject>
#include <QTimer>

#include <atomic>

namespace videoanalysis::qt {

/// Made and destroyed on the main thread. `async` and `asyncAfter` may be called on any thread.
class QtMainQueue : public QObject, public dispatch::MainQueue {
public:
    QtMainQueue();
    ~QtMainQueue() override { close(); }

    void asyncAfter(double seconds, dispatch::Block block) override;

protected:
    void wake() override;
    bool event(QEvent* event) override;

private:
    void runTurns();

    /// An event or the timer is pending; further posts need no other one.
    std::atomic<bool> isAwake_ = false;
    /// Continues after the time is used up. Unlike a posted event it lets input and painting go first.
    QTimer continuation_;
};

}  // namespace videoanalysis::qt
