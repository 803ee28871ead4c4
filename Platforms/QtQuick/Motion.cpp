#include "Platforms/QtQuick/Motion.h"

#include <utility>

namespace videoanalysis {

Motion& Motion::shared() {
    static Motion motion;
    return motion;
}

void Motion::setReduced(bool reduced) {
    if (std::exchange(isReduced_, reduced) != reduced) Q_EMIT changed();
}

}  // namespace videoanalysis
