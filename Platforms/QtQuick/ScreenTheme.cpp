#include "Platforms/QtQuick/ScreenTheme.h"

#include "Platforms/QtQuick/Motion.h"
#include "Platforms/QtQuick/ViewItem.h"
#include "VideoAnalysis/Analysis/State.h"

#include <functional>

namespace videoanalysis {

struct ScreenTheme::Colors {
    Theme theme;
    Color accent = Color::white();

    friend bool operator==(const Colors&, const Colors&) = default;
};

class ScreenTheme::Subscriber : public StoreSubscriber<Colors> {
public:
    Colors colors;
    std::function<void()> changed;

    void newState(const Colors& state) override {
        colors = state;
        changed();
    }
};

ScreenTheme::ScreenTheme(QObject* parent) : QObject(parent), subscriber_(std::make_shared<Subscriber>()) {
    connect(&Motion::shared(), &Motion::changed, this, &ScreenTheme::motionChanged);
    subscriber_->changed = [this] { Q_EMIT changed(); };
    mainStore().subscribe(subscriber_, [](Subscription<State>& whole) {
        return whole.select([](const State& state) {
            const MainViewControllerState& screen = state.mainViewControllerState;
            return Colors{state.theme, screen.toolColorMap[screen.toolType].value_or(Color::white())};
        });
    });
}

ScreenTheme::~ScreenTheme() = default;

QColor ScreenTheme::ground() const { return toQColor(subscriber_->colors.theme.secondaryColor); }

QColor ScreenTheme::panel() const {
    const Theme& theme = subscriber_->colors.theme;
    return toQColor(theme.secondaryColor.withAlpha(theme.translucentViewsOpacity));
}

QColor ScreenTheme::ink() const { return toQColor(subscriber_->colors.theme.buttonsTintColor); }

QColor ScreenTheme::accent() const { return toQColor(subscriber_->colors.accent); }

int ScreenTheme::pressMotion() const { return Motion::shared().duration(80); }
int ScreenTheme::quickMotion() const { return Motion::shared().duration(200); }

}  // namespace videoanalysis
