// The cost of a dispatch, from the reducer to the last subscriber, in Qt's event loop and compared with its queued calls.

#include "Benchmarks/AllocationCounter.h"
#include "Benchmarks/Benchmark.h"
#include "Platforms/Headless/HeadlessPlatform.h"
#include "Platforms/QtQuick/QtMainQueue.h"
#include "VideoAnalysis/Store/Store.h"

#include <QCoreApplication>
#include <QObject>

#include <array>
#include <functional>
#include <memory>
#include <vector>

namespace videoanalysis {
namespace {

constexpr int hopsPerSubscriber = 10;  // from the notification, which all subscribers share, to newState

class LoopPlatform final : public HeadlessPlatform {
public:
    dispatch::MainQueue& mainQueue() override { return loopQueue; }
    qt::QtMainQueue loopQueue;
};

struct Part {
    long long number = 0;
    double position = 0;
    friend bool operator==(const Part&, const Part&) = default;
};

struct BenchState {
    Part first, second, third;
};

struct ChangeAction final : Action {
    std::string description() const override { return "ChangeAction()"; }
};

BenchState reduce(const Action&, const BenchState* state) {
    BenchState next = *state;
    for (Part* part : {&next.first, &next.second, &next.third}) {
        ++part->number;
        part->position += 0.5;
    }
    return next;
}

class Subscriber final : public StoreSubscriber<Part> {
public:
    long long received = 0;
    void newState(const Part&) override { ++received; }
};

struct Fixture {
    std::shared_ptr<Store<BenchState>> store = Store<BenchState>::make(reduce, BenchState(), {}, true);
    std::vector<std::shared_ptr<Subscriber>> subscribers;

    explicit Fixture(int count) {
        static constexpr std::array<Part BenchState::*, 3> parts = {&BenchState::first, &BenchState::second,
                                                                    &BenchState::third};
        for (int i = 0; i < count; ++i) {
            subscribers.push_back(std::make_shared<Subscriber>());
            store->subscribe(subscribers.back(), [part = parts[static_cast<std::size_t>(i % 3)]](auto& whole) {
                return whole.select(part);
            });
        }
        deliver();
    }
    void deliver() {
        const dispatch::MainQueue& queue = dispatch::mainQueue();
        do QCoreApplication::processEvents();
        while (!queue.isEmpty());
    }
    void dispatchAndDeliver(int times) {
        for (int i = 0; i < times; ++i) {
            store->dispatch(ChangeAction());
            deliver();
        }
    }
};

/// As many hops as a delivery to three subscribers: one call, then three chains of calls that each post the next.
class QueuedCalls {
public:
    void run(int times) {
        for (int i = 0; i < times; ++i) {
            remaining_ = 3;
            post([this] {
                for (int chain = 0; chain < 3; ++chain) hop(hopsPerSubscriber);
            });
            while (remaining_ > 0) QCoreApplication::processEvents();
        }
    }

private:
    template <class Work>
    void post(Work work) {
        QMetaObject::invokeMethod(&receiver_, std::move(work), Qt::QueuedConnection);
    }
    void hop(int left) {
        post([this, left] {
            if (left == 1) {
                --remaining_;
            } else {
                hop(left - 1);
            }
        });
    }
    QObject receiver_;
    int remaining_ = 0;
};

BENCHMARK_GROUP(store, "store") {
    int argc = 1;
    char name[] = "bench";
    char* argv[] = {name, nullptr};
    std::unique_ptr<QCoreApplication> application;
    if (!QCoreApplication::instance()) application = std::make_unique<QCoreApplication>(argc, argv);
    const auto platform = std::make_shared<LoopPlatform>();
    installPlatform(platform);

    constexpr int times = 2000;
    Fixture three(3);
    QueuedCalls calls;
    const auto [ours, queued] =
        bench::measurePaired([&] { three.dispatchAndDeliver(times); }, [&] { calls.run(times); }, 21);
    report.against("dispatch delivered to three subscribers", ours * 1000 / times, "us",
                   "as many queued calls of the event loop", queued * 1000 / times, 0.5);

    Fixture one(1);
    one.dispatchAndDeliver(100);
    const bench::AllocationCounter dispatching;
    for (int i = 0; i < 10; ++i) one.store->dispatch(ChangeAction());
    report.value("allocations per dispatch", static_cast<double>(dispatching.count()) / 10, "", 1);
    one.deliver();
    constexpr int deliveries = 100;
    std::int64_t allocations = 0;
    const long long before = one.subscribers[0]->received;
    for (int i = 0; i < deliveries; ++i) {
        one.store->dispatch(ChangeAction());
        const bench::AllocationCounter delivering;
        one.deliver();
        allocations += delivering.count();
    }
    if (one.subscribers[0]->received != before + deliveries)
        allocations = deliveries * 1000;  // not delivered: over any limit
    report.value("allocations per delivered state", static_cast<double>(allocations) / deliveries, "", 4);

    Fixture thousand(1000);
    constexpr int few = 20;
    const auto [many, single] = bench::measurePaired([&] { thousand.dispatchAndDeliver(few); },
                                                     [&] { one.dispatchAndDeliver(few * 1000); }, 21);
    report.against("dispatch with 1,000 subscribers", many * 1000 / few, "us", "1,000 dispatches with one",
                   single * 1000 / few, 1.1);
    installPlatform(nullptr);
}

}  // namespace
}  // namespace videoanalysis
