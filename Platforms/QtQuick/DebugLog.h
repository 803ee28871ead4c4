#pragma once
// The logging category "videoanalysis": the component's debug log (quiet unless it is switched on with
// QT_LOGGING_RULES) and the warnings of this platform.

#include <QLoggingCategory>

namespace videoanalysis::qt {

Q_DECLARE_LOGGING_CATEGORY(videoAnalysisLog)

}  // namespace videoanalysis::qt
