#include "Platforms/FFmpeg/Playback/FrameLoader.h"

#include "Platforms/FFmpeg/Clips/ClipScan.h"
#include "Platforms/FFmpeg/Clips/PictureShape.h"

#include <algorithm>
#include <cassert>
#include <thread>
#include <utility>

namespace videoanalysis::media::ffmpeg {
namespace {

// A clip without a picture after so many packets, or after so long, is refused. Decoders give their first picture within about
// twenty packets, unless the clip starts in the middle of a group of pictures, whose packets are skipped quickly.
constexpr std::int64_t maxPacketsWithoutPicture = 2000;
constexpr std::int64_t maxSlowPacketsWithoutPicture = 64;
constexpr auto maxTimeWithoutPicture = std::chrono::milliseconds(1500);
constexpr auto minPreviewInterval = std::chrono::milliseconds(25);

}  // namespace

/// The clip as the policy sees it. `index` and `cache` must outlive it.
class FrameLoader::PolicyClip : public ReadAheadClip {
public:
    PolicyClip(const ClipIndex& index, const FrameCache& cache, FrameCache::ClipNumber clip, std::size_t frameBytes)
        : index_(index), cache_(cache), clip_(clip), frameBytes_(frameBytes) {}

    std::int64_t frameCount() const override { return index_.frameCount(); }
    std::int64_t groupStart(std::int64_t frame) const override {
        return index_.firstFrameFrom(index_.startPacketFor(frame));
    }
    std::int64_t firstMissing(std::int64_t from, std::int64_t to) const override {
        return cache_.firstMissing(clip_, from, to);
    }
    std::optional<std::int64_t> capacity() const override {
        if (frameBytes_ == 0) return std::nullopt;
        return cache_.capacity(frameBytes_);
    }

private:
    const ClipIndex& index_;
    const FrameCache& cache_;
    const FrameCache::ClipNumber clip_;
    const std::size_t frameBytes_;
};

FrameLoader::FrameLoader(URL url, LoaderOptions options, std::shared_ptr<FrameCache> cache,
                         std::shared_ptr<PicturePool> pool, std::function<void()> notify)
    : url_(std::move(url)), options_(options), cache_(std::move(cache)), pool_(std::move(pool)),
      clip_(cache_->openClip()), notify_(std::move(notify)), policy_(options.readAhead) {}

FrameLoader::~FrameLoader() { cache_->closeClip(clip_); }

bool FrameLoader::isLegal(Phase from, Phase to) {
    switch (to) {
        case Phase::opening: return false;
        case Phase::seeking:
        case Phase::playing:
        case Phase::late:
        case Phase::closed: return from != Phase::closed;
        case Phase::prefetching: return from != Phase::closed && from != Phase::opening;
    }
    return false;
}

void FrameLoader::enter(Phase next) {
    if (shared_.phase == Phase::closed) return;
    assert(isLegal(shared_.phase, next));
    shared_.phase = next;
    ++shared_.version;
}

void FrameLoader::stop() {
    isStopping_ = true;
    cache_->closeClip(clip_);
    {
        const std::lock_guard lock(shared_.mutex);
        enter(Phase::closed);
    }
    shared_.changed.notify_all();
}

FrameLoader::Events FrameLoader::takeEvents() {
    const std::lock_guard lock(shared_.mutex);
    return std::exchange(shared_.events, {});
}

void FrameLoader::moveTo(std::int64_t frame, bool isCached, std::int64_t request, Travel travel, bool allowsPreviews) {
    {
        const std::lock_guard lock(shared_.mutex);
        enter(isCached ? Phase::prefetching : Phase::seeking);
        shared_.playhead = frame;
        shared_.travel = travel;
        shared_.request = request;
        shared_.allowsPreviews = allowsPreviews;
        shared_.requestTime = Clock::now();
    }
    cache_->setPlayhead(clip_, frame, travel);
    shared_.changed.notify_all();
}

void FrameLoader::playTo(std::int64_t frame, bool isCached) {
    {
        const std::lock_guard lock(shared_.mutex);
        enter(isCached ? Phase::playing : Phase::late);
        shared_.playhead = frame;
        shared_.travel = Travel::forward;
    }
    cache_->setPlayhead(clip_, frame, Travel::forward);
    shared_.changed.notify_all();
}

// The scanner thread

void FrameLoader::scan() {
    const auto file = ClipFile::open(url_, ClipFile::Content::video, isStopping_);
    if (!file) return;  // the loader thread fails likewise and reports it
    ClipIndexBuilder builder(**file);
    std::size_t nextSnapshot = 128;  // packets; enough for the first picture, while steps and seeks need longer indexes
    const Result<void> read = readPackets(**file, isStopping_, builder, [&](const AVPacket&) {
        if (builder.packetCount() != nextSnapshot) return;
        nextSnapshot *= 4;
        publishIndex(builder.snapshot());
    });
    if (isStopping_) return;
    if (!read) {
        report(&Events::openingError, read.failure().message);
        return;
    }
    const std::int64_t promised = (*file)->stream()->nb_frames;
    if (builder.storedCount() < promised && !builder.isFull()) {
        report(&Events::damage, "it breaks off after " + std::to_string(builder.storedCount()) + " of " +
                                    std::to_string(promised) + " frames");
    }
    auto index = builder.finish();
    if (index) {
        publishIndex(*std::move(index));
    } else {
        report(&Events::openingError, index.failure().message);
    }
}

void FrameLoader::publishIndex(std::shared_ptr<const ClipIndex> index) {
    if (!index) return;
    std::shared_ptr<const ClipIndex> previous;  // released after the lock
    {
        const std::lock_guard lock(shared_.mutex);
        previous = std::exchange(shared_.index, index);
        shared_.events.index = std::move(index);
        ++shared_.version;
    }
    shared_.changed.notify_all();
    notify_();
}

void FrameLoader::report(std::string Events::*what, std::string text) {
    {
        const std::lock_guard lock(shared_.mutex);
        shared_.events.*what = std::move(text);
    }
    notify_();
}

// The loader thread

void FrameLoader::run() {
    std::thread scanner([this] { scan(); });
    const Result<void> opened = open();
    if (!opened) {
        report(&Events::openingError, opened.failure().message);
        const std::lock_guard lock(shared_.mutex);
        enter(Phase::closed);
    }
    while (const std::optional<Demand> demand = currentDemand()) serve(*demand);
    scanner.join();
}

Result<void> FrameLoader::open() {
    auto file = ClipFile::open(url_, ClipFile::Content::video, isStopping_);
    if (!file) return file.failure();
    auto decoder = ClipDecoder::make(*std::move(file), pool_, options_.decoderThreads, options_.maxPixels);
    if (!decoder) return decoder.failure();
    loader_.decoder = *std::move(decoder);
    return {};
}

std::optional<FrameLoader::Demand> FrameLoader::currentDemand() {
    const std::lock_guard lock(shared_.mutex);
    if (shared_.phase == Phase::closed) return std::nullopt;
    return Demand{shared_.version, shared_.phase, shared_.playhead, shared_.travel, shared_.requestTime, shared_.index};
}

void FrameLoader::serve(const Demand& demand) {
    if (demand.index != loader_.index) {
        loader_.index = demand.index;
        loader_.decoder->setIndex(loader_.index);
    }
    if (demand.phase == Phase::seeking && deliverFromCache(demand)) return;
    std::optional<Clock::time_point> wakeAt;
    if (const std::optional<Goal> goal = nextGoal(demand, wakeAt)) {
        pursue(*goal);
    } else if (!prepareMemory()) {
        waitForChange(demand.version, wakeAt);
    }
}

std::optional<FrameLoader::Goal> FrameLoader::nextGoal(const Demand& demand,
                                                       std::optional<Clock::time_point>& wakeAt) const {
    if (!loader_.index) return std::nullopt;
    const PolicyClip clip(*loader_.index, *cache_, clip_, loader_.frameBytes);
    switch (demand.phase) {
        case Phase::opening:
        case Phase::closed: return std::nullopt;
        case Phase::seeking: return policy_.request(demand.playhead, demand.travel, clip);
        case Phase::playing:
        case Phase::late: return policy_.play(demand.playhead, clip);
        case Phase::prefetching: break;
    }
    if (demand.travel == Travel::none) {
        const auto settled = demand.requestTime + std::chrono::duration_cast<Clock::duration>(
                                                      std::chrono::duration<double>(options_.prefetchDelay));
        if (Clock::now() < settled) {
            wakeAt = settled;
            return std::nullopt;
        }
    }
    return policy_.prefetch(demand.playhead, demand.travel, clip);
}

void FrameLoader::waitForChange(std::int64_t version, const std::optional<Clock::time_point>& wakeAt) {
    std::unique_lock lock(shared_.mutex);
    const auto hasChanged = [&] { return shared_.version != version; };
    if (wakeAt) {
        shared_.changed.wait_until(lock, *wakeAt, hasChanged);
    } else {
        shared_.changed.wait(lock, hasChanged);
    }
}

bool FrameLoader::prepareMemory() {
    if (loader_.bufferBytes == 0 || !loader_.index) return false;
    const std::int64_t frames = std::min(cache_->capacity(loader_.frameBytes), loader_.index->frameCount());
    const std::int64_t missing = frames - cache_->frameCount(clip_);
    return missing > 0 && pool_->makeReady(loader_.bufferBytes, static_cast<std::size_t>(missing));
}

bool FrameLoader::deliverFromCache(const Demand& demand) {
    const std::shared_ptr<const DecodedFrame> frame = cache_->find(clip_, demand.playhead);
    if (frame) send(frame);
    return frame != nullptr;
}

void FrameLoader::pursue(const Goal& goal) {
    if (!prepareRun(goal)) return;
    loader_.isJump = goal.isJump;
    std::int64_t number = 0;
    const Result<ClipDecoder::Status> status = loader_.decoder->next(loader_.runKeepFrom, loader_.picture, number);
    if (status == ClipDecoder::Status::pending) {
        if (isHopeless()) handleMissing(goal, nullptr, loader_.index->frameCount(), false);
    } else if (status == ClipDecoder::Status::frame) {
        const std::shared_ptr<const DecodedFrame> previous = loader_.lastFrame;
        accept(makeFrame(std::move(loader_.picture), number));
        if (number > goal.frame) handleMissing(goal, previous ? previous : loader_.lastFrame, number, false);
    } else {
        const std::shared_ptr<const DecodedFrame> placeholder =
            loader_.lastFrame ? loader_.lastFrame : cache_->nearest(clip_, goal.frame);
        const bool isUnreadable = loader_.decoder->nextPacket() <= loader_.index->packetOfFrame(goal.frame);
        handleMissing(goal, placeholder, loader_.index->frameCount(), isUnreadable);
    }
}

bool FrameLoader::prepareRun(const Goal& goal) {
    if (std::exchange(loader_.goalFrame, goal.frame) != goal.frame) loader_.startCount = 0;
    const std::int64_t keepFrom = goal.isJump ? goal.keepFrom : std::min(loader_.runKeepFrom, goal.keepFrom);
    const bool isRetry = loader_.retriedFrame == goal.frame;  // from a group earlier, so it must not be cut short
    if (loader_.decoder->canContinueTo(goal.frame, isRetry ? 0 : keepFrom)) {
        loader_.runKeepFrom = keepFrom;
        return true;
    }
    // Time stamps may contradict the packets' order so much that no start leads to the frame.
    constexpr int maxStarts = 4;
    if (++loader_.startCount > maxStarts) {
        loader_.retriedFrame = goal.frame;
        handleMissing(goal, cache_->nearest(clip_, goal.frame), goal.frame + 1, false);
        return false;
    }
    loader_.runKeepFrom = goal.keepFrom;
    loader_.lastFrame = nullptr;
    if (startRun(goal, isRetry)) return true;
    handleMissing(goal, cache_->nearest(clip_, goal.frame), loader_.index->frameCount(), true);
    return false;
}

bool FrameLoader::startRun(const Goal& goal, bool isRetry) {
    std::int64_t startPacket = loader_.index->startPacketFor(goal.keepFrom);
    if (isRetry) startPacket = loader_.index->startPacketBefore(startPacket);
    // In a clip whose packets cannot be sought each attempt reads all of it: prefetching makes one, further ones need a seek.
    if (!goal.isJump && loader_.unreachablePackets.contains(startPacket)) return false;
    if (loader_.decoder->start(startPacket)) return true;
    loader_.unreachablePackets.insert(startPacket);
    return false;
}

bool FrameLoader::isHopeless() {
    if (loader_.frameBytes != 0) return false;
    if (loader_.packetsWithoutPicture++ == 0) loader_.firstPacketTime = Clock::now();
    return loader_.packetsWithoutPicture >= maxPacketsWithoutPicture ||
           (loader_.packetsWithoutPicture >= maxSlowPacketsWithoutPicture &&
            Clock::now() - loader_.firstPacketTime >= maxTimeWithoutPicture);
}

std::shared_ptr<const DecodedFrame> FrameLoader::makeFrame(FrameHandle picture, std::int64_t number) {
    AVStream* stream = loader_.decoder->file().stream();
    const Orientation orientation = orientationOf(*stream, *picture);
    const double pixelAspect = pixelAspectOf(loader_.decoder->file().format(), stream, picture.get());
    const Time time = loader_.index->timeOfTicks(loader_.index->ticksOf(number));
    loader_.bufferBytes = picture->buf[0] && !picture->buf[1] ? picture->buf[0]->size : 0;
    const std::shared_ptr<const AVFrame> shared(picture.release(), LibraryDeleter{});
    return std::make_shared<const DecodedFrame>(shared, orientation, pixelAspect, number, time);
}

void FrameLoader::accept(const std::shared_ptr<const DecodedFrame>& frame) {
    const std::int64_t number = frame->index();
    const bool isFirstOfRun = loader_.lastFrame == nullptr;
    loader_.frameBytes = frame->byteCount();
    loader_.lastFrame = frame;
    loader_.newestFrame = frame;
    if (number == loader_.goalFrame) loader_.startCount = 0;
    // On a long way to a sought frame, the frames before are not worth the memory, except the keyframe: it may be sought again.
    if (number >= loader_.runKeepFrom || !loader_.isJump || isFirstOfRun) cache_->insert(clip_, frame);
    send(frame);
}

void FrameLoader::send(const std::shared_ptr<const DecodedFrame>& frame) {
    std::shared_ptr<const DecodedFrame> replaced = frame;  // the one not taken yet, released after the lock
    {
        const std::lock_guard lock(shared_.mutex);
        const std::int64_t number = frame->index();
        const Clock::time_point now = Clock::now();
        const bool isPreviewDue = now - loader_.lastPreviewTime >= minPreviewInterval;
        if (shared_.phase == Phase::seeking && number == shared_.playhead) {
            enter(Phase::prefetching);
            shared_.events.frame.swap(replaced);
            shared_.events.request = shared_.request;
        } else if (shared_.phase == Phase::late && (number >= shared_.playhead || isPreviewDue)) {
            if (number >= shared_.playhead) enter(Phase::playing);
            shared_.events.preview.swap(replaced);
            loader_.lastPreviewTime = now;
        } else if (shared_.phase == Phase::seeking && shared_.allowsPreviews && isPreviewDue) {
            shared_.events.preview.swap(replaced);
            loader_.lastPreviewTime = now;
        } else {
            return;
        }
    }
    notify_();
}

void FrameLoader::handleMissing(const Goal& goal, std::shared_ptr<const DecodedFrame> placeholder, std::int64_t upTo,
                                bool isUnreadable) {
    if (isStopping_) return;  // which makes reading fail
    if (!placeholder) placeholder = loader_.newestFrame;
    if (!placeholder) {
        report(&Events::openingError, "none of its pictures can be decoded");
        const std::lock_guard lock(shared_.mutex);
        enter(Phase::closed);
        return;
    }
    if (!isUnreadable && std::exchange(loader_.retriedFrame, goal.frame) != goal.frame) {
        loader_.decoder->endRun();
        return;
    }
    constexpr std::int64_t maxPlaceholders = 64;  // at once
    for (std::int64_t frame = goal.frame; frame < std::min(upTo, goal.frame + maxPlaceholders); ++frame) {
        const Time time = loader_.index->timeOfTicks(loader_.index->ticksOf(frame));
        cache_->insert(clip_, std::make_shared<const DecodedFrame>(*placeholder, frame, time, isUnreadable));
    }
    bool& hasReported = isUnreadable ? loader_.hasReportedUnreadable : loader_.hasReportedDamage;
    if (std::exchange(hasReported, true)) return;
    if (isUnreadable) {
        report(&Events::readingError,
               "it cannot be read beyond frame " + std::to_string(std::max<std::int64_t>(goal.frame - 1, 0)));
    } else {
        report(&Events::damage, "frame " + std::to_string(goal.frame) + " cannot be decoded");
    }
}

}  // namespace videoanalysis::media::ffmpeg
