#pragma once
// Records a movie: takes pictures and sound from whoever shows and hears them, and encodes and writes them on a thread of its
// own. The movie folder makes one for each recording.

#include "Platforms/FFmpeg/LibraryHandles.h"
#include "Platforms/FFmpeg/Recording/MovieFile.h"
#include "Platforms/FFmpeg/Recording/MovieOptions.h"
#include "Platforms/FFmpeg/Recording/MoviePictures.h"
#include "Platforms/FFmpeg/Recording/MovieSound.h"
#include "VideoAnalysis/Platform/Movie.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace videoanalysis::media::ffmpeg {

/// Called on the encoder's thread; see `recording::MovieMaker`.
struct MovieEvents {
    std::function<void(recording::Error)> opened;
    std::function<void(const std::string& reason)> brokeOff;
};

/// The finished movies that their host has not taken, with the locks that tell other programs so. Any thread.
class FinishedMovies {
public:
    void add(const std::string& path, LockedFile lock) {
        const std::lock_guard guard(mutex_);
        locks_.insert_or_assign(path, std::move(lock));
    }
    /// Removes the file too; ignores a path that was not added.
    void remove(const std::string& path);

private:
    std::mutex mutex_;
    std::map<std::string, LockedFile> locks_;
};

class MovieEncoder final : public recording::MovieWriter {
public:
    /// Begins to write the file `path`, which must not exist, in a folder that is made if it is missing. Once finished, the
    /// movie is added to `finished`.
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

    // The thread's.
    void run();
    bool open(std::string& error);
    bool openEncoder(std::string& error);
    void work();
    void encode(Picture picture);
    void repeat(Clock::time_point until);
    void send(const AVFrame* frame);
    void writeHeldPicture(std::int64_t nextTime);
    void add(Sound sound);
    void fillSound(Clock::time_point now);
    void cutIfDue(Clock::time_point now);
    void end();
    recording::Error deliver();
    void noteFailure(const std::string& reason);
    double movieTime(Clock::time_point moment) const;

    const std::string path_;
    const recording::MovieFormat format_;
    const MovieOptions options_;
    const double period_;  ///< seconds from picture to picture
    const std::shared_ptr<FinishedMovies> finishedMovies_;
    const MovieEvents events_;
    MoviePictures pictures_;

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Picture> waitingPictures_;
    std::deque<Sound> waitingSounds_;
    std::size_t waitingSamples_ = 0;
    bool isEnding_ = false;
    Clock::time_point endMoment_;
    URL output_;
    std::function<void(recording::Error)> finished_;  ///< empty for a movie that stays unfinished
    recording::MovieStatistics statistics_;

    std::atomic<bool> isCancelled_{false};

    std::unique_ptr<MovieFile> file_;
    CodecContextHandle encoder_;
    PacketHandle packet_;
    PacketHandle held_;  ///< the picture encoded last, until it is known how long it lasts
    std::unique_ptr<MovieSound> sound_;
    bool isOpen_ = false;
    bool hasFailed_ = false;
    Picture last_;  ///< the picture encoded last, for repetitions
    std::int64_t lastTime_ = 0;
    Clock::time_point zero_;
    Clock::time_point lastCut_;
    Clock::time_point lastSound_;

    std::thread thread_;
};

}  // namespace videoanalysis::media::ffmpeg
