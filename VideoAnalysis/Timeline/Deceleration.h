#pragma once
// How a thrown strip comes to rest: its speed falls exponentially. The strip's scroller asks for the distance since the throw and
// adds the difference, so that moving the content back to its middle on the way changes nothing.

#include <cmath>

namespace videoanalysis {

/// x(t) = v / k (1 - exp(-k t)), the path of a body whose resistance grows with its speed.
struct Deceleration {
    /// At the throw, points per second.
    double velocity = 0;

    static constexpr double rate = 2.0;          ///< k, per second
    static constexpr double restingSpeed = 5.0;  ///< points per second; slower is standing still

    /// The throw that comes to rest after `distance` points.
    static Deceleration over(double distance) {
        return {distance == 0 ? 0 : rate * distance + std::copysign(restingSpeed, distance)};
    }

    /// Points from the throw after `seconds`.
    double distance(double seconds) const { return velocity / rate * -std::expm1(-rate * seconds); }
    /// When the speed has fallen to `restingSpeed`; 0 for a throw that is no faster.
    double duration() const {
        const double speed = std::abs(velocity);
        return speed > restingSpeed ? std::log(speed / restingSpeed) / rate : 0;
    }
    /// Points from the throw to the rest.
    double total() const { return distance(duration()); }
};

}  // namespace videoanalysis
