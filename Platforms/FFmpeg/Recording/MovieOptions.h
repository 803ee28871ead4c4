#pragma once
// How a movie folder encodes recordings. A host that wants something else than the defaults passes it to the folder.

#include <string>

namespace videoanalysis::media {

struct MovieOptions {
    std::string preset = "superfast";  ///< of the video encoder: how much it computes to save bytes
    double quality = 23;               ///< its constant rate factor, 0 (best) to 51
    double fragmentDuration = 0.5;     ///< seconds; about so much is lost at most when the program is killed
    int queueLength = 16;              ///< pictures that may be pending

    friend bool operator==(const MovieOptions&, const MovieOptions&) = default;
};

}  // namespace videoanalysis::media
