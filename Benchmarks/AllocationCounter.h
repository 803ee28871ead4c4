#pragma once
// Counts calls of operator new in the bench program, so that a benchmark can verify that a path does not allocate.

#include <cstdint>

namespace videoanalysis::bench {

/// Counts from its construction on. Counters may overlap. Memory from malloc (C libraries) is not counted.
class AllocationCounter {
public:
    enum class Scope {
        thisThread,  ///< allocations of the constructing thread; read on the same thread
        allThreads,
    };

    explicit AllocationCounter(Scope scope = Scope::thisThread);

    /// Calls of operator new so far.
    std::int64_t count() const;
    /// Bytes requested so far.
    std::int64_t bytes() const;

private:
    Scope scope_;
    std::int64_t countBefore_;
    std::int64_t bytesBefore_;
};

}  // namespace videoanalysis::bench
