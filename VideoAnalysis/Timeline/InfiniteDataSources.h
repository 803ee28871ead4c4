#pragma once
// Counts and index paths of repeated content: how often to repeat it, and which item of the content a repeated item shows.
// Used by the proxies of the endless collection.

#include "VideoAnalysis/Platform/Geometry.h"
#include "VideoAnalysis/Platform/UI/IndexPath.h"

#include <cstdint>

namespace videoanalysis {

struct InfiniteDataSources {
    /// The latest known item count of the content.
    static inline std::int64_t originCount = 0;

    /// Repetitions that cover four screen lengths; 1 if looping is disabled. Fatal if the item has no size.
    static std::int64_t multiplier(Size estimatedItemSize, bool enabled);
    /// Repeats several sections but not a single one. Fatal on overflow.
    static std::int64_t numberOfSections(std::int64_t numberOfSections, std::int64_t multiplier);
    /// Stores the count. Repeats the items of a single section. Fatal on overflow.
    static std::int64_t numberOfItemsInSection(std::int64_t numberOfItemsInSection, std::int64_t numberOfSections,
                                               std::int64_t multiplier);

    /// Modulo the content's count; fatal if that is 0.
    static std::int64_t section(std::int64_t from, std::int64_t numberOfSections);
    static ui::IndexPath indexPath(const ui::IndexPath& from, std::int64_t numberOfSections,
                                   std::int64_t numberOfItems);
};

/// `value` truncated to an integer; fatal, naming `what`, if it is not finite or out of range.
std::int64_t truncated(double value, const char* what);

}  // namespace videoanalysis
