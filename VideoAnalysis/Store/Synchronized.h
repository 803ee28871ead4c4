#pragma once
// One value guarded by a reader-writer queue of its own: readers run together, a writer runs alone. The store keeps its
// dispatch guard in one.

#include "VideoAnalysis/Platform/Dispatch.h"

#include <utility>

namespace videoanalysis {

template <class Value>
class Synchronized {
public:
    explicit Synchronized(Value value) : value_(std::move(value)) {}

    /// A copy of the value. Any thread; waits for a writer.
    Value value() const {
        return mutex_.sync([this] { return value_; });
    }
    /// Runs `change(value)` alone, as a barrier. Any thread; waits for readers and writers.
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
