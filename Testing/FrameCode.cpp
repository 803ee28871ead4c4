#include "Testing/FrameCode.h"

namespace videoanalysis::samples {

namespace {

constexpr std::array<bool, 3> start{true, false, true};
constexpr std::array<bool, 3> end{true, true, false};

// The sum of the four digits of the number. The constant keeps number 0 from having no bright cell.
int checkBits(int number) { return (5 + number + (number >> 4) + (number >> 8) + (number >> 12)) & 0xf; }

}  // namespace

FrameCode::Cells FrameCode::encode(int number) {
    Cells cells{};
    std::size_t next = 0;
    const auto append = [&](int value, int bits) {
        for (int bit = bits - 1; bit >= 0; --bit) {
            cells[next++] = ((value >> bit) & 1) != 0;
        }
    };
    number &= largestNumber;
    for (const bool bright : start) {
        cells[next++] = bright;
    }
    append(number, 16);
    append(checkBits(number), 4);
    for (const bool bright : end) {
        cells[next++] = bright;
    }
    return cells;
}

std::optional<int> FrameCode::decode(const Cells& cells) {
    int number = 0;
    for (std::size_t bit = 0; bit < 16; ++bit) {
        number = number * 2 + (cells[start.size() + bit] ? 1 : 0);
    }
    // What is not exactly what would have been written is no code.
    if (encode(number) != cells) {
        return std::nullopt;
    }
    return number;
}

}  // namespace videoanalysis::samples
