#include "Platforms/FFmpeg/Playback/FrameLoader.h"

#include "Platforms/FFmpeg/Clips/ClipScan.h"
#include "Platforms/FFmpeg/Clips/PictureShape.h"

#include <algorithm>
#include <utility>

namespace videoanalysis::media::ffmpeg {
namespace {

// While playing, this many frames beyond the playhead are decoded ahead.
constexpr std::int64_t framesAheadWhilePlaying = 8;
// A clip without a picture by then is refused. Decoders give their first one within twenty packets or so, unless the clip
// begins in the middle of a group, whose packets are passed over quickly.
constexpr std::int64_t packetsBeforeGivingUp = 2000;
constexpr std::int64_t slowPacketsBeforeGivingUp = 64;
constexpr auto timeBeforeGivingUp = std::chrono::milliseconds(1500);
constexpr auto previewInterval = std::chrono::milliseconds(25);

}  // namespace

FrameLoader::FrameLoader(URL url, LoaderOptions options, std::shared_ptr<FrameCache> cache,
                         std::shared_ptr<PicturePool> pool, std::function<void()> notify)
    : url_(std::move(url)), options_(options), cache_(std::move(cache)), pool_(std::move(pool)),
      clip_(cache_->openClip()), notify_(std::move(notify)), requestTime_(Clock::now()) {}

FrameLoader::~FrameLoader() { cache_->closeClip(clip_); }

void FrameLoader::stop() {
    isStopping_ = true;
    cache_->closeClip(clip_);
    { const std::lock_guard lock(mutex_); }  // a thread about to wait sees the flag or gets the signal
    changed_.notify_all();
}

FrameLoader::News FrameLoader::takeNews() {
    const std::lock_guard lock(mutex_);
    return std::exchange(news_, {});
}

void FrameLoader::moveTo(std::int64_t frame, bool isThere, std::int64_t request, Travel travel, bool showsPreviews) {
    {
        const std::lock_guard lock(mutex_);
        playhead_ = frame;
        travel_ = travel;
        isWanted_ = !isThere;
        request_ = request;
        showsPreviews_ = showsPreviews;
        isPlaying_ = false;
        requestTime_ = Clock::now();
    }
    cache_->setPlayhead(clip_, frame, travel);
    changed_.notify_all();
}

void FrameLoader::playTo(std::int64_t frame, bool isThere) {
    {
        const std::lock_guard lock(mutex_);
        playhead_ = frame;
        travel_ = Travel::forward;
        isWanted_ = false;
        isPlaying_ = true;
        isLate_ = !isThere;
    }
    cache_->setPlayhead(clip_, frame, Travel::forward);
    changed_.notify_all();
}

void FrameLoader::run() {
    std::thread scanner([this] { scan(); });
    const Result<void> opened = open();
    if (!opened) tell(&News::openingError, opened.failure().message);

    while (decoder_ && !isStopping_) {
        if (deliverFromCache()) continue;
        std::optional<Goal> goal;
        std::optional<Clock::time_point> wakeAt;
        {
            const std::lock_guard lock(mutex_);
            goal = nextGoal(wakeAt);
        }
        if (!goal && prepareMemory()) continue;
        {
            std::unique_lock lock(mutex_);
            goal = nextGoal(wakeAt);
            if (!goal && !isStopping_) {
                if (wakeAt) {
                    changed_.wait_until(lock, *wakeAt);
                } else {
                    changed_.wait(lock);
                }
                continue;
            }
            if (index_ != decodedIndex_) {
                decodedIndex_ = index_;
                decoder_->setIndex(decodedIndex_);
            }
        }
        if (goal) pursue(*goal);
    }
    scanner.join();
}

Result<void> FrameLoader::open() {
    auto file = ClipFile::open(url_, ClipFile::Content::video, isStopping_);
    if (!file) return file.failure();
    auto decoder = ClipDecoder::make(*std::move(file), pool_, options_.decoderThreads, options_.maxPixels);
    if (!decoder) return decoder.failure();
    decoder_ = *std::move(decoder);
    return {};
}

void FrameLoader::scan() {
    const auto file = ClipFile::open(url_, ClipFile::Content::video, isStopping_);
    if (!file) return;  // the loading thread fails likewise and reports it
    ClipIndexBuilder builder(**file);
    std::size_t nextSnapshot = 128;  // packets; enough for the first picture, while steps and seeks need longer indexes
    const Result<void> read = readPackets(**file, isStopping_, builder, [&](const AVPacket&) {
        if (builder.packetCount() != nextSnapshot) return;
        nextSnapshot *= 4;
        publishIndex(builder.snapshot());
    });
    if (isStopping_) return;
    if (!read) {
        tell(&News::openingError, read.failure().message);
        return;
    }
    const std::int64_t promised = (*file)->stream()->nb_frames;
    if (builder.storedCount() < promised && !builder.isFull()) {
        tell(&News::damage, "it breaks off after " + std::to_string(builder.storedCount()) + " of " +
                                std::to_string(promised) + " frames");
    }
    auto index = builder.finish();
    if (index) {
        publishIndex(*std::move(index));
    } else {
        tell(&News::openingError, index.failure().message);
    }
}

void FrameLoader::publishIndex(std::shared_ptr<const ClipIndex> index) {
    if (!index) return;
    {
        const std::lock_guard lock(mutex_);
        index_ = index;
        news_.index = std::move(index);
    }
    changed_.notify_all();
    notify_();
}

void FrameLoader::tell(std::string News::*what, std::string text) {
    {
        const std::lock_guard lock(mutex_);
        news_.*what = std::move(text);
    }
    notify_();
}

bool FrameLoader::prepareMemory() {
    if (bufferBytes_ == 0 || !decodedIndex_) return false;
    const std::int64_t frames = std::min(cache_->capacity(frameBytes_), decodedIndex_->frameCount());
    const std::int64_t missing = frames - cache_->frameCount(clip_);
    return missing > 0 && pool_->makeReady(bufferBytes_, static_cast<std::size_t>(missing));
}

bool FrameLoader::deliverFromCache() {
    {
        const std::lock_guard lock(mutex_);
        if (!isWanted_) return false;
        std::shared_ptr<const DecodedFrame> frame = cache_->find(clip_, playhead_);
        if (!frame) return false;
        isWanted_ = false;
        news_.frame = std::move(frame);
        news_.request = request_;
    }
    notify_();
    return true;
}

std::optional<FrameLoader::Goal> FrameLoader::nextGoal(std::optional<Clock::time_point>& wakeAt) {
    if (!index_) return std::nullopt;
    const std::int64_t last = index_->frameCount() - 1;
    if (isWanted_) {
        // Some frames before the one sought are kept on the way, more of them the longer the way is: stepping back from
        // here then begins without a wait, which gives the time to decode the ones before. Not all: pictures that are kept
        // go to memory that is not in the processor's cache, which makes the seek slower.
        const std::int64_t first = index_->firstFrameFrom(index_->startPacketFor(playhead_));
        const std::int64_t wayBack = std::max<std::int64_t>(playhead_ - first, 0);
        if (travel_ == Travel::backward) return backwardGoal(playhead_, 0);
        const std::int64_t kept = std::min(wayBack, 4 + wayBack / 3);
        return Goal{playhead_, playhead_ - kept, travel_ == Travel::none};
    }
    if (frameBytes_ == 0) return std::nullopt;
    const std::int64_t capacity = cache_->capacity(frameBytes_);
    if (isPlaying_) {
        const std::int64_t end = std::min(playhead_ + std::min(framesAheadWhilePlaying, capacity - 2), last);
        const std::int64_t missing = cache_->firstMissing(clip_, playhead_, end);
        if (missing > end) return std::nullopt;
        return Goal{missing, playhead_, false};
    }
    if (travel_ == Travel::none) {
        const auto settled = requestTime_ + std::chrono::duration_cast<Clock::duration>(
                                                std::chrono::duration<double>(options_.prefetchDelay));
        if (Clock::now() < settled) {
            wakeAt = settled;
            return std::nullopt;
        }
    }
    // While travelling, the cache holds what is left behind at a quarter of the worth of what is ahead: both sides must fit
    // in that proportion. After a seek, most of what is decoded is behind: going back is what cannot be done at once.
    const bool isBackward = travel_ == Travel::backward;
    const std::int64_t ahead = travel_ == Travel::forward ? std::min<std::int64_t>(capacity * 2 / 5, 32)
                                                          : std::min<std::int64_t>(capacity / 8, 8);
    const std::int64_t behind = isBackward                ? capacity * 3 / 4
                                : travel_ == Travel::none ? capacity * 2 / 5
                                                          : std::min<std::int64_t>(capacity / 6, 24);
    const std::int64_t highest = std::min(playhead_ + ahead, last);
    const std::int64_t lowest = std::max<std::int64_t>(playhead_ - behind, 0);
    for (const bool goesBack : {isBackward, !isBackward}) {
        const std::int64_t missing = cache_->firstMissing(clip_, playhead_, goesBack ? lowest : highest);
        if (goesBack && missing >= lowest && missing <= playhead_) return backwardGoal(missing, lowest);
        if (!goesBack && missing <= highest) return Goal{missing, missing, false};
    }
    return std::nullopt;
}

FrameLoader::Goal FrameLoader::backwardGoal(std::int64_t missing, std::int64_t lowest) const {
    // All frames from the key frame on must be decoded anyway to get this one, so as many as there is room for are kept with
    // it: another pass over them would cost nearly as much again.
    constexpr std::int64_t leastKept = 24;
    const std::int64_t groupStart = index_->firstFrameFrom(index_->startPacketFor(missing));
    const std::int64_t way = std::max<std::int64_t>(missing - groupStart, 0);
    std::int64_t kept = std::max(leastKept, way + 1);
    if (frameBytes_ != 0) kept = std::min(kept, cache_->capacity(frameBytes_) * 3 / 4);
    std::int64_t keepFrom = std::max(missing - kept + 1, lowest);
    // Reaching into a group before this one pays when the groups are short.
    if (keepFrom < groupStart && way * 2 >= kept) keepFrom = groupStart;
    return {missing, std::max<std::int64_t>(keepFrom, 0), false};
}

void FrameLoader::pursue(const Goal& goal) {
    if (startedFor_ != goal.frame) startsForGoal_ = 0;
    startedFor_ = goal.frame;
    const std::int64_t keepFrom = goal.isJump ? goal.keepFrom : std::min(runKeepFrom_, goal.keepFrom);
    const bool isRetry = retriedFrame_ == goal.frame;  // from farther back than usual, so not to be cut short
    if (decoder_->canContinueTo(goal.frame, isRetry ? 0 : keepFrom)) {
        runKeepFrom_ = keepFrom;
    } else {
        // Time stamps may contradict the order of the packets so much that no beginning leads to the frame.
        constexpr int mostStarts = 4;
        if (++startsForGoal_ > mostStarts) {
            retriedFrame_ = goal.frame;
            handleMissing(goal, cache_->nearest(clip_, goal.frame), goal.frame + 1, false);
            return;
        }
        runKeepFrom_ = goal.keepFrom;
        lastPicture_ = nullptr;
        if (!startFor(goal, isRetry)) {
            handleMissing(goal, cache_->nearest(clip_, goal.frame), decodedIndex_->frameCount(), true);
            return;
        }
    }

    isJumping_ = goal.isJump;
    std::int64_t number = 0;
    const Result<ClipDecoder::Status> status = decoder_->next(runKeepFrom_, picture_, number);
    if (status == ClipDecoder::Status::pending) {
        if (isHopeless()) handleMissing(goal, nullptr, decodedIndex_->frameCount(), false);
    } else if (status == ClipDecoder::Status::frame) {
        const std::shared_ptr<const DecodedFrame> previous = lastPicture_;
        take(std::move(picture_), number);
        if (number > goal.frame) handleMissing(goal, previous ? previous : lastPicture_, number, false);
    } else {
        const std::shared_ptr<const DecodedFrame> standIn =
            lastPicture_ ? lastPicture_ : cache_->nearest(clip_, goal.frame);
        const bool isUnreadable = decoder_->nextPacket() <= decodedIndex_->packetOfFrame(goal.frame);
        handleMissing(goal, standIn, decodedIndex_->frameCount(), isUnreadable);
    }
}

bool FrameLoader::startFor(const Goal& goal, bool isRetry) {
    std::int64_t startPacket = decodedIndex_->startPacketFor(goal.keepFrom);
    if (isRetry) startPacket = decodedIndex_->startPacketBefore(startPacket);
    // In a clip without a usable order each attempt reads all of it: one is made ahead of time, others only when asked for.
    const bool isAsked = goal.isJump;
    if (!isAsked && unreachable_.contains(startPacket)) return false;
    if (decoder_->start(startPacket)) return true;
    unreachable_.insert(startPacket);
    return false;
}

bool FrameLoader::isHopeless() {
    if (frameBytes_ != 0) return false;
    if (packetsWithoutPicture_++ == 0) firstPacketTime_ = Clock::now();
    return packetsWithoutPicture_ >= packetsBeforeGivingUp || (packetsWithoutPicture_ >= slowPacketsBeforeGivingUp &&
                                                               Clock::now() - firstPacketTime_ >= timeBeforeGivingUp);
}

void FrameLoader::take(FrameHandle picture, std::int64_t number) {
    AVStream* stream = decoder_->file().stream();
    const Orientation orientation = orientationOf(*stream, *picture);
    const double pixelAspect = pixelAspectOf(decoder_->file().format(), stream, picture.get());
    const Time time = decodedIndex_->timeOfTicks(decodedIndex_->ticksOf(number));
    bufferBytes_ = picture->buf[0] && !picture->buf[1] ? picture->buf[0]->size : 0;
    const std::shared_ptr<const AVFrame> shared(picture.release(), LibraryDeleter{});
    auto frame = std::make_shared<const DecodedFrame>(shared, orientation, pixelAspect, number, time);
    frameBytes_ = frame->byteCount();
    const bool isFirst = lastPicture_ == nullptr;  // of this run
    if (number == startedFor_) startsForGoal_ = 0;
    lastPicture_ = frame;
    newestPicture_ = frame;
    // On a long way to a frame sought, what is passed is not worth the memory; its key frame may be sought again.
    if (number >= runKeepFrom_ || !isJumping_ || isFirst) cache_->insert(clip_, frame);
    {
        const std::lock_guard lock(mutex_);
        const Clock::time_point now = Clock::now();
        const bool mayPreview = now - lastPreview_ >= previewInterval;
        if (isWanted_ && number == playhead_) {
            isWanted_ = false;
            news_.frame = std::move(frame);
            news_.request = request_;
        } else if (isPlaying_ && isLate_ && (number >= playhead_ || mayPreview)) {
            isLate_ = number < playhead_;
            news_.preview = std::move(frame);
            lastPreview_ = now;
        } else if (isWanted_ && showsPreviews_ && mayPreview) {
            news_.preview = std::move(frame);
            lastPreview_ = now;
        } else {
            return;
        }
    }
    notify_();
}

void FrameLoader::handleMissing(const Goal& goal, std::shared_ptr<const DecodedFrame> standIn, std::int64_t upTo,
                                bool isUnreadable) {
    if (isStopping_) return;  // which makes reading fail
    if (!standIn) standIn = newestPicture_;
    if (!standIn) {
        tell(&News::openingError, "none of its pictures can be decoded");
        decoder_ = nullptr;
        return;
    }
    if (!isUnreadable && retriedFrame_ != goal.frame) {
        retriedFrame_ = goal.frame;
        decoder_->endRun();
        return;
    }
    constexpr std::int64_t mostAtOnce = 64;
    for (std::int64_t frame = goal.frame; frame < std::min(upTo, goal.frame + mostAtOnce); ++frame) {
        const Time time = decodedIndex_->timeOfTicks(decodedIndex_->ticksOf(frame));
        cache_->insert(clip_, std::make_shared<const DecodedFrame>(*standIn, frame, time, isUnreadable));
    }
    bool& hasTold = isUnreadable ? hasToldOfUnreadable_ : hasToldOfDamage_;
    if (std::exchange(hasTold, true)) return;
    if (isUnreadable) {
        tell(&News::readingError,
             "it cannot be read beyond frame " + std::to_string(std::max<std::int64_t>(goal.frame - 1, 0)));
    } else {
        tell(&News::damage, "frame " + std::to_string(goal.frame) + " cannot be decoded");
    }
}

}  // namespace videoanalysis::media::ffmpeg
