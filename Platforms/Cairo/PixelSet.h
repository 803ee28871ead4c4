#pragma once
// The pixels of one stroke as a bit set, so that pixels shared by several pieces count once. Used by the Cairo context and its
// rasterizer.

#include "Platforms/Cairo/PixelBox.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace videoanalysis::graphics::cairo {

class PixelSet {
public:
    /// Empty. Only pixels of `box` can be added.
    explicit PixelSet(PixelBox box)
        : box_(box), wordsPerRow_((static_cast<std::size_t>(box.width()) + 63) / 64), top_(box.top),
          bottom_(box.bottom), words_(wordsPerRow_ * static_cast<std::size_t>(box.height())),
          isFull_(static_cast<std::size_t>(box.height())) {}

    /// Range of rows that can still change: rows above and below it are full.
    int openTop() const { return top_; }
    int openBottom() const { return bottom_; }
    bool isRowFull(int y) const { return isFull_[static_cast<std::size_t>(y - box_.top)] != 0; }

    /// Adds a run of at least one pixel inside the box.
    void insert(int y, int left, int right) {
        const auto first = static_cast<unsigned>(left - box_.left);
        const auto last = static_cast<unsigned>(right - box_.left) - 1;
        std::uint64_t* row = words_.data() + static_cast<std::size_t>(y - box_.top) * wordsPerRow_;
        const std::uint64_t fromFirst = ~std::uint64_t{0} << first % 64;
        const std::uint64_t toLast = ~std::uint64_t{0} >> (63 - last % 64);
        if (first / 64 == last / 64) {
            row[first / 64] |= fromFirst & toLast;
        } else {
            row[first / 64] |= fromFirst;
            std::fill(row + first / 64 + 1, row + last / 64, ~std::uint64_t{0});
            row[last / 64] |= toLast;
        }
        // Only long runs are likely to complete a row.
        if (right - left >= box_.width() / 2) noteIfFull(y, row);
    }

    /// Calls `action(y, left, right)` for every run of pixels, row by row from the left.
    template <class Action>
    void forEachRun(Action&& action) const {
        const std::uint64_t* word = words_.data();
        for (int y = box_.top; y < box_.bottom; ++y) {
            int start = -1;
            for (std::size_t i = 0; i < wordsPerRow_; ++i) {
                const std::uint64_t bits = *word++;
                const int x = static_cast<int>(i) * 64;
                if (bits == (start < 0 ? std::uint64_t{0} : ~std::uint64_t{0})) continue;
                for (int bit = 0; bit < 64;) {
                    const std::uint64_t rest = (start < 0 ? bits : ~bits) >> bit;
                    if (rest == 0) break;
                    bit += std::countr_zero(rest);
                    if (start < 0) {
                        start = x + bit;
                    } else {
                        action(y, box_.left + start, box_.left + x + bit);
                        start = -1;
                    }
                }
            }
            if (start >= 0) action(y, box_.left + start, box_.right);
        }
    }

private:
    void noteIfFull(int y, const std::uint64_t* row) {
        const unsigned rest = static_cast<unsigned>(box_.width()) % 64;
        const std::size_t whole = rest == 0 ? wordsPerRow_ : wordsPerRow_ - 1;
        if (rest != 0 && row[whole] != ~(~std::uint64_t{0} << rest)) return;
        if (std::any_of(row, row + whole, [](std::uint64_t word) { return word != ~std::uint64_t{0}; })) return;
        isFull_[static_cast<std::size_t>(y - box_.top)] = 1;
        while (top_ < bottom_ && isRowFull(top_)) ++top_;
        while (bottom_ > top_ && isRowFull(bottom_ - 1)) --bottom_;
    }

    PixelBox box_;
    std::size_t wordsPerRow_;
    int top_;
    int bottom_;
    std::vector<std::uint64_t> words_;
    std::vector<std::uint8_t> isFull_;
};

}  // namespace videoanalysis::graphics::cairo
