#pragma once
// Clips that exist in memory only, with players that run under the headless clock: exact frames, no pixels worth looking at.
// A test says which clips there are.

#include "Platforms/Headless/HeadlessClock.h"
#include "VideoAnalysis/Platform/Media.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace videoanalysis {

/// A clip of `frames` pictures, each shown for `frameDuration`.
struct HeadlessClip {
    std::int64_t frames = 100;
    media::Time frameDuration{1, 25};
    Size size{640, 360};
};

class HeadlessPlayer;

class HeadlessItem final : public media::PlayerItem {
public:
    HeadlessItem(HeadlessMainQueue& queue, URL url, const HeadlessClip* clip);

    const URL& url() const override { return url_; }
    media::ItemStatus status() const override { return status_; }
    std::string errorDescription() const override;
    media::Time duration() const override;
    std::vector<media::VideoTrack> videoTracks() const override;
    Size presentationSize() const override;
    media::Time currentTime() const override;
    bool isPlaybackBufferEmpty() const override { return isBufferEmpty; }
    bool canStepForward() const override { return isReady() && frame_ + 1 < clip_.frames; }
    bool canStepBackward() const override { return isReady() && frame_ > 0; }
    void step(std::int64_t count) override;
    media::Time frameTime(const media::Time& time, std::int64_t count) const override;
    void setAudioTimePitchAlgorithm(media::AudioTimePitchAlgorithm) override {}
    std::shared_ptr<void> observe(std::function<void(Event)> observer) override;

    /// What the player reports when it is asked whether it has run dry.
    bool isBufferEmpty = false;
    /// Tells every observer of `event`, in a later turn.
    void post(Event event);

    std::int64_t frame() const { return frame_; }

private:
    friend class HeadlessPlayer;
    bool isReady() const { return status_ == media::ItemStatus::readyToPlay; }
    void becomeReady();
    void show(std::int64_t frame);
    /// The frame shown at `time`; the number of frames from the clip's end on.
    std::int64_t frameAt(const media::Time& time) const;

    HeadlessMainQueue& queue_;
    URL url_;
    HeadlessClip clip_;
    bool exists_;
    media::ItemStatus status_ = media::ItemStatus::unknown;
    std::int64_t frame_ = 0;
    std::vector<std::weak_ptr<std::function<void(Event)>>> observers_;
    HeadlessPlayer* player_ = nullptr;
    std::shared_ptr<int> alive_ = std::make_shared<int>();
};

class HeadlessPlayer final : public media::Player {
public:
    HeadlessPlayer(HeadlessMainQueue& queue, std::shared_ptr<media::PlayerItem> item);
    ~HeadlessPlayer() override;

    const std::shared_ptr<media::PlayerItem>& currentItem() const override { return item_; }
    float rate() const override { return rate_; }
    void setRate(float rate) override;
    media::Time currentTime() const override { return item_->currentTime(); }
    void seek(const media::Time& time, const media::Time& toleranceBefore, const media::Time& toleranceAfter,
              std::function<void(bool)> completion) override;
    void setPlaybackRange(const media::Time& start, const media::Time& end) override;
    std::shared_ptr<void> addPeriodicTimeObserver(const media::Time& interval,
                                                  std::function<void(const media::Time&)> observer) override;
    void removeTimeObserver(const std::shared_ptr<void>& token) override;
    std::shared_ptr<void> observeRate(std::function<void()> observer) override;
    std::shared_ptr<const media::VideoFrame> currentFrame() const override;
    std::shared_ptr<void> observeFrame(std::function<void()> observer) override;

    std::size_t timeObserverCount() const { return timeObservers_.size(); }
    /// The intervals of the time observers, in the order in which they were added.
    std::vector<media::Time> timeObserverIntervals() const;

private:
    friend class HeadlessItem;
    struct TimeObserver {
        media::Time interval;
        std::function<void(const media::Time&)> call;
    };
    void frameDidChange();
    void tick();

    HeadlessMainQueue& queue_;
    std::shared_ptr<media::PlayerItem> item_;
    HeadlessItem& headlessItem_;
    float rate_ = 0;
    media::Time rangeEnd_;
    std::shared_ptr<dispatch::Timer> timer_;
    std::vector<std::shared_ptr<TimeObserver>> timeObservers_;
    std::vector<std::weak_ptr<std::function<void()>>> rateObservers_;
    std::vector<std::weak_ptr<std::function<void()>>> frameObservers_;
    std::shared_ptr<int> alive_ = std::make_shared<int>();
};

/// Gives its pictures one by one, in later turns of the main queue.
class HeadlessImageGenerator final : public media::ImageGenerator {
public:
    HeadlessImageGenerator(HeadlessMainQueue& queue, std::optional<HeadlessClip> clip) : queue_(queue), clip_(clip) {}

    void generate(const std::vector<media::Time>& times, Size maximumSize, Order order,
                  std::function<void(const media::GeneratedImage&)> handler) override;
    void cancelAll() override { alive_ = std::make_shared<int>(); }

private:
    HeadlessMainQueue& queue_;
    std::optional<HeadlessClip> clip_;
    std::shared_ptr<int> alive_ = std::make_shared<int>();
};

/// An export that a test carries out: it writes nothing.
class HeadlessExport final : public media::ExportSession {
public:
    HeadlessExport(HeadlessMainQueue& queue, media::ExportRequest request,
                   std::function<void(const media::ExportResult&)> completion)
        : request(std::move(request)), queue_(queue), completion_(std::move(completion)) {}

    double progress() const override { return progressMade; }
    void cancel() override { end({media::ExportResult::Status::cancelled, {}}); }
    /// Ends it, once; the completion comes in a later turn.
    void end(const media::ExportResult& result);

    const media::ExportRequest request;
    double progressMade = 0;

private:
    HeadlessMainQueue& queue_;
    std::function<void(const media::ExportResult&)> completion_;
    bool hasEnded_ = false;
    std::shared_ptr<int> alive_ = std::make_shared<int>();
};

class HeadlessMedia final : public media::Engine {
public:
    explicit HeadlessMedia(HeadlessMainQueue& queue) : queue_(queue) {}

    /// From now on `url` can be played; every other one fails.
    void addClip(const URL& url, const HeadlessClip& clip = {}) { clips_[url.absoluteString()] = clip; }

    std::shared_ptr<media::PlayerItem> makePlayerItem(const URL& url) override;
    std::shared_ptr<media::Player> makePlayer(std::shared_ptr<media::PlayerItem> item) override;
    std::shared_ptr<media::ImageGenerator> makeImageGenerator(const URL& url) override;
    std::shared_ptr<media::ExportSession>
    startExport(const media::ExportRequest& request,
                std::function<void(const media::ExportResult&)> completion) override;

    /// The export started last, held weakly.
    std::weak_ptr<HeadlessExport> newestExport;

private:
    HeadlessMainQueue& queue_;
    std::map<std::string, HeadlessClip> clips_;
};

}  // namespace videoanalysis
