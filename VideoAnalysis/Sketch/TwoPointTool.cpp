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
        const auto percentage = [](double value, double whole) {
            return storableNumber(value / whole * 100, StoredRange::coordinates);
        };
        const JSON points = JSON::dictionary({{"startX", percentage(firstPoint_.x, size.width)},
                                              {"startY", percentage(firstPoint_.y, size.height)},
                                              {"endX", percentage(lastPoint_.x, size.width)},
                                              {"endY", percentage(lastPoint_.y, size.height)}});
        drawing.set({"configuration", "points"}, JSON::array({points}));
    }
    return drawing;
}

}  // namespace videoanalysis
