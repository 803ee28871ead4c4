#pragma once
// Stops the program for a programming error: the message goes to the error output, then the process aborts.
// Called wherever continuing would hide a mistake (a missing outlet, a re-entrant dispatch, an index out of range).

#include <string_view>

namespace videoanalysis {

/// Writes `message` and a line break to the error output and aborts. Any thread; never returns.
[[noreturn]] void fatalError(std::string_view message);

}  // namespace videoanalysis
