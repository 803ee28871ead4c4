#pragma once
// The reducers of the analysis. Besides making the next state they carry out its consequences on the screen: players come and
// go, collections follow, players step and seek, and each player's own store hears what concerns it.

#include "VideoAnalysis/Analysis/State.h"

namespace videoanalysis {

/// The reducer of `mainStore`; `state` is null for an absent one. Main thread.
State reduceMain(const Action& action, const State* state);

/// Recording, tools and colour picker.
MainViewControllerState reduceScreen(const Action& action, const MainViewControllerState* state);

/// Playback, seeking, the choice of tool and colour, playback rate.
State reducePlayers(const Action& action, const State& state);

}  // namespace videoanalysis
