#pragma once
// A movie that grows while it is recorded. A platform's screen recorder hands the pictures and the sound of the screen to a
// writer, which a media ring supplies; the host brings the two together, so that neither knows the other.

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
    int width = 0;   ///< pixels, even, 2...8192; pictures of another size are fitted in, with black beside them
    int height = 0;  ///< the same
    int framesPerSecond = 30;  ///< 1...120: the most that are written; a picture that stays is repeated at this rate
    int channels = 0;          ///< of the sound, 0 for a silent movie, at most 2
    int sampleRate = 48000;    ///< of the sound that comes in

    friend bool operator==(const MovieFormat&, const MovieFormat&) = default;
};

struct MovieStatistics {
    std::int64_t taken = 0;     ///< pictures handed over and written
    std::int64_t repeated = 0;  ///< written once more because nothing had changed
    std::int64_t dropped = 0;   ///< pictures refused because those before them were not written yet
    std::string failure;        ///< why nothing has been written since some moment, one line; empty when all is well
};

/// One movie under way. Its time begins with its first picture. Main thread, unless said otherwise.
class MovieWriter {
public:
    using Clock = std::chrono::steady_clock;

    /// A movie that has not been finished stays where it grew, ended properly, for the maker to finish later.
    virtual ~MovieWriter() = default;

    /// Takes a copy of the picture: `width` x `height` pixels, four bytes each in the order blue, green, red, anything, a row
    /// `bytesPerRow` bytes after the one above; shown since `moment`. Costs the conversion of one picture, never waits, and
    /// says whether there was room for it. Any thread, one at a time.
    virtual bool addPicture(const std::uint8_t* pixels, int width, int height, std::ptrdiff_t bytesPerRow,
                            Clock::time_point moment) = 0;
    /// Takes a copy of `count` sample frames, interleaved, -1...1, of which the last was heard no later than `moment`. What
    /// is missing in between is silence. Any thread, one at a time; never waits.
    virtual void addSound(const float* samples, std::size_t count, Clock::time_point moment) = 0;

    /// Ends the movie now and leaves it as an ordinary one, its index in front, in the file `output`, or as it grew where there
    /// is no room for that. A movie that broke off is finished as far as it went. After an error it stays where it grew.
    /// `handler` comes on a thread of the writer's. Destroying the writer cancels the work; the movie stays where it grew.
    virtual void finish(const URL& output, std::function<void(Error)> handler) = 0;

    /// Any thread.
    virtual MovieStatistics statistics() const = 0;
};

class MovieMaker {
public:
    virtual ~MovieMaker() = default;
    /// Begins a movie, without waiting for the disk. Pictures and sound may be handed over once it is opened: `opened` comes
    /// then, on a thread of the writer's. On error, destroy the writer; no other call is valid. `brokeOff` (may be empty) comes
    /// on that thread when nothing can be written any longer before the movie was to be finished, with the reason in one line.
    virtual std::unique_ptr<MovieWriter> makeMovie(const MovieFormat& format, std::function<void(Error)> opened,
                                                   std::function<void(const std::string& reason)> brokeOff = {}) = 0;

    /// Where movies are to be finished, and what to do with one that its owner has copied or does not want: see
    /// `ScreenRecorder`.
    virtual std::string outputDirectory() const { return {}; }
    virtual void movieTaken(const URL& /*movie*/) {}
};

}  // namespace videoanalysis::recording
