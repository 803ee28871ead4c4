#pragma once
// What the controls of one player do: its buttons, seek bar, ruler, rates and keys become actions, and the host's or the trim
// screen's answers come back here. It shows nothing itself; see `PlayerRenderer`.

#include "VideoAnalysis/Platform/UI/Control.h"
#include "VideoAnalysis/Platform/UI/GestureRecognizer.h"
#include "VideoAnalysis/Platform/UI/KeyPress.h"
#include "VideoAnalysis/Timeline/TimelineView.h"
#include "VideoAnalysis/Trimming/VideoEditorControllerDelegate.h"

#include <cstdint>
#include <memory>

namespace videoanalysis {

namespace dispatch {
class Timer;
}
class PlayerCollectionViewCellController;
class PlayerCollectionViewCellHUDView;

/// Main thread only. Part of the controller, which outlives it.
class PlayerCommands : public TimelineViewDelegate, public VideoEditorControllerDelegate {
public:
    explicit PlayerCommands(PlayerCollectionViewCellController& controller) : controller_(controller) {}
    ~PlayerCommands() override;

    /// Gives every control of `hud` its operation.
    void bind(PlayerCollectionViewCellHUDView& hud);
    /// Ends a long press that is still going on.
    void stop();

    void togglePlayingState();
    void rewind();
    void forward();
    void rewindLongPress(ui::GestureRecognizer& recognizer);
    void forwardLongPress(ui::GestureRecognizer& recognizer);
    void seekbarValueChanged(ui::Slider& sender);
    void changeFillMode();
    void undo();
    void redo();
    void clear();
    /// Asks the host whether the clip may be deleted, or for another one; nothing without a host or a presenting screen.
    void deleteMedia();
    void replaceMedia();
    /// Opens the trim screen for this clip; nothing without one in the storyboard.
    void edit();
    void userDidRequestToChangePlaybackRate();
    void userDidChangePlaybackRate(ui::Button& sender);
    void handleHUDTap();
    /// A key does what its control does. Returns whether it has one.
    bool keyPressed(const ui::KeyPress& press);

    /// A finger or the mouse came down on this player.
    void touched();
    /// Grows with every touch of any player; 0 before the first one of this player.
    std::uint64_t latestTouch() const { return latestTouch_; }

    /// The ruler's steps become frame steps. Fatal for a count that is not finite or does not fit.
    void timelineViewDidScrollBy(double steps, bool isDragging) override;
    bool defaultScrubbingDirection() const override;
    Color tickColor() const override;

    /// Clears the drawings; once the editor is gone the file at `path` replaces the clip.
    void videoEditorControllerDidSaveEditedVideoToPath(ui::ViewController& editor, const std::string& path) override;
    void videoEditorControllerDidCancel(ui::ViewController& editor) override;
    /// Says so on the standard output.
    void videoEditorControllerDidFailWithError(ui::ViewController& editor, const std::string& error) override;

private:
    /// `operation` as an action of a control; it counts as a touch and does nothing once the controller is gone.
    template <class Operation>
    ui::Control::Action touching(Operation operation);
    void bindTransport(PlayerCollectionViewCellHUDView& hud);
    void bindSeekbar(PlayerCollectionViewCellHUDView& hud);
    void bindRates(PlayerCollectionViewCellHUDView& hud);
    template <class SeekAction>
    void handleLongPress(ui::GestureRecognizer& recognizer, std::int64_t steps);
    void step(std::int64_t steps);
    /// `fraction` of the clip's duration, 0...1.
    void seekTo(double fraction);
    /// The next rate that a button offers: the next higher one for 1, the next lower one for -1.
    void changeRate(int direction);

    PlayerCollectionViewCellController& controller_;
    std::shared_ptr<dispatch::Timer> debounceTimer_;
    std::uint64_t latestTouch_ = 0;
};

}  // namespace videoanalysis
