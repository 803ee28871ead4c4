#include "VideoAnalysis/Trimming/SaveProgressView.h"

namespace videoanalysis {

void SaveProgressView::setProgress(double progress, std::optional<double> secondsLeft) {
    progress_ = progress;
    secondsLeft_ = secondsLeft;
    notify(ui::Property::value);
}

}  // namespace videoanalysis
