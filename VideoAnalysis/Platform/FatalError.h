#pragma once
// Terminates the program on a programming error, such as a missing outlet, a re-entrant dispatch or an index out of range.

#include <string_view>

namespace videoanalysis {

/// Writes `message` and a line break to the error output and aborts. Any thread.
[[noreturn]] void fatalError(std::string_view message);

}  // namespace videoanalysis
