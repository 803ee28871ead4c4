#pragma once
// What tests ask of a finished movie, answered by the ffmpeg programs, which know nothing of this project.

#include <cstddef>
#include <string>
#include <vector>

namespace videoanalysis {

/// What the command line prints to its standard output.
std::string outputOf(const std::string& command);

struct MovieFacts {
    std::vector<double> pictureTimes;  ///< seconds, in the order of the file
    double soundDuration = 0;          ///< seconds, 0 without sound
    int width = 0;
    int height = 0;
    std::string videoCodec;
    std::string soundCodec;
    std::string colorSpace;
    std::string complaints;        ///< of a decoder, from the first picture to the last
    bool indexComesFirst = false;  ///< and there are no fragments

    double end() const { return pictureTimes.empty() ? 0 : pictureTimes.back(); }
    double longestGap() const;
};
/// Of a file that is no movie, all is empty.
MovieFacts factsOf(const std::string& path);

/// The sound from the movie's time zero on, 48,000 samples a second, mixed to one channel.
std::vector<float> soundOf(const std::string& path);

/// The pictures as BGRA of `width` x `height` pixels, one after the other.
std::vector<std::vector<unsigned char>> picturesOf(const std::string& path, int width, int height);

}  // namespace videoanalysis
