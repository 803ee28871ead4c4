#pragma once
// Turns touch, mouse and wheel input into drags and throws of a horizontal strip. Fed by the ruler with pointer and wheel
// events and, during a throw, with display frames.

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

/// Main thread only. Uses `windowPosition.x` and `time` of pointer events; ignores events with non-finite values.
class StripScroller {
public:
    /// `strip` must outlive the scroller.
    explicit StripScroller(ui::ScrollView& strip) : strip_(strip) {}

    /// With reduced motion, a release does not throw, and the strip jumps to a target adjusted by its delegate.
    bool isMotionReduced = false;

    /// Called when a throw begins and needs display frames. May be empty.
    std::function<void()> didBeginThrow;

    /// A press stops a throw and begins a drag, or takes it over: only the latest pointer drags. The last release throws the
    /// strip with the pointer's recent velocity. Cancelling ends the drag without a throw.
    void handle(std::span<const ui::PointerEvent> events);
    /// Drags by `points` of content with the wheel or a touch pad. The drag ends after a pause or when a pointer is pressed.
    /// Ignored while a pointer is down.
    void wheel(double points);

    bool isDragging() const { return !pointers_.empty() && strip_.isDragging(); }
    bool isThrown() const { return throw_ && strip_.isDecelerating(); }
    /// Advances a throw to `seconds` after the release. No effect unless thrown.
    void continueThrow(double seconds);
    /// Ends a drag or throw at the current position; pointers that are down are ignored from then on.
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
        double distance;       ///< total, points
        double travelled = 0;  ///< points so far
    };

    void press(std::int64_t pointer, double position, double seconds);
    void move(std::int64_t pointer, double position, double seconds);
    void release(std::int64_t pointer, double position, double seconds);
    void endWheel();
    /// Lets the latest pointer drag.
    void beginSamples(double seconds);
    /// Velocity of the dragging pointer, points per second.
    double velocity(double seconds) const;
    void endDrag(double velocity);
    /// Scrolls up to the ends; false if an end is reached.
    bool scrollBy(double points);
    double clamped(double offset) const;

    ui::ScrollView& strip_;
    std::vector<Pointer> pointers_;  ///< in the order in which they were pressed
    std::vector<Sample> samples_;    ///< recent samples of the dragging pointer
    std::optional<Throw> throw_;
    dispatch::OneShotTimer wheelRest_;
};

}  // namespace videoanalysis
