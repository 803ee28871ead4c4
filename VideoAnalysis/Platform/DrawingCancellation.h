#pragma once
// Cancels drawing whose result is no longer needed: contexts check it between steps. Used by the sketch view for background
// drawing.

#include <atomic>

namespace videoanalysis::graphics {

/// During its lifetime, drawing on this thread may stop at any point once `isCancelled` is true, because the result will be
/// discarded. Scopes do not nest.
class DrawingCancellationScope {
public:
    explicit DrawingCancellationScope(const std::atomic<bool>& isCancelled) { current() = &isCancelled; }
    ~DrawingCancellationScope() { current() = nullptr; }
    DrawingCancellationScope(const DrawingCancellationScope&) = delete;
    DrawingCancellationScope& operator=(const DrawingCancellationScope&) = delete;

    /// The flag of this thread's scope; null if there is none.
    static const std::atomic<bool>*& current() {
        static thread_local const std::atomic<bool>* flag = nullptr;
        return flag;
    }
};

/// Whether this thread's drawing has been cancelled.
inline bool isDrawingCancelled() {
    const std::atomic<bool>* flag = DrawingCancellationScope::current();
    return flag && flag->load(std::memory_order_relaxed);
}

}  // namespace videoanalysis::graphics
