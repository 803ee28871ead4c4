#pragma once
// Handles the input of one player: turns its buttons, seek bar, ruler, rates and keys into actions, and receives the results
// from the host and the trim screen. `PlayerRenderer` displays the state.

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

    /// Connects every control of `hud` to its command.
    void bind(PlayerCollectionViewCellHUDView& hud);
    /// Ends a long press in progress.
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
    /// Asks the host to delete or replace the clip. No effect without a host or a presenting screen.
    void deleteMedia();
    void replaceMedia();
    /// Opens the trim screen for this clip. No effect if the storyboard has none.
    void edit();
    void userDidRequestToChangePlaybackRate();
    void userDidChangePlaybackRate(ui::Button& sender);
    void handleHUDTap();
    /// Performs the command of a key. Returns whether it has one.
    bool keyPressed(const ui::KeyPress& press);

    /// Records that a pointer was pressed on this player.
    void touched();
    /// Increases with every touch of any player; 0 before this player's first one.
    std::uint64_t latestTouch() const { return latestTouch_; }

    /// Steps by frames for the ruler's steps. Fatal for a non-finite or out-of-range count.
    void timelineViewDidScrollBy(double steps, bool isDragging) override;
    bool defaultScrubbingDirection() const override;
    Color tickColor() const override;

    /// Clears the drawings; once the editor has disappeared, replaces the clip by the file at `path`.
    void videoEditorControllerDidSaveEditedVideoToPath(ui::ViewController& editor, const std::string& path) override;
    void videoEditorControllerDidCancel(ui::ViewController& editor) override;
    /// Prints a line to the standard output.
    void videoEditorControllerDidFailWithError(ui::ViewController& editor, const std::string& error) override;

private:
    /// Wraps `operation` as a control action that counts as a touch. Does nothing after the controller is destroyed.
    template <class Operation>
    ui::Control::Action touching(Operation operation);
    void bindTransport(PlayerCollectionViewCellHUDView& hud);
    void bindSeekbar(PlayerCollectionViewCellHUDView& hud);
    void bindRates(PlayerCollectionViewCellHUDView& hud);
    template <class SeekAction>
    void handleLongPress(ui::GestureRecognizer& recognizer, std::int64_t steps);
    void step(std::int64_t steps);
    /// Seeks to `fraction` (0...1) of the clip's duration.
    void seekTo(double fraction);
    /// Switches to the next rate offered by a button: the next higher one for 1, the next lower one for -1.
    void changeRate(int direction);

    PlayerCollectionViewCellController& controller_;
    std::shared_ptr<dispatch::Timer> debounceTimer_;
    std::uint64_t latestTouch_ = 0;
};

}  // namespace videoanalysis
