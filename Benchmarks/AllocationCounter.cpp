#include "Benchmarks/AllocationCounter.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

// Constant-initialized, because the program allocates before dynamic initialization.
thread_local std::int64_t threadCount = 0;
thread_local std::int64_t threadBytes = 0;
std::atomic<std::int64_t> totalCount{0};
std::atomic<std::int64_t> totalBytes{0};

void* allocate(std::size_t size, std::size_t alignment) {
    threadCount += 1;
    threadBytes += static_cast<std::int64_t>(size);
    totalCount.fetch_add(1, std::memory_order_relaxed);
    totalBytes.fetch_add(static_cast<std::int64_t>(size), std::memory_order_relaxed);
    // aligned_alloc needs a non-zero multiple of the alignment.
    void* memory =
        alignment <= alignof(std::max_align_t)
            ? std::malloc(size ? size : 1)
            : std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment + (size ? 0 : alignment));
    if (!memory) throw std::bad_alloc();
    return memory;
}

}  // namespace

// The array and nothrow forms of the standard library call these.
void* operator new(std::size_t size) { return allocate(size, 0); }
void* operator new(std::size_t size, std::align_val_t alignment) {
    return allocate(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }

namespace videoanalysis::bench {

AllocationCounter::AllocationCounter(Scope scope) : scope_(scope), countBefore_(0), bytesBefore_(0) {
    countBefore_ = count();
    bytesBefore_ = bytes();
}

std::int64_t AllocationCounter::count() const {
    return (scope_ == Scope::thisThread ? threadCount : totalCount.load(std::memory_order_relaxed)) - countBefore_;
}

std::int64_t AllocationCounter::bytes() const {
    return (scope_ == Scope::thisThread ? threadBytes : totalBytes.load(std::memory_order_relaxed)) - bytesBefore_;
}

}  // namespace videoanalysis::bench
