#pragma once
// The place of an item in a collection: section, then item, both counted from 0.

#include <compare>
#include <cstdint>

namespace videoanalysis::ui {

struct IndexPath {
    std::int64_t item = 0;
    std::int64_t section = 0;

    friend bool operator==(const IndexPath&, const IndexPath&) = default;
    friend std::strong_ordering operator<=>(const IndexPath& a, const IndexPath& b) {
        const auto bySection = a.section <=> b.section;
        return bySection != 0 ? bySection : a.item <=> b.item;
    }
};

}  // namespace videoanalysis::ui
