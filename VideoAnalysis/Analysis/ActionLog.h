#pragma once
// A debugging aid: with VIDEOANALYSIS_LOG_ACTIONS=1 in the environment, every action is written to the debug log with its
// state change, as in
//
//     analysis: SetHUDVisibleAction(newState: false) | isHUDVisible: true -> false
//
// Installed by the stores of the analysis and of its players, only if the variable is set.

#include "VideoAnalysis/Analysis/LocalState.h"
#include "VideoAnalysis/Analysis/State.h"

#include <string>
#include <utility>
#include <vector>

namespace videoanalysis {

/// The fields of a state by name, as readable text. Drawings and media are only counted.
using DescribedFields = std::vector<std::pair<std::string, std::string>>;
DescribedFields describeFields(const State& state);
DescribedFields describeFields(const player::LocalState& state);

/// Logs each action of the store called `name`, except changes of only the playback time. Main thread only.
template <class State>
Middleware<State> actionLog(std::string name);

/// `actionLog(name)` if the environment variable is set; otherwise empty.
template <class State>
std::vector<Middleware<State>> debuggingMiddleware(const std::string& name);

extern template Middleware<State> actionLog(std::string name);
extern template Middleware<player::LocalState> actionLog(std::string name);
extern template std::vector<Middleware<State>> debuggingMiddleware(const std::string& name);
extern template std::vector<Middleware<player::LocalState>> debuggingMiddleware(const std::string& name);

}  // namespace videoanalysis
