#pragma once
// A growable copy-on-write array. Holds the content of JSON values; a value with a few members costs one allocation.

#include "VideoAnalysis/JSON/SharedPages.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace videoanalysis {

/// Elements are modified only through `mutableData` and the operations below. Copies may be used on different threads.
template <class T>
class SharedArray {
public:
    SharedArray() = default;
    SharedArray(std::initializer_list<T> elements) {
        reserve(elements.size());
        for (const T& element : elements) push_back(element);
    }
    SharedArray(const SharedArray& other) noexcept : block_(other.block_) {
        if (block_) block_->references.fetch_add(1, std::memory_order_relaxed);
    }
    SharedArray(SharedArray&& other) noexcept : block_(std::exchange(other.block_, nullptr)) {}
    SharedArray& operator=(SharedArray other) noexcept {
        std::swap(block_, other.block_);
        return *this;
    }
    ~SharedArray() {
        if (!block_) return;
        // A sole owner needs no atomic decrement.
        if (block_->references.load(std::memory_order_acquire) > 1 &&
            block_->references.fetch_sub(1, std::memory_order_acq_rel) > 1)
            return;
        std::destroy_n(elements(block_), block_->size);
        deallocate(block_);
    }

    std::size_t size() const { return block_ ? block_->size : 0; }
    bool empty() const { return size() == 0; }
    const T* data() const { return block_ ? elements(block_) : nullptr; }
    const T* begin() const { return data(); }
    const T* end() const { return data() + size(); }
    const T& operator[](std::size_t index) const { return data()[index]; }

    /// Writable elements; copied first if they are shared.
    T* mutableData() {
        if (block_ && isShared()) reallocate(block_->size);
        return block_ ? elements(block_) : nullptr;
    }
    void reserve(std::size_t capacity) {
        if (capacity > (block_ ? block_->capacity : 0)) reallocate(capacity);
    }
    void push_back(T element) { emplace_back(std::move(element)); }
    /// `arguments` must not alias elements of this array.
    template <class... Arguments>
    void emplace_back(Arguments&&... arguments) {
        if (!block_ || block_->size == block_->capacity)
            reallocate(std::max<std::size_t>(2 * size(), 4));
        else if (isShared())
            reallocate(block_->capacity);
        new (elements(block_) + block_->size) T{std::forward<Arguments>(arguments)...};
        ++block_->size;
    }
    /// Removes the elements from index `size` on.
    void truncate(std::size_t size) {
        if (size >= this->size()) return;
        T* all = mutableData();
        std::destroy_n(all + size, block_->size - size);
        block_->size = static_cast<std::uint32_t>(size);
    }

    friend bool operator==(const SharedArray& a, const SharedArray& b) {
        return a.block_ == b.block_ || std::equal(a.begin(), a.end(), b.begin(), b.end());
    }

private:
    struct Block {
        std::atomic<std::uint32_t> references{1};
        std::uint32_t size = 0;
        std::uint32_t capacity = 0;
        SharedPages::Page* page = nullptr;
    };

    static T* elements(Block* block) {
        static_assert(alignof(T) <= alignof(Block) && sizeof(Block) % alignof(T) == 0);
        return std::launder(reinterpret_cast<T*>(block + 1));
    }
    static void deallocate(Block* block) {
        SharedPages::Page* const page = block->page;
        std::destroy_at(block);
        if (page)
            SharedPages::release(page);
        else
            ::operator delete(block);
    }
    bool isShared() const { return block_->references.load(std::memory_order_acquire) > 1; }

    /// Moves the elements to a new block, or copies them if they are shared.
    void reallocate(std::size_t capacity) {
        if (capacity > std::numeric_limits<std::uint32_t>::max()) throw std::bad_array_new_length();
        const SharedPages::Memory memory = SharedPages::allocate(sizeof(Block) + capacity * sizeof(T));
        auto* block = new (memory.start) Block;
        block->page = memory.page;
        block->capacity = static_cast<std::uint32_t>(capacity);
        if (block_) {
            static_assert(std::is_nothrow_move_constructible_v<T>);
            if (isShared())
                std::uninitialized_copy_n(elements(block_), block_->size, elements(block));
            else
                std::uninitialized_move_n(elements(block_), block_->size, elements(block));
            block->size = block_->size;
        }
        SharedArray old(std::move(*this));
        block_ = block;
    }

    Block* block_ = nullptr;
};

}  // namespace videoanalysis
