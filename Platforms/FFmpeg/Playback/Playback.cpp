#include "Platforms/FFmpeg/Playback/Playback.h"

#include "VideoAnalysis/Platform/Platform.h"

extern "C" {
#include <libavutil/mathematics.h>
}

#include <algorithm>
#include <cassert>
#include <cmath>
#include <utility>

namespace videoanalysis::media::ffmpeg {
namespace {

constexpr float minRate = 0.1F;
constexpr float maxRate = 8.0F;
constexpr auto minTickInterval = std::chrono::milliseconds(1);  // also limits how often time observers are called
constexpr std::int64_t maxSteps = std::int64_t{1} << 40;

double seconds(SteadyTimer::Clock::duration duration) { return std::chrono::duration<double>(duration).count(); }

}  // namespace

std::shared_ptr<Playback> Playback::open(std::shared_ptr<EngineCore> core, const URL& url) {
    std::shared_ptr<Playback> playback(new Playback(std::move(core), url));
    const FFmpegOptions& options = playback->core_->options;
    const auto notify = [poster = playback->poster_, weak = playback->weak_from_this()] {
        poster->post([weak] {
            if (const auto self = weak.lock()) self->takeEvents();
        });
    };
    playback->loader_ = std::make_shared<FrameLoader>(
        url, LoaderOptions{options.decoderThreads, options.maxPixels, options.prefetchDelay}, playback->core_->cache,
        playback->core_->pictures, notify);
    playback->core_->threads.start([loader = playback->loader_] { loader->run(); });
    return playback;
}

Playback::Playback(std::shared_ptr<EngineCore> core, const URL& url)
    : core_(std::move(core)), url_(url), poster_(std::make_shared<MainPoster>()) {}

Playback::~Playback() {
    poster_->close();
    loader_->stop();
    if (sound_) sound_->close();
}

bool Playback::isLegal(Phase from, Phase to) {
    if (from == Phase::failed) return false;
    switch (to) {
        case Phase::waitingForIndex:
        case Phase::failed: return true;
        case Phase::seeking: return from == Phase::waitingForIndex;
        case Phase::paused:
            return from == Phase::seeking || from == Phase::playing || from == Phase::stalled || from == Phase::atEnd;
        case Phase::playing: return from == Phase::paused || isRunning(from);
        case Phase::stalled:
        case Phase::ending: return from == Phase::playing || from == Phase::stalled;
        case Phase::atEnd: return from == Phase::ending;
    }
    return false;
}

void Playback::enter(Phase next) {
    if (next == phase_) return;
    assert(isLegal(phase_, next));
    const Phase previous = std::exchange(phase_, next);
    if (isRunning(previous) && !isRunning(next) && sound_) sound_->stop();
}

void Playback::later(std::function<void(Playback&)> work) {
    poster_->post([weak = weak_from_this(), work = std::move(work)] {
        if (const auto playback = weak.lock()) work(*playback);
    });
}

void Playback::logDamage(const std::string& what) {
    if (damage_.empty()) damage_ = what;
    // Until then the clip may turn out to be unplayable.
    if (status() != ItemStatus::readyToPlay || std::exchange(hasLoggedDamage_, true)) return;
    error_ = "Playing " + url_.absoluteString() + " as far as it goes: " + damage_;
    debugLog(error_);
    later([](Playback& self) { self.events.call(PlayerItem::Event::damageFound); });
}

// The loader's events

void Playback::takeEvents() {
    FrameLoader::Events taken = loader_->takeEvents();
    if (!taken.openingError.empty()) fail(taken.openingError);
    if (phase_ == Phase::failed) return;
    if (!taken.damage.empty()) logDamage(taken.damage);
    if (taken.index) {
        index_ = std::move(taken.index);
        resolveRequest();
        becomeReady();
        playIfReady();
    }
    if (taken.preview) takePreview(std::move(taken.preview));
    if (taken.frame && phase_ == Phase::seeking && taken.request == requestNumber_) finishRequest(taken.frame);
    if (!taken.readingError.empty()) logDamage(taken.readingError);
}

void Playback::takePreview(std::shared_ptr<const DecodedFrame> preview) {
    if (!shown_) return;
    const std::int64_t number = preview->index();
    const bool isNearer = std::abs(number - requestedFrame_) < std::abs(shown_->index() - requestedFrame_);
    const bool isWanted = isRequestPending() ? isNearer : phase_ == Phase::stalled && number > shown_->index();
    if (isWanted && mayPreview(number)) show(std::move(preview));
    if (phase_ == Phase::playing || phase_ == Phase::stalled) tick();
}

void Playback::fail(const std::string& reason) {
    if (phase_ == Phase::failed) return;
    changeRate(0);
    enter(Phase::failed);
    error_ = "Cannot play " + url_.absoluteString() + ": " + reason;
    debugLog(error_);
    completeLater(std::exchange(completion_, {}), false);
    later([](Playback& self) { self.events.call(PlayerItem::Event::statusChanged); });
}

// The item

ItemStatus Playback::status() const {
    if (phase_ == Phase::failed) return ItemStatus::failed;
    return isReady_ ? ItemStatus::readyToPlay : ItemStatus::unknown;
}

Time Playback::duration() const {
    return status() == ItemStatus::readyToPlay ? index_->timeOfTicks(index_->durationTicks()) : Time::zero();
}

std::vector<VideoTrack> Playback::videoTracks() const {
    if (status() != ItemStatus::readyToPlay) return {};
    return {{index_->timeOfTicks(index_->minFrameTicks()), presentationSize()}};
}

Time Playback::currentTime() const {
    const auto end = [this] { return index_->endTicksOf(lastPlayedFrame()); };
    if (phase_ == Phase::ending || phase_ == Phase::atEnd) return index_->timeOfTicks(end());
    if (isRunning()) return index_->timeOfTicks(std::min(clockTicks(Clock::now()), end()));
    return shown_ ? shown_->time() : Time::zero();
}

bool Playback::isBufferEmpty() const { return !shown_ || phase_ == Phase::stalled; }

bool Playback::canStepForward() const {
    if (phase_ == Phase::failed) return false;
    return phase_ == Phase::waitingForIndex || !index_->isComplete() || requestedFrame_ + 1 < index_->frameCount();
}

bool Playback::canStepBackward() const {
    if (phase_ == Phase::failed) return false;
    if (phase_ != Phase::waitingForIndex) return requestedFrame_ > 0;
    return request_.time || request_.frame + request_.steps > 0;
}

void Playback::step(std::int64_t count) {
    if (phase_ == Phase::failed || count == 0) return;
    Request request = request_;
    if (phase_ != Phase::waitingForIndex) {
        request = Request{std::nullopt, isRunning() ? shown_->index() : requestedFrame_, 0};
    }
    request.steps = std::clamp(request.steps + std::clamp(count, -maxSteps, maxSteps), -maxSteps, maxSteps);
    beginRequest(request, {});
}

Time Playback::frameTime(const Time& time, std::int64_t count) const {
    if (status() != ItemStatus::readyToPlay) return Time::zero();
    const std::int64_t frames = index_->frameCount();
    const std::int64_t ticks = index_->ticksAtTime(time);
    const std::int64_t base = ticks >= index_->durationTicks() ? frames : index_->frameAtTicks(ticks);
    const std::int64_t frame = base + std::clamp(count, -base, frames - base);
    return frame == frames ? duration() : index_->timeOfTicks(index_->ticksOf(frame));
}

// Requests

void Playback::seek(const Time& time, const Time& toleranceBefore, const Time& toleranceAfter, Completion completion) {
    if (phase_ == Phase::failed || !time.isValid()) {
        completeLater(std::move(completion), false);
        return;
    }
    Time wanted = time;
    if (index_ && (toleranceBefore.isValid() || toleranceAfter.isValid())) {
        // A cached frame that is near enough saves the decoding.
        const std::int64_t ticks = index_->ticksAtTime(time);
        const std::int64_t before = std::max<std::int64_t>(index_->ticksAtTime(toleranceBefore), 0);
        const std::int64_t after = std::max<std::int64_t>(index_->ticksAtTime(toleranceAfter), 0);
        const auto nearest = core_->cache->nearest(loader_->clip(), index_->frameAtTicks(ticks));
        if (nearest && index_->endTicksOf(nearest->index()) > ticks - before &&
            index_->ticksOf(nearest->index()) <= ticks + after) {
            wanted = nearest->time();
        }
    }
    beginRequest(Request{wanted, 0, 0}, std::move(completion));
}

void Playback::beginRequest(Request request, Completion completion) {
    completeLater(std::exchange(completion_, std::move(completion)), false);
    hasPreempted_ = isRequestPending() && shown_;
    request_ = request;
    ++requestNumber_;
    ++tickNumber_;
    enter(Phase::waitingForIndex);
    resolveRequest();
}

void Playback::resolveRequest() {
    if (phase_ != Phase::waitingForIndex || !index_) return;
    const std::int64_t last = index_->frameCount() - 1;
    std::int64_t base = request_.frame;
    if (request_.time) {
        const std::int64_t ticks = index_->ticksAtTime(*request_.time);
        if (!index_->isComplete() && ticks > index_->ticksOf(last)) return;
        base = index_->frameAtTicks(ticks);
    }
    const std::int64_t frame = base + request_.steps;
    if (!index_->isComplete() && frame > last) return;
    const Travel travel = request_.steps == 0 ? Travel::none : request_.steps > 0 ? Travel::forward : Travel::backward;
    enter(Phase::seeking);
    load(std::clamp<std::int64_t>(frame, 0, last), travel);
}

void Playback::load(std::int64_t frame, Travel travel) {
    requestedFrame_ = frame;
    std::shared_ptr<const DecodedFrame> found = core_->cache->request(loader_->clip(), frame);
    loader_->moveTo(frame, found != nullptr, requestNumber_, travel, hasPreempted_);
    if (found) {
        later([found, number = requestNumber_](Playback& self) {
            if (self.phase_ == Phase::seeking && self.requestNumber_ == number) self.finishRequest(found);
        });
        return;
    }
    if (!hasPreempted_) return;
    // Requests come faster than frames are decoded: a cached frame is shown as long as it leads towards the requested one.
    found = core_->cache->nearest(loader_->clip(), frame);
    if (!found || std::abs(found->index() - frame) >= std::abs(shown_->index() - frame)) return;
    if (!mayPreview(found->index())) return;
    later([found, number = requestNumber_](Playback& self) {
        if (self.phase_ == Phase::seeking && self.requestNumber_ == number) self.show(found);
    });
}

void Playback::finishRequest(const std::shared_ptr<const DecodedFrame>& frame) {
    enter(Phase::paused);
    show(frame);
    becomeReady();
    playIfReady();
    completeLater(std::exchange(completion_, {}), true);
}

void Playback::becomeReady() {
    if (isReady_ || !shown_ || !index_->isComplete()) return;
    isReady_ = true;
    if (!damage_.empty()) logDamage(damage_);
    later([](Playback& self) { self.events.call(PlayerItem::Event::statusChanged); });
}

void Playback::completeLater(Completion completion, bool finished) {
    if (!completion) return;
    later([completion = std::move(completion), finished](Playback& self) {
        if (self.hasPlayer_) completion(finished);
    });
}

void Playback::show(std::shared_ptr<const DecodedFrame> frame) {
    shown_ = std::move(frame);
    later([](Playback& self) { self.frameChanges.call(); });
    if (!isRunning()) notifyTimeObservers();
}

// The clock

void Playback::setRate(float rate) {
    if (phase_ == Phase::failed) return;
    if (!(rate > 0)) rate = 0;
    if (rate != 0) rate = std::clamp(rate, minRate, maxRate);
    if (rate == rate_) return;
    const std::int64_t ticks = isRunning() ? clockTicks(Clock::now()) : 0;
    changeRate(rate);
    if (rate_ == 0) return;
    if (phase_ == Phase::ending) settle(Phase::atEnd);
    if (phase_ == Phase::atEnd) {
        endPlaying(PlayerItem::Event::playedToEnd);
    } else if (isRunning()) {
        startClock(ticks);
    } else {
        playIfReady();
    }
}

void Playback::setPlaybackRange(const Time& start, const Time& end) {
    if (rangeStart_ == start && rangeEnd_ == end) return;
    rangeStart_ = start;
    rangeEnd_ = end;
    // The end that was reached is that of the previous range.
    if (phase_ == Phase::ending) enter(Phase::playing);
    if (phase_ == Phase::atEnd) enter(Phase::paused);
}

std::int64_t Playback::lastPlayedFrame() const {
    if (!rangeEnd_.isValid()) return index_->frameCount() - 1;
    const std::int64_t frame = index_->frameAtTicks(index_->ticksAtTime(rangeEnd_));
    const bool beginsLater = compare(index_->timeOfTicks(index_->ticksOf(frame)), rangeEnd_) >= 0;
    return std::max<std::int64_t>(beginsLater ? frame - 1 : frame, 0);
}

bool Playback::mayPreview(std::int64_t frame) const {
    if (rate_ == 0) return true;
    const std::int64_t first = rangeStart_.isValid() ? index_->frameAtTicks(index_->ticksAtTime(rangeStart_)) : 0;
    return frame >= first && frame <= lastPlayedFrame();
}

void Playback::changeRate(float rate) {
    if (rate == rate_) return;
    rate_ = rate;
    ++tickNumber_;
    if (rate == 0 && isRunning()) settle(phase_ == Phase::ending ? Phase::atEnd : Phase::paused);
    later([](Playback& self) { self.rateChanges.call(); });
}

void Playback::settle(Phase next) {
    enter(next);
    requestedFrame_ = shown_->index();
    ++requestNumber_;
    loader_->moveTo(requestedFrame_, true, requestNumber_, Travel::forward, false);
    notifyTimeObservers();
}

void Playback::playIfReady() {
    if (rate_ == 0 || phase_ != Phase::paused || !isReady_) return;
    startClock(index_->ticksOf(shown_->index()));
}

std::int64_t Playback::clockTicks(Clock::time_point now) const {
    const double elapsed = seconds(now - clockStart_) * static_cast<double>(rate_);
    return clockStartTicks_ + static_cast<std::int64_t>(std::floor(elapsed / av_q2d(index_->timeBase())));
}

void Playback::startClock(std::int64_t ticks) {
    enter(Phase::playing);
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
        sound_->play(clockStart_, index_->timeOfTicks(ticks).seconds(), rate_, pitchAlgorithm_);
    }
    tick();
}

void Playback::tick() {
    const std::int64_t ticks = clockTicks(Clock::now());
    const std::int64_t last = lastPlayedFrame();
    const std::int64_t frame = std::min(index_->frameAtTicks(ticks), last);
    auto found = shown_->index() == frame ? shown_ : core_->cache->find(loader_->clip(), frame);
    if (found && found->isUnreadable()) {
        endPlaying(PlayerItem::Event::failedToPlayToEnd);
        return;
    }
    requestedFrame_ = frame;
    enter(found ? Phase::playing : Phase::stalled);
    if (found && found != shown_) show(std::move(found));
    if (ticks >= index_->endTicksOf(last)) {
        enter(Phase::ending);
        endPlaying(PlayerItem::Event::playedToEnd);
        return;
    }
    loader_->playTo(frame, phase_ == Phase::playing);
    notifyTimeObserversIfDue();
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
    const Clock::time_point due = std::max(clockStart_ + fromStart, Clock::now() + minTickInterval);
    const std::int64_t number = ++tickNumber_;
    core_->timer.at(due, [poster = poster_, weak = weak_from_this(), number] {
        poster->post([weak, number] {
            const auto playback = weak.lock();
            if (playback && playback->tickNumber_ == number) playback->tick();
        });
    });
}

void Playback::endPlaying(PlayerItem::Event event) {
    // In a later turn: an attempt may end as soon as it starts, and observers of the rate must see it start.
    const std::int64_t number = ++tickNumber_;
    later([number, event](Playback& self) {
        if (self.tickNumber_ != number || self.rate_ == 0) return;  // another attempt to play, or none
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

void Playback::notifyTimeObservers() {
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

void Playback::notifyTimeObserversIfDue() {
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
