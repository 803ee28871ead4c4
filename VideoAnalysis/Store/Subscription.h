#pragma once
// How a store's states reach an object: a chain of stages (select a part, skip repeats) that each hand on through the main
// queue. A stage is owned by the closures of the stage before it, the first one by the store's box.

#include "VideoAnalysis/Platform/Dispatch.h"
#include "VideoAnalysis/Store/Snapshot.h"

#include <concepts>
#include <functional>
#include <memory>
#include <type_traits>
#include <utility>

namespace videoanalysis {

/// One stage. Made with `make`; main thread. Whoever is downstream installs itself as `observer`. An old snapshot is null
/// when there was no state before.
template <class State>
class Subscription : public std::enable_shared_from_this<Subscription<State>> {
    struct Private {};

public:
    using Forward = std::function<void(const Snapshot<State>& oldState, const Snapshot<State>& newState)>;

    /// Called in a main-queue block of its own for every value that comes through; may be empty.
    Forward observer;

    explicit Subscription(Private) {}

    /// A new stage. `sink(forward)` is expected to keep `forward`, the function that hands values to the stage and owns it.
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

    /// Hands the values to the observer, in a later turn, if the stage is still there then.
    void newValues(const Snapshot<State>& oldState, const Snapshot<State>& newState) {
        dispatch::mainQueue().async([weak = this->weak_from_this(), oldState, newState] {
            const auto alive = weak.lock();
            if (alive && alive->observer) alive->observer(oldState, newState);
        });
    }

    /// A stage of `selector(state)`: a function, or a pointer to a field. A selector that returns a reference into the state
    /// costs no copy.
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

    /// A stage that drops a value when `isRepeat(old, new)` holds. A value without an old one always passes.
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
    /// Makes `work` this stage's observer, run in a block of its own. The observer owns `work`; a block that is still
    /// waiting when the stage goes away does nothing.
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
