#pragma once
// Inspects finished movies with the ffmpeg programs, independently of the code under test.

#include <cstddef>
#include <string>
#include <vector>

namespace videoanalysis {

/// The standard output of a shell command.
std::string outputOf(const std::string& command);

struct MovieFacts {
    std::vector<double> pictureTimes;  ///< seconds, in file order
    double soundDuration = 0;          ///< seconds, 0 without audio
    int width = 0;
    int height = 0;
    std::string videoCodec;
    std::string soundCodec;
    std::string colorSpace;
    std::string complaints;        ///< errors from decoding all frames
    bool indexComesFirst = false;  ///< index at the front and no fragments

    double end() const { return pictureTimes.empty() ? 0 : pictureTimes.back(); }
    double maxGap() const;
};
/// All fields are empty if the file is not a movie.
MovieFacts factsOf(const std::string& path);

/// The audio from time zero on, 48 kHz, mixed to mono.
std::vector<float> soundOf(const std::string& path);

/// The frames as consecutive BGRA bitmaps of `width` x `height` pixels.
std::vector<std::vector<unsigned char>> picturesOf(const std::string& path, int width, int height);

}  // namespace videoanalysis
