#pragma once
// Conversion between playback rates and text: the titles of the rate buttons, and the display of the current rate.

#include <string>

namespace videoanalysis {

/// Parses a button's title: strips everything but digits from both ends and accepts a point as decimal separator in every
/// locale. Returns 1 if the rest is not a number.
float rateFromTitle(const std::string& title);

/// The rate with at most two fraction digits and an x, as in "1x" or "0.25x".
std::string titleForRate(float rate);

}  // namespace videoanalysis
