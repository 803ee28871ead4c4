#pragma once
// The aspects of the crop view by name, for QML: the tag of an aspect's button is "Aspect.Square", never a number.

#include "VideoAnalysis/Views.h"

#include <QObject>

namespace videoanalysis::qt::aspect_names {
Q_NAMESPACE

enum class Aspect {
    Free = static_cast<int>(CropView::Aspect::free),
    Square = static_cast<int>(CropView::Aspect::square),
    Portrait4To5 = static_cast<int>(CropView::Aspect::portrait4To5),
    Landscape16To9 = static_cast<int>(CropView::Aspect::landscape16To9),
    Portrait9To16 = static_cast<int>(CropView::Aspect::portrait9To16),
};
Q_ENUM_NS(Aspect)

}  // namespace videoanalysis::qt::aspect_names
