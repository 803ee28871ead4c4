#pragma once
// What an engine's cache of decoded frames holds and how well it serves. Hosts, benchmarks and tests read it from the engine.

#include <cstddef>
#include <cstdint>

namespace videoanalysis::media {

struct CacheStatistics {
    std::size_t budget = 0;   ///< bytes
    std::size_t bytes = 0;    ///< held now
    std::int64_t frames = 0;  ///< held now
    std::int64_t clips = 0;   ///< that share the budget now
    std::int64_t hits = 0;    ///< requested frames that were cached
    std::int64_t misses = 0;  ///< requested frames that had to be decoded
    std::int64_t evictions = 0;

    friend bool operator==(const CacheStatistics&, const CacheStatistics&) = default;
};

}  // namespace videoanalysis::media
