#pragma once
// The counts and index paths of a content that is repeated: how often it must be, and which item of the content a repeated one
// stands for. The proxies of the endless collection use them.

#include "VideoAnalysis/Platform/Geometry.h"
#include "VideoAnalysis/Platform/UI/IndexPath.h"

#include <cstdint>

namespace videoanalysis {

struct InfiniteDataSources {
    /// The item count of the content, as it was asked last.
    static inline std::int64_t originCount = 0;

    /// Enough repetitions to cover four screen lengths of items; 1 when not enabled. Fatal when the item has no size.
    static std::int64_t multiplier(Size estimatedItemSize, bool enabled);
    /// Several sections are repeated, one is not. Fatal on overflow.
    static std::int64_t numberOfSections(std::int64_t numberOfSections, std::int64_t multiplier);
    /// Remembers the count. The items of a single section are repeated. Fatal on overflow.
    static std::int64_t numberOfItemsInSection(std::int64_t numberOfItemsInSection, std::int64_t numberOfSections,
                                               std::int64_t multiplier);

    /// Modulo; fatal for a content of none.
    static std::int64_t section(std::int64_t from, std::int64_t numberOfSections);
    static ui::IndexPath indexPath(const ui::IndexPath& from, std::int64_t numberOfSections,
                                   std::int64_t numberOfItems);
};

/// `value` without its fraction; fatal, naming `what`, when it is not finite or does not fit.
std::int64_t truncated(double value, const char* what);

}  // namespace videoanalysis
