#pragma once
// Turns fingers, the mouse and the wheel into drags and throws of a horizontal strip. The ruler passes on what the screen sends it:
// pointers, the wheel and, while a throw lasts, the frames of the display.

#include "VideoAnalysis/Platform/OneShotTimer.h"
#include "VideoAnalysis/Platform/UI/PointerEvent.h"
#include "VideoAnalysis/Platform/UI/ScrollView.h"
#include "VideoAnalysis/Timeline/Deceleration.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace videoanalysis {

/// Main thread. Of a pointer event, `windowPosition.x` and `time` count; events with values that are not finite are ignored.
class StripScroller {
public:
    /// `strip` must outlive the scroller.
    explicit StripScroller(ui::ScrollView& strip) : strip_(strip) {}

    /// Without motion a release never throws, and a target that the strip's delegate asks for is reached at once.
    bool isMotionReduced = false;

    /// Called when a throw has begun: the frames of the display are needed from now on. May be empty.
    std::function<void()> didBeginThrow;

    /// A pointer that comes down stops a throw and begins a drag, or takes over the drag of another one: only the one that came
    /// last drags. The last one to leave throws the strip with the velocity of its last moments. A cancellation ends the drag
    /// where the strip is.
    void handle(std::span<const ui::PointerEvent> events);
    /// The wheel or a touch pad moves by `points` of content. The drag lasts until it has rested for a moment or a pointer
    /// comes down; nothing while one is down.
    void wheel(double points);

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

    void press(std::int64_t pointer, double position, double seconds);
    void move(std::int64_t pointer, double position, double seconds);
    void release(std::int64_t pointer, double position, double seconds);
    void endWheel();
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
    dispatch::OneShotTimer wheelRest_;
};

}  // namespace videoanalysis
