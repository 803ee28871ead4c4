#pragma once
// An arena for small blocks that are allocated together and mostly freed together. The JSON parser opens one, and the
// arrays of its values allocate from it.

#include <atomic>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>

namespace videoanalysis {

/// During its lifetime the small blocks that its thread allocates are packed into 64 KB pages. A page is freed with its
/// last block, on any thread.
class SharedPages {
public:
    SharedPages() : outer_(std::exchange(current(), this)) {}
    SharedPages(const SharedPages&) = delete;
    SharedPages& operator=(const SharedPages&) = delete;
    ~SharedPages() {
        current() = outer_;
        release(page_);
    }

    struct Page {
        std::atomic<std::size_t> users{1};
    };
    struct Memory {
        void* start;
        Page* page;  ///< null for a separate allocation
    };

    static Memory allocate(std::size_t bytes) {
        constexpr std::size_t small = 512;
        SharedPages* const pages = current();
        if (!pages || bytes > small) return {::operator new(bytes), nullptr};
        bytes = (bytes + alignof(std::max_align_t) - 1) / alignof(std::max_align_t) * alignof(std::max_align_t);
        if (pages->left_ < bytes) {
            constexpr std::size_t pageSize = std::size_t{64} * 1024;
            release(std::exchange(pages->page_, nullptr));
            pages->page_ = new (::operator new(pageSize)) Page;
            pages->left_ = pageSize - alignof(std::max_align_t);
            pages->next_ = reinterpret_cast<char*>(pages->page_) + alignof(std::max_align_t);
        }
        pages->page_->users.fetch_add(1, std::memory_order_relaxed);
        pages->left_ -= bytes;
        return {std::exchange(pages->next_, pages->next_ + bytes), pages->page_};
    }
    static void release(Page* page) {
        if (!page || page->users.fetch_sub(1, std::memory_order_acq_rel) > 1) return;
        std::destroy_at(page);
        ::operator delete(page);
    }

private:
    static SharedPages*& current() {
        static thread_local SharedPages* pages = nullptr;
        return pages;
    }

    SharedPages* outer_;
    Page* page_ = nullptr;
    char* next_ = nullptr;
    std::size_t left_ = 0;
};

}  // namespace videoanalysis
