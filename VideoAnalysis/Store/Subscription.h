#pragma once
// Delivers a store's states to a subscriber through a chain of stages (select a part, skip repeats), each of which forwards
// through the main queue. The closures of the previous stage own a stage; the store's box owns the first one.

#include "VideoAnalysis/Platform/Dispatch.h"
#include "VideoAnalysis/Store/Snapshot.h"

#include <concepts>
#include <functional>
#include <memory>
#include <type_traits>
#include <utility>

namespace videoanalysis {

/// One stage, created by `make`. Main thread only. The next stage installs itself as `observer`. The old snapshot is null
/// for the first value.
template <class State>
class Subscription : public std::enable_shared_from_this<Subscription<State>> {
    struct Private {};

public:
    using Forward = std::function<void(const Snapshot<State>& oldState, const Snapshot<State>& newState)>;

    /// Called in a separate main-queue block for each forwarded value; may be empty.
    Forward observer;

    explicit Subscription(Private) {}

    /// A new stage. `sink(forward)` must keep `forward`, which owns the stage and passes values to it.
    template <class Sink>
    static std::shared_ptr<Subscription> make(Sink&& sink) {
        auto stage = std::make_shared<Subscription>(Private{});
        std::forward<Sink>(sink)(Forward([stage](const Snapshot<State>& oldState, const Snapshot<State>& newState) {
            dispatch::mainQueue().async([weak = stage->weak_from_this(), oldState, newState] {
                if (const auto alive = weak.lock()) alive->newValues(oldState, newState);
            });
        }));
        return stage;
    }

    /// Posts the values to the observer; dropped if the stage is destroyed first.
    void newValues(const Snapshot<State>& oldState, const Snapshot<State>& newState) {
        dispatch::mainQueue().async([weak = this->weak_from_this(), oldState, newState] {
            const auto alive = weak.lock();
            if (alive && alive->observer) alive->observer(oldState, newState);
        });
    }

    /// Appends a stage that delivers `selector(state)`. The selector is a function or a pointer to a field; returning a
    /// reference into the state avoids a copy.
    template <class Selector>
    auto select(Selector selector) {
        using Substate = std::decay_t<std::invoke_result_t<Selector&, const State&>>;
        return Subscription<Substate>::make([&](typename Subscription<Substate>::Forward forward) {
            install([selector = std::move(selector), forward = std::move(forward)](const Snapshot<State>& oldState,
                                                                                   const Snapshot<State>& newState) {
                forward(oldState ? part<Substate>(selector, oldState) : nullptr, part<Substate>(selector, newState));
            });
        });
    }

    /// Appends a stage that drops a value if `isRepeat(old, new)`. The first value always passes.
    std::shared_ptr<Subscription> skipRepeats(std::function<bool(const State&, const State&)> isRepeat) {
        return make([&](Forward forward) {
            install([isRepeat = std::move(isRepeat), forward = std::move(forward)](const Snapshot<State>& oldState,
                                                                                   const Snapshot<State>& newState) {
                if (!oldState || !isRepeat(*oldState, *newState)) forward(oldState, newState);
            });
        });
    }
    std::shared_ptr<Subscription> skipRepeats() requires std::equality_comparable<State> {
        return skipRepeats([](const State& a, const State& b) { return a == b; });
    }
    std::shared_ptr<Subscription> skip(std::function<bool(const State&, const State&)> when) {
        return skipRepeats(std::move(when));
    }
    std::shared_ptr<Subscription> only(std::function<bool(const State&, const State&)> when) {
        return skipRepeats([when = std::move(when)](const State& a, const State& b) { return !when(a, b); });
    }

private:
    /// Makes `work` this stage's observer, run in a separate block. The observer owns `work`; destroying the stage cancels
    /// pending blocks.
    template <class Work>
    void install(Work work) {
        observer = [shared = std::make_shared<const Work>(std::move(work))](const Snapshot<State>& oldState,
                                                                            const Snapshot<State>& newState) {
            dispatch::mainQueue().async([weak = std::weak_ptr<const Work>(shared), oldState, newState] {
                if (const auto alive = weak.lock()) (*alive)(oldState, newState);
            });
        };
    }

    template <class Substate, class Selector>
    static Snapshot<Substate> part(const Selector& selector, const Snapshot<State>& state) {
        if constexpr (std::is_lvalue_reference_v<std::invoke_result_t<const Selector&, const State&>>) {
            return Snapshot<Substate>(state, &std::invoke(selector, *state));
        } else {
            return std::make_shared<const Substate>(std::invoke(selector, *state));
        }
    }
};

}  // namespace videoanalysis
