#pragma once
// The exponential deceleration of a thrown strip. The scroller applies differences of the distance since the throw, so that
// re-centring the content during the throw has no effect.

#include <cmath>

namespace videoanalysis {

/// x(t) = v / k (1 - exp(-k t)), the motion of a body under linear drag.
struct Deceleration {
    /// Initial velocity, points per second.
    double velocity = 0;

    static constexpr double rate = 2.0;          ///< k, per second
    static constexpr double restingSpeed = 5.0;  ///< points per second; the throw ends below it

    /// A throw that comes to rest after `distance` points.
    static Deceleration over(double distance) {
        return {distance == 0 ? 0 : rate * distance + std::copysign(restingSpeed, distance)};
    }

    /// Distance after `seconds`, in points.
    double distance(double seconds) const { return velocity / rate * -std::expm1(-rate * seconds); }
    /// Seconds until the speed falls to `restingSpeed`; 0 if it never exceeds it.
    double duration() const {
        const double speed = std::abs(velocity);
        return speed > restingSpeed ? std::log(speed / restingSpeed) / rate : 0;
    }
    /// Total distance, in points.
    double total() const { return distance(duration()); }
};

}  // namespace videoanalysis
