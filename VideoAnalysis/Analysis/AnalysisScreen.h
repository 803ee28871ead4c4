#pragma once
// The interfaces through which the reducers drive the analysis screen, which implements both. Called inside a reduction, in
// the order that the actions describe; the reducers depend on nothing else of the folders above.

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
    /// The local state of one player. The reference is valid until the next dispatch to that store.
    virtual const player::LocalState& localState(std::size_t position) const = 0;
    /// Dispatches `localAction` to the local store of one player.
    virtual void dispatch(std::size_t position, const Action& localAction) = 0;
    /// Whether `localStore` belongs to one of the players.
    virtual bool contains(const Store<player::LocalState>& localStore) const = 0;

    /// Appends a player for the clip at `index` of the list of media and shows it.
    virtual void insert(std::int64_t index, const VideoAnalysisController::Object& media) = 0;
    /// Stops a player and removes it from the screen; later players move up.
    virtual void remove(std::size_t position) = 0;
    /// Stops a player and replaces it by a new one. The screen shows it after `reload`.
    virtual void replace(std::size_t position, const VideoAnalysisController::Object& media) = 0;
    virtual void reload(std::size_t position) = 0;
    /// Removes every player.
    virtual void clear() = 0;

    /// Ends a throw of one player's ruler, if there is one.
    virtual void endRulerThrow(std::size_t position) = 0;
    /// Pauses the video of one player and moves it by `steps` frames; the sign gives the direction. No effect for 0, or while
    /// the player has no video.
    virtual void step(std::size_t position, std::int64_t steps) = 0;
    /// Pauses the video of one player and shows the frame at exactly `time`. No effect while the player has no video.
    virtual void seek(std::size_t position, const media::Time& time) = 0;

    /// Opens the trim screen for the clip of one player.
    virtual void edit(std::size_t position) = 0;
    /// The clips with their current drawings.
    virtual std::vector<VideoAnalysisController::Object> currentMedia() const = 0;
};

/// The analysis screen itself. Main thread only.
class AnalysisScreen {
public:
    virtual ~AnalysisScreen() = default;

    /// Null while the screen's or the overlay's collection is missing.
    virtual std::shared_ptr<AnalysisPlayers> players() = 0;

    virtual bool isPresented() const = 0;
    /// Presents the screen over `presenter`, animated.
    virtual void presentOver(ui::ViewController& presenter, ui::ModalPresentationStyle style) = 0;
    /// Dismisses the screen; `completion` (may be empty) runs after it has disappeared.
    virtual void dismiss(bool animated, ui::ViewController::Completion completion) = 0;
};

}  // namespace videoanalysis
