#pragma once
// Turns fingers, the mouse and the wheel into drags and throws of a horizontal strip. A screen feeds it with plain events and, while
// a throw lasts, with the frames of its display; it holds no clock and no timer.

#include "VideoAnalysis/Platform/UI/ScrollView.h"
#include "VideoAnalysis/Timeline/Deceleration.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace videoanalysis {

/// Main thread. Positions are points along the strip in a frame of reference that does not move with it, such as the window;
/// times are seconds on any clock, the same one for all events. Values that are not finite are ignored.
class StripScroller {
public:
    /// `strip` must outlive the scroller.
    explicit StripScroller(ui::ScrollView& strip) : strip_(strip) {}

    /// Without motion a release never throws, and a target that the strip's delegate asks for is reached at once.
    bool isMotionReduced = false;

    /// A finger (or the mouse) comes down: it stops a throw and begins a drag, or takes over the drag of another finger.
    void press(std::int64_t pointer, double position, double seconds);
    /// Of pointers that are down; only the one that came last drags.
    void move(std::int64_t pointer, double position, double seconds);
    /// The last pointer throws the strip with the velocity of its last moments; before that another one takes over.
    void release(std::int64_t pointer, double position, double seconds);
    /// The wheel or a trackpad turns by `points` of content. The drag lasts until `endWheel` or the next press.
    void wheel(double points);
    void endWheel();

    bool isDragging() const { return !pointers_.empty() && strip_.isDragging(); }
    bool isThrown() const { return throw_ && strip_.isDecelerating(); }
    /// A frame of the display, `seconds` after the release. Nothing unless thrown.
    void continueThrow(double seconds);
    /// Ends what is in progress where the strip is; pointers that are down no longer count.
    void stop();

private:
    struct Pointer {
        std::int64_t id;
        double position;
    };
    struct Sample {
        double position;
        double seconds;
    };
    struct Throw {
        Deceleration deceleration;
        double distance;       ///< from the release to the rest, points
        double travelled = 0;  ///< points so far
    };

    /// The pointer that drags from now on is the last one.
    void beginSamples(double seconds);
    /// Points per second of the pointer that drags.
    double velocity(double seconds) const;
    void endDrag(double velocity);
    /// As far as the ends allow; false when an end is reached.
    bool scrollBy(double points);
    double clamped(double offset) const;

    ui::ScrollView& strip_;
    std::vector<Pointer> pointers_;  ///< in the order in which they came down
    std::vector<Sample> samples_;    ///< of the pointer that drags, its last moments
    std::optional<Throw> throw_;
};

}  // namespace videoanalysis
