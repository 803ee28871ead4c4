#pragma once
// Records a movie: takes pictures and sound from the recorder of a screen, and encodes and writes them on a thread that it owns.
// The movie folder makes one for each recording.

#include "Platforms/FFmpeg/Recording/FinishedMovies.h"
#include "Platforms/FFmpeg/Recording/MovieFile.h"
#include "Platforms/FFmpeg/Recording/MovieOptions.h"
#include "Platforms/FFmpeg/Recording/MoviePictures.h"
#include "Platforms/FFmpeg/Recording/MovieSound.h"
#include "Platforms/FFmpeg/Recording/MovieVideo.h"
#include "Platforms/FFmpeg/Result.h"
#include "VideoAnalysis/Platform/Movie.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace videoanalysis::media::ffmpeg {

/// Called on the encoder's thread; see `recording::MovieMaker`.
struct MovieEvents {
    std::function<void(recording::Error)> opened;
    std::function<void(const std::string& reason)> brokeOff;
};

/// See `recording::MovieWriter` for the public functions and their threads.
class MovieEncoder final : public recording::MovieWriter {
public:
    /// Starts writing the file `path`, which must not exist; creates its folder if it is missing. Once finished, the movie is
    /// added to `finished`.
    MovieEncoder(std::string path, const recording::MovieFormat& format, const MovieOptions& options,
                 std::shared_ptr<FinishedMovies> finished, MovieEvents events);
    ~MovieEncoder() override;

    bool addPicture(const std::uint8_t* pixels, int width, int height, std::ptrdiff_t bytesPerRow,
                    Clock::time_point moment) override;
    void addSound(const float* samples, std::size_t count, Clock::time_point moment) override;
    void finish(const URL& output, std::function<void(recording::Error)> handler) override;
    recording::MovieStatistics statistics() const override;

private:
    struct Picture {
        FrameHandle frame;
        Clock::time_point moment;
    };
    struct Sound {
        std::vector<float> samples;
        std::size_t count = 0;
        Clock::time_point moment;
    };
    /// What a caller wants when the recording ends.
    struct End {
        Clock::time_point moment;
        URL output;
        std::function<void(recording::Error)> handler;  ///< empty to keep the movie where it grew
    };

    /// What the encoder's thread is doing. The request to end is not a phase: it may come in each of them.
    enum class Phase : std::uint8_t {
        opening,     ///< creates the file and the encoders
        recording,   ///< encodes what is queued, until the end is requested and the queue is empty
        closing,     ///< encodes what is pending in the encoders and ends the file
        failed,      ///< discards what is queued until the end is requested; the file keeps what was written
        delivering,  ///< makes the ordinary movie
        done,
    };

    /// Guarded by `mutex`.
    struct Shared {
        mutable std::mutex mutex;
        std::condition_variable changed;
        std::deque<Picture> pictures;
        std::deque<Sound> sounds;
        std::size_t sampleCount = 0;  ///< of all `sounds`
        std::optional<End> end;       ///< set once
        recording::MovieStatistics statistics;
    };

    /// Used by the encoder's thread only.
    struct Encoder {
        Phase phase = Phase::opening;
        std::unique_ptr<MovieFile> file;
        std::unique_ptr<MovieVideo> video;
        std::unique_ptr<MovieSound> sound;  ///< null for a silent movie
        Picture last;                       ///< the picture encoded last, for repetitions
        std::int64_t lastTime = 0;          ///< its presentation time, ticks of the video
        Clock::time_point zero;             ///< when the first picture was shown
        Clock::time_point lastCut;
        Clock::time_point lastSound;
    };

    /// Any thread. The first request counts.
    void requestEnd(End end);

    // Encoder's thread.
    void run();
    Result<void> open();
    /// Waits for pictures, sound or the moment to repeat a picture. False once the end is requested and the queue is empty.
    bool takeQueued(std::optional<Picture>& picture, std::deque<Sound>& sounds);
    void process(std::optional<Picture> picture, const std::deque<Sound>& sounds);
    void encode(Picture picture);
    /// Encodes the last picture again if the next one is due at `moment` or before.
    void repeat(Clock::time_point moment);
    void send(const AVFrame& frame);
    void encodeSound(const std::deque<Sound>& sounds, Clock::time_point now);
    void cutIfDue(Clock::time_point now);
    void close(Clock::time_point end);
    Result<void> deliver(const End& end);
    /// The only place where the phase changes.
    void enter(Phase next);
    /// Notes the failure and reports it when it interrupts the recording.
    void fail(const Failure& failure);
    double movieTime(Clock::time_point moment) const;

    const std::string path_;
    const recording::MovieFormat format_;
    const MovieOptions options_;
    const double period_;  ///< seconds from picture to picture
    const std::shared_ptr<FinishedMovies> finishedMovies_;
    const MovieEvents events_;
    const MovieVideo::Sink writeVideo_;
    const MovieSound::Sink writeSound_;

    MoviePictures pictures_;
    std::atomic<bool> isCancelled_{false};
    Shared shared_;
    Encoder encoder_;
    std::thread thread_;  // last: it uses the others
};

}  // namespace videoanalysis::media::ffmpeg
