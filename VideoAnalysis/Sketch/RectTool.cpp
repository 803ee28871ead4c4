#include "VideoAnalysis/Sketch/RectTool.h"

namespace videoanalysis {

RectTool::RectTool(bool isFill) : isFill_(isFill) { setLineColor(Color::systemBlue()); }

void RectTool::draw() const {
    graphics::Context* context = graphics::currentContext();
    if (!context || !hasLastPoint()) return;
    context->saveState();
    context->setAlpha(lineAlpha());
    if (isFill_) {
        context->setFillColor(lineColor());
        context->fillRect(rect());
    } else {
        context->setStrokeColor(lineColor());
        context->setLineWidth(lineWidth());
        context->strokeRect(rect());
    }
    context->restoreState();
}

JSON RectTool::jsonValue(Size size, bool withPoints) const {
    JSON configuration = commonConfiguration("#FF0000");
    configuration.set("isFill", isFill_);
    return storedForm("rectangle", std::move(configuration), size, withPoints);
}

}  // namespace videoanalysis
