#include "Platforms/QtQuick/ScreenTheme.h"

#include "Platforms/QtQuick/Motion.h"
#include "Platforms/QtQuick/ViewItem.h"

namespace videoanalysis::qt {

ScreenTheme::ScreenTheme(QObject* parent) : QObject(parent) {
    connect(&Motion::shared(), &Motion::changed, this, &ScreenTheme::motionChanged);
    observation_ = observeScreenColors([this](const ScreenColors& colors) {
        colors_ = colors;
        Q_EMIT changed();
    });
}

ScreenTheme::~ScreenTheme() = default;

QColor ScreenTheme::ground() const { return toQColor(colors_.theme.secondaryColor); }

QColor ScreenTheme::panel() const {
    const Theme& theme = colors_.theme;
    return toQColor(theme.secondaryColor.withAlpha(theme.translucentViewsOpacity));
}

QColor ScreenTheme::ink() const { return toQColor(colors_.theme.buttonsTintColor); }

QColor ScreenTheme::accent() const { return toQColor(colors_.accent); }

int ScreenTheme::pressMotion() const { return Motion::shared().duration(80); }
int ScreenTheme::quickMotion() const { return Motion::shared().duration(200); }

}  // namespace videoanalysis::qt
