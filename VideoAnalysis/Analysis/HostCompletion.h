#pragma once
// Completions that a host receives with a request. A host may keep one indefinitely and call it repeatedly: it takes effect
// at most once, and only while it is still valid.

#include "VideoAnalysis/Platform/Platform.h"

#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

namespace videoanalysis {

/// A completion whose first call runs `act` if `isCurrent()`. Any other call is ignored and logged with the name of the
/// `request`. Main thread only.
template <class... Arguments>
std::function<void(Arguments...)> hostCompletion(std::string request, std::function<bool()> isCurrent,
                                                 std::type_identity_t<std::function<void(Arguments...)>> act) {
    struct Answer {
        std::string request;
        std::function<bool()> isCurrent;
        std::function<void(Arguments...)> act;
    };
    auto answer = std::make_shared<Answer>(Answer{std::move(request), std::move(isCurrent), std::move(act)});
    return [answer](Arguments... arguments) {
        const Answer first = std::exchange(*answer, Answer{answer->request, nullptr, nullptr});
        if (!first.act) {
            debugLog("The request to " + first.request + " has been answered already; this answer is ignored");
        } else if (!first.isCurrent()) {
            debugLog("The request to " + first.request + " is out of date; its answer is ignored");
        } else {
            first.act(std::move(arguments)...);
        }
    };
}

}  // namespace videoanalysis
