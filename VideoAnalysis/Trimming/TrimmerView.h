#pragma once
// The trimmer control: a row of thumbnails with a handle at either end of what is kept and a bar where the clip plays. The trim
// screen's controller fills and reads it; a screen's peer draws it.

#include "VideoAnalysis/Platform/UI/Control.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

namespace videoanalysis {

namespace dispatch {
class Timer;
}

/// A press takes the handle within reach, or else the bar, and a drag moves it. Sends `touchDown` when it is taken,
/// `valueChanged` for every change by the user, `touchUpInside` when it is let go. Times are seconds from the beginning of the
/// clip; positions are points from the view's left edge. Main thread.
class TrimmerView : public ui::Control {
public:
    /// What can be moved.
    enum class Part { none, start, end, position };

    struct Thumbnail {
        double time = 0;  ///< the middle of the stretch that it represents
        Image image;      ///< empty until it is loaded
    };

    ~TrimmerView() override;

    double duration() const { return duration_; }
    /// Where the frame begins that is `count` frames after the one shown at `time`, before it when negative; the clip's
    /// duration counts as one more after the last.
    using FrameTimes = std::function<double(double time, int count)>;
    /// Another clip: everything of it is kept, and the thumbnails are gone. `step` is the shortest frame, 0 when nothing is
    /// to be rounded to frames. Without `frameTimes` all frames are as long as that.
    void setClip(double duration, double step, FrameTimes frameTimes = {});
    double step() const { return step_; }
    /// Of what is kept: 1 s at first, limited to the clip's duration.
    double minimumDuration() const;
    void setMinimumDuration(double seconds);

    /// 0 <= start < end <= duration.
    double start() const { return start_; }
    double end() const { return end_; }
    /// Where the bar is.
    double position() const { return position_; }
    void setPosition(double time);
    /// Moves a handle as the user would: not past the other one, not nearer to it than the minimum duration.
    void setStart(double time);
    void setEnd(double time);
    /// What a pointer holds.
    Part trackedPart() const { return tracked_; }

    /// The stretch of time that the row shows: the whole clip, or a part while a handle is held still.
    double visibleStart() const { return visibleStart_; }
    double visibleEnd() const { return visibleEnd_; }
    bool isZoomed() const { return visibleEnd_ - visibleStart_ < duration_; }
    /// How wide a handle is; the row lies between the two.
    static constexpr double handleWidth = 20;
    /// Where the row lies in the view.
    Rect rowRect() const;
    /// A moment's place; outside the row for one that the row does not show.
    double xOf(double time) const;
    double timeAt(double x) const;

    /// Divides what the row shows into as many thumbnails as pictures of `aspect` (width over height) fit beside each other;
    /// each begins with the nearest picture so far. Their times are then in `thumbnails`.
    void layOutThumbnails(double aspect);
    const std::vector<Thumbnail>& thumbnails() const { return thumbnails_; }
    /// In points; the last one may reach out of the row.
    double thumbnailWidth() const { return thumbnailWidth_; }
    void setThumbnail(std::size_t index, const Image& image);

    /// For the keyboard and assistive technology: moves a part by `steps` frames. Nothing while a pointer holds one.
    void nudge(Part part, int steps);

    /// The row shows another stretch or has another size, so that other thumbnails are wanted.
    std::function<void()> rowObserver;

    /// How long a handle is held still until the row shows its surroundings, in seconds.
    static constexpr double holdDelay = 0.5;

protected:
    void boundsDidChange(const Rect& old) override;
    void pressBegan(Point position) override { beginTracking(position.x); }
    void pressMoved(Point position) override { track(position.x); }
    void pressEnded(Point) override { endTracking(); }
    void pressCancelled() override { endTracking(); }

private:
    void beginTracking(double x);
    void track(double x);
    void endTracking();
    double frameTime(double time, int count) const;
    double rounded(double time) const;
    bool move(Part part, double time);
    void waitForHold();
    void zoomIn();
    void zoomOut();

    double duration_ = 0;
    double step_ = 0;
    FrameTimes frameTimes_;
    double minimum_ = 1;
    double start_ = 0;
    double end_ = 0;
    double position_ = 0;
    double visibleStart_ = 0;
    double visibleEnd_ = 0;
    std::vector<Thumbnail> thumbnails_;
    double thumbnailWidth_ = 0;
    Part tracked_ = Part::none;
    double grip_ = 0;   // from the finger to the part's place
    double heldX_ = 0;  // where the finger has been since the timer started
    std::shared_ptr<dispatch::Timer> holdTimer_;
};

}  // namespace videoanalysis
