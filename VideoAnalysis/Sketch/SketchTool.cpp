#include "VideoAnalysis/Sketch/SketchTool.h"

#include "VideoAnalysis/Platform/UUID.h"
#include "VideoAnalysis/Sketch/ArrowTool.h"
#include "VideoAnalysis/Sketch/EllipseTool.h"
#include "VideoAnalysis/Sketch/EraserTool.h"
#include "VideoAnalysis/Sketch/LineTool.h"
#include "VideoAnalysis/Sketch/PenTool.h"
#include "VideoAnalysis/Sketch/RectTool.h"

#include <algorithm>
#include <cmath>

namespace videoanalysis {
namespace {

constexpr char hexadecimalDigits[] = "0123456789ABCDEF";

}  // namespace

std::shared_ptr<SketchTool> SketchTool::make(SketchToolType type) {
    switch (type) {
        case SketchToolType::pen: return std::make_shared<PenTool>();
        case SketchToolType::eraser: return std::make_shared<EraserTool>();
        case SketchToolType::line: return std::make_shared<LineTool>();
        case SketchToolType::arrow: return std::make_shared<ArrowTool>();
        case SketchToolType::rectangleStroke: return std::make_shared<RectTool>(false);
        case SketchToolType::rectangleFill: return std::make_shared<RectTool>(true);
        case SketchToolType::ellipseStroke: return std::make_shared<EllipseTool>(false);
        case SketchToolType::ellipseFill: return std::make_shared<EllipseTool>(true);
    }
    return std::make_shared<PenTool>();
}

SketchTool::SketchTool() : id_(newUUID()) { didChange(); }

void SketchTool::didChange() {
    static std::uint64_t last = 0;
    stamp_ = ++last;
}

void SketchTool::setTime(double time) {
    time_ = std::isnan(time) ? StoredRange::times.high : storableNumber(time, StoredRange::times);
}

void SketchTool::remove() const {
    if (graphics::Context* context = graphics::currentContext()) context->flush();
}

JSON SketchTool::commonConfiguration(const char* defaultColor) const {
    return JSON::dictionary({{"width", lineWidth_},
                             {"color", hexadecimalColor(lineColor_, defaultColor)},
                             {"alpha", lineAlpha_},
                             {"time", time_},
                             {"id", id_}});
}

std::string hexadecimalColor(const Color& color, const char* defaultColor) {
    std::string result = "#";
    for (const double component : {color.red, color.green, color.blue}) {
        if (!std::isfinite(component)) return defaultColor;
        const auto value = static_cast<unsigned>(std::lround(std::clamp(component, 0.0, 1.0) * 255));
        result += hexadecimalDigits[value >> 4U];
        result += hexadecimalDigits[value & 0xFU];
    }
    return result;
}

double storableNumber(double value, StoredRange range) {
    return std::clamp(std::isnan(value) ? 0 : value, range.low, range.high);
}

}  // namespace videoanalysis
