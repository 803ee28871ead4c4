#pragma once
// The media seam: rational times, a player with its item and layer and the frames it shows, small pictures, and the export of
// a part of a clip. The video view, the player controller and the trim screen drive it; a platform supplies one engine.

#include "VideoAnalysis/Platform/Geometry.h"
#include "VideoAnalysis/Platform/Image.h"
#include "VideoAnalysis/Platform/URL.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace videoanalysis::media {

/// A rational time: `value / timescale` seconds. Valid when `timescale` is positive and the valid flag is set.
struct Time {
    static constexpr std::uint32_t validFlag = 1;

    std::int64_t value = 0;
    std::int32_t timescale = 0;
    std::uint32_t flags = 0;
    std::int64_t epoch = 0;

    Time() = default;
    Time(std::int64_t value, std::int32_t timescale)
        : value(value), timescale(timescale), flags(timescale > 0 ? validFlag : 0) {}
    static Time zero() { return {0, 1}; }
    /// The multiple of 1 / `timescale` nearest to `seconds`; invalid for a value that is not finite or does not fit.
    static Time fromSeconds(double seconds, std::int32_t timescale);

    bool isValid() const { return (flags & validFlag) != 0 && timescale > 0; }
    /// 0 for an invalid time.
    double seconds() const { return isValid() ? static_cast<double>(value) / timescale : 0.0; }

    /// Field by field; use `compare` for the order of moments.
    friend bool operator==(const Time&, const Time&) = default;
};

/// Negative, zero or positive as `a` is before, at or after `b`; exact for every pair of valid times.
int compare(const Time& a, const Time& b);

/// One picture of a video. Immutable; may be held and read on any thread for as long as it is shown.
class VideoFrame {
public:
    virtual ~VideoFrame() = default;
    /// The moment from which it is shown, from the start of the clip.
    virtual Time time() const = 0;
    /// Its number in presentation order, from 0.
    virtual std::int64_t index() const = 0;
    /// In pixels, upright and with square pixels.
    virtual Size size() const = 0;
    /// The picture, upright, stretched to `width` x `height` pixels (positive), opaque. Any thread.
    virtual Bitmap scaled(int width, int height) const = 0;
};

enum class ItemStatus { unknown = 0, readyToPlay = 1, failed = 2 };
enum class AudioTimePitchAlgorithm { spectral, timeDomain, varispeed };

struct VideoTrack {
    Time minFrameDuration;  ///< the shortest distance between two frames
    Size naturalSize;       ///< pixels, upright, square pixels
};

/// One clip as a player plays it. Main thread. Observers are called in a later turn of the main queue than the change.
class PlayerItem {
public:
    virtual ~PlayerItem() = default;

    virtual const URL& url() const = 0;
    virtual ItemStatus status() const = 0;
    /// Why the status is failed, or what is wrong with a clip that plays only in part, one line; empty otherwise.
    virtual std::string errorDescription() const = 0;
    /// Zero until the item is ready; final from then on.
    virtual Time duration() const = 0;
    /// Empty until the item is ready.
    virtual std::vector<VideoTrack> videoTracks() const = 0;
    /// The size of the upright picture in pixels; empty until there is one, which may be before the item is ready.
    virtual Size presentationSize() const = 0;
    virtual Time currentTime() const = 0;
    virtual bool isPlaybackBufferEmpty() const = 0;

    virtual bool canStepForward() const = 0;
    virtual bool canStepBackward() const = 0;
    /// Moves by `count` frames, back when negative, no further than the first or last frame. Counted from the frame asked
    /// for last, which may not be on the screen yet.
    virtual void step(std::int64_t count) = 0;
    /// The moment at which the frame begins that is `count` frames after the one shown at `time`, before it when negative;
    /// not before the first frame. What comes after the last frame, and any `time` from there on, is the clip's end, which
    /// counts as one more. Zero until the item is ready.
    virtual Time frameTime(const Time& time, std::int64_t count) const = 0;

    virtual void setAudioTimePitchAlgorithm(AudioTimePitchAlgorithm algorithm) = 0;

    /// What an observer may be told of. Of the last two, one comes for each attempt to play that is not paused before.
    enum class Event {
        statusChanged,
        damageFound,  ///< part of the clip cannot be read; the rest plays
        playedToEnd,
        failedToPlayToEnd,  ///< the clip cannot be read on; the last picture stays, and the rate is 0
    };
    /// Calls `observer` for every event until the returned token is released.
    [[nodiscard]] virtual std::shared_ptr<void> observe(std::function<void(Event)> observer) = 0;
};

/// Plays one item. Main thread; observers and completions come in a later turn of the main queue.
class Player {
public:
    virtual ~Player() = default;

    virtual const std::shared_ptr<PlayerItem>& currentItem() const = 0;
    /// 0 is paused, 1 the clip's own speed.
    virtual float rate() const = 0;
    /// 0 pauses; other values are limited to 0.1...8 and start playback.
    virtual void setRate(float rate) = 0;
    void play() { setRate(1.0F); }
    void pause() { setRate(0.0F); }

    /// The time of the frame that is shown, or, while playing, the moment of playback.
    virtual Time currentTime() const = 0;
    /// Shows the frame that covers `time`, limited to the clip. Zero tolerances ask for exactly that frame; wider ones allow
    /// any frame within them that is there sooner. A newer seek or step overtakes it; `completion` (may be empty) then gets
    /// false.
    virtual void seek(const Time& time, const Time& toleranceBefore, const Time& toleranceAfter,
                      std::function<void(bool finished)> completion = {}) = 0;

    /// Limits playback, not seeks and steps, to a part of the clip: it ends as at the end of the clip with the last frame
    /// that begins before `end`, and while it plays, or is about to, no frame outside is shown on the way to one inside. The
    /// first frame of the part is the one shown at `start`. An invalid time stands for the clip's own start or end.
    virtual void setPlaybackRange(const Time& start, const Time& end) = 0;

    /// Calls `observer` with the current time about every `interval` of playback, and at every change of time by a step
    /// or a seek. The token is opaque.
    [[nodiscard]] virtual std::shared_ptr<void> addPeriodicTimeObserver(const Time& interval,
                                                                        std::function<void(const Time&)> observer) = 0;
    /// The observer of `token` is not called any more, not even for what has happened already.
    virtual void removeTimeObserver(const std::shared_ptr<void>& token) = 0;
    /// Calls `observer` after every change of `rate` until the returned token is released.
    [[nodiscard]] virtual std::shared_ptr<void> observeRate(std::function<void()> observer) = 0;

    /// The frame to show now; null before the first one is there.
    virtual std::shared_ptr<const VideoFrame> currentFrame() const = 0;
    /// Calls `observer` on the main thread whenever `currentFrame` has changed, until the returned token is released. For
    /// the screen.
    [[nodiscard]] virtual std::shared_ptr<void> observeFrame(std::function<void()> observer) = 0;
};

enum class VideoGravity { resizeAspect, resizeAspectFill, resize };

/// Where a player's picture goes inside a view. Concrete: a screen reads it to paint.
class PlayerLayer {
public:
    const std::shared_ptr<Player>& player() const { return player_; }
    VideoGravity videoGravity() const { return gravity_; }
    void setPlayer(std::shared_ptr<Player> player);
    void setVideoGravity(VideoGravity gravity);

    /// The rectangle that a picture of `videoSize` takes inside `bounds`, centred: whole inside for `resizeAspect`, filling
    /// for `resizeAspectFill` (it may reach outside), `bounds` for `resize`. `bounds` when the picture has no size yet.
    static Rect pictureRect(const Rect& bounds, Size videoSize, VideoGravity gravity);
    /// That rectangle for the current item.
    Rect videoRect(const Rect& bounds) const;

    /// Told after each change of player or gravity; one, the screen's.
    std::function<void()> changeObserver;

private:
    std::shared_ptr<Player> player_;
    VideoGravity gravity_ = VideoGravity::resizeAspect;
};

/// A picture that an image generator was asked for.
struct GeneratedImage {
    Time requestedTime;
    Time actualTime;                       ///< of the frame in the picture
    bool isFinal = true;                   ///< false for a nearby one that stands in until the right one is there
    std::shared_ptr<const Bitmap> bitmap;  ///< upright; null when the clip has no such picture to give
};

/// Makes small pictures of one clip's frames, in the background. Main thread; handlers are called in later turns of the
/// main queue. Its end cancels what is under way.
class ImageGenerator {
public:
    virtual ~ImageGenerator() = default;

    enum class Order {
        exact,             ///< each time's own frame
        approximateFirst,  ///< before that, the key frame nearest to each time whose own frame takes longer
    };
    /// Asks for the frames shown at `times`, limited to the clip. `handler` gets each as soon as it is there, not in the
    /// order of `times`: one final picture for every time. Pictures keep their shape and fit into `maximumSize` pixels; they
    /// are never enlarged. May be asked again while an earlier request is under way; the newest comes first.
    virtual void generate(const std::vector<Time>& times, Size maximumSize, Order order,
                          std::function<void(const GeneratedImage&)> handler) = 0;
    /// No handler is called any more, not even for pictures that are there already.
    virtual void cancelAll() = 0;
};

/// What an export makes of a clip.
struct ExportRequest {
    URL source;
    /// The first frame is the one shown at this moment; an invalid time means the clip's first.
    Time start;
    /// The last frame is the last one that begins before this moment; an invalid time means the clip's last.
    Time end;
    /// The part of the upright picture that is kept, in fractions of its sides.
    Rect crop{0, 0, 1, 1};
    /// A file; its extension names the container. Whatever is there is replaced once the export has succeeded.
    URL target;
};

struct ExportResult {
    enum class Status { finished, cancelled, failed };
    Status status = Status::finished;
    std::string error;  ///< one line when it failed
};

/// An export under way. Main thread. Its end cancels it.
class ExportSession {
public:
    virtual ~ExportSession() = default;
    /// The part of the work that is done, 0...1, never less than before.
    virtual double progress() const = 0;
    /// Nothing is left of the file, and the completion gets `cancelled`, unless the export has ended already.
    virtual void cancel() = 0;
};

/// Makes items and players, and what works on a clip without playing it. One per platform.
class Engine {
public:
    virtual ~Engine() = default;
    /// Returns at once; whether the clip can be played shows in the item's status later. Never null.
    virtual std::shared_ptr<PlayerItem> makePlayerItem(const URL& url) = 0;
    /// A paused player at time zero. `item` must come from this engine and belong to no other player.
    virtual std::shared_ptr<Player> makePlayer(std::shared_ptr<PlayerItem> item) = 0;
    /// Returns at once. Never null; of a clip that cannot be read every picture is null.
    virtual std::shared_ptr<ImageGenerator> makeImageGenerator(const URL& url) = 0;
    /// Writes a part of a clip to a file of its own, frame-exactly. `completion` is called once, in a later turn of the main
    /// queue, unless the export is gone by then.
    virtual std::shared_ptr<ExportSession> startExport(const ExportRequest& request,
                                                       std::function<void(const ExportResult&)> completion) = 0;
};

}  // namespace videoanalysis::media
