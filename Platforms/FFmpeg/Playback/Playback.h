#pragma once
// The playhead of one clip: which frame was asked for, which is shown, and the clock that moves it. A player and its item
// are two faces of it.

#include "Platforms/FFmpeg/EngineCore.h"
#include "Platforms/FFmpeg/MainPoster.h"
#include "Platforms/FFmpeg/Playback/FrameLoader.h"
#include "Platforms/FFmpeg/Playback/SoundPlayer.h"
#include "VideoAnalysis/Platform/Media.h"
#include "VideoAnalysis/Platform/ObserverList.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace videoanalysis::media::ffmpeg {

/// Main thread. What it tells its observers it tells in a later turn of the main queue than the change.
class Playback : public std::enable_shared_from_this<Playback> {
public:
    using Clock = SteadyTimer::Clock;
    using Completion = std::function<void(bool finished)>;

    /// Begins to open the clip.
    static std::shared_ptr<Playback> open(std::shared_ptr<EngineCore> core, const URL& url);
    Playback(const Playback&) = delete;
    Playback& operator=(const Playback&) = delete;
    ~Playback();

    // The item's operations, as `PlayerItem` describes them.
    const URL& url() const { return url_; }
    ItemStatus status() const { return status_; }
    const std::string& errorDescription() const { return error_; }
    Time duration() const;
    std::vector<VideoTrack> videoTracks() const;
    Size presentationSize() const { return shown_ && status_ != ItemStatus::failed ? shown_->size() : Size{}; }
    Time currentTime() const;
    bool isBufferEmpty() const;
    bool canStepForward() const;
    bool canStepBackward() const;
    void step(std::int64_t count);
    Time frameTime(const Time& time, std::int64_t count) const;
    void setAudioTimePitchAlgorithm(AudioTimePitchAlgorithm algorithm) { pitchAlgorithm_ = algorithm; }

    // The player's, as `Player` describes them.
    float rate() const { return rate_; }
    void setRate(float rate);
    void seek(const Time& time, const Time& toleranceBefore, const Time& toleranceAfter, Completion completion);
    void setPlaybackRange(const Time& start, const Time& end);
    std::shared_ptr<void> addPeriodicTimeObserver(const Time& interval, std::function<void(const Time&)> observer);
    void removeTimeObserver(const std::shared_ptr<void>& token);
    std::shared_ptr<const VideoFrame> currentFrame() const { return shown_; }
    void attachPlayer() { hasPlayer_ = true; }
    /// The player is gone: nothing that it was given is called any more.
    void detachPlayer();

    ObserverList<PlayerItem::Event> events;
    ObserverList<> rateChanges;
    ObserverList<> frameChanges;

private:
    Playback(std::shared_ptr<EngineCore> core, const URL& url);

    /// A request that the index does not reach yet: `steps` frames from the one at `time`, or from `frame` without one.
    struct Deferred {
        std::optional<Time> time;
        std::int64_t frame = 0;
        std::int64_t steps = 0;
    };
    struct TimeObserver {
        Time interval;
        std::function<void(const Time&)> call;
        std::int64_t lastInterval = 0;  // which multiple of the interval the time was in when it was last called
        bool isActive = true;
    };

    /// Runs `work` in a later turn, unless this is gone by then.
    void later(std::function<void(Playback&)> work);
    void takeNews();
    void fail(const std::string& reason);
    /// One line for each clip: the first thing that is wrong with it.
    void logDamage(const std::string& what);

    /// Ready once there is a picture and every frame's time is known: the duration is final then.
    void becomeReady();
    void resolveDeferred();
    void goTo(std::int64_t frame, Travel travel);
    /// Replaces what is asked for; the completion of what it overtakes gets false.
    void beginRequest(Completion completion);
    void completeLater(bool finished);
    void finishRequest(const std::shared_ptr<const DecodedFrame>& frame);
    void show(std::shared_ptr<const DecodedFrame> frame);

    std::int64_t momentAt(Clock::time_point now) const;
    void startClock(std::int64_t ticks);
    void stopClock();
    bool isClockRunning() const { return clockStart_.has_value(); }
    void changeRate(float rate);
    void tick();
    void scheduleTick(std::int64_t frame);
    /// The last frame that playback shows, as far as the index goes.
    std::int64_t lastPlayedFrame() const;
    /// Playing, a frame outside the range is not shown in place of one inside.
    bool mayStandIn(std::int64_t frame) const;
    /// The end of an attempt to play, by the event that says how; at most one for each.
    void endPlaying(PlayerItem::Event event);
    void tellTime();
    void tellTimeIfDue();
    std::int64_t intervalAt(const TimeObserver& observer, const Time& time) const;

    const std::shared_ptr<EngineCore> core_;
    const URL url_;
    const std::shared_ptr<MainPoster> poster_;
    std::shared_ptr<FrameLoader> loader_;
    std::shared_ptr<SoundPlayer> sound_;  // null until the clip is played, or for silence

    ItemStatus status_ = ItemStatus::unknown;
    std::string error_;
    std::shared_ptr<const ClipIndex> index_;
    AudioTimePitchAlgorithm pitchAlgorithm_ = AudioTimePitchAlgorithm::spectral;

    std::shared_ptr<const DecodedFrame> shown_;
    std::int64_t asked_ = 0;     // the frame asked for last
    bool isPending_ = false;     // and not shown yet
    bool hasOvertaken_ = false;  // the pending request has overtaken another one
    std::optional<Deferred> deferred_;
    std::int64_t request_ = 0;
    Completion completion_;
    bool hasPlayer_ = false;
    std::string damage_;
    bool hasLoggedDamage_ = false;

    float rate_ = 0;
    bool isAtEnd_ = false;
    Time rangeStart_;  // of playback; invalid for the clip's own
    Time rangeEnd_;
    std::optional<Clock::time_point> clockStart_;  // set while the clock runs
    std::int64_t clockStartTicks_ = 0;
    std::int64_t tickNumber_ = 0;
    bool isWaitingForFrame_ = false;  // the moment of playback has passed the last frame that is there
    std::vector<std::weak_ptr<TimeObserver>> timeObservers_;
};

}  // namespace videoanalysis::media::ffmpeg
