#pragma once
// The completions that a host is handed together with a question. A host may keep one for as long as it likes and call it more
// than once: what it asks for happens at most once, and only where it still makes sense.

#include "VideoAnalysis/Platform/Platform.h"

#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

namespace videoanalysis {

/// A completion whose first call runs `act` if `isCurrent()` holds then. Every other call is ignored with a line in the debug
/// log that names the `request`. Main thread.
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
