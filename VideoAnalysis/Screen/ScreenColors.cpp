#include "VideoAnalysis/Screen/ScreenColors.h"

#include "VideoAnalysis/Analysis/State.h"

#include <utility>

namespace videoanalysis {
namespace {

class Observer final : public StoreSubscriber<ScreenColors> {
public:
    explicit Observer(std::function<void(const ScreenColors&)> changed) : changed_(std::move(changed)) {}
    void newState(const ScreenColors& colors) override { changed_(colors); }

private:
    const std::function<void(const ScreenColors&)> changed_;
};

}  // namespace

std::shared_ptr<void> observeScreenColors(std::function<void(const ScreenColors&)> changed) {
    auto observer = std::make_shared<Observer>(std::move(changed));
    mainStore().subscribe(observer, [](Subscription<State>& whole) {
        return whole.select([](const State& state) {
            const MainViewControllerState& screen = state.mainViewControllerState;
            return ScreenColors{state.theme, screen.toolColorMap[screen.toolType].value_or(Color::white())};
        });
    });
    return observer;
}

}  // namespace videoanalysis
