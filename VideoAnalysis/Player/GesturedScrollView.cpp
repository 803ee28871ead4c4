#include "VideoAnalysis/Player/GesturedScrollView.h"

#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Sketch/SketchView.h"

namespace videoanalysis {

const std::shared_ptr<ui::PanGestureRecognizer>& GesturedScrollView::customPanGestureRecognizer() {
    if (!pan_) {
        pan_ = std::make_shared<ui::PanGestureRecognizer>(weak_from_this());
        pan_->setHandler([this](ui::GestureRecognizer& recognizer) { handlePan(recognizer); });
    }
    return pan_;
}

void GesturedScrollView::handlePan(ui::GestureRecognizer& recognizer) {
    const std::shared_ptr<SketchView> sketch = sketchView.lock();
    if (!sketch) return;
    const Point inContent{(recognizer.location().x + contentOffset().x) / zoomScale(),
                          (recognizer.location().y + contentOffset().y) / zoomScale()};
    const Point location{inContent.x - sketch->frame().origin.x, inContent.y - sketch->frame().origin.y};
    switch (recognizer.state()) {
        case ui::GestureState::began:
            if (sketch->bounds().contains(location)) {
                previousLocation = location;
            } else {
                previousLocation.reset();
                debugLog("touch point is not in sketch view location");
            }
            break;
        case ui::GestureState::changed:
            if (!previousLocation || *previousLocation == location) break;
            if (!isDrawing_) {
                isDrawing_ = true;
                if (willBeginDrawing) willBeginDrawing();
                sketch->beginDrawing(*previousLocation);
            }
            sketch->continueDrawing(*previousLocation, location);
            previousLocation = location;
            break;
        case ui::GestureState::ended:
        case ui::GestureState::cancelled:
        case ui::GestureState::failed:
            if (isDrawing_) sketch->endDrawing();
            isDrawing_ = false;
            previousLocation.reset();
            break;
        case ui::GestureState::possible: break;
    }
}

void GesturedScrollView::tap() {
    if (didTap) didTap();
}

}  // namespace videoanalysis
