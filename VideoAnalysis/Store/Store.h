#pragma once
// Holds one state. The state changes only when the reducer handles a dispatched action; subscribers receive every new state
// through the main queue. The analysis has one store, and each player has one.
//
//     auto store = Store<Counter>::make(reduce, Counter{}, {}, true);
//     store->subscribe(label);            // label->newState(...) follows on the main queue
//     store->dispatch(IncreaseAction());

#include "VideoAnalysis/Platform/Dispatch.h"
#include "VideoAnalysis/Platform/FatalError.h"
#include "VideoAnalysis/Store/Action.h"
#include "VideoAnalysis/Store/Snapshot.h"
#include "VideoAnalysis/Store/StoreSubscriber.h"
#include "VideoAnalysis/Store/Subscription.h"
#include "VideoAnalysis/Store/Synchronized.h"

#include <algorithm>
#include <concepts>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace videoanalysis {

/// Returns the next state; `state` is null if there is none yet.
template <class State>
using Reducer = std::function<State(const Action& action, const State* state)>;

using DispatchFunction = std::function<void(const Action& action)>;

/// Wraps the rest of the chain: (dispatch, getState) -> (next -> dispatch function). `dispatch` restarts at the head of the
/// chain, `next` continues it. After the store is destroyed they do nothing, and `getState` returns null.
template <class State>
using Middleware = std::function<std::function<DispatchFunction(DispatchFunction next)>(
    DispatchFunction dispatch, std::function<Snapshot<State>()> getState)>;

/// Main thread only.
template <class State>
class Store : public std::enable_shared_from_this<Store<State>> {
    struct Private {};

public:
    /// Returns the action to dispatch, or null for none.
    using ActionCreator = std::function<std::unique_ptr<Action>(const State& state, Store& store)>;
    using AsyncActionCreator =
        std::function<void(const State& state, Store& store, std::function<void(const ActionCreator&)> completion)>;
    using DispatchCallback = std::function<void(const State& state)>;

    Store(Private, Reducer<State> reducer, std::vector<Middleware<State>> middleware, bool automaticallySkipsRepeats)
        : subscriptionsAutomaticallySkipRepeats(automaticallySkipsRepeats), reducer_(std::move(reducer)),
          middleware_(std::make_shared<const std::vector<Middleware<State>>>(std::move(middleware))) {}

    /// Without a state, dispatches one `ReSwiftInit` before returning. Middleware runs in list order, the reducer last.
    static std::shared_ptr<Store> make(Reducer<State> reducer, std::optional<State> state,
                                       std::vector<Middleware<State>> middleware, bool automaticallySkipsRepeats) {
        auto store =
            std::make_shared<Store>(Private{}, std::move(reducer), std::move(middleware), automaticallySkipsRepeats);
        if (state) {
            store->state_ = std::make_shared<const State>(std::move(*state));
        } else {
            store->dispatch(ReSwiftInit());
        }
        return store;
    }

    /// Whether subscriptions to an equality-comparable type skip repeated values by default.
    const bool subscriptionsAutomaticallySkipRepeats;

    /// The current state; fatal if there is none yet. The reference is valid until the next dispatch.
    const State& state() const { return present(state_); }
    /// A shared snapshot of the current state; null if there is none yet.
    const Snapshot<State>& snapshot() const { return state_; }

    /// Runs the middleware and the reducer synchronously; subscribers are notified later. Fatal from inside a reducer. If
    /// the reducer throws, the state is unchanged and the exception propagates.
    void dispatch(const Action& action) {
        // Keeps the chain alive: a middleware may replace it, or release the last reference to the store, while it runs.
        const std::shared_ptr<const DispatchFunction> head = chain();
        (*head)(action);
    }

    /// The head of the current middleware chain. May be kept: it does nothing after the store is destroyed.
    DispatchFunction dispatchFunction() {
        return [head = chain()](const Action& action) { (*head)(action); };
    }

    /// The end of the chain: runs the reducer; fatal if a reducer is already running.
    void _defaultDispatch(const Action& action) {
        if (isDispatching_.value()) {
            fatalError("ReSwift:ConcurrentMutationError- Action has been dispatched while a previous action is being "
                       "processed. A "
                       "reducer is dispatching an action, or ReSwift is used in a concurrent context (e.g. from "
                       "multiple threads). "
                       "Action: " +
                       action.description());
        }
        setState(reduce(action));
    }

    /// Fatal if there is no state yet. The state passed to a creator is valid until the creator returns.
    void dispatch(const ActionCreator& actionCreator) {
        if (const std::unique_ptr<Action> action = create(actionCreator)) dispatch(*action);
    }
    void dispatch(const AsyncActionCreator& actionCreator) { dispatch(actionCreator, nullptr); }
    /// `callback` (may be empty) receives the state after the resulting action; not called if there was none.
    void dispatch(const AsyncActionCreator& actionCreator, DispatchCallback callback) {
        const Snapshot<State> current = state_;
        actionCreator(present(current), *this,
                      [weak = this->weak_from_this(), callback = std::move(callback)](const ActionCreator& creator) {
                          const auto store = weak.lock();
                          const std::unique_ptr<Action> action = store ? store->create(creator) : nullptr;
                          if (!action) return;
                          store->dispatch(*action);
                          const Snapshot<State> next = store->state_;
                          if (callback) callback(present(next));
                      });
    }

    const std::vector<Middleware<State>>& middleware() const { return *middleware_; }
    /// Takes effect on the next dispatch. May be called from a middleware.
    void setMiddleware(std::vector<Middleware<State>> middleware) {
        middleware_ = std::make_shared<const std::vector<Middleware<State>>>(std::move(middleware));
        chain_ = nullptr;
    }

    /// Delivers whole states to `subscriber`, the current one first. The subscriber is held weakly and has one
    /// subscription; a second one replaces the first.
    template <std::derived_from<StoreSubscriber<State>> Subscriber>
    void subscribe(const std::shared_ptr<Subscriber>& subscriber) {
        if constexpr (std::equality_comparable<State>) {
            if (subscriptionsAutomaticallySkipRepeats) {
                subscribe(subscriber, [](Subscription<State>& whole) { return whole.skipRepeats(); });
                return;
            }
        }
        add(Subscription<State>::make([](auto&&) {}), std::shared_ptr<Subscription<State>>(), subscriber);
    }

    /// As above, through the stages that `transform(Subscription<State>&)` appends; it returns the last one, a
    /// `std::shared_ptr<Subscription<Selected>>`.
    template <class Subscriber, class Transform>
    void subscribe(const std::shared_ptr<Subscriber>& subscriber, Transform&& transform) {
        const auto original = Subscription<State>::make([](auto&&) {});
        auto last = std::forward<Transform>(transform)(*original);
        using Selected = typename Subscriber::StoreSubscriberStateType;
        static_assert(std::same_as<decltype(last), std::shared_ptr<Subscription<Selected>>>,
                      "the transformation must end in the subscriber's state type");
        if constexpr (std::equality_comparable<Selected>) {
            if (subscriptionsAutomaticallySkipRepeats) last = last->skipRepeats();
        }
        add(original, last, subscriber);
    }

    void unsubscribe(const AnyStoreSubscriber& subscriber) {
        std::erase_if(subscriptions_, [&](const auto& box) { return box->objectIdentifier == &subscriber; });
    }

    const std::vector<std::shared_ptr<SubscriptionBox<State>>>& subscriptions() const { return subscriptions_; }

private:
    static const State& present(const Snapshot<State>& state) {
        if (!state) fatalError("The store has no state yet");
        return *state;
    }

    Snapshot<State> reduce(const Action& action) {
        isDispatching_.value([](bool& dispatching) { dispatching = true; });
        // Resets the guard also if the reducer throws.
        const struct End {
            Synchronized<bool>& isDispatching;
            ~End() {
                isDispatching.value([](bool& dispatching) { dispatching = false; });
            }
        } end{isDispatching_};
        return std::make_shared<const State>(reducer_(action, state_.get()));
    }

    std::unique_ptr<Action> create(const ActionCreator& actionCreator) {
        const Snapshot<State> current = state_;
        return actionCreator(present(current), *this);
    }

    std::shared_ptr<const DispatchFunction> chain() {
        if (chain_) return chain_;
        const auto middleware = middleware_;
        auto made = std::make_shared<const DispatchFunction>(makeDispatchFunction(*middleware));
        // Not cached if a middleware factory has called `setMiddleware`.
        if (middleware == middleware_) chain_ = made;
        return made;
    }

    DispatchFunction makeDispatchFunction(const std::vector<Middleware<State>>& middleware) {
        const std::weak_ptr<Store> weak = this->weak_from_this();
        DispatchFunction chain = [weak](const Action& action) {
            if (const auto store = weak.lock()) store->_defaultDispatch(action);
        };
        for (auto link = middleware.rbegin(); link != middleware.rend(); ++link) {
            DispatchFunction dispatch = [weak](const Action& action) {
                if (const auto store = weak.lock()) store->dispatch(action);
            };
            std::function<Snapshot<State>()> getState = [weak]() -> Snapshot<State> {
                const auto store = weak.lock();
                return store ? store->state_ : nullptr;
            };
            chain = (*link)(std::move(dispatch), std::move(getState))(std::move(chain));
        }
        return chain;
    }

    template <class Selected>
    void add(std::shared_ptr<Subscription<State>> original, const std::shared_ptr<Subscription<Selected>>& last,
             const std::shared_ptr<AnyStoreSubscriber>& subscriber) {
        auto box = SubscriptionBox<State>::make(std::move(original), last, subscriber);
        const auto same = std::find_if(subscriptions_.begin(), subscriptions_.end(),
                                       [&](const auto& other) { return *other == *box; });
        if (same != subscriptions_.end()) {
            *same = box;
        } else {
            subscriptions_.push_back(box);
        }
        if (!state_) return;
        dispatch::mainQueue().async([original = std::weak_ptr(box->originalSubscription), state = state_] {
            if (const auto alive = original.lock()) alive->newValues(nullptr, state);
        });
    }

    void setState(Snapshot<State> newState) {
        Snapshot<State> oldState = std::exchange(state_, std::move(newState));
        dispatch::mainQueue().async([weak = this->weak_from_this(), oldState = std::move(oldState)] {
            if (const auto store = weak.lock()) store->notifySubscribers(oldState);
        });
    }

    /// Notifies live subscribers of the current state and removes destroyed ones.
    void notifySubscribers(const Snapshot<State>& oldState) {
        bool someAreDestroyed = false;
        for (const auto& box : subscriptions_) {
            if (box->subscriber.expired()) {
                someAreDestroyed = true;
                continue;
            }
            if (!state_) continue;
            if (!oldState) fatalError("A subscriber was notified of a state that has no predecessor");
            box->newValues(oldState, state_);
        }
        if (someAreDestroyed) std::erase_if(subscriptions_, [](const auto& box) { return box->subscriber.expired(); });
    }

    Snapshot<State> state_;
    /// The cached middleware chain; null until first used.
    std::shared_ptr<const DispatchFunction> chain_;
    Reducer<State> reducer_;
    std::vector<std::shared_ptr<SubscriptionBox<State>>> subscriptions_;
    Synchronized<bool> isDispatching_{false};
    std::shared_ptr<const std::vector<Middleware<State>>> middleware_;
};

}  // namespace videoanalysis
