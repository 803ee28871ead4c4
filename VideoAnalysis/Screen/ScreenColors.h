#pragma once
// The colours for a platform's screen: those of the theme, and the colour of the selected tool.

#include "VideoAnalysis/Analysis/VideoAnalysisConfiguration.h"

#include <functional>
#include <memory>

namespace videoanalysis {

struct ScreenColors {
    Theme theme;
    Color accent = Color::white();  ///< of the selected tool; white if it has none

    friend bool operator==(const ScreenColors&, const ScreenColors&) = default;
};

/// Calls `changed` with the current colours in a later turn of the main queue, and again on every change. Destroying the
/// returned token unsubscribes. Main thread only.
std::shared_ptr<void> observeScreenColors(std::function<void(const ScreenColors& colors)> changed);

}  // namespace videoanalysis
