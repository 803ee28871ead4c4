#pragma once
// A debugging aid: with VIDEOANALYSIS_LOG_ACTIONS=1 in the environment, every action is written to the debug log together with
// what it changed, as in
//
//     analysis: SetHUDVisibleAction(newState: false) | isHUDVisible: true -> false
//
// The stores of the analysis and of its players install it when they are made; without the variable there is no middleware.

#include "VideoAnalysis/Analysis/LocalState.h"
#include "VideoAnalysis/Analysis/State.h"

#include <string>
#include <utility>
#include <vector>

namespace videoanalysis {

/// The fields of a state by name, each as a person reads it. Drawings and media are counted, not written out.
using DescribedFields = std::vector<std::pair<std::string, std::string>>;
DescribedFields describeFields(const State& state);
DescribedFields describeFields(const player::LocalState& state);

/// Writes each action that reaches the store called `name`; the time of playback alone is left out. Main thread only.
template <class State>
Middleware<State> actionLog(std::string name);

/// `actionLog(name)` alone if the environment asks for it, else nothing.
template <class State>
std::vector<Middleware<State>> debuggingMiddleware(const std::string& name);

extern template Middleware<State> actionLog(std::string name);
extern template Middleware<player::LocalState> actionLog(std::string name);
extern template std::vector<Middleware<State>> debuggingMiddleware(const std::string& name);
extern template std::vector<Middleware<player::LocalState>> debuggingMiddleware(const std::string& name);

}  // namespace videoanalysis
