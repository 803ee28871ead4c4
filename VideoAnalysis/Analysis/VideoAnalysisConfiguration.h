#pragma once
// A host's settings for an analysis: colours, icons, two options and its delegate. Plain values.

#include "VideoAnalysis/Platform/Color.h"
#include "VideoAnalysis/Platform/Image.h"

#include <memory>
#include <optional>

namespace videoanalysis {

class VideoAnalysisControllerDelegate;

/// The colours of the screen.
struct Theme {
    Color primaryColor = Color::darkGray();
    Color secondaryColor = Color::black();
    Color buttonsTintColor = Color::white();
    double translucentViewsOpacity = 0.8;  ///< 0...1

    friend bool operator==(const Theme&, const Theme&) = default;
};

/// Custom icons; an empty one falls back to the built-in icon.
struct VideoAnalysisIconsConfiguration {
    std::optional<Image> closeButtonIcon;
    std::optional<Image> recordButtonIcon;
    std::optional<Image> syncLockButtonIcon;
    std::optional<Image> comparisonButtonIcon;
    std::optional<Image> syncUnlockButtonIcon;
    std::optional<Image> stopRecordingButtonIcon;

    friend bool operator==(const VideoAnalysisIconsConfiguration&, const VideoAnalysisIconsConfiguration&) = default;
};

struct VideoAnalysisConfiguration {
    Theme themeConfiguration;
    /// Whether a drawing is shown only from the video time at which it was made.
    bool enableTimeBasedDrawings;
    /// The ruler's direction in every player: true if later frames are to the right.
    bool defaultScrubbingDirection;
    VideoAnalysisIconsConfiguration iconsConfiguration;
    /// Strong here, but held weakly by the analysis: the host must keep its delegate alive.
    std::shared_ptr<VideoAnalysisControllerDelegate> delegate;

    VideoAnalysisConfiguration(bool enableTimeBasedDrawings, bool defaultScrubbingDirection,
                               VideoAnalysisIconsConfiguration iconsConfiguration, Theme themeConfiguration,
                               std::shared_ptr<VideoAnalysisControllerDelegate> delegate)
        : themeConfiguration(themeConfiguration), enableTimeBasedDrawings(enableTimeBasedDrawings),
          defaultScrubbingDirection(defaultScrubbingDirection), iconsConfiguration(std::move(iconsConfiguration)),
          delegate(std::move(delegate)) {}
};

}  // namespace videoanalysis
