#include "Platforms/QtQuick/Motion.h"

#include <QDir>
#include <QSettings>
#include <QStandardPaths>

#include <utility>

namespace videoanalysis::qt {

Motion::Motion() : isReduced_(isReducedBy(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation))) {}

Motion& Motion::shared() {
    static Motion motion;
    return motion;
}

bool Motion::isReducedBy(const QString& folder) {
    const auto value = [directory = QDir(folder)](const char* file, const char* key) {
        return QSettings(directory.filePath(QLatin1String(file)), QSettings::IniFormat).value(QLatin1String(key));
    };
    const QVariant factor = value("kdeglobals", "KDE/AnimationDurationFactor");
    if (factor.isValid()) return factor.toString().toDouble() == 0;
    for (const char* file : {"gtk-4.0/settings.ini", "gtk-3.0/settings.ini"}) {
        const QVariant enabled = value(file, "Settings/gtk-enable-animations");
        if (enabled.isValid()) return !enabled.toBool();
    }
    return false;
}

void Motion::setReduced(bool reduced) {
    if (std::exchange(isReduced_, reduced) != reduced) Q_EMIT changed();
}

}  // namespace videoanalysis::qt
