#pragma once
// Lets drawing whose result is no longer needed stop early: a context asks between two steps. The sketch view sets it for
// drawings that it makes in the background.

#include <atomic>

namespace videoanalysis::graphics {

/// For the life of the scope, drawing on this thread may stop at any point once `isCancelled` is true: the picture is
/// discarded then. Scopes do not nest.
class DrawingCancellationScope {
public:
    explicit DrawingCancellationScope(const std::atomic<bool>& isCancelled) { current() = &isCancelled; }
    ~DrawingCancellationScope() { current() = nullptr; }
    DrawingCancellationScope(const DrawingCancellationScope&) = delete;
    DrawingCancellationScope& operator=(const DrawingCancellationScope&) = delete;

    /// The flag of this thread's scope; null when there is none.
    static const std::atomic<bool>*& current() {
        static thread_local const std::atomic<bool>* flag = nullptr;
        return flag;
    }
};

/// Whether what this thread draws is discarded.
inline bool isDrawingCancelled() {
    const std::atomic<bool>* flag = DrawingCancellationScope::current();
    return flag && flag->load(std::memory_order_relaxed);
}

}  // namespace videoanalysis::graphics
