#include "VideoAnalysis/Timeline/InfiniteDataSources.h"

#include "VideoAnalysis/Platform/FatalError.h"
#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Platform/UI/Device.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace videoanalysis {
namespace {

std::int64_t product(std::int64_t a, std::int64_t b) {
    std::int64_t result = 0;
    if (__builtin_mul_overflow(a, b, &result)) fatalError("The repeated content has too many items");
    return result;
}

std::int64_t modulo(std::int64_t value, std::int64_t count) {
    if (count <= 0) fatalError("An item was asked of an empty content");
    return value % count;
}

}  // namespace

std::int64_t truncated(double value, const char* what) {
    if (!(std::abs(value) < 9.2e18)) fatalError(std::string(what) + " is not finite or out of range");
    return static_cast<std::int64_t>(value);
}

std::int64_t InfiniteDataSources::multiplier(Size estimatedItemSize, bool enabled) {
    if (!enabled) return 1;
    const Size screen = platform().mainScreen().size();
    return truncated(4 * std::max(screen.width, screen.height) /
                         std::min(estimatedItemSize.width, estimatedItemSize.height),
                     "The number of repetitions");
}

std::int64_t InfiniteDataSources::numberOfSections(std::int64_t numberOfSections, std::int64_t multiplier) {
    return numberOfSections > 1 ? product(numberOfSections, multiplier) : numberOfSections;
}

std::int64_t InfiniteDataSources::numberOfItemsInSection(std::int64_t numberOfItemsInSection,
                                                         std::int64_t numberOfSections, std::int64_t multiplier) {
    originCount = numberOfItemsInSection;
    return numberOfSections < 2 ? product(numberOfItemsInSection, multiplier) : numberOfItemsInSection;
}

std::int64_t InfiniteDataSources::section(std::int64_t from, std::int64_t numberOfSections) {
    return modulo(from, numberOfSections);
}

ui::IndexPath InfiniteDataSources::indexPath(const ui::IndexPath& from, std::int64_t numberOfSections,
                                             std::int64_t numberOfItems) {
    return {modulo(from.item, numberOfItems), modulo(from.section, numberOfSections)};
}

}  // namespace videoanalysis
