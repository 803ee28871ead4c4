#pragma once
// Where a presented screen is placed in a window.

#include "VideoAnalysis/Platform/Geometry.h"
#include "VideoAnalysis/Platform/UI/ViewController.h"

namespace videoanalysis::ui {

struct Placement {
    /// In points of the window, on whole points.
    Rect frame;
    /// The screen leaves a part of the window uncovered and is clipped to its frame.
    bool isCard = false;
    /// How much a card darkens what is around it, 0...1; one that does not has a thin edge instead.
    double dimming = 0;
    /// A press beside the card dismisses it.
    bool isDismissedBeside = false;

    friend bool operator==(const Placement&, const Placement&) = default;
};

/// `window` in points; where it is small every style fills it.
Placement placementOf(ModalPresentationStyle style, Size window);

}  // namespace videoanalysis::ui
