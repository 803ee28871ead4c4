#pragma once
// A value guarded by its own reader-writer queue: readers run concurrently, writers exclusively. Holds the store's
// dispatch guard.

#include "VideoAnalysis/Platform/Dispatch.h"

#include <utility>

namespace videoanalysis {

template <class Value>
class Synchronized {
public:
    explicit Synchronized(Value value) : value_(std::move(value)) {}

    /// A copy of the value. Any thread; blocks while a writer runs.
    Value value() const {
        return mutex_.sync([this] { return value_; });
    }
    /// Runs `change(value)` exclusively, as a barrier. Any thread; blocks until it has run.
    template <class Change>
    void value(Change&& change) {
        mutex_.syncBarrier([&] { std::forward<Change>(change)(value_); });
    }

    const dispatch::ConcurrentQueue& mutex() const { return mutex_; }

private:
    dispatch::ConcurrentQueue mutex_{"org.videoanalysis.store.synchronized-value.q"};
    Value value_;
};

}  // namespace videoanalysis
