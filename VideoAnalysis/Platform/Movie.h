#pragma once
// The seam between a platform's screen recorder, which captures video and audio, and a media ring's movie writer. The host
// connects the two, so that they are independent of each other.

#include "VideoAnalysis/Platform/Recording.h"
#include "VideoAnalysis/Platform/URL.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace videoanalysis::recording {

struct MovieFormat {
    int width = 0;             ///< pixels, even, 2...8192; pictures of another size are letterboxed
    int height = 0;            ///< pixels, even, 2...8192
    int framesPerSecond = 30;  ///< max rate, 1...120; an unchanged picture is repeated at this rate
    int channels = 0;          ///< of the audio, 0 (none) to 2
    int sampleRate = 48000;    ///< of the audio input, Hz

    friend bool operator==(const MovieFormat&, const MovieFormat&) = default;
};

struct MovieStatistics {
    std::int64_t taken = 0;     ///< captured pictures written
    std::int64_t repeated = 0;  ///< repetitions written for an unchanged picture
    std::int64_t dropped = 0;   ///< pictures rejected because the encoder was behind
    std::string failure;        ///< one line: why writing has stopped; empty if there is no error
};

/// A movie being written. Time starts with its first picture. Main thread only unless stated otherwise.
class MovieWriter {
public:
    using Clock = std::chrono::steady_clock;

    /// Closes an unfinished movie cleanly and leaves it in its temporary file, for the maker to finish later.
    virtual ~MovieWriter() = default;

    /// Copies a picture displayed since `moment`: `width` x `height` pixels of four bytes (blue, green, red, unused), rows
    /// `bytesPerRow` bytes apart. Takes the time of one pixel conversion, never blocks; returns whether there was room for
    /// it. Any thread, one at a time.
    virtual bool addPicture(const std::uint8_t* pixels, int width, int height, std::ptrdiff_t bytesPerRow,
                            Clock::time_point moment) = 0;
    /// Copies `count` interleaved sample frames in -1...1, the last one heard no later than `moment`. Gaps are filled with
    /// silence. Never blocks. Any thread, one at a time.
    virtual void addSound(const float* samples, std::size_t count, Clock::time_point moment) = 0;

    /// Finalizes the movie in the file `output` with its index at the front, or in its fragmented form if there is no room to
    /// rewrite it. A truncated movie is finalized up to its last complete fragment. On error the partial file is kept.
    /// `handler` is called on a writer thread. Destroying the writer cancels the work and keeps the partial file.
    virtual void finish(const URL& output, std::function<void(Error)> handler) = 0;

    /// Any thread.
    virtual MovieStatistics statistics() const = 0;
};

class MovieMaker {
public:
    virtual ~MovieMaker() = default;
    /// Starts a movie without waiting for the disk. `opened` is called on a writer thread once it accepts video and audio. On
    /// error, destroy the writer; no other call is valid. `brokeOff` (may be empty) is called on that thread with the reason
    /// in one line if writing fails before the movie is finished.
    virtual std::unique_ptr<MovieWriter> makeMovie(const MovieFormat& format, std::function<void(Error)> opened,
                                                   std::function<void(const std::string& reason)> brokeOff = {}) = 0;

    /// The directory for finished movies, and the disposal of one that its owner has copied or discarded; see
    /// `ScreenRecorder`.
    virtual std::string outputDirectory() const { return {}; }
    virtual void movieTaken(const URL& /*movie*/) {}
};

}  // namespace videoanalysis::recording
