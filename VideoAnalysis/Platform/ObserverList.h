#pragma once
// Observers that are registered until their token is destroyed. Used by items and players.

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace videoanalysis::media {

/// Main thread only.
template <class... Arguments>
class ObserverList {
public:
    using Observer = std::function<void(Arguments...)>;

    std::shared_ptr<void> add(Observer observer) {
        std::erase_if(observers_, [](const std::weak_ptr<Observer>& entry) { return entry.expired(); });
        auto token = std::make_shared<Observer>(std::move(observer));
        observers_.push_back(token);
        return token;
    }
    void clear() { observers_.clear(); }

    /// Calls the currently registered observers, except those whose token is destroyed during the call.
    void call(Arguments... arguments) const {
        const std::vector<std::weak_ptr<Observer>> observers = observers_;
        for (const std::weak_ptr<Observer>& entry : observers) {
            if (const std::shared_ptr<Observer> observer = entry.lock()) (*observer)(arguments...);
        }
    }

private:
    std::vector<std::weak_ptr<Observer>> observers_;
};

}  // namespace videoanalysis::media
