#include "Platforms/QtQuick/DebugLog.h"

namespace videoanalysis {

Q_LOGGING_CATEGORY(videoAnalysisLog, "videoanalysis", QtWarningMsg)

}  // namespace videoanalysis
