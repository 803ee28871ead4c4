#pragma once
// How a thrown strip comes to rest: its speed falls exponentially. Whoever moves the strip asks for the way since the throw
// and adds the difference, so that moving the content back to its middle meanwhile changes nothing.

#include <cmath>

namespace videoanalysis {

/// x(t) = v / k (1 - exp(-k t)), the way of a body whose resistance grows with its speed.
struct Deceleration {
    /// At the throw, points per second.
    double velocity = 0;

    static constexpr double rate = 2.0;           ///< k, per second
    static constexpr double restingSpeed = 5.0;  ///< points per second; slower is standing still

    /// Points from the throw after `seconds`.
    double distance(double seconds) const { return velocity / rate * -std::expm1(-rate * seconds); }
    /// When the speed has fallen to `restingSpeed`; 0 for a throw that is no faster.
    double duration() const {
        const double speed = std::abs(velocity);
        return speed > restingSpeed ? std::log(speed / restingSpeed) / rate : 0;
    }
};

}  // namespace videoanalysis
