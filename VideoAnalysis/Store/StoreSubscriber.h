#pragma once
// What an object derives from to receive a store's states: `StoreSubscriber<Part>` and one function, `newState`. The box is
// the store's record of one subscriber and of the chain that leads to it.

#include "VideoAnalysis/Platform/Dispatch.h"
#include "VideoAnalysis/Store/Snapshot.h"
#include "VideoAnalysis/Store/Subscription.h"

#include <memory>
#include <typeinfo>
#include <utility>

namespace videoanalysis {

/// A state of any type; a receiver takes it only when the type is its own.
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
    /// `self` is this object; a state of another type than the subscriber's is ignored.
    virtual void _newState(const std::weak_ptr<AnyStoreSubscriber>& self, const AnyState& state) = 0;
};

template <class State>
class StoreSubscriber : public AnyStoreSubscriber {
public:
    using StoreSubscriberStateType = State;

    /// A new state, on the main queue, some turns after the dispatch that made it.
    virtual void newState(const State& state) = 0;

    void _newState(const std::weak_ptr<AnyStoreSubscriber>& self, const AnyState& state) final {
        Snapshot<State> typed = state.as<State>();
        if (!typed) return;
        dispatch::mainQueue().async([this, self, typed = std::move(typed)] {
            if (const auto alive = self.lock()) newState(*typed);
        });
    }
};

/// One subscriber of a store. Boxes are equal when they stand for the same object.
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
