#include "VideoAnalysis/Sketch/ArrowTool.h"

#include <cmath>

namespace videoanalysis {

void ArrowTool::draw() const {
    graphics::Context* context = graphics::currentContext();
    if (!context) return;
    context->saveState();
    context->setStrokeColor(lineColor());
    context->setLineCap(graphics::LineCap::square);
    context->setLineWidth(lineWidth());
    context->setAlpha(lineAlpha());
    context->move(firstPoint());
    if (hasLastPoint()) {
        // Each barb leaves the tip at 135 degrees from the shaft; the tip lies one line width beyond the end point.
        constexpr float barbAngle = 2.3561945F;
        const float angle = std::atan2(static_cast<float>(lastPoint().y - firstPoint().y),
                                       static_cast<float>(lastPoint().x - firstPoint().x));
        const float barbLength = static_cast<float>(lineWidth()) * 4;
        const auto fromLastPoint = [&](double distance, float direction) {
            return Point{lastPoint().x + distance * std::cos(direction),
                         lastPoint().y + distance * std::sin(direction)};
        };
        context->addLine(lastPoint());
        context->move(fromLastPoint(barbLength, angle + barbAngle));
        context->addLine(fromLastPoint(lineWidth(), angle));
        context->addLine(fromLastPoint(barbLength, angle - barbAngle));
    }
    context->strokePath();
    context->restoreState();
}

JSON ArrowTool::jsonValue(Size size, bool withPoints) const {
    return storedForm("arrow", commonConfiguration("#FF0000"), size, withPoints);
}

}  // namespace videoanalysis
