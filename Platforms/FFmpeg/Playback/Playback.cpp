#include "Platforms/FFmpeg/Playback/Playback.h"

#include "VideoAnalysis/Platform/Platform.h"

extern "C" {
#include <libavutil/mathematics.h>
}

#include <algorithm>
#include <cmath>
#include <utility>

namespace videoanalysis::media::ffmpeg {
namespace {

constexpr float lowestRate = 0.1F;
constexpr float highestRate = 8.0F;

// Observers with a shorter interval than this are called for every frame that is shown, and no more often than this.
constexpr auto shortestTick = std::chrono::milliseconds(4);

double seconds(SteadyTimer::Clock::duration duration) { return std::chrono::duration<double>(duration).count(); }

}  // namespace

std::shared_ptr<Playback> Playback::open(std::shared_ptr<EngineCore> core, const URL& url) {
    std::shared_ptr<Playback> playback(new Playback(std::move(core), url));
    const FFmpegOptions& options = playback->core_->options;
    const auto notify = [poster = playback->poster_, weak = playback->weak_from_this()] {
        poster->post([weak] {
            if (const auto self = weak.lock()) self->takeNews();
        });
    };
    playback->loader_ = std::make_shared<FrameLoader>(
        url, LoaderOptions{options.decoderThreads, options.maxPixels, options.prefetchDelay}, playback->core_->cache,
        playback->core_->pictures, notify);
    playback->core_->threads.start([loader = playback->loader_] { loader->run(); });
    return playback;
}

Playback::Playback(std::shared_ptr<EngineCore> core, const URL& url)
    : core_(std::move(core)), url_(url), poster_(std::make_shared<MainPoster>()), deferred_(Deferred{}) {}

Playback::~Playback() {
    poster_->close();
    loader_->stop();
    if (sound_) sound_->close();
}

void Playback::later(std::function<void(Playback&)> work) {
    poster_->post([weak = weak_from_this(), work = std::move(work)] {
        if (const auto playback = weak.lock()) work(*playback);
    });
}

void Playback::logDamage(const std::string& what) {
    if (damage_.empty()) damage_ = what;
    // Whether the clip can be played at all is not known before.
    if (status_ != ItemStatus::readyToPlay || std::exchange(hasLoggedDamage_, true)) return;
    error_ = "Playing " + url_.absoluteString() + " as far as it goes: " + damage_;
    debugLog(error_);
    later([](Playback& self) { self.events.call(PlayerItem::Event::damageFound); });
}

// News

void Playback::takeNews() {
    FrameLoader::News news = loader_->takeNews();
    if (!news.openingError.empty()) fail(news.openingError);
    if (status_ == ItemStatus::failed) return;
    if (!news.damage.empty()) logDamage(news.damage);
    if (news.index) {
        index_ = std::move(news.index);
        resolveDeferred();
        becomeReady();
    }
    if (news.preview) {
        // On the way to a frame asked for, a picture is worth showing when it is nearer than the one that is shown.
        const std::int64_t number = news.preview->index();
        const bool isNearer = shown_ && std::abs(number - asked_) < std::abs(shown_->index() - asked_);
        const bool isWanted =
            isClockRunning() ? isWaitingForFrame_ && shown_ && number > shown_->index() : isPending_ && isNearer;
        if (isWanted && mayStandIn(number)) {
            show(std::move(news.preview));
        }
        if (isClockRunning()) tick();
    }
    if (news.frame && isPending_ && news.request == request_) finishRequest(news.frame);
    if (!news.readingError.empty()) logDamage(news.readingError);
}

void Playback::fail(const std::string& reason) {
    if (status_ == ItemStatus::failed) return;
    status_ = ItemStatus::failed;
    error_ = "Cannot play " + url_.absoluteString() + ": " + reason;
    debugLog(error_);
    changeRate(0);
    deferred_.reset();
    isPending_ = false;
    completeLater(false);
    later([](Playback& self) { self.events.call(PlayerItem::Event::statusChanged); });
}

// The item

Time Playback::duration() const {
    return status_ == ItemStatus::readyToPlay ? index_->timeOfTicks(index_->durationTicks()) : Time::zero();
}

std::vector<VideoTrack> Playback::videoTracks() const {
    if (status_ != ItemStatus::readyToPlay) return {};
    return {{index_->timeOfTicks(index_->minFrameTicks()), presentationSize()}};
}

Time Playback::currentTime() const {
    const auto end = [this] { return index_->endTicksOf(lastPlayedFrame()); };
    if (isAtEnd_) return index_->timeOfTicks(end());
    if (isClockRunning()) return index_->timeOfTicks(std::min(momentAt(Clock::now()), end()));
    return shown_ ? shown_->time() : Time::zero();
}

bool Playback::isBufferEmpty() const { return !shown_ || isWaitingForFrame_; }

bool Playback::canStepForward() const {
    if (status_ == ItemStatus::failed) return false;
    return deferred_ || !index_ || !index_->isComplete() || asked_ + 1 < index_->frameCount();
}

bool Playback::canStepBackward() const {
    if (status_ == ItemStatus::failed) return false;
    return deferred_ ? deferred_->time || deferred_->frame + deferred_->steps > 0 : asked_ > 0;
}

void Playback::step(std::int64_t count) {
    if (status_ == ItemStatus::failed || count == 0) return;
    if (!deferred_) {
        if (isClockRunning() && shown_) asked_ = shown_->index();
        deferred_ = Deferred{std::nullopt, asked_, 0};
    }
    // Saturates: a count is any signed number.
    constexpr std::int64_t farthest = std::int64_t{1} << 40;
    const std::int64_t step = std::clamp(count, -farthest, farthest);
    deferred_->steps = std::clamp(deferred_->steps + step, -farthest, farthest);
    beginRequest({});
    resolveDeferred();
}

Time Playback::frameTime(const Time& time, std::int64_t count) const {
    if (status_ != ItemStatus::readyToPlay) return Time::zero();
    const std::int64_t frames = index_->frameCount();
    const std::int64_t ticks = index_->ticksAtTime(time);
    const std::int64_t base = ticks >= index_->durationTicks() ? frames : index_->frameAtTicks(ticks);
    const std::int64_t frame = base + std::clamp(count, -base, frames - base);
    return frame == frames ? duration() : index_->timeOfTicks(index_->ticksOf(frame));
}

// Requests

void Playback::seek(const Time& time, const Time& toleranceBefore, const Time& toleranceAfter, Completion completion) {
    beginRequest(std::move(completion));
    if (status_ == ItemStatus::failed || !time.isValid()) {
        isPending_ = false;
        completeLater(false);
        return;
    }
    Time wanted = time;
    if (index_ && (toleranceBefore.isValid() || toleranceAfter.isValid())) {
        // A frame that is there saves the decoding, when it is near enough.
        const std::int64_t ticks = index_->ticksAtTime(time);
        const std::int64_t before = std::max<std::int64_t>(index_->ticksAtTime(toleranceBefore), 0);
        const std::int64_t after = std::max<std::int64_t>(index_->ticksAtTime(toleranceAfter), 0);
        const auto nearest = core_->cache->nearest(loader_->clip(), index_->frameAtTicks(ticks));
        if (nearest && index_->endTicksOf(nearest->index()) > ticks - before &&
            index_->ticksOf(nearest->index()) <= ticks + after) {
            wanted = nearest->time();
        }
    }
    deferred_ = Deferred{wanted, 0, 0};
    resolveDeferred();
}

void Playback::beginRequest(Completion completion) {
    completeLater(false);
    completion_ = std::move(completion);
    hasOvertaken_ = isPending_;
    isPending_ = true;
    isAtEnd_ = false;
    stopClock();
    ++request_;
    ++tickNumber_;
}

void Playback::resolveDeferred() {
    if (!index_ || !deferred_) return;
    const Deferred& wanted = *deferred_;
    const std::int64_t last = index_->frameCount() - 1;
    std::int64_t base = wanted.frame;
    if (wanted.time) {
        const std::int64_t ticks = index_->ticksAtTime(*wanted.time);
        if (!index_->isComplete() && ticks > index_->ticksOf(last)) return;
        base = index_->frameAtTicks(ticks);
    }
    const std::int64_t frame = base + wanted.steps;
    if (!index_->isComplete() && frame > last) return;
    const Travel travel = wanted.steps == 0 ? Travel::none : wanted.steps > 0 ? Travel::forward : Travel::backward;
    deferred_.reset();
    goTo(std::clamp<std::int64_t>(frame, 0, last), travel);
}

void Playback::goTo(std::int64_t frame, Travel travel) {
    asked_ = frame;
    isPending_ = true;
    std::shared_ptr<const DecodedFrame> found = core_->cache->request(loader_->clip(), frame);
    loader_->moveTo(frame, found != nullptr, request_, travel, hasOvertaken_);
    if (!found) {
        if (!hasOvertaken_ || !shown_) return;
        // Requests come faster than they can be met: what is there already is shown as long as it leads the right way.
        found = core_->cache->nearest(loader_->clip(), frame);
        if (!found || std::abs(found->index() - frame) >= std::abs(shown_->index() - frame)) return;
        if (!mayStandIn(found->index())) return;
        later([found, request = request_](Playback& self) {
            if (self.isPending_ && self.request_ == request) self.show(found);
        });
        return;
    }
    later([found, request = request_](Playback& self) {
        if (self.isPending_ && self.request_ == request) self.finishRequest(found);
    });
}

void Playback::finishRequest(const std::shared_ptr<const DecodedFrame>& frame) {
    isPending_ = false;
    hasOvertaken_ = false;
    show(frame);
    if (status_ == ItemStatus::unknown) {
        becomeReady();
    } else if (rate_ != 0) {
        startClock(index_->ticksOf(frame->index()));
    }
    completeLater(true);
}

void Playback::becomeReady() {
    if (status_ != ItemStatus::unknown || !shown_ || !index_->isComplete()) return;
    status_ = ItemStatus::readyToPlay;
    if (!damage_.empty()) logDamage(damage_);
    later([](Playback& self) { self.events.call(PlayerItem::Event::statusChanged); });
    if (rate_ != 0 && !isPending_) startClock(index_->ticksOf(shown_->index()));
}

void Playback::completeLater(bool finished) {
    if (!completion_) return;
    later([completion = std::exchange(completion_, {}), finished](Playback& self) {
        if (self.hasPlayer_) completion(finished);
    });
}

void Playback::show(std::shared_ptr<const DecodedFrame> frame) {
    shown_ = std::move(frame);
    later([](Playback& self) { self.frameChanges.call(); });
    if (!isClockRunning()) tellTime();
}

// The clock

void Playback::setRate(float rate) {
    if (status_ == ItemStatus::failed) return;
    if (!(rate > 0)) rate = 0;
    if (rate != 0) rate = std::clamp(rate, lowestRate, highestRate);
    if (rate == rate_) return;
    const bool wasAtEnd = isAtEnd_;
    const std::int64_t moment = isClockRunning() ? momentAt(Clock::now()) : 0;
    const bool wasRunning = isClockRunning();
    changeRate(rate);
    if (rate_ == 0 || isPending_ || status_ != ItemStatus::readyToPlay) return;
    if (!wasAtEnd) startClock(wasRunning ? moment : index_->ticksOf(shown_->index()));
    if (wasAtEnd) endPlaying(PlayerItem::Event::playedToEnd);
}

void Playback::setPlaybackRange(const Time& start, const Time& end) {
    if (rangeStart_ == start && rangeEnd_ == end) return;
    rangeStart_ = start;
    rangeEnd_ = end;
    isAtEnd_ = false;  // of the range so far
}

std::int64_t Playback::lastPlayedFrame() const {
    if (!rangeEnd_.isValid()) return index_->frameCount() - 1;
    const std::int64_t frame = index_->frameAtTicks(index_->ticksAtTime(rangeEnd_));
    const bool beginsLater = compare(index_->timeOfTicks(index_->ticksOf(frame)), rangeEnd_) >= 0;
    return std::max<std::int64_t>(beginsLater ? frame - 1 : frame, 0);
}

bool Playback::mayStandIn(std::int64_t frame) const {
    if (rate_ == 0) return true;
    const std::int64_t first = rangeStart_.isValid() ? index_->frameAtTicks(index_->ticksAtTime(rangeStart_)) : 0;
    return frame >= first && frame <= lastPlayedFrame();
}

void Playback::changeRate(float rate) {
    if (rate == rate_) return;
    rate_ = rate;
    ++tickNumber_;
    if (isClockRunning()) {
        stopClock();
        // Paused, the time is that of the picture that is seen.
        if (rate == 0) {
            asked_ = shown_->index();
            isWaitingForFrame_ = false;
            ++request_;
            loader_->moveTo(asked_, true, request_, Travel::forward, false);
            tellTime();
        }
    }
    later([](Playback& self) { self.rateChanges.call(); });
}

std::int64_t Playback::momentAt(Clock::time_point now) const {
    const double elapsed = seconds(now - *clockStart_) * static_cast<double>(rate_);
    return clockStartTicks_ + static_cast<std::int64_t>(std::floor(elapsed / av_q2d(index_->timeBase())));
}

void Playback::startClock(std::int64_t ticks) {
    clockStart_ = Clock::now();
    clockStartTicks_ = ticks;
    for (const auto& entry : timeObservers_) {
        if (const auto observer = entry.lock())
            observer->lastInterval = intervalAt(*observer, index_->timeOfTicks(ticks));
    }
    if (core_->audioSink) {
        if (!sound_) {
            const double zero = static_cast<double>(index_->zeroTimestamp()) * av_q2d(index_->timeBase());
            sound_ = std::make_shared<SoundPlayer>(url_, zero, core_->audioSink);
            core_->threads.start([sound = sound_] { sound->run(); });
        }
        sound_->play(*clockStart_, index_->timeOfTicks(ticks).seconds(), rate_, pitchAlgorithm_);
    }
    tick();
}

void Playback::stopClock() {
    clockStart_.reset();
    if (sound_) sound_->stop();
}

void Playback::tick() {
    const std::int64_t moment = momentAt(Clock::now());
    const std::int64_t last = lastPlayedFrame();
    const std::int64_t frame = std::min(index_->frameAtTicks(moment), last);
    auto found = shown_->index() == frame ? shown_ : core_->cache->find(loader_->clip(), frame);
    if (found && found->isUnreadable()) {
        endPlaying(PlayerItem::Event::failedToPlayToEnd);
        return;
    }
    asked_ = frame;
    isWaitingForFrame_ = !found;
    if (found && found != shown_) show(std::move(found));
    if (moment >= index_->endTicksOf(last)) {
        isAtEnd_ = true;
        endPlaying(PlayerItem::Event::playedToEnd);
        return;
    }
    loader_->playTo(frame, !isWaitingForFrame_);
    tellTimeIfDue();
    scheduleTick(frame);
}

void Playback::scheduleTick(std::int64_t frame) {
    double next = static_cast<double>(index_->endTicksOf(frame)) * av_q2d(index_->timeBase());
    for (const auto& entry : timeObservers_) {
        if (const auto observer = entry.lock()) {
            next = std::min(next, static_cast<double>(observer->lastInterval + 1) * observer->interval.seconds());
        }
    }
    const double start = static_cast<double>(clockStartTicks_) * av_q2d(index_->timeBase());
    const auto fromStart = std::chrono::ceil<Clock::duration>(
        std::chrono::duration<double>((next - start) / static_cast<double>(rate_)) + std::chrono::microseconds(1));
    const Clock::time_point due = std::max(*clockStart_ + fromStart, Clock::now() + shortestTick / 4);
    const std::int64_t number = ++tickNumber_;
    core_->timer.at(due, [poster = poster_, weak = weak_from_this(), number] {
        poster->post([weak, number] {
            const auto playback = weak.lock();
            if (playback && playback->tickNumber_ == number && playback->isClockRunning()) playback->tick();
        });
    });
}

void Playback::endPlaying(PlayerItem::Event event) {
    // In a later turn: an attempt may end at the moment it begins, and the rate that was asked for has to be seen until then.
    const std::int64_t number = ++tickNumber_;
    later([number, event](Playback& self) {
        if (self.tickNumber_ != number || self.rate_ == 0) return;  // another attempt, or none
        self.changeRate(0);
        self.later([event](Playback& playback) { playback.events.call(event); });
    });
}

void Playback::detachPlayer() {
    rateChanges.clear();
    frameChanges.clear();
    timeObservers_.clear();
    completion_ = {};
    hasPlayer_ = false;
    changeRate(0);
}

// Time observers

std::shared_ptr<void> Playback::addPeriodicTimeObserver(const Time& interval,
                                                        std::function<void(const Time&)> observer) {
    auto entry = std::make_shared<TimeObserver>();
    entry->interval = interval.isValid() && interval.value > 0 ? interval : Time{1, 1};
    entry->call = std::move(observer);
    entry->lastInterval = intervalAt(*entry, currentTime());
    std::erase_if(timeObservers_, [](const std::weak_ptr<TimeObserver>& known) { return known.expired(); });
    timeObservers_.push_back(entry);
    return entry;
}

void Playback::removeTimeObserver(const std::shared_ptr<void>& token) {
    std::erase_if(timeObservers_, [&token](const std::weak_ptr<TimeObserver>& known) {
        const auto observer = known.lock();
        if (observer && observer == token) observer->isActive = false;
        return !observer || observer == token;
    });
}

std::int64_t Playback::intervalAt(const TimeObserver& observer, const Time& time) const {
    std::int64_t divisor = 0;
    if (__builtin_mul_overflow(observer.interval.value, std::int64_t{time.timescale}, &divisor)) return 0;
    return av_rescale_rnd(time.value, observer.interval.timescale, divisor, AV_ROUND_DOWN);
}

void Playback::tellTime() {
    later([](Playback& self) {
        const Time time = self.currentTime();
        const auto observers = self.timeObservers_;
        for (const auto& entry : observers) {
            const auto observer = entry.lock();
            if (!observer || !observer->isActive) continue;
            observer->lastInterval = self.intervalAt(*observer, time);
            observer->call(time);
        }
    });
}

void Playback::tellTimeIfDue() {
    const Time time = currentTime();
    for (const auto& entry : timeObservers_) {
        const auto observer = entry.lock();
        if (!observer || !observer->isActive) continue;
        const std::int64_t interval = intervalAt(*observer, time);
        if (interval == observer->lastInterval) continue;
        observer->lastInterval = interval;
        later([entry](Playback& self) {
            const auto due = entry.lock();
            if (due && due->isActive) due->call(self.currentTime());
        });
    }
}

}  // namespace videoanalysis::media::ffmpeg
