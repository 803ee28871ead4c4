#pragma once
// What the reducers ask of the analysis screen. The screen implements both interfaces; the reducers call them inside a
// reduction, in the order that the actions describe, and know nothing else of the rooms above them.

#include "VideoAnalysis/Analysis/VideoAnalysisController.h"
#include "VideoAnalysis/Platform/Media.h"
#include "VideoAnalysis/Platform/UI/ViewController.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace videoanalysis {

class Action;
template <class State>
class Store;
namespace player {
struct LocalState;
}

/// The players on the screen, one for each item of `State::media`, in the same order. Every `position` is below `count()`
/// unless said otherwise. Main thread only.
class AnalysisPlayers {
public:
    virtual ~AnalysisPlayers() = default;

    virtual std::size_t count() const = 0;
    /// What the local store of one player holds. The reference is valid until the next dispatch to that store.
    virtual const player::LocalState& localState(std::size_t position) const = 0;
    /// Dispatches `localAction` to the local store of one player.
    virtual void dispatch(std::size_t position, const Action& localAction) = 0;
    /// Whether `localStore` belongs to one of the players.
    virtual bool contains(const Store<player::LocalState>& localStore) const = 0;

    /// Appends a player for the clip at `index` of the list of media and shows it.
    virtual void insert(std::int64_t index, const VideoAnalysisController::Object& media) = 0;
    /// Stops a player and takes it off the screen; those behind it move up.
    virtual void remove(std::size_t position) = 0;
    /// Stops a player and puts a new one in its place. The screen shows it from `reload` on.
    virtual void replace(std::size_t position, const VideoAnalysisController::Object& media) = 0;
    virtual void reload(std::size_t position) = 0;
    /// Removes every player.
    virtual void clear() = 0;

    /// Stops the ruler of one player when it is still turning after a throw.
    virtual void endRulerThrow(std::size_t position) = 0;
    /// Pauses the video of one player and moves it by `steps` frames; the sign gives the direction. Nothing for 0, or while
    /// the player has no video.
    virtual void step(std::size_t position, std::int64_t steps) = 0;
    /// Pauses the video of one player and shows the frame at exactly `time`. Nothing while the player has no video.
    virtual void seek(std::size_t position, const media::Time& time) = 0;

    /// Opens the trim screen for the clip of one player.
    virtual void edit(std::size_t position) = 0;
    /// The clips with their drawings as they are now.
    virtual std::vector<VideoAnalysisController::Object> currentMedia() const = 0;
};

/// The analysis screen itself. Main thread only.
class AnalysisScreen {
public:
    virtual ~AnalysisScreen() = default;

    /// Null while the screen has no place for players: its own collection or the overlay's is missing.
    virtual std::shared_ptr<AnalysisPlayers> players() = 0;

    virtual bool isPresented() const = 0;
    /// Presents the screen over `presenter`, animated.
    virtual void presentOver(ui::ViewController& presenter, ui::ModalPresentationStyle style) = 0;
    /// Takes the screen away; `completion` (may be empty) runs when it is gone.
    virtual void dismiss(bool animated, ui::ViewController::Completion completion) = 0;
};

}  // namespace videoanalysis
