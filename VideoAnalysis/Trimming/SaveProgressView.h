#pragma once
// The progress bar of the trim screen while it saves.

#include "VideoAnalysis/Platform/UI/View.h"

#include <optional>

namespace videoanalysis {

/// Main thread only.
class SaveProgressView : public ui::View {
public:
    /// 0...1.
    double progress() const { return progress_; }
    /// Absent while no estimate is possible.
    std::optional<double> secondsLeft() const { return secondsLeft_; }
    void setProgress(double progress, std::optional<double> secondsLeft);

private:
    double progress_ = 0;
    std::optional<double> secondsLeft_;
};

}  // namespace videoanalysis
