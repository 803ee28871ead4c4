#include "VideoAnalysis/Platform/FatalError.h"

#include <cstdio>
#include <cstdlib>

namespace videoanalysis {

void fatalError(std::string_view message) {
    std::fprintf(stderr, "%.*s\n", static_cast<int>(message.size()), message.data());
    std::fflush(stderr);
    std::abort();
}

}  // namespace videoanalysis
