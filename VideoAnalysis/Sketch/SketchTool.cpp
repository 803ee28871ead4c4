#include "VideoAnalysis/Sketch/SketchTool.h"

#include "VideoAnalysis/Sketch/ArrowTool.h"
#include "VideoAnalysis/Sketch/EllipseTool.h"
#include "VideoAnalysis/Sketch/EraserTool.h"
#include "VideoAnalysis/Sketch/LineTool.h"
#include "VideoAnalysis/Sketch/PenTool.h"
#include "VideoAnalysis/Sketch/RectTool.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace videoanalysis {
namespace {

constexpr char hexadecimalDigits[] = "0123456789ABCDEF";

/// A random UUID (version 4) in its canonical form, upper case.
std::string newUUID() {
    static std::mt19937_64 generator = [] {
        std::random_device device;
        std::seed_seq seed{device(), device(), device(), device(), device(), device(), device(), device()};
        return std::mt19937_64(seed);
    }();
    constexpr std::uint64_t versionMask = 0xF000, version = 0x4000;
    constexpr std::uint64_t variantMask = 0xC000000000000000, variant = 0x8000000000000000;
    const std::uint64_t high = (generator() & ~versionMask) | version;
    const std::uint64_t low = (generator() & ~variantMask) | variant;

    std::string result;
    result.reserve(36);
    for (int digit = 0; digit < 32; ++digit) {
        if (digit == 8 || digit == 12 || digit == 16 || digit == 20) result += '-';
        const std::uint64_t half = digit < 16 ? high : low;
        result += hexadecimalDigits[(half >> (60 - 4 * (digit % 16))) & 0xF];
    }
    return result;
}

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

void SketchTool::remove() const {
    if (graphics::Context* context = graphics::currentContext()) context->flush();
}

JSON SketchTool::commonConfiguration(const char* defaultColor) const {
    return JSON::dictionary({{"width", storableNumber(lineWidth_)},
                             {"color", hexadecimalColor(lineColor_, defaultColor)},
                             {"alpha", storableNumber(lineAlpha_)},
                             {"time", storableNumber(time_)},
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

double storableNumber(double value) { return std::isfinite(value) ? value : 0; }

}  // namespace videoanalysis
