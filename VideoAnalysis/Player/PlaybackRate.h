#pragma once
// Playback rates as text: the buttons that offer rates carry them as titles, and the rate in use is shown in the same form.

#include <string>

namespace videoanalysis {

/// The rate that a button's title stands for: the title without what is not a digit at both ends, with a point for the
/// fraction in every locale; 1 when that is no number.
float rateFromTitle(const std::string& title);

/// At most two fraction digits and an x, as in "1x", "0.25x".
std::string titleForRate(float rate);

}  // namespace videoanalysis
