#include "VideoAnalysis/Screen/ControllerFactory.h"

#include "VideoAnalysis/Screen/MainViewController.h"
#include "VideoAnalysis/Screen/OverlayViewController.h"
#include "VideoAnalysis/Trimming/VideoTrimmerController.h"

namespace videoanalysis {

std::shared_ptr<ui::ViewController> makeViewController(std::string_view name) {
    if (name == "MainViewController") return std::make_shared<MainViewController>();
    if (name == "OverlayViewController") return std::make_shared<OverlayViewController>();
    if (name == "VideoTrimmerController") return std::make_shared<VideoTrimmerController>();
    return nullptr;
}

}  // namespace videoanalysis
