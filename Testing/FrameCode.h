#pragma once

// The number that every frame of a made clip carries in its pixels: a row of bright and dark cells along the top edge.
// The clip maker draws it, and the tests read which frame is on the screen from it, at any scale.

#include <array>
#include <optional>

namespace videoanalysis::samples {

/// How a frame number is written as cells: a fixed start, sixteen bits of the number with the highest first, four check
/// bits, a fixed end. Start and end differ when mirrored, and no uniform picture has them.
struct FrameCode {
    static constexpr int cellCount = 3 + 16 + 4 + 3;
    /// The strip is this part of the picture's height, and the whole of its width.
    static constexpr int stripsPerHeight = 24;
    static constexpr int largestNumber = 0xffff;

    /// One entry per cell from left to right; true is bright.
    using Cells = std::array<bool, cellCount>;

    /// The cells of `number`, of which the lowest sixteen bits count.
    static Cells encode(int number);

    /// The number that `cells` carry; nothing if the start, the end or the check bits are wrong.
    static std::optional<int> decode(const Cells& cells);
};

}  // namespace videoanalysis::samples
