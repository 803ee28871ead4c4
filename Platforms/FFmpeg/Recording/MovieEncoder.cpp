#include "Platforms/FFmpeg/Recording/MovieEncoder.h"

#include "Platforms/FFmpeg/Recording/MovieRemux.h"
#include "VideoAnalysis/Platform/FatalError.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <system_error>
#include <utility>

namespace videoanalysis::media::ffmpeg {
namespace {

using Seconds = std::chrono::duration<double>;

constexpr double repeatDelay = 0.5;    // periods that a picture may be late before the last one is repeated
constexpr double silenceDelay = 0.5;   // seconds without sound from the device until silence is inserted
constexpr double silenceMargin = 0.2;  // seconds that inserted silence stays behind, in case the device is only late
constexpr double maxQueuedSound = 5;   // seconds
constexpr int lowerPriority = 5;       // of the encoder's thread and those of the codecs: the screen comes first
constexpr mode_t folderPermissions = 0700;

MovieEncoder::Clock::duration ticks(double seconds) {
    return std::chrono::duration_cast<MovieEncoder::Clock::duration>(Seconds(seconds));
}

recording::Error toError(const Result<void>& result) {
    return result ? recording::Error() : recording::Error(result.failure().message);
}

}  // namespace

MovieEncoder::MovieEncoder(std::string path, const recording::MovieFormat& format, const MovieOptions& options,
                           std::shared_ptr<FinishedMovies> finished, MovieEvents events)
    : path_(std::move(path)), format_(format), options_(options), period_(1.0 / std::max(format.framesPerSecond, 1)),
      finishedMovies_(std::move(finished)), events_(std::move(events)),
      writeVideo_([this](AVPacket& packet) { return encoder_.file->write(packet, 0, encoder_.video->encoder()); }),
      writeSound_([this](AVPacket& packet) { return encoder_.file->write(packet, 1, encoder_.sound->encoder()); }),
      pictures_(format.width, format.height, std::max(options.queueLength, 1) + 2), thread_([this] { run(); }) {}

MovieEncoder::~MovieEncoder() {
    isCancelled_ = true;
    requestEnd({Clock::now(), {}, {}});
    thread_.join();
}

// ---- Called by the recorder

bool MovieEncoder::addPicture(const std::uint8_t* pixels, int width, int height, std::ptrdiff_t bytesPerRow,
                              Clock::time_point moment) {
    FrameHandle frame;
    {
        const std::lock_guard lock(shared_.mutex);
        if (shared_.end) return false;
        if (static_cast<int>(shared_.pictures.size()) < options_.queueLength) frame = pictures_.take();
        if (!frame) {
            ++shared_.statistics.dropped;
            return false;
        }
    }
    pictures_.convert(pixels, width, height, bytesPerRow, *frame);
    {
        const std::lock_guard lock(shared_.mutex);
        shared_.pictures.push_back({std::move(frame), moment});
    }
    shared_.changed.notify_one();
    return true;
}

void MovieEncoder::addSound(const float* samples, std::size_t count, Clock::time_point moment) {
    if (format_.channels == 0 || count == 0) return;
    Sound sound{{samples, samples + count * static_cast<std::size_t>(format_.channels)}, count, moment};
    {
        const std::lock_guard lock(shared_.mutex);
        if (shared_.end) return;
        shared_.sampleCount += count;
        shared_.sounds.push_back(std::move(sound));
        while (static_cast<double>(shared_.sampleCount) > maxQueuedSound * format_.sampleRate) {
            shared_.sampleCount -= shared_.sounds.front().count;
            shared_.sounds.pop_front();
        }
    }
    shared_.changed.notify_one();
}

void MovieEncoder::finish(const URL& output, std::function<void(recording::Error)> handler) {
    requestEnd({Clock::now(), output, std::move(handler)});
}

void MovieEncoder::requestEnd(End end) {
    {
        const std::lock_guard lock(shared_.mutex);
        if (shared_.end) return;
        shared_.end.emplace(std::move(end));
    }
    shared_.changed.notify_one();
}

recording::MovieStatistics MovieEncoder::statistics() const {
    const std::lock_guard lock(shared_.mutex);
    return shared_.statistics;
}

// ---- Encoder's thread

void MovieEncoder::run() {
    [[maybe_unused]] const int priority = nice(lowerPriority);
    const Result<void> opened = open();
    if (opened) {
        enter(Phase::recording);
    } else {
        fail(opened.failure());
    }
    events_.opened(toError(opened));
    std::optional<Picture> picture;
    for (std::deque<Sound> sounds; takeQueued(picture, sounds);) process(std::move(picture), sounds);
    const End& end = *shared_.end;
    if (encoder_.phase == Phase::recording) {
        enter(Phase::closing);
        close(end.moment);
    }
    // Released here, so that destroying this object does not take long.
    encoder_.last = {};
    encoder_.video.reset();
    encoder_.sound.reset();
    pictures_.clear();
    enter(Phase::delivering);
    const Result<void> delivered = deliver(end);
    enter(Phase::done);
    if (end.handler) end.handler(toError(delivered));
}

void MovieEncoder::enter(Phase next) {
    const auto isLegal = [phase = encoder_.phase, next] {
        switch (phase) {
            case Phase::opening: return next == Phase::recording || next == Phase::failed;
            case Phase::recording: return next == Phase::closing || next == Phase::failed;
            case Phase::closing: return next == Phase::delivering || next == Phase::failed;
            case Phase::failed: return next == Phase::delivering;
            case Phase::delivering: return next == Phase::done;
            case Phase::done: return false;
        }
        return false;
    };
    if (!isLegal()) fatalError("A recording took a step out of order");
    encoder_.phase = next;
}

void MovieEncoder::fail(const Failure& failure) {
    bool isInterrupted = encoder_.phase == Phase::recording;
    enter(Phase::failed);
    {
        const std::lock_guard lock(shared_.mutex);
        shared_.statistics.failure = failure.message;
        isInterrupted = isInterrupted && !shared_.end;
    }
    if (isInterrupted && events_.brokeOff) events_.brokeOff(failure.message);
}

Result<void> MovieEncoder::open() {
    const std::filesystem::path folder = std::filesystem::path(path_).parent_path();
    std::error_code code;
    std::filesystem::create_directories(folder.parent_path(), code);
    ::mkdir(folder.c_str(), folderPermissions);
    Result<std::unique_ptr<MovieFile>> file = MovieFile::create(path_);
    if (!file) return file.failure();
    encoder_.file = std::move(*file);
    Result<std::unique_ptr<MovieVideo>> video = MovieVideo::open(format_, options_);
    if (!video) return video.failure();
    encoder_.video = std::move(*video);
    if (!pictures_.prepare()) return Failure{"not enough memory for the pictures of a recording"};
    Result<void> added = encoder_.file->addStream(encoder_.video->encoder());
    if (format_.channels > 0 && added) {
        Result<std::unique_ptr<MovieSound>> sound = MovieSound::open(format_.sampleRate, format_.channels);
        if (!sound) return sound.failure();
        encoder_.sound = std::move(*sound);
        added = encoder_.file->addStream(encoder_.sound->encoder());
    }
    return added ? encoder_.file->begin() : added;
}

bool MovieEncoder::takeQueued(std::optional<Picture>& picture, std::deque<Sound>& sounds) {
    picture.reset();
    sounds.clear();
    std::unique_lock lock(shared_.mutex);
    shared_.changed.wait_for(lock, Seconds(period_ / 2),
                             [this] { return shared_.end || !shared_.pictures.empty() || !shared_.sounds.empty(); });
    if (!shared_.pictures.empty()) {
        picture = std::move(shared_.pictures.front());
        shared_.pictures.pop_front();
    }
    sounds.swap(shared_.sounds);
    shared_.sampleCount = 0;
    return !shared_.end || picture || !sounds.empty();
}

void MovieEncoder::process(std::optional<Picture> picture, const std::deque<Sound>& sounds) {
    if (encoder_.phase == Phase::failed) {
        if (picture) pictures_.giveBack(std::move(picture->frame));
        return;
    }
    const Clock::time_point now = Clock::now();
    if (picture) {
        encode(std::move(*picture));
    } else {
        repeat(now - ticks(repeatDelay * period_));
    }
    // What comes before the first picture is not part of the movie.
    if (encoder_.phase == Phase::recording && encoder_.last.frame) encodeSound(sounds, now);
    if (encoder_.phase == Phase::recording && encoder_.last.frame) cutIfDue(now);
}

double MovieEncoder::movieTime(Clock::time_point moment) const { return Seconds(moment - encoder_.zero).count(); }

void MovieEncoder::encode(Picture picture) {
    std::int64_t time = 0;
    if (encoder_.last.frame) {
        // The last picture may have been repeated at the time of this one, which is late then.
        time = std::max<std::int64_t>(std::llround(movieTime(picture.moment) * MovieVideo::timescale),
                                      encoder_.lastTime + std::llround(period_ / 4 * MovieVideo::timescale));
        pictures_.giveBack(std::move(encoder_.last.frame));
    } else {
        encoder_.zero = encoder_.lastCut = encoder_.lastSound = picture.moment;
    }
    encoder_.last = std::move(picture);
    encoder_.last.frame->pts = encoder_.lastTime = time;
    {
        const std::lock_guard lock(shared_.mutex);
        ++shared_.statistics.taken;
    }
    send(*encoder_.last.frame);
}

void MovieEncoder::repeat(Clock::time_point moment) {
    if (!encoder_.last.frame) return;
    const std::int64_t next = encoder_.lastTime + std::llround(period_ * MovieVideo::timescale);
    if (static_cast<double>(next) / MovieVideo::timescale > movieTime(moment)) return;
    encoder_.last.frame->pts = encoder_.lastTime = next;
    {
        const std::lock_guard lock(shared_.mutex);
        ++shared_.statistics.repeated;
    }
    send(*encoder_.last.frame);
}

void MovieEncoder::send(const AVFrame& frame) {
    if (const Result<void> sent = encoder_.video->encode(frame, writeVideo_); !sent) fail(sent.failure());
}

void MovieEncoder::encodeSound(const std::deque<Sound>& sounds, Clock::time_point now) {
    if (!encoder_.sound) return;
    for (const Sound& sound : sounds) {
        encoder_.lastSound = sound.moment;
        encoder_.sound->add(sound.samples.data(), sound.count, movieTime(sound.moment));
    }
    if (now - encoder_.lastSound > ticks(silenceDelay)) encoder_.sound->fill(movieTime(now) - silenceMargin);
    if (const Result<void> encoded = encoder_.sound->encode(writeSound_); !encoded) fail(encoded.failure());
}

void MovieEncoder::cutIfDue(Clock::time_point now) {
    if (now - encoder_.lastCut < ticks(options_.fragmentDuration)) return;
    encoder_.lastCut = now;
    if (const Result<void> cut = encoder_.file->cut(); !cut) fail(cut.failure());
}

void MovieEncoder::close(Clock::time_point end) {
    if (!encoder_.last.frame) return;
    repeat(end);
    if (encoder_.phase == Phase::failed) return;
    const std::int64_t lastDuration = std::llround(period_ * MovieVideo::timescale);
    if (const Result<void> flushed = encoder_.video->flush(lastDuration, writeVideo_); !flushed) {
        fail(flushed.failure());
        return;
    }
    if (encoder_.sound) {
        encoder_.sound->fill(movieTime(end));
        // Without the last moments of its sound the movie is still good; a failure of the file shows below.
        (void)encoder_.sound->flush(writeSound_);
    }
    if (const Result<void> ended = encoder_.file->end(); !ended) fail(ended.failure());
}

Result<void> MovieEncoder::deliver(const End& end) {
    // Keeps the lock until the movie has its final name.
    const std::unique_ptr<MovieFile> file = std::move(encoder_.file);
    if (!end.handler) return {};
    if (!file || !file->hasContent()) {
        const std::string failure = statistics().failure;
        return Failure{failure.empty() ? "nothing was recorded" : failure};
    }
    Result<LockedFile> lock = remuxMovie(path_, end.output.path(), [this] { return isCancelled_.load(); });
    if (!lock) return lock.failure();
    finishedMovies_->add(end.output.path(), *lock ? std::move(*lock) : file->lock().share());
    return {};
}

}  // namespace videoanalysis::media::ffmpeg
