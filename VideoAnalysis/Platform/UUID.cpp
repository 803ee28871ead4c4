#include "VideoAnalysis/Platform/UUID.h"

#include <cstdint>
#include <random>

namespace videoanalysis {

std::string newUUID() {
    constexpr char hexadecimalDigits[] = "0123456789ABCDEF";
    static std::mt19937_64 generator = [] {
        std::random_device device;
        std::seed_seq seed{device(), device(), device(), device(), device(), device(), device(), device()};
        return std::mt19937_64(seed);
    }();
    constexpr std::uint64_t versionMask = 0xF000, version = 0x4000;
    constexpr std::uint64_t variantMask = 0xC000000000000000, variant = 0x8000000000000000;
    const std::uint64_t high = (generator() & ~versionMask) | version;
    const std::uint64_t low = (generator() & ~variantMask) | variant;

    std::string result;
    result.reserve(36);
    for (int digit = 0; digit < 32; ++digit) {
        if (digit == 8 || digit == 12 || digit == 16 || digit == 20) result += '-';
        const std::uint64_t half = digit < 16 ? high : low;
        result += hexadecimalDigits[(half >> (60 - 4 * (digit % 16))) & 0xF];
    }
    return result;
}

}  // namespace videoanalysis
