// A minimal host: a counter in a store, incremented by a timer of the headless platform.

#include "Platforms/Headless/HeadlessPlatform.h"
#include "VideoAnalysis/Store/Store.h"

#include <cstdio>

using namespace videoanalysis;

namespace {

struct CountUpAction final : Action {
    std::string description() const override { return "CountUpAction()"; }
};

struct Listener final : StoreSubscriber<int> {
    int latest = -1;
    void newState(const int& state) override { latest = state; }
};

}  // namespace

int main() {
    const auto platform = std::make_shared<HeadlessPlatform>();
    installPlatform(platform);
    const auto store = Store<int>::make(
        [](const Action& action, const int* state) { return *state + (action.as<CountUpAction>() ? 1 : 0); }, 0, {},
        true);
    const auto listener = std::make_shared<Listener>();
    store->subscribe(listener);
    const auto timer = platform->scheduleTimer(1, true, [&] { store->dispatch(CountUpAction()); });
    platform->advance(3.5);
    std::printf("counted %d\n", listener->latest);
    return listener->latest == 3 ? 0 : 1;
}
