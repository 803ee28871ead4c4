#pragma once
// The playhead of one clip: the requested frame, the frame shown, and the clock that moves it. `FFmpegPlayer` and
// `FFmpegPlayerItem` adapt it to the interfaces of the media seam.

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

/// Main thread only. Observers and completions are called in a later turn of the main queue than the change.
class Playback : public std::enable_shared_from_this<Playback> {
public:
    using Clock = SteadyTimer::Clock;
    using Completion = std::function<void(bool finished)>;

    /// Starts to open the clip.
    static std::shared_ptr<Playback> open(std::shared_ptr<EngineCore> core, const URL& url);
    Playback(const Playback&) = delete;
    Playback& operator=(const Playback&) = delete;
    ~Playback();

    // The item's operations, as `PlayerItem` describes them.
    const URL& url() const { return url_; }
    ItemStatus status() const;
    const std::string& errorDescription() const { return error_; }
    Time duration() const;
    std::vector<VideoTrack> videoTracks() const;
    Size presentationSize() const { return shown_ && phase_ != Phase::failed ? shown_->size() : Size{}; }
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
    /// Pauses, and calls none of the player's observers and completions from now on.
    void detachPlayer();

    ObserverList<PlayerItem::Event> events;
    ObserverList<> rateChanges;
    ObserverList<> frameChanges;

private:
    Playback(std::shared_ptr<EngineCore> core, const URL& url);

    /// Changes in `enter` only.
    enum class Phase {
        waitingForIndex,  ///< the scan has not reached the requested frame yet
        seeking,          ///< the requested frame is being loaded
        paused,           ///< the requested frame is shown: the rate is 0, or the item is not ready yet
        playing,          ///< the clock runs, and the frame that is due is shown
        stalled,          ///< the clock runs, and the frame that is due is not cached yet
        ending,           ///< the clock has reached the end; the rate becomes 0 in a later turn
        atEnd,            ///< playback ended there, and `currentTime` is the end
        failed,           ///< the clip cannot be played; final
    };
    /// `steps` frames from the one at `time`, or from `frame` without a time.
    struct Request {
        std::optional<Time> time;
        std::int64_t frame = 0;
        std::int64_t steps = 0;
    };
    struct TimeObserver {
        Time interval;
        std::function<void(const Time&)> call;
        std::int64_t lastInterval = 0;  // the multiple of the interval at which it was last called
        bool isActive = true;
    };

    static bool isLegal(Phase from, Phase to);
    /// The only place where the phase changes. Stops the clock when it leaves the phases in which it runs.
    void enter(Phase next);
    static bool isRunning(Phase phase) {
        return phase == Phase::playing || phase == Phase::stalled || phase == Phase::ending;
    }
    bool isRunning() const { return isRunning(phase_); }
    bool isRequestPending() const { return phase_ == Phase::waitingForIndex || phase_ == Phase::seeking; }

    /// Runs `work` in a later turn, unless this has been destroyed by then.
    void later(std::function<void(Playback&)> work);
    void takeEvents();
    void takePreview(std::shared_ptr<const DecodedFrame> preview);
    void fail(const std::string& reason);
    /// Logs one line per clip: the first damage that was reported.
    void logDamage(const std::string& what);

    /// The item becomes ready once a frame is shown and every frame's time is known: the duration is final then.
    void becomeReady();
    /// Starts a request; the completion of the one before gets false.
    void beginRequest(Request request, Completion completion);
    /// Loads the requested frame once the index has it.
    void resolveRequest();
    void load(std::int64_t frame, Travel travel);
    void completeLater(Completion completion, bool finished);
    void finishRequest(const std::shared_ptr<const DecodedFrame>& frame);
    void show(std::shared_ptr<const DecodedFrame> frame);

    /// The position of the clock in ticks of the index.
    std::int64_t clockTicks(Clock::time_point now) const;
    void startClock(std::int64_t ticks);
    /// Starts the clock at the frame shown if the rate, the phase and the item's status allow it.
    void playIfReady();
    void changeRate(float rate);
    /// Stops the clock: the frame shown becomes the requested one.
    void settle(Phase next);
    void tick();
    void scheduleTick(std::int64_t frame);
    /// The last frame of the playback range, as far as the index goes.
    std::int64_t lastPlayedFrame() const;
    /// Whether `frame` may be shown on the way to the requested frame: while playing, only inside the playback range.
    bool mayPreview(std::int64_t frame) const;
    /// Ends an attempt to play in a later turn, with `event`; each attempt ends at most once.
    void endPlaying(PlayerItem::Event event);
    void notifyTimeObservers();
    void notifyTimeObserversIfDue();
    std::int64_t intervalAt(const TimeObserver& observer, const Time& time) const;

    const std::shared_ptr<EngineCore> core_;
    const URL url_;
    const std::shared_ptr<MainPoster> poster_;
    std::shared_ptr<FrameLoader> loader_;
    std::shared_ptr<SoundPlayer> sound_;  // null until the clip is played, or for silence

    Phase phase_ = Phase::waitingForIndex;
    bool isReady_ = false;  // once true, it stays
    std::string error_;
    std::shared_ptr<const ClipIndex> index_;  // not null except while waiting for it, and after a failure
    AudioTimePitchAlgorithm pitchAlgorithm_ = AudioTimePitchAlgorithm::spectral;

    std::shared_ptr<const DecodedFrame> shown_;
    Request request_;                 // while waiting for the index
    std::int64_t requestNumber_ = 0;  // counts requests, so that late answers are recognized
    std::int64_t requestedFrame_ = 0;
    bool hasPreempted_ = false;  // the pending request has replaced one whose frame was never shown
    Completion completion_;
    bool hasPlayer_ = false;
    std::string damage_;
    bool hasLoggedDamage_ = false;

    float rate_ = 0;
    Time rangeStart_;  // of playback; invalid for the clip's own
    Time rangeEnd_;
    Clock::time_point clockStart_;  // valid while the clock runs, as the next
    std::int64_t clockStartTicks_ = 0;
    std::int64_t tickNumber_ = 0;  // counts ticks, so that those scheduled before a change are recognized
    std::vector<std::weak_ptr<TimeObserver>> timeObservers_;
};

}  // namespace videoanalysis::media::ffmpeg
