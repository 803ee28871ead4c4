#include "Platforms/Headless/HeadlessMedia.h"

#include "VideoAnalysis/Platform/FatalError.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace videoanalysis {
namespace {

media::Time timeOfFrame(const HeadlessClip& clip, std::int64_t frame) {
    return {clip.frameDuration.value * frame, clip.frameDuration.timescale};
}

class HeadlessFrame final : public media::VideoFrame {
public:
    HeadlessFrame(const HeadlessClip& clip, std::int64_t index) : clip_(clip), index_(index) {}
    media::Time time() const override { return timeOfFrame(clip_, index_); }
    std::int64_t index() const override { return index_; }
    Size size() const override { return clip_.size; }
    /// A plain grey that is as bright as the frame is late.
    Bitmap scaled(int width, int height) const override {
        Bitmap bitmap(width, height, 1);
        const auto level = static_cast<std::uint32_t>(index_ * 255 / std::max<std::int64_t>(1, clip_.frames));
        std::fill(bitmap.pixels.begin(), bitmap.pixels.end(), 0xFF000000U | level << 16 | level << 8 | level);
        return bitmap;
    }

private:
    HeadlessClip clip_;
    std::int64_t index_;
};

template <class Function>
std::shared_ptr<void> remember(std::vector<std::weak_ptr<Function>>& observers, Function observer) {
    auto token = std::make_shared<Function>(std::move(observer));
    observers.push_back(token);
    return token;
}

template <class Function, class... Arguments>
void call(std::vector<std::weak_ptr<Function>>& observers, const Arguments&... arguments) {
    std::erase_if(observers, [](const auto& observer) { return observer.expired(); });
    const auto all = observers;
    for (const auto& weak : all) {
        if (const auto observer = weak.lock()) (*observer)(arguments...);
    }
}

}  // namespace

// ---- Item

HeadlessItem::HeadlessItem(HeadlessMainQueue& queue, URL url, const HeadlessClip* clip)
    : queue_(queue), url_(std::move(url)), exists_(clip != nullptr) {
    if (clip) clip_ = *clip;
    queue_.async([this, alive = std::weak_ptr(alive_)] {
        if (!alive.expired()) becomeReady();
    });
}

void HeadlessItem::becomeReady() {
    status_ = exists_ ? media::ItemStatus::readyToPlay : media::ItemStatus::failed;
    if (exists_ && player_) player_->frameDidChange();
    post(Event::statusChanged);
}

std::string HeadlessItem::errorDescription() const {
    return status_ == media::ItemStatus::failed ? "no such clip: " + url_.absoluteString() : std::string();
}

media::Time HeadlessItem::duration() const {
    return isReady() ? timeOfFrame(clip_, clip_.frames) : media::Time::zero();
}

std::vector<media::VideoTrack> HeadlessItem::videoTracks() const {
    if (!isReady()) return {};
    return {{clip_.frameDuration, clip_.size}};
}

Size HeadlessItem::presentationSize() const { return isReady() ? clip_.size : Size{}; }

media::Time HeadlessItem::currentTime() const { return timeOfFrame(clip_, frame_); }

void HeadlessItem::step(std::int64_t count) {
    if (isReady()) show(frame_ + std::clamp(count, -frame_, clip_.frames - 1 - frame_));
}

std::int64_t HeadlessItem::frameAt(const media::Time& time) const {
    std::int64_t frame = 0;
    while (frame < clip_.frames && media::compare(timeOfFrame(clip_, frame + 1), time) <= 0) ++frame;
    return frame;
}

media::Time HeadlessItem::frameTime(const media::Time& time, std::int64_t count) const {
    if (!isReady()) return media::Time::zero();
    const std::int64_t base = frameAt(time);
    return timeOfFrame(clip_, base + std::clamp(count, -base, clip_.frames - base));
}

std::shared_ptr<void> HeadlessItem::observe(std::function<void(Event)> observer) {
    return remember(observers_, std::move(observer));
}

void HeadlessItem::post(Event event) {
    queue_.async([this, alive = std::weak_ptr(alive_), event] {
        if (!alive.expired()) call(observers_, event);
    });
}

void HeadlessItem::show(std::int64_t frame) {
    if (frame_ == frame) return;
    frame_ = frame;
    if (player_) player_->frameDidChange();
}

// ---- Player

HeadlessPlayer::HeadlessPlayer(HeadlessMainQueue& queue, std::shared_ptr<media::PlayerItem> item)
    : queue_(queue), item_(std::move(item)), headlessItem_(dynamic_cast<HeadlessItem&>(*item_)) {
    headlessItem_.player_ = this;
}

HeadlessPlayer::~HeadlessPlayer() {
    headlessItem_.player_ = nullptr;
    if (timer_) timer_->invalidate();
}

void HeadlessPlayer::setRate(float rate) {
    const float limited = rate == 0 ? 0 : std::clamp(rate, 0.1F, 8.0F);
    if (limited == rate_) return;
    rate_ = limited;
    if (timer_) timer_->invalidate();
    timer_ = nullptr;
    if (rate_ > 0) {
        timer_ = queue_.scheduleTimer(headlessItem_.clip_.frameDuration.seconds() / rate_, true, [this] { tick(); });
    }
    queue_.async([this, alive = std::weak_ptr(alive_)] {
        if (!alive.expired()) call(rateObservers_);
    });
}

void HeadlessPlayer::tick() {
    if (!headlessItem_.isReady()) return;
    const media::Time next = headlessItem_.frameTime(currentTime(), 1);
    const bool isInRange = !rangeEnd_.isValid() || media::compare(next, rangeEnd_) < 0;
    if (headlessItem_.canStepForward() && isInRange) {
        headlessItem_.step(1);
    } else {
        setRate(0);
        headlessItem_.post(media::PlayerItem::Event::playedToEnd);
    }
}

void HeadlessPlayer::seek(const media::Time& time, const media::Time& toleranceBefore,
                          const media::Time& toleranceAfter, std::function<void(bool)> completion) {
    if (headlessItem_.isReady()) {
        // Of the frames that are allowed, the one farthest from `time`: who wants exactly one must say so.
        const double shift =
            toleranceAfter.seconds() > 0 ? toleranceAfter.seconds() : -std::max(toleranceBefore.seconds(), 0.0);
        const media::Time wanted =
            shift == 0 ? time : media::Time::fromSeconds(std::clamp(time.seconds() + shift, 0.0, 1e9), 1'000'000);
        headlessItem_.show(std::min(headlessItem_.frameAt(wanted), headlessItem_.clip_.frames - 1));
    }
    if (completion) queue_.async([completion = std::move(completion)] { completion(true); });
}

void HeadlessPlayer::setPlaybackRange(const media::Time&, const media::Time& end) { rangeEnd_ = end; }

std::shared_ptr<void> HeadlessPlayer::addPeriodicTimeObserver(const media::Time& interval,
                                                              std::function<void(const media::Time&)> observer) {
    timeObservers_.push_back(std::make_shared<TimeObserver>(TimeObserver{interval, std::move(observer)}));
    return timeObservers_.back();
}

void HeadlessPlayer::removeTimeObserver(const std::shared_ptr<void>& token) {
    std::erase_if(timeObservers_, [&](const auto& observer) { return observer == token; });
}

std::vector<media::Time> HeadlessPlayer::timeObserverIntervals() const {
    std::vector<media::Time> intervals;
    for (const auto& observer : timeObservers_) intervals.push_back(observer->interval);
    return intervals;
}

std::shared_ptr<void> HeadlessPlayer::observeRate(std::function<void()> observer) {
    return remember(rateObservers_, std::move(observer));
}

std::shared_ptr<const media::VideoFrame> HeadlessPlayer::currentFrame() const {
    if (!headlessItem_.isReady()) return nullptr;
    return std::make_shared<HeadlessFrame>(headlessItem_.clip_, headlessItem_.frame_);
}

std::shared_ptr<void> HeadlessPlayer::observeFrame(std::function<void()> observer) {
    return remember(frameObservers_, std::move(observer));
}

void HeadlessPlayer::frameDidChange() {
    queue_.async([this, alive = std::weak_ptr(alive_)] {
        if (alive.expired()) return;
        call(frameObservers_);
        const auto observers = timeObservers_;
        for (const auto& observer : observers) {
            const bool isStillThere =
                std::find(timeObservers_.begin(), timeObservers_.end(), observer) != timeObservers_.end();
            if (isStillThere) observer->call(currentTime());
        }
    });
}

// ---- Pictures and exports

void HeadlessImageGenerator::generate(const std::vector<media::Time>& times, Size maximumSize, Order order,
                                      std::function<void(const media::GeneratedImage&)> handler) {
    const std::weak_ptr<int> alive = alive_;
    for (const media::Time& time : times) {
        for (const bool isFinal : {false, true}) {
            if (!isFinal && order == Order::exact) continue;
            media::GeneratedImage image{time, time, isFinal, nullptr};
            if (clip_) {
                const HeadlessFrame frame(*clip_, std::lround(time.seconds() / clip_->frameDuration.seconds()));
                const Rect fitted =
                    media::PlayerLayer::pictureRect({{}, maximumSize}, clip_->size, media::VideoGravity::resizeAspect);
                image.bitmap =
                    std::make_shared<const Bitmap>(frame.scaled(std::max(static_cast<int>(fitted.size.width), 1),
                                                                std::max(static_cast<int>(fitted.size.height), 1)));
            }
            queue_.async([alive, handler, image] {
                if (!alive.expired()) handler(image);
            });
        }
    }
}

void HeadlessExport::end(const media::ExportResult& result) {
    if (std::exchange(hasEnded_, true)) return;
    queue_.async([this, alive = std::weak_ptr(alive_), result] {
        if (!alive.expired() && completion_) completion_(result);
    });
}

// ---- Engine

std::shared_ptr<media::PlayerItem> HeadlessMedia::makePlayerItem(const URL& url) {
    const auto found = clips_.find(url.absoluteString());
    return std::make_shared<HeadlessItem>(queue_, url, found == clips_.end() ? nullptr : &found->second);
}

std::shared_ptr<media::Player> HeadlessMedia::makePlayer(std::shared_ptr<media::PlayerItem> item) {
    return std::make_shared<HeadlessPlayer>(queue_, std::move(item));
}

std::shared_ptr<media::ImageGenerator> HeadlessMedia::makeImageGenerator(const URL& url) {
    const auto found = clips_.find(url.absoluteString());
    return std::make_shared<HeadlessImageGenerator>(queue_, found == clips_.end() ? std::nullopt
                                                                                  : std::optional(found->second));
}

std::shared_ptr<media::ExportSession>
HeadlessMedia::startExport(const media::ExportRequest& request,
                           std::function<void(const media::ExportResult&)> completion) {
    const auto session = std::make_shared<HeadlessExport>(queue_, request, std::move(completion));
    newestExport = session;
    return session;
}

}  // namespace videoanalysis
