#include "Platforms/Cairo/Glow.h"

#include "VideoAnalysis/Platform/DrawingCancellation.h"

#include <cmath>
#include <utility>

namespace videoanalysis::graphics::cairo {
namespace {

/// In cells; a blur at least this wide hides the interpolation between them.
constexpr double minimumSigma = 2;
/// Sum of the weights.
constexpr int unity = 256;

int alignedDown(int value) { return value & ~(Glow::blockWidth - 1); }
int alignedUp(int value) { return alignedDown(value + Glow::blockWidth - 1); }

}  // namespace

Glow::Glow(double sigma, Memory& memory) : memory_(memory) {
    while (sigma / (2 << shift_) >= minimumSigma) ++shift_;
    const double size = 1 << shift_;
    double variance = sigma * sigma / (size * size);
    // Averaging pixels into cells and interpolating between cells blur by this much themselves.
    if (shift_ > 0) variance -= 1.0 / 3 - 1 / (12 * size * size);
    // Rounding cumulative sums instead of single weights keeps the error at an edge below 1 in 512.
    int sum = 0;
    for (int i = 0; sum < unity / 2; ++i) {
        const double share = variance > 0 ? std::erf((i + 0.5) / std::sqrt(2 * variance)) : 1;
        const int next = static_cast<int>(std::lround(share * unity / 2));
        weights_.push_back(static_cast<std::uint16_t>((next - sum) * (i == 0 ? 2 : 1)));
        sum = next;
    }
    radius_ = static_cast<int>(weights_.size()) - 1;
    reach_ = shift_ > 0 ? radius_ + 1 : radius_;
}

void Glow::begin(PixelBox visible) {
    visible_ = visible;
    // One extra cell on each side for interpolation.
    wanted_ = {alignedDown(cellOf(visible.left) - 1), cellOf(visible.top) - 1, alignedUp(cellOf(visible.right - 1) + 2),
               cellOf(visible.bottom - 1) + 2};
    const PixelBox cells = wanted_.grownBy(radius_);
    const int size = 1 << shift_;
    shapeBox_ = {cells.left * size, cells.top * size, cells.right * size, cells.bottom * size};
    const int margin = alignedUp(radius_);
    left_ = wanted_.left - margin;
    top_ = cells.top;
    bottom_ = cells.bottom;
    stride_ = wanted_.width() + 2 * margin;
    wordsPerRow_ = (stride_ / blockWidth + 63) / 64;
    const auto enlarge = [rows = cells.height()](auto& memory, std::ptrdiff_t perRow) {
        const auto needed = static_cast<std::size_t>(perRow) * static_cast<std::size_t>(rows);
        if (memory.size() < needed) memory.resize(needed);
    };
    enlarge(memory_.shape, stride_);
    enlarge(memory_.rows, stride_);
    enlarge(memory_.ink, wordsPerRow_);
    enlarge(memory_.reached, wordsPerRow_);
    if (shift_ > 0) {
        sums_.assign(static_cast<std::size_t>(stride_), 0);
        line_.resize(static_cast<std::size_t>(blockWidth) << shift_);
    }
}

Glow::~Glow() {
    if (visible_.isEmpty()) return;
    for (int row = top_; row < bottom_; ++row) {
        const Row shape = shapeRow(row);
        // The shape may lie outside the blocks that its glow reaches.
        std::fill(shape + left_, shape + wanted_.left, 0);
        std::fill(shape + wanted_.right, shape + left_ + stride_, 0);
        forEachBit(reachedBits(row), [&](int cell) { storeLanes(shape + cell, Lanes{}); });
        forEachBit(inkBits(row), [&](int cell) {
            storeLanes(shape + cell, Lanes{});
            storeLanes(blurredRow(row) + cell, Lanes{});
        });
    }
    const std::ptrdiff_t words = wordsPerRow_ * (bottom_ - top_);
    std::fill_n(memory_.ink.begin(), words, 0);
    std::fill_n(memory_.reached.begin(), words, 0);
}

void Glow::mark(int row, int firstCell, int lastCell) {
    const int first = std::max(firstCell - reach_, wanted_.left);
    const int last = std::min(lastCell + reach_, wanted_.right - 1);
    if (first > last) return;
    std::uint64_t* bits = inkBits(row);
    for (int block = (first - left_) / blockWidth; block <= (last - left_) / blockWidth; ++block)
        bits[block / 64] |= std::uint64_t{1} << block % 64;
}

void Glow::add(int y, int left, int right, unsigned coverage) {
    const int row = cellOf(y);
    const int first = cellOf(left);
    const int last = cellOf(right - 1);
    mark(row, first, last);
    if (shift_ == 0) {
        std::fill(shapeRow(row) + left, shapeRow(row) + right, static_cast<std::uint16_t>(coverage));
        return;
    }
    if (isRowOpen_ && row != openRow_) finishRow();
    isRowOpen_ = true;
    openRow_ = row;
    std::uint32_t* sums = sums_.data() - left_;
    const int size = 1 << shift_;
    if (first == last) {
        sums[first] += coverage * static_cast<unsigned>(right - left);
        return;
    }
    sums[first] += coverage * static_cast<unsigned>((first + 1) * size - left);
    for (int cell = first + 1; cell < last; ++cell) sums[cell] += coverage << shift_;
    sums[last] += coverage * static_cast<unsigned>(right - last * size);
}

void Glow::finishRow() {
    if (!std::exchange(isRowOpen_, false)) return;
    const Row shape = shapeRow(openRow_) + left_;
    const std::uint32_t half = (std::uint32_t{1} << 2 * shift_) / 2;
    std::transform(sums_.begin(), sums_.end(), shape,
                   [&](std::uint32_t sum) { return static_cast<std::uint16_t>((sum + half) >> 2 * shift_); });
    std::fill(sums_.begin(), sums_.end(), 0U);
}

void Glow::weigh(const std::uint16_t* from, std::ptrdiff_t step, std::uint16_t* to) const {
    Lanes sum = loadLanes(from) * weights_[0] + unity / 2;
    for (int i = 1; i <= radius_; ++i) sum += (loadLanes(from - i * step) + loadLanes(from + i * step)) * weights_[i];
    storeLanes(to, sum / unity);
}

void Glow::blur() {
    finishRow();
    for (int row = top_; row < bottom_; ++row) {
        if (isDrawingCancelled()) return;
        forEachBit(inkBits(row), [&](int cell) { weigh(shapeRow(row) + cell, 1, blurredRow(row) + cell); });
    }
    for (int row = wanted_.top; row < wanted_.bottom; ++row) {
        if (isDrawingCancelled()) return;
        std::uint64_t* reached = reachedBits(row);
        const int last = std::min(row + reach_, bottom_ - 1);
        for (int other = std::max(row - reach_, top_); other <= last; ++other)
            for (std::ptrdiff_t i = 0; i < wordsPerRow_; ++i) reached[i] |= inkBits(other)[i];
        forEachBit(reached, [&](int cell) { weigh(blurredRow(row) + cell, stride_, shapeRow(row) + cell); });
    }
}

const std::uint16_t* Glow::interpolate(int y, int left) {
    constexpr int count = blockWidth + 2;
    const int size = 1 << shift_;
    // Between the centres of two rows, in half pixels.
    const int row = cellOf(y);
    const int position = 2 * (y - row * size) + 1 - size;
    const int above = position < 0 ? -1 : 0;
    const int share = position < 0 ? position + 2 * size : position;
    const std::uint16_t* upper = shapeRow(row + above) + left - 1;
    const std::uint16_t* lower = shapeRow(row + above + 1) + left - 1;
    int values[count];
    for (int i = 0; i < count; ++i) values[i] = upper[i] * (2 * size - share) + lower[i] * share;

    const int bits = 2 * (shift_ + 1);
    const int half = 1 << (bits - 1);
    std::uint16_t* target = line_.data();
    if (std::all_of(values, values + count, [&](int value) { return value == values[0]; })) {
        std::fill(line_.begin(), line_.end(), static_cast<std::uint16_t>((values[0] * 2 * size + half) >> bits));
        return target;
    }
    // The first half of a cell ramps up to its centre, the second half away from it.
    const auto ramp = [&](int from, int to, int start) {
        int value = from * 2 * size + (to - from) * start + half;
        for (int x = 0; x < size / 2; ++x, value += 2 * (to - from))
            *target++ = static_cast<std::uint16_t>(value >> bits);
    };
    for (int i = 1; i <= blockWidth; ++i) {
        ramp(values[i - 1], values[i], size + 1);
        ramp(values[i], values[i + 1], 1);
    }
    return line_.data();
}

}  // namespace videoanalysis::graphics::cairo
