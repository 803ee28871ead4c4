#pragma once
// Names that nothing else has. Drawings are called by them, and files that the component writes.

#include <string>

namespace videoanalysis {

/// A random UUID (version 4) in its canonical form, upper case. Main thread.
std::string newUUID();

}  // namespace videoanalysis
