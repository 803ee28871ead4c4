#include "Platforms/QtQuick/DebugLog.h"

namespace videoanalysis::qt {

Q_LOGGING_CATEGORY(videoAnalysisLog, "videoanalysis", QtWarningMsg)

}  // namespace videoanalysis::qt
