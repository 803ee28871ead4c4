#pragma once
// The blurred shape under a glowing stroke. Used by the Cairo context. Only cells near the shape are computed, so a thin stroke
// across the picture costs little more than its own pixels.

#include "Platforms/Cairo/Lanes.h"
#include "Platforms/Cairo/PixelBox.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace videoanalysis::graphics::cairo {

/// Gaussian blur of a shape. Wide blurs are computed on a coarser grid. A pixel's value depends on the shape only, not on
/// which part of the result is requested.
///
///     Glow glow(sigma, memory);
///     glow.begin(visible);
///     shape.forEachRun([&](int y, int left, int right) { glow.add(y, left, right, 255); });  // inside glow.shapeBox()
///     glow.forEachBlock([&](int y, int left, Lanes coverage) { ... });
class Glow {
public:
    static constexpr int blockWidth = 8;

    /// Buffers that the caller keeps from one glow to the next; all zero in between.
    struct Memory {
        std::vector<std::uint16_t> shape;
        std::vector<std::uint16_t> rows;
        std::vector<std::uint64_t> ink;
        std::vector<std::uint64_t> reached;
    };

    /// `sigma`: the standard deviation in pixels, 0 or more, at most `maximumSigma`.
    Glow(double sigma, Memory& memory);
    ~Glow();
    Glow(const Glow&) = delete;
    Glow& operator=(const Glow&) = delete;

    static constexpr double maximumSigma = 64;

    /// Upper bound, in pixels, of how far the glow of a single pixel reaches.
    int reach() const { return (radius_ + 2) << shift_; }
    /// Requests the pixels of `visible`, which must not be empty.
    void begin(PixelBox visible);
    /// The pixels that affect those of `visible`.
    PixelBox shapeBox() const { return shapeBox_; }
    /// Adds a run of pixels inside `shapeBox`, with a coverage of 1...255. Rows from the top, each pixel once.
    void add(int y, int left, int right, unsigned coverage);
    /// Calls `paint(y, left, coverage)` for blocks of `blockWidth` pixels (0...255 each) that contain all of the glow inside
    /// `visible`; they may extend beyond its left and right. Call it once, last.
    template <class Paint>
    void forEachBlock(Paint&& paint);

private:
    using Row = std::uint16_t*;

    /// A cell is a square of 1 << shift_ pixels; a block, 8 cells side by side.
    int cellOf(int pixel) const { return pixel >> shift_; }
    Row shapeRow(int row) { return memory_.shape.data() + static_cast<std::ptrdiff_t>(row - top_) * stride_ - left_; }
    Row blurredRow(int row) { return memory_.rows.data() + static_cast<std::ptrdiff_t>(row - top_) * stride_ - left_; }
    /// One bit per block: those reached by the glow along the shape's row, and those reached from all rows.
    std::uint64_t* inkBits(int row) { return memory_.ink.data() + (row - top_) * wordsPerRow_; }
    std::uint64_t* reachedBits(int row) { return memory_.reached.data() + (row - top_) * wordsPerRow_; }
    void mark(int row, int firstCell, int lastCell);
    void finishRow();
    void blur();
    template <class Action>
    void forEachBit(const std::uint64_t* bits, Action&& action) const;
    /// Weighted sums around eight adjacent cells; neighbours are `step` apart.
    void weigh(const std::uint16_t* from, std::ptrdiff_t step, std::uint16_t* to) const;
    /// Pixel values of row `y` in the block of cells that begins at `left`.
    const std::uint16_t* interpolate(int y, int left);

    int shift_ = 0;
    int radius_ = 0;
    /// The radius, plus one cell when values between cells are interpolated.
    int reach_ = 0;
    /// In 256ths: the centre weight, then those to one side.
    std::vector<std::uint16_t> weights_;
    Memory& memory_;
    PixelBox visible_;
    PixelBox shapeBox_;
    /// The cells whose glow is requested, in whole blocks; below, the range of cells that affect it.
    PixelBox wanted_;
    int left_ = 0;
    int top_ = 0;
    int bottom_ = 0;
    std::ptrdiff_t stride_ = 0;
    std::ptrdiff_t wordsPerRow_ = 0;
    /// The row of cells being filled, and the sums of its pixels.
    int openRow_ = 0;
    bool isRowOpen_ = false;
    std::vector<std::uint32_t> sums_;
    std::vector<std::uint16_t> line_;
};

template <class Action>
void Glow::forEachBit(const std::uint64_t* bits, Action&& action) const {
    for (std::ptrdiff_t i = 0; i < wordsPerRow_; ++i)
        for (std::uint64_t word = bits[i]; word != 0; word &= word - 1)
            action(left_ + (static_cast<int>(i) * 64 + std::countr_zero(word)) * blockWidth);
}

template <class Paint>
void Glow::forEachBlock(Paint&& paint) {
    blur();
    for (int row = cellOf(visible_.top); row <= cellOf(visible_.bottom - 1); ++row) {
        const int first = row << shift_;
        for (int y = std::max(first, visible_.top); y < std::min(first + (1 << shift_), visible_.bottom); ++y) {
            forEachBit(reachedBits(row), [&](int cell) {
                const int left = cell * (1 << shift_);
                const int right = left + (blockWidth << shift_);
                if (right <= visible_.left || left >= visible_.right) return;
                const std::uint16_t* coverage = shift_ == 0 ? shapeRow(row) + cell : interpolate(y, cell);
                for (int x = left; x < right; x += blockWidth, coverage += blockWidth)
                    if (x + blockWidth > visible_.left && x < visible_.right) paint(y, x, loadLanes(coverage));
            });
        }
    }
}

}  // namespace videoanalysis::graphics::cairo
