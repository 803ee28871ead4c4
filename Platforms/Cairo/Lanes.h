#pragma once
// Eight 16-bit lanes and the pixel arithmetic built on them. Used by the Cairo backend.

#include <cstdint>
#include <cstring>

namespace videoanalysis::graphics::cairo {

/// A vector extension of GCC and Clang, available on every processor.
using Lanes = std::uint16_t __attribute__((vector_size(16)));
using ByteLanes = std::uint8_t __attribute__((vector_size(8)));

inline Lanes allLanes(int value) {
    const auto lane = static_cast<std::uint16_t>(value);
    return Lanes{lane, lane, lane, lane, lane, lane, lane, lane};
}

inline Lanes loadLanes(const std::uint16_t* from) {
    Lanes lanes;
    std::memcpy(&lanes, from, sizeof lanes);
    return lanes;
}

inline void storeLanes(std::uint16_t* to, Lanes lanes) { std::memcpy(to, &lanes, sizeof lanes); }

/// The channels of two pixels, in memory order.
inline Lanes loadPixels(const std::uint32_t* pixels) {
    ByteLanes bytes;
    std::memcpy(&bytes, pixels, sizeof bytes);
    return __builtin_convertvector(bytes, Lanes);
}

/// `channels` must be 0...255.
inline void storePixels(std::uint32_t* pixels, Lanes channels) {
    const ByteLanes bytes = __builtin_convertvector(channels, ByteLanes);
    std::memcpy(pixels, &bytes, sizeof bytes);
}

inline bool areZero(Lanes lanes) {
    std::uint64_t halves[2];
    std::memcpy(halves, &lanes, sizeof halves);
    return (halves[0] | halves[1]) == 0;
}

/// a * b / 255, rounded; both 0...255.
inline Lanes product(Lanes a, Lanes b) {
    const Lanes value = a * b + 128;
    return (value + (value >> 8)) >> 8;
}

}  // namespace videoanalysis::graphics::cairo
