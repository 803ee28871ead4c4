#include "VideoAnalysis/Sketch/EllipseTool.h"

namespace videoanalysis {

EllipseTool::EllipseTool(bool isFill) : isFill_(isFill) { setLineColor(Color::systemBlue()); }

void EllipseTool::draw() const {
    graphics::Context* context = graphics::currentContext();
    if (!context) return;
    context->saveState();
    context->setAlpha(lineAlpha());
    context->setLineWidth(lineWidth());
    if (hasLastPoint()) {
        if (isFill_) {
            context->setFillColor(lineColor());
            context->fillEllipse(rect());
        } else {
            context->setStrokeColor(lineColor());
            context->strokeEllipse(rect());
        }
    }
    context->restoreState();
}

JSON EllipseTool::jsonValue(Size size, bool withPoints) const {
    JSON configuration = commonConfiguration("#FF0000");
    configuration.set("isFill", isFill_);
    configuration.set("ios", JSON::dictionary({{"eraserWidth", eraserWidth_}}));
    return storedForm("oval", std::move(configuration), size, withPoints);
}

}  // namespace videoanalysis
