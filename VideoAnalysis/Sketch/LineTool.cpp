#include "VideoAnalysis/Sketch/LineTool.h"

namespace videoanalysis {

void LineTool::draw() const {
    graphics::Context* context = graphics::currentContext();
    if (!context) return;
    context->saveState();
    context->setStrokeColor(lineColor());
    context->setLineCap(graphics::LineCap::square);
    context->setLineWidth(lineWidth());
    context->setAlpha(lineAlpha());
    context->move(firstPoint());
    if (hasLastPoint()) context->addLine(lastPoint());
    context->strokePath();
    context->restoreState();
}

JSON LineTool::jsonValue(Size size, bool withPoints) const {
    return storedForm("line", commonConfiguration("#FF0000"), size, withPoints);
}

}  // namespace videoanalysis
