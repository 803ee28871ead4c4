#pragma once
// The flow layout of the players and of their overlays: it lays out again whenever the bounds change.

#include "VideoAnalysis/Platform/UI/CollectionViewLayout.h"

namespace videoanalysis {

class CollectionViewFlowLayout : public ui::FlowLayout {
public:
    /// True exactly when `newBounds` differs from the collection's current bounds.
    bool shouldInvalidateLayoutForBoundsChange(const Rect& newBounds) const override;
};

}  // namespace videoanalysis
