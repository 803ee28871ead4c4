#include "Platforms/FFmpeg/Recording/MovieEncoder.h"

extern "C" {
#include <libavutil/opt.h>
}

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

namespace videoanalysis::media::ffmpeg {
namespace {

using Seconds = std::chrono::duration<double>;

constexpr int timescale = 90000;          // ticks a second of the pictures' times
constexpr double secondsBetweenKeys = 2;  // for seeking in the finished movie
constexpr double patience = 0.5;          // periods for which a picture may be late before the last one is repeated
constexpr double soundPatience = 0.5;     // seconds without sound from the device until silence stands in
constexpr double soundSlack = 0.2;        // seconds that silence stays behind, in case the device is only late
constexpr double longestSoundQueue = 5;   // seconds
constexpr int mostThreads = 4;
constexpr mode_t folderPermissions = 0700;

MovieEncoder::Clock::duration ticks(double seconds) {
    return std::chrono::duration_cast<MovieEncoder::Clock::duration>(Seconds(seconds));
}

}  // namespace

void FinishedMovies::remove(const std::string& path) {
    const std::lock_guard guard(mutex_);
    const auto found = locks_.find(path);
    if (found == locks_.end()) return;
    ::unlink(path.c_str());
    locks_.erase(found);
}

MovieEncoder::MovieEncoder(std::string path, const recording::MovieFormat& format, const MovieOptions& options,
                           std::shared_ptr<FinishedMovies> finished, MovieEvents events)
    : path_(std::move(path)), format_(format), options_(options), period_(1.0 / std::max(format.framesPerSecond, 1)),
      finishedMovies_(std::move(finished)), events_(std::move(events)),
      pictures_(format.width, format.height, std::max(options.queueLength, 1) + 2) {
    thread_ = std::thread([this] { run(); });
}

MovieEncoder::~MovieEncoder() {
    isCancelled_ = true;
    {
        const std::lock_guard lock(mutex_);
        if (!isEnding_) endMoment_ = Clock::now();
        isEnding_ = true;
    }
    changed_.notify_one();
    thread_.join();
}

// ---- Called from outside

bool MovieEncoder::addPicture(const std::uint8_t* pixels, int width, int height, std::ptrdiff_t bytesPerRow,
                              Clock::time_point moment) {
    FrameHandle frame;
    {
        const std::lock_guard lock(mutex_);
        if (isEnding_) return false;
        if (static_cast<int>(waitingPictures_.size()) < options_.queueLength) frame = pictures_.take();
        if (!frame) {
            ++statistics_.dropped;
            return false;
        }
    }
    pictures_.convert(pixels, width, height, bytesPerRow, *frame);
    {
        const std::lock_guard lock(mutex_);
        waitingPictures_.push_back({std::move(frame), moment});
    }
    changed_.notify_one();
    return true;
}

void MovieEncoder::addSound(const float* samples, std::size_t count, Clock::time_point moment) {
    if (format_.channels == 0 || count == 0) return;
    Sound sound{{samples, samples + count * static_cast<std::size_t>(format_.channels)}, count, moment};
    {
        const std::lock_guard lock(mutex_);
        if (isEnding_) return;
        waitingSamples_ += count;
        waitingSounds_.push_back(std::move(sound));
        while (static_cast<double>(waitingSamples_) > longestSoundQueue * format_.sampleRate) {
            waitingSamples_ -= waitingSounds_.front().count;
            waitingSounds_.pop_front();
        }
    }
    changed_.notify_one();
}

void MovieEncoder::finish(const URL& output, std::function<void(recording::Error)> handler) {
    {
        const std::lock_guard lock(mutex_);
        if (isEnding_) return;
        isEnding_ = true;
        endMoment_ = Clock::now();
        output_ = output;
        finished_ = std::move(handler);
    }
    changed_.notify_one();
}

recording::MovieStatistics MovieEncoder::statistics() const {
    const std::lock_guard lock(mutex_);
    return statistics_;
}

// ---- The thread's

void MovieEncoder::run() {
    [[maybe_unused]] const int priority =
        nice(5);  // of this thread and those that the codec starts: the screen comes first
    std::string error;
    isOpen_ = open(error);
    if (!isOpen_) noteFailure(error);
    events_.opened(isOpen_ ? recording::Error() : recording::Error(error));
    work();
    end();
    const recording::Error result = deliver();
    if (finished_) finished_(result);
}

bool MovieEncoder::open(std::string& error) {
    const std::filesystem::path folder = std::filesystem::path(path_).parent_path();
    std::error_code code;
    std::filesystem::create_directories(folder.parent_path(), code);
    ::mkdir(folder.c_str(), folderPermissions);
    file_ = MovieFile::create(path_, error);
    packet_.reset(av_packet_alloc());
    held_.reset(av_packet_alloc());
    if (!file_ || !packet_ || !held_ || !openEncoder(error)) return false;
    if (!pictures_.prepare()) {
        error = "not enough memory for the pictures of a recording";
        return false;
    }
    if (format_.channels > 0) {
        sound_ = MovieSound::open(format_.sampleRate, format_.channels, error);
        if (!sound_) return false;
    }
    if (!file_->addStream(*encoder_) || (sound_ && !file_->addStream(sound_->encoder())) || !file_->begin()) {
        error = file_->error();
        return false;
    }
    return true;
}

bool MovieEncoder::openEncoder(std::string& error) {
    const AVCodec* codec = avcodec_find_encoder_by_name("libx264");
    encoder_.reset(codec ? avcodec_alloc_context3(codec) : nullptr);
    if (!encoder_) {
        error = "there is no encoder for H.264";
        return false;
    }
    encoder_->width = format_.width;
    encoder_->height = format_.height;
    encoder_->pix_fmt = AV_PIX_FMT_YUV420P;
    encoder_->time_base = {1, timescale};
    encoder_->framerate = {format_.framesPerSecond, 1};
    encoder_->gop_size = static_cast<int>(std::lround(secondsBetweenKeys * format_.framesPerSecond));
    encoder_->max_b_frames = 0;  // a picture is on its way to the disk as soon as it is encoded
    encoder_->thread_count = std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, mostThreads);
    encoder_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    encoder_->color_range = AVCOL_RANGE_MPEG;
    encoder_->colorspace = AVCOL_SPC_SMPTE170M;
    encoder_->color_primaries = AVCOL_PRI_BT709;
    encoder_->color_trc = AVCOL_TRC_BT709;
    AVDictionary* options = nullptr;
    av_dict_set(&options, "preset", options_.preset.c_str(), 0);
    av_dict_set(&options, "crf", std::to_string(options_.quality).c_str(), 0);
    av_dict_set(&options, "rc-lookahead", "0", 0);
    const int result = avcodec_open2(encoder_.get(), codec, &options);
    av_dict_free(&options);
    if (result < 0) error = "the video encoder cannot be opened: " + libraryError(result);
    return result >= 0;
}

void MovieEncoder::work() {
    while (true) {
        std::optional<Picture> picture;
        std::deque<Sound> sounds;
        {
            std::unique_lock lock(mutex_);
            changed_.wait_for(lock, Seconds(period_ / 2),
                              [&] { return isEnding_ || !waitingPictures_.empty() || !waitingSounds_.empty(); });
            if (!waitingPictures_.empty()) {
                picture = std::move(waitingPictures_.front());
                waitingPictures_.pop_front();
            }
            sounds.swap(waitingSounds_);
            waitingSamples_ = 0;
            if (isEnding_ && !picture && sounds.empty()) return;
        }
        const Clock::time_point now = Clock::now();
        if (picture) {
            encode(std::move(*picture));
        } else {
            repeat(now - ticks(patience * period_));
        }
        for (Sound& sound : sounds) add(std::move(sound));
        fillSound(now);
        cutIfDue(now);
    }
}

double MovieEncoder::movieTime(Clock::time_point moment) const { return Seconds(moment - zero_).count(); }

void MovieEncoder::encode(Picture picture) {
    std::int64_t time = 0;
    if (last_.frame) {
        // It may have been repeated for the place that this one comes late for.
        time = std::max(std::llround(movieTime(picture.moment) * timescale),
                        lastTime_ + std::llround(period_ / 4 * timescale));
        pictures_.giveBack(std::move(last_.frame));
    } else {
        zero_ = lastCut_ = lastSound_ = picture.moment;
    }
    last_ = std::move(picture);
    last_.frame->pts = lastTime_ = time;
    {
        const std::lock_guard lock(mutex_);
        ++statistics_.taken;
    }
    send(last_.frame.get());
}

void MovieEncoder::repeat(Clock::time_point until) {
    if (!last_.frame || hasFailed_) return;
    const std::int64_t next = lastTime_ + std::llround(period_ * timescale);
    if (static_cast<double>(next) / timescale > movieTime(until)) return;
    last_.frame->pts = lastTime_ = next;
    {
        const std::lock_guard lock(mutex_);
        ++statistics_.repeated;
    }
    send(last_.frame.get());
}

void MovieEncoder::send(const AVFrame* frame) {
    if (hasFailed_) return;
    int result = avcodec_send_frame(encoder_.get(), frame);
    while (result >= 0) {
        result = avcodec_receive_packet(encoder_.get(), packet_.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return;
        if (result >= 0) writeHeldPicture(packet_->dts);
        std::swap(packet_, held_);
        if (hasFailed_) return;
    }
    noteFailure("the recording broke off: " + libraryError(result));
}

// A picture lasts until the next one, which must be known when it is written: the end of one fragment is where the next begins.
void MovieEncoder::writeHeldPicture(std::int64_t nextTime) {
    if (!held_->data) return;
    held_->duration = nextTime - held_->dts;
    if (!file_->write(*held_, 0, *encoder_)) noteFailure(file_->error());
}

void MovieEncoder::add(Sound sound) {
    if (hasFailed_ || !sound_ || !last_.frame) return;
    lastSound_ = sound.moment;
    sound_->add(sound.samples.data(), sound.count, movieTime(sound.moment));
}

void MovieEncoder::fillSound(Clock::time_point now) {
    if (hasFailed_ || !sound_ || !last_.frame) return;
    if (now - lastSound_ > ticks(soundPatience)) sound_->fill(movieTime(now) - soundSlack);
    const bool isWritten =
        sound_->encode(false, [&](AVPacket& packet) { return file_->write(packet, 1, sound_->encoder()); });
    if (!isWritten) noteFailure(file_->error());
}

void MovieEncoder::cutIfDue(Clock::time_point now) {
    if (hasFailed_ || !last_.frame || now - lastCut_ < ticks(options_.fragmentDuration)) return;
    lastCut_ = now;
    if (!file_->cut()) noteFailure(file_->error());
}

void MovieEncoder::end() {
    if (last_.frame && !hasFailed_) {
        repeat(endMoment_);
        send(nullptr);
        if (!hasFailed_) writeHeldPicture(held_->dts + std::llround(period_ * timescale));
        if (sound_ && !hasFailed_) {
            sound_->fill(movieTime(endMoment_));
            sound_->encode(true, [&](AVPacket& packet) { return file_->write(packet, 1, sound_->encoder()); });
        }
        if (!hasFailed_ && !file_->end()) noteFailure(file_->error());
    }
    // Here, because whoever destroys the writer should not have to wait for it.
    last_ = {};
    encoder_.reset();
    sound_.reset();
    pictures_.clear();
}

recording::Error MovieEncoder::deliver() {
    // The file stays locked until the movie has its final name.
    const std::unique_ptr<MovieFile> file = std::move(file_);
    if (!finished_) return {};
    if (!file || !file->hasContent()) {
        const std::string failure = statistics().failure;
        return failure.empty() ? "nothing was recorded" : failure;
    }
    LockedFile lock;
    const recording::Error error = finishMovie(
        path_, output_.path(), [this] { return isCancelled_.load(); }, lock);
    if (!error) finishedMovies_->add(output_.path(), lock ? std::move(lock) : file->lock().share());
    return error;
}

void MovieEncoder::noteFailure(const std::string& reason) {
    const std::string line = reason.empty() ? "the recording broke off" : reason;
    const bool isFirst = !std::exchange(hasFailed_, true);
    bool isRunning = false;
    {
        const std::lock_guard lock(mutex_);
        if (isFirst) statistics_.failure = line;
        isRunning = !isEnding_;
    }
    if (isFirst && isRunning && isOpen_ && events_.brokeOff) events_.brokeOff(line);
}

}  // namespace videoanalysis::media::ffmpeg
