#pragma once
// The colours in which a platform draws the screen: those of the theme, and the colour of the selected tool.

#include "VideoAnalysis/Analysis/VideoAnalysisConfiguration.h"

#include <functional>
#include <memory>

namespace videoanalysis {

struct ScreenColors {
    Theme theme;
    Color accent = Color::white();  ///< of the selected tool; white for one without a colour

    friend bool operator==(const ScreenColors&, const ScreenColors&) = default;
};

/// Calls `changed` with the colours in use, in a later turn of the main queue, and again whenever they change, for as long as
/// the returned token is held. Main thread only.
std::shared_ptr<void> observeScreenColors(std::function<void(const ScreenColors& colors)> changed);

}  // namespace videoanalysis
