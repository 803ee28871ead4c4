#pragma once
// Work queues: the main queue on which the whole component runs, concurrent queues that guard a value, and timers. The
// store delivers every state through the main queue; a platform decides when it is drained.

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <new>
#include <shared_mutex>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace videoanalysis::dispatch {

/// A move-only `void()` function. Callables of up to 56 bytes are stored inline, so that posting them does not allocate.
class Block {
public:
    Block() = default;

    template <class F, class = std::enable_if_t<!std::is_same_v<std::decay_t<F>, Block>>>
    Block(F&& callable) {  // NOLINT: implicit, any callable is a block
        using Callable = std::decay_t<F>;
        if constexpr (sizeof(Callable) <= inlineSize && alignof(Callable) <= alignof(void*) &&
                      std::is_nothrow_move_constructible_v<Callable>) {
            new (storage_) Callable(std::forward<F>(callable));
            operations_ = &inlineOperations<Callable>;
        } else {
            new (storage_) Callable*(new Callable(std::forward<F>(callable)));
            operations_ = &heapOperations<Callable>;
        }
    }

    Block(Block&& other) noexcept { take(other); }
    Block& operator=(Block&& other) noexcept {
        if (this != &other) {
            reset();
            take(other);
        }
        return *this;
    }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
    ~Block() { reset(); }

    explicit operator bool() const { return operations_ != nullptr; }
    void operator()() { operations_->call(storage_); }

private:
    static constexpr std::size_t inlineSize = 56;

    struct Operations {
        void (*call)(void* storage);
        void (*relocate)(void* from, void* to) noexcept;
        void (*destroy)(void* storage) noexcept;
    };

    template <class Callable>
    static constexpr Operations inlineOperations = {
        [](void* storage) { (*std::launder(static_cast<Callable*>(storage)))(); },
        [](void* from, void* to) noexcept {
            auto* callable = std::launder(static_cast<Callable*>(from));
            new (to) Callable(std::move(*callable));
            callable->~Callable();
        },
        [](void* storage) noexcept { std::launder(static_cast<Callable*>(storage))->~Callable(); }};

    template <class Callable>
    static constexpr Operations heapOperations = {
        [](void* storage) { (**static_cast<Callable**>(storage))(); },
        [](void* from, void* to) noexcept { new (to) Callable*(*static_cast<Callable**>(from)); },
        [](void* storage) noexcept { delete *static_cast<Callable**>(storage); }};

    void take(Block& other) noexcept {
        operations_ = std::exchange(other.operations_, nullptr);
        if (operations_) operations_->relocate(other.storage_, storage_);
    }
    void reset() noexcept {
        if (operations_) std::exchange(operations_, nullptr)->destroy(storage_);
    }

    alignas(void*) unsigned char storage_[inlineSize];
    const Operations* operations_ = nullptr;
};

/// A serial queue: blocks run in the order in which they were posted, on the queue's thread.
class Queue {
public:
    virtual ~Queue() = default;
    /// Any thread. Posts the block without waiting for it.
    virtual void async(Block block) = 0;
    /// Any thread. Runs the block once, `seconds` (0 or more) from now.
    virtual void asyncAfter(double seconds, Block block) = 0;
};

/// The queue of the user interface thread. Runs in turns: a turn runs the blocks that were pending when it began; blocks
/// posted during a turn run in the next one. The platform runs the turns.
///
/// A thread that may outlive the queue posts through its `Inbox`. The destructor of each final class calls `close` first.
class MainQueue : public Queue {
public:
    /// The pending blocks. May outlive the queue; blocks posted after that are discarded. Any thread.
    class Inbox {
    public:
        /// Discards the block if the queue is closed.
        void post(Block block);

    private:
        friend class MainQueue;

        std::mutex wakeMutex_;        // held while waking the queue, so that closing waits for it
        MainQueue* queue_ = nullptr;  // under `wakeMutex_`; null once closed
        std::mutex mutex_;            // guards the rest
        std::vector<Block> waiting_;
        bool isClosed_ = false;
    };

    MainQueue();
    ~MainQueue() override;

    void async(Block block) final { inbox_->post(std::move(block)); }
    /// Never null.
    const std::shared_ptr<Inbox>& inbox() const { return inbox_; }

    /// Runs one turn and returns whether there was anything to run. Main thread only. No effect inside a block of the queue,
    /// unless `isNested`, for an event loop run by that block: its turns start with the rest of the interrupted turn.
    bool runTurn(bool isNested = false);
    /// Any thread.
    bool isEmpty() const;

protected:
    /// Called on the posting thread whenever a block is posted to the empty queue. Must not post.
    virtual void wake() = 0;
    /// Main thread only. Waits for a running `wake`, the last one; discards pending blocks and those posted from now on.
    void close();

    /// Whether any blocks are pending, including the rest of the current turn. Main thread only.
    bool hasWork() const { return next_ < running_.size() || !isEmpty(); }

private:
    const std::shared_ptr<Inbox> inbox_;
    std::vector<Block> running_;  ///< of the current turn, pending from `next_` on
    std::size_t next_ = 0;
    bool isRunning_ = false;
};

/// The installed platform's main queue.
MainQueue& mainQueue();

/// A reader-writer lock for data: readers run concurrently, a barrier exclusively. Both calls block until the work is done.
class ConcurrentQueue {
public:
    explicit ConcurrentQueue(std::string label) : label_(std::move(label)) {}

    const std::string& label() const { return label_; }

    template <class Work>
    decltype(auto) sync(Work&& work) const {
        const std::shared_lock lock(mutex_);
        return std::forward<Work>(work)();
    }
    template <class Work>
    decltype(auto) syncBarrier(Work&& work) {
        const std::unique_lock lock(mutex_);
        return std::forward<Work>(work)();
    }

private:
    std::string label_;
    mutable std::shared_mutex mutex_;
};

/// A timer on the main run loop, created by `Platform::scheduleTimer`. Stopped by `invalidate`, not by releasing it.
class Timer {
public:
    virtual ~Timer() = default;
    /// False after it was invalidated or, unless it repeats, has fired.
    virtual bool isValid() const = 0;
    /// Stops the timer. Main thread only.
    virtual void invalidate() = 0;
};

}  // namespace videoanalysis::dispatch
