#pragma once
// The flow layout of the players and their overlays, invalidated by every change of the bounds.

#include "VideoAnalysis/Platform/UI/CollectionViewLayout.h"

namespace videoanalysis {

class CollectionViewFlowLayout : public ui::FlowLayout {
public:
    /// Whether `newBounds` differs from the collection's current bounds.
    bool shouldInvalidateLayoutForBoundsChange(const Rect& newBounds) const override;
};

}  // namespace videoanalysis
