#pragma once
// Observers that live as long as the token which registering them returned. Items and players keep theirs in these.

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace videoanalysis::media {

/// Main thread.
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

    /// Calls those that are registered now, but none whose token is released meanwhile.
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
