#pragma once
// How a host wants the screen recorded, and how a recording is doing. Part of `QtQuickPlatform.h`.

#include "VideoAnalysis/Platform/Movie.h"

#include <array>
#include <cstdint>

namespace videoanalysis {

struct RecordingOptions {
    int framesPerSecond = 30;  ///< 1...120

    friend bool operator==(const RecordingOptions&, const RecordingOptions&) = default;
};

/// How long taking pictures has held up the thread that they were taken on.
struct CaptureStatistics {
    std::int64_t count = 0;
    double max = 0;          ///< milliseconds
    double maxComputed = 0;  ///< milliseconds of processor time; the rest went to other programs
    /// How many took less than 0.5, 1, 2, 4 milliseconds, and longer.
    std::array<std::int64_t, 5> histogram{};
};

struct RecordingStatistics {
    recording::MovieStatistics movie;
    CaptureStatistics capture;
};

}  // namespace videoanalysis
