#pragma once
// The reducers of the analysis. Besides returning the next state they apply its consequences to the screen: they insert and
// remove players, update the collections, step and seek, and dispatch to the players' local stores.

#include "VideoAnalysis/Analysis/State.h"

namespace videoanalysis {

/// The reducer of `mainStore`; `state` is null if there is none yet. Main thread only.
State reduceMain(const Action& action, const State* state);

/// Recording, tools and colour picker.
MainViewControllerState reduceScreen(const Action& action, const MainViewControllerState* state);

/// Playback, seeking, the choice of tool and colour, playback rate.
State reducePlayers(const Action& action, const State& state);

}  // namespace videoanalysis
