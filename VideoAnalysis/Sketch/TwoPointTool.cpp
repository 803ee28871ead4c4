#include "VideoAnalysis/Sketch/TwoPointTool.h"

namespace videoanalysis {

void TwoPointTool::updatePath(const Rect& from, const Rect& to) {
    if (from.isEmpty() || to.isEmpty()) return;
    const double sx = to.size.width / from.size.width;
    const double sy = to.size.height / from.size.height;
    setFirstPoint({firstPoint_.x * sx, firstPoint_.y * sy});
    setLastPoint({lastPoint_.x * sx, lastPoint_.y * sy});
}

JSON TwoPointTool::storedForm(const char* type, JSON configuration, Size size, bool withPoints) const {
    JSON drawing = JSON::dictionary({{"type", type}, {"configuration", std::move(configuration)}});
    if (withPoints && !size.isEmpty()) {
        const JSON points = JSON::dictionary({{"startX", storableNumber(firstPoint_.x / size.width * 100)},
                                              {"startY", storableNumber(firstPoint_.y / size.height * 100)},
                                              {"endX", storableNumber(lastPoint_.x / size.width * 100)},
                                              {"endY", storableNumber(lastPoint_.y / size.height * 100)}});
        drawing.set({"configuration", "points"}, JSON::array({points}));
    }
    return drawing;
}

}  // namespace videoanalysis
