#include "VideoAnalysis/Screen/CollectionViewFlowLayout.h"

#include "VideoAnalysis/Platform/UI/CollectionView.h"

namespace videoanalysis {

bool CollectionViewFlowLayout::shouldInvalidateLayoutForBoundsChange(const Rect& newBounds) const {
    return collectionView() && newBounds != collectionView()->visibleRect();
}

}  // namespace videoanalysis
