#pragma once
// Unique identifiers for drawings and for files written by the component.

#include <string>

namespace videoanalysis {

/// A random version 4 UUID in canonical form, upper case. Main thread only.
std::string newUUID();

}  // namespace videoanalysis
