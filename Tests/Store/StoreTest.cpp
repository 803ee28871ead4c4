#include "VideoAnalysis/Store/Store.h"

#include "Tests/Support/ComponentTest.h"

#include <algorithm>
#include <stdexcept>
#include <thread>

namespace videoanalysis {
namespace {

struct Part {
    int number = 0;
    friend bool operator==(const Part&, const Part&) = default;
};

struct Counter {
    Part part;
    int other = 0;
};

struct AddAction final : Action {
    int amount;
    explicit AddAction(int amount) : amount(amount) {}
    std::string description() const override {
        return describeAction("AddAction", {{"amount", describeField(amount)}});
    }
};

struct TouchOtherAction final : Action {
    std::string description() const override { return "TouchOtherAction()"; }
};

Counter reduceCounter(const Action& action, const Counter* state) {
    Counter next = state ? *state : Counter{{-1}, 0};
    if (const auto* add = action.as<AddAction>()) next.part.number += add->amount;
    if (action.as<TouchOtherAction>()) ++next.other;
    return next;
}

template <class Value>
class Listener : public StoreSubscriber<Value> {
public:
    std::vector<Value> received;
    void newState(const Value& value) override { received.push_back(value); }
};

class StoreTest : public ComponentTest {
protected:
    static std::shared_ptr<Store<Counter>> makeStore(std::vector<Middleware<Counter>> middleware = {}) {
        return Store<Counter>::make(reduceCounter, Counter{}, std::move(middleware), true);
    }
    static std::vector<int> numbers(const Listener<Part>& listener) {
        std::vector<int> result;
        for (const Part& part : listener.received) result.push_back(part.number);
        return result;
    }
};

TEST_F(StoreTest, DispatchesInitOnlyWithoutAnInitialState) {
    std::vector<std::string> seen;
    const Reducer<Counter> reducer = [&](const Action& action, const Counter* state) {
        seen.push_back(action.description() + (state ? " present" : " absent"));
        return Counter{{7}, 0};
    };
    const auto given = Store<Counter>::make(reducer, Counter{{3}, 0}, {}, true);
    EXPECT_TRUE(seen.empty());
    EXPECT_EQ(given->state().part.number, 3);

    const auto made = Store<Counter>::make(reducer, {}, {}, true);
    EXPECT_EQ(seen, std::vector<std::string>{"ReSwiftInit() absent"});
    EXPECT_EQ(made->state().part.number, 7);
}

TEST_F(StoreTest, StateChangesSynchronouslyAndSubscribersAreNotifiedLater) {
    const auto store = makeStore();
    const auto listener = std::make_shared<Listener<Counter>>();
    store->subscribe(listener);
    EXPECT_TRUE(listener->received.empty());
    platform->drainMainQueue();
    ASSERT_EQ(listener->received.size(), 1U) << "a new subscriber receives the current state without any dispatch";

    store->dispatch(AddAction(1));
    store->dispatch(AddAction(1));
    EXPECT_EQ(store->state().part.number, 2);
    EXPECT_EQ(listener->received.size(), 1U);
    platform->drainMainQueue();
    // One notification per dispatch, each with the state at the time it runs.
    ASSERT_EQ(listener->received.size(), 3U);
    EXPECT_EQ(listener->received[1].part.number, 2);
    EXPECT_EQ(listener->received[2].part.number, 2);
}

TEST_F(StoreTest, EachDeliveryStageTakesOneTurn) {
    const auto store = makeStore();
    const auto listener = std::make_shared<Listener<Part>>();
    store->subscribe(listener, [](auto& whole) { return whole.select(&Counter::part); });
    platform->drainMainQueue();
    store->dispatch(AddAction(1));
    int turns = 0;
    while (listener->received.size() < 2 && platform->queue.runTurn()) ++turns;
    // announce, box, original, select's observer, mapping, selected, skip's observer, test, last stage, box's observer,
    // any-state, new state
    EXPECT_EQ(turns, 11);
}

TEST_F(StoreTest, SelectionSkipsRepeatsOfComparableValues) {
    const auto store = makeStore();
    const auto byField = std::make_shared<Listener<Part>>();
    const auto byFunction = std::make_shared<Listener<Part>>();
    store->subscribe(byField, [](auto& whole) { return whole.select(&Counter::part); });
    store->subscribe(byFunction, [](auto& whole) { return whole.select([](const Counter& c) { return c.part; }); });
    platform->drainMainQueue();
    store->dispatch(TouchOtherAction());
    platform->drainMainQueue();
    store->dispatch(AddAction(5));
    platform->drainMainQueue();
    EXPECT_EQ(numbers(*byField), (std::vector{0, 5}));
    EXPECT_EQ(numbers(*byFunction), (std::vector{0, 5}));

    // The same applies to a comparable whole state.
    const Reducer<Part> reducePart = [](const Action& action, const Part* part) {
        const auto* add = action.as<AddAction>();
        return Part{(part ? part->number : 0) + (add ? add->amount : 0)};
    };
    for (const bool skips : {true, false}) {
        const auto whole = Store<Part>::make(reducePart, Part{}, {}, skips);
        const auto listener = std::make_shared<Listener<Part>>();
        whole->subscribe(listener);
        for (const int amount : {0, 5, 0}) {
            platform->drainMainQueue();
            whole->dispatch(AddAction(amount));
        }
        platform->drainMainQueue();
        EXPECT_EQ(numbers(*listener), skips ? (std::vector{0, 5}) : (std::vector{0, 0, 5, 5}));
    }

    const auto plain = Store<Counter>::make(reduceCounter, Counter{}, {}, false);
    const auto everything = std::make_shared<Listener<Part>>();
    plain->subscribe(everything, [](auto& whole) { return whole.select(&Counter::part); });
    platform->drainMainQueue();
    plain->dispatch(TouchOtherAction());
    platform->drainMainQueue();
    EXPECT_EQ(numbers(*everything), (std::vector{0, 0}));
}

TEST_F(StoreTest, FiltersCompareOldAndNewValuesAndPassTheFirst) {
    const auto store = makeStore();
    const auto never = std::make_shared<Listener<Counter>>();
    const auto growing = std::make_shared<Listener<Counter>>();
    const auto skipping = std::make_shared<Listener<Counter>>();
    store->subscribe(never, [](auto& whole) { return whole.only([](const auto&, const auto&) { return false; }); });
    store->subscribe(growing, [](auto& whole) {
        return whole.only([](const Counter& a, const Counter& b) { return b.part.number > a.part.number; });
    });
    store->subscribe(skipping, [](auto& whole) {
        return whole.skip([](const Counter& a, const Counter& b) { return b.part.number > a.part.number; });
    });
    for (const int amount : {2, -1, 4}) {
        platform->drainMainQueue();
        store->dispatch(AddAction(amount));
    }
    platform->drainMainQueue();
    EXPECT_EQ(never->received.size(), 1U);
    ASSERT_EQ(growing->received.size(), 3U);
    EXPECT_EQ(growing->received[2].part.number, 5);
    ASSERT_EQ(skipping->received.size(), 2U);
    EXPECT_EQ(skipping->received[1].part.number, 1);
}

TEST_F(StoreTest, SubscribingAgainReplacesTheSubscription) {
    const auto store = makeStore();
    const auto listener = std::make_shared<Listener<Part>>();
    store->subscribe(listener, [](auto& whole) { return whole.select([](const Counter&) { return Part{100}; }); });
    store->subscribe(listener, [](auto& whole) { return whole.select(&Counter::part); });
    EXPECT_EQ(store->subscriptions().size(), 1U);
    store->dispatch(AddAction(1));
    platform->drainMainQueue();
    EXPECT_EQ(std::count(listener->received.begin(), listener->received.end(), Part{100}), 0);
    EXPECT_EQ(listener->received.back(), Part{1});

    const Listener<Part> stranger;
    store->unsubscribe(stranger);
    EXPECT_EQ(store->subscriptions().size(), 1U);
    store->unsubscribe(*listener);
    listener->received.clear();
    store->dispatch(AddAction(1));
    platform->drainMainQueue();
    EXPECT_TRUE(listener->received.empty());
}

TEST_F(StoreTest, RemovesDestroyedSubscribersOnTheNextNotification) {
    const auto store = makeStore();
    auto listener = std::make_shared<Listener<Counter>>();
    const auto other = std::make_shared<Listener<Counter>>();
    store->subscribe(listener);
    store->subscribe(other);
    store->dispatch(AddAction(1));
    listener.reset();  // pending blocks for it do nothing
    EXPECT_EQ(store->subscriptions().size(), 2U);
    platform->drainMainQueue();
    EXPECT_EQ(store->subscriptions().size(), 1U);
    EXPECT_EQ(other->received.size(), 2U);
}

TEST_F(StoreTest, DestroyedStoreNotifiesNoSubscriber) {
    auto store = makeStore();
    const auto listener = std::make_shared<Listener<Counter>>();
    store->subscribe(listener);
    store->dispatch(AddAction(1));
    store.reset();
    platform->drainMainQueue();
    EXPECT_TRUE(listener->received.empty());
}

TEST_F(StoreTest, SubscriberMayDispatch) {
    class Doubler : public Listener<Counter> {
    public:
        std::shared_ptr<Store<Counter>> store;
        void newState(const Counter& counter) override {
            if (counter.part.number == 1) store->dispatch(AddAction(10));
            Listener<Counter>::newState(counter);
        }
    };
    const auto listener = std::make_shared<Doubler>();
    listener->store = makeStore();
    listener->store->subscribe(listener);
    listener->store->dispatch(AddAction(1));
    platform->drainMainQueue();
    EXPECT_EQ(listener->received.back().part.number, 11);
}

TEST_F(StoreTest, MiddlewareRunsInOrderAndItsDispatchRestartsTheChain) {
    std::vector<std::string> path;
    const auto named = [&path](std::string name) -> Middleware<Counter> {
        return [&path, name](DispatchFunction dispatch, std::function<Snapshot<Counter>()> getState) {
            return [&path, name, dispatch, getState](DispatchFunction next) -> DispatchFunction {
                return [&path, name, dispatch, getState, next](const Action& action) {
                    path.push_back(name + std::to_string(getState()->part.number));
                    if (name == "B" && action.as<TouchOtherAction>()) {
                        dispatch(AddAction(1));
                    } else {
                        next(action);
                    }
                };
            };
        };
    };
    const auto store = makeStore({named("A"), named("B")});
    store->dispatch(AddAction(2));
    store->dispatch(TouchOtherAction());
    EXPECT_EQ(path, (std::vector<std::string>{"A0", "B0", "A2", "B2", "A2", "B2"}));
    EXPECT_EQ(store->state().part.number, 3);

    store->setMiddleware({named("C")});
    path.clear();
    store->dispatch(AddAction(1));
    EXPECT_EQ(path, std::vector<std::string>{"C3"});

    // Functions kept by a middleware do nothing after the store is destroyed.
    DispatchFunction kept;
    std::function<Snapshot<Counter>()> keptState;
    auto shortLived = makeStore({[&](DispatchFunction dispatch, std::function<Snapshot<Counter>()> getState) {
        kept = dispatch;
        keptState = getState;
        return [](DispatchFunction next) { return next; };
    }});
    shortLived->dispatch(AddAction(1));
    ASSERT_EQ(keptState()->part.number, 1);
    shortLived.reset();
    kept(AddAction(1));
    EXPECT_EQ(keptState(), nullptr);
}

TEST_F(StoreTest, MiddlewareMayBeReplacedWhileItRuns) {
    std::vector<std::string> path;
    const auto link = [&path](std::string name, std::function<void()> work) -> Middleware<Counter> {
        return [=, &path](const DispatchFunction&, const std::function<Snapshot<Counter>()>&) {
            return [=, &path](DispatchFunction next) -> DispatchFunction {
                return [=, &path, token = std::make_shared<int>(0)](const Action& action) {
                    // The replaced link must live until it returns; copies on the stack report if it does not.
                    std::vector<std::string>& log = path;
                    const std::weak_ptr<int> alive = token;
                    const DispatchFunction rest = next;
                    log.push_back(name);
                    work();
                    if (alive.expired()) log.push_back("destroyed");
                    rest(action);
                };
            };
        };
    };
    const auto store = makeStore();
    store->setMiddleware({link("A", [&] { store->setMiddleware({link("C", [] {})}); }), link("B", [] {})});
    store->dispatch(AddAction(1));
    store->dispatch(AddAction(1));
    EXPECT_EQ(path, (std::vector<std::string>{"A", "B", "C"})) << "takes effect on the next dispatch";
    EXPECT_EQ(store->state().part.number, 2);

    // A kept head of the chain stays callable.
    path.clear();
    const DispatchFunction head = store->dispatchFunction();
    store->setMiddleware({link("D", [] {})});
    head(AddAction(1));
    EXPECT_EQ(path, std::vector<std::string>{"C"});
    EXPECT_EQ(store->state().part.number, 3);

    // A middleware factory may replace the middleware before it has run.
    path.clear();
    const Middleware<Counter> hasty = [&](const DispatchFunction&, const std::function<Snapshot<Counter>()>&) {
        store->setMiddleware({link("E", [] {})});
        return [](DispatchFunction next) { return next; };
    };
    store->setMiddleware({hasty, link("F", [] {}), link("G", [] {})});
    store->dispatch(AddAction(1));
    path.clear();
    store->dispatch(AddAction(1));
    EXPECT_EQ(path, std::vector<std::string>{"E"});
    EXPECT_EQ(store->state().part.number, 5);
}

TEST_F(StoreTest, FunctionsKeptByMiddlewareDoNothingAfterTheStoreIsDestroyed) {
    int reductions = 0;
    const Reducer<Counter> reducer = [&](const Action&, const Counter* state) {
        ++reductions;
        return *state;
    };
    DispatchFunction keptNext;
    std::shared_ptr<Store<Counter>> store;
    const Middleware<Counter> keeping = [&](const DispatchFunction&, const std::function<Snapshot<Counter>()>&) {
        return [&](DispatchFunction next) -> DispatchFunction {
            keptNext = next;
            return [&store, next](const Action& action) {
                const DispatchFunction rest = next;
                if (action.as<TouchOtherAction>()) store.reset();  // its last owner
                rest(action);
            };
        };
    };
    store = Store<Counter>::make(reducer, Counter{}, {keeping}, true);
    store->dispatch(AddAction(1));
    keptNext(AddAction(1));
    EXPECT_EQ(reductions, 2);
    Store<Counter>& borrowed = *store;
    borrowed.dispatch(TouchOtherAction());
    ASSERT_EQ(store, nullptr);
    keptNext(AddAction(1));
    EXPECT_EQ(reductions, 2);
}

TEST_F(StoreTest, ThrowingReducerLeavesTheStateUnchanged) {
    const auto store = Store<Counter>::make(
        [](const Action& action, const Counter* state) {
            if (action.as<TouchOtherAction>()) throw std::runtime_error("no");
            return reduceCounter(action, state);
        },
        Counter{{3}, 0}, {}, true);
    const auto listener = std::make_shared<Listener<Counter>>();
    store->subscribe(listener);
    platform->drainMainQueue();
    EXPECT_THROW(store->dispatch(TouchOtherAction()), std::runtime_error);
    platform->drainMainQueue();
    EXPECT_EQ(store->state().part.number, 3);
    EXPECT_EQ(listener->received.size(), 1U) << "no change, no notification";
    store->dispatch(AddAction(1));
    platform->drainMainQueue();
    EXPECT_EQ(listener->received.back().part.number, 4);
}

TEST_F(StoreTest, EditingASharedValueCopiesIt) {
    CopyOnWrite<std::vector<int>> first;
    CopyOnWrite<std::vector<int>> other;
    first.edit().push_back(1);
    EXPECT_TRUE(other->empty()) << "editing does not affect other empty values";
    CopyOnWrite<std::vector<int>> copy = first;
    EXPECT_EQ(&*copy, &*first) << "shared until one is edited";
    copy.edit().push_back(2);
    EXPECT_EQ(*first, std::vector{1});
    EXPECT_EQ(*copy, (std::vector{1, 2}));
    const std::vector<int>* const own = &*copy;
    copy.edit().push_back(3);
    EXPECT_EQ(&*copy, own) << "an unshared value is edited in place";
}

TEST_F(StoreTest, ActionCreatorsReceiveTheCurrentState) {
    const auto store = makeStore();
    const Store<Counter>::ActionCreator addOnce = [](const Counter& state, Store<Counter>&) -> std::unique_ptr<Action> {
        if (state.part.number > 0) return nullptr;
        return std::make_unique<AddAction>(4);
    };
    store->dispatch(addOnce);
    store->dispatch(addOnce);
    EXPECT_EQ(store->state().part.number, 4);

    std::function<void(const Store<Counter>::ActionCreator&)> later;
    std::vector<int> calledBack;
    store->dispatch(
        Store<Counter>::AsyncActionCreator(
            [&](const Counter&, Store<Counter>&, std::function<void(const Store<Counter>::ActionCreator&)> completion) {
                later = std::move(completion);
            }),
        [&](const Counter& state) { calledBack.push_back(state.part.number); });
    store->dispatch(AddAction(1));
    later([](const Counter& state, Store<Counter>&) { return std::make_unique<AddAction>(state.part.number); });
    EXPECT_EQ(calledBack, std::vector{10});
    later([](const Counter&, Store<Counter>&) -> std::unique_ptr<Action> { return nullptr; });
    EXPECT_EQ(calledBack.size(), 1U) << "no callback without a dispatched action";

    // The state passed to a creator lives until the creator returns, even if it dispatches.
    std::weak_ptr<const Counter> given = store->snapshot();
    store->dispatch(Store<Counter>::ActionCreator([&](const Counter&, Store<Counter>& same) -> std::unique_ptr<Action> {
        same.dispatch(AddAction(1));
        platform->drainMainQueue();
        EXPECT_FALSE(given.expired());
        return nullptr;
    }));
    EXPECT_TRUE(given.expired());
}

using StoreDeathTest = StoreTest;

TEST_F(StoreDeathTest, DispatchingFromAReducerIsFatal) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    std::shared_ptr<Store<Counter>> store;
    store = Store<Counter>::make(
        [&](const Action& action, const Counter*) {
            if (action.as<TouchOtherAction>()) store->dispatch(AddAction(12));
            return Counter{};
        },
        Counter{}, {}, true);
    EXPECT_DEATH(
        store->dispatch(TouchOtherAction()),
        "ReSwift:ConcurrentMutationError- Action has been dispatched while a previous action is being processed. "
        "A reducer is dispatching an action, or ReSwift is used in a concurrent context \\(e.g. from multiple "
        "threads\\). Action: AddAction\\(amount: 12\\)\n$");
}

TEST_F(StoreTest, SynchronizedSerializesConcurrentChanges) {
    Synchronized<int> value(0);
    EXPECT_EQ(value.mutex().label().size(), 44U);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&value] {
            for (int k = 0; k < 1000; ++k) {
                value.value([](int& v) { ++v; });
                (void)value.value();
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(value.value(), 4000);
}

}  // namespace
}  // namespace videoanalysis
