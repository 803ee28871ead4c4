#pragma once
// Counts what operator new does in the bench program, so that a benchmark can hold a path to allocating nothing.

#include <cstdint>

namespace videoanalysis::bench {

/// Counts from its making on. Any number may run at once. Memory from malloc (C libraries) is not counted.
class AllocationCounter {
public:
    enum class Scope {
        thisThread,  ///< what the thread that made the counter allocates; ask on the same thread
        allThreads,
    };

    explicit AllocationCounter(Scope scope = Scope::thisThread);

    /// Calls of operator new so far.
    std::int64_t count() const;
    /// Bytes that they asked for.
    std::int64_t bytes() const;

private:
    Scope scope_;
    std::int64_t countBefore_;
    std::int64_t bytesBefore_;
};

}  // namespace videoanalysis::bench
