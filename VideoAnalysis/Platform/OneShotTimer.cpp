#include "VideoAnalysis/Platform/OneShotTimer.h"

#include "VideoAnalysis/Platform/Dispatch.h"
#include "VideoAnalysis/Platform/Platform.h"

#include <utility>

namespace videoanalysis::dispatch {

void OneShotTimer::start(double seconds, std::function<void()> fire) {
    cancel();
    timer_ = platform().scheduleTimer(seconds, false, std::move(fire));
}

void OneShotTimer::cancel() {
    if (timer_) std::exchange(timer_, nullptr)->invalidate();
}

bool OneShotTimer::isPending() const { return timer_ && timer_->isValid(); }

}  // namespace videoanalysis::dispatch
