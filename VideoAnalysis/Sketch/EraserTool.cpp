#include "VideoAnalysis/Sketch/EraserTool.h"

namespace videoanalysis {

void EraserTool::draw() const {
    graphics::Context* context = graphics::currentContext();
    if (!context) return;
    context->saveState();
    // An antialiased eraser would leave the edges of the stroke that it retraces.
    context->setShouldAntialias(false);
    addPathTo(*context);
    context->setLineCap(graphics::LineCap::round);
    context->setLineWidth(lineWidth());
    context->setBlendMode(graphics::BlendMode::clear);
    context->strokePath();
    context->restoreState();
}

JSON EraserTool::jsonValue(Size size, bool withPoints) const {
    return PenTool::jsonValue(size, withPoints,
                              JSON::dictionary({{"penType", static_cast<int>(drawingPenType())}, {"eraser", true}}));
}

}  // namespace videoanalysis
