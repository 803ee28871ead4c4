#pragma once
// Base classes of objects that receive a store's states: derive from `StoreSubscriber<Part>` and implement `newState`.
// `SubscriptionBox` is the store's record of a subscriber and the chain that leads to it.

#include "VideoAnalysis/Platform/Dispatch.h"
#include "VideoAnalysis/Store/Snapshot.h"
#include "VideoAnalysis/Store/Subscription.h"

#include <memory>
#include <typeinfo>
#include <utility>

namespace videoanalysis {

/// A type-erased state.
class AnyState {
public:
    template <class State>
    explicit AnyState(Snapshot<State> state) : type_(&typeid(State)), state_(std::move(state)) {}

    /// Null when the state is of another type.
    template <class State>
    Snapshot<State> as() const {
        return *type_ == typeid(State) ? std::static_pointer_cast<const State>(state_) : nullptr;
    }

private:
    const std::type_info* type_;
    std::shared_ptr<const void> state_;
};

class AnyStoreSubscriber {
public:
    virtual ~AnyStoreSubscriber() = default;
    /// `self` is this object. Ignores a state whose type is not the subscriber's.
    virtual void _newState(const std::weak_ptr<AnyStoreSubscriber>& self, const AnyState& state) = 0;
};

template <class State>
class StoreSubscriber : public AnyStoreSubscriber {
public:
    using StoreSubscriberStateType = State;

    /// Called on the main queue, some turns after the dispatch that produced the state.
    virtual void newState(const State& state) = 0;

    void _newState(const std::weak_ptr<AnyStoreSubscriber>& self, const AnyState& state) final {
        Snapshot<State> typed = state.as<State>();
        if (!typed) return;
        dispatch::mainQueue().async([this, self, typed = std::move(typed)] {
            if (const auto alive = self.lock()) newState(*typed);
        });
    }
};

/// One subscriber of a store. Boxes for the same object are equal.
template <class State>
class SubscriptionBox : public std::enable_shared_from_this<SubscriptionBox<State>> {
public:
    const std::shared_ptr<Subscription<State>> originalSubscription;
    const std::weak_ptr<AnyStoreSubscriber> subscriber;
    const AnyStoreSubscriber* const objectIdentifier;

    SubscriptionBox(std::shared_ptr<Subscription<State>> original,
                    const std::shared_ptr<AnyStoreSubscriber>& subscriber)
        : originalSubscription(std::move(original)), subscriber(subscriber), objectIdentifier(subscriber.get()) {}

    /// A box whose chain ends in `last`, a stage of `original`, or is `original` alone when `last` is null.
    template <class Selected>
    static std::shared_ptr<SubscriptionBox> make(std::shared_ptr<Subscription<State>> original,
                                                 const std::shared_ptr<Subscription<Selected>>& last,
                                                 const std::shared_ptr<AnyStoreSubscriber>& subscriber) {
        auto box = std::make_shared<SubscriptionBox>(std::move(original), subscriber);
        const auto deliver = [weakBox = box->weak_from_this()](const auto&, const auto& newState) {
            dispatch::mainQueue().async([weakBox, newState] {
                const auto alive = weakBox.lock();
                const auto receiver = alive ? alive->subscriber.lock() : nullptr;
                if (receiver) receiver->_newState(alive->subscriber, AnyState(newState));
            });
        };
        if (last) {
            last->observer = deliver;
        } else {
            box->originalSubscription->observer = deliver;
        }
        return box;
    }

    void newValues(const Snapshot<State>& oldState, const Snapshot<State>& newState) {
        dispatch::mainQueue().async([weak = this->weak_from_this(), oldState, newState] {
            if (const auto alive = weak.lock()) alive->originalSubscription->newValues(oldState, newState);
        });
    }

    friend bool operator==(const SubscriptionBox& a, const SubscriptionBox& b) {
        return a.objectIdentifier == b.objectIdentifier;
    }
};

}  // namespace videoanalysis
