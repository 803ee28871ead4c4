#pragma once
// The media seam: rational times, a player with its item, layer and frames, thumbnails, and the export of a part of a clip.
// Used by the video view, the player controller and the trim screen; a platform supplies one engine.

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
    /// The multiple of 1 / `timescale` nearest to `seconds`; invalid for a non-finite or out-of-range value.
    static Time fromSeconds(double seconds, std::int32_t timescale);

    bool isValid() const { return (flags & validFlag) != 0 && timescale > 0; }
    /// Seconds; 0 for an invalid time.
    double seconds() const { return isValid() ? static_cast<double>(value) / timescale : 0.0; }

    /// Compares the fields; use `compare` to order times.
    friend bool operator==(const Time&, const Time&) = default;
};

/// Negative, zero or positive if `a` is before, at or after `b`. Exact for all valid times.
int compare(const Time& a, const Time& b);

/// One frame of a video. Immutable; may be held and read on any thread.
class VideoFrame {
public:
    virtual ~VideoFrame() = default;
    /// Presentation time, from the start of the clip.
    virtual Time time() const = 0;
    /// Index in presentation order, from 0.
    virtual std::int64_t index() const = 0;
    /// Display size in pixels: upright, square pixels.
    virtual Size size() const = 0;
    /// The upright, opaque picture, stretched to `width` x `height` pixels (positive). Any thread.
    virtual Bitmap scaled(int width, int height) const = 0;
};

enum class ItemStatus { unknown = 0, readyToPlay = 1, failed = 2 };
enum class AudioTimePitchAlgorithm { spectral, timeDomain, varispeed };

struct VideoTrack {
    Time minFrameDuration;  ///< min duration of a frame
    Size naturalSize;       ///< pixels, upright, square pixels
};

/// A clip in a player. Main thread only. Observers are called in a later turn of the main queue than the change.
class PlayerItem {
public:
    virtual ~PlayerItem() = default;

    virtual const URL& url() const = 0;
    virtual ItemStatus status() const = 0;
    /// One line: why the status is failed, or what is damaged in a clip that plays only in part; otherwise empty.
    virtual std::string errorDescription() const = 0;
    /// Zero until the item is ready; constant from then on.
    virtual Time duration() const = 0;
    /// Empty until the item is ready.
    virtual std::vector<VideoTrack> videoTracks() const = 0;
    /// The size of the upright picture in pixels; empty until known, which may be before the item is ready.
    virtual Size presentationSize() const = 0;
    virtual Time currentTime() const = 0;
    virtual bool isPlaybackBufferEmpty() const = 0;

    virtual bool canStepForward() const = 0;
    virtual bool canStepBackward() const = 0;
    /// Moves by `count` frames, backward if negative, clamped to the first and last frame. Relative to the latest requested
    /// frame, which may not be displayed yet.
    virtual void step(std::int64_t count) = 0;
    /// The presentation time of the frame `count` frames after the one shown at `time`, before it if negative; clamped to
    /// the first frame. The clip's end counts as one more frame, after the last. Zero until the item is ready.
    virtual Time frameTime(const Time& time, std::int64_t count) const = 0;

    virtual void setAudioTimePitchAlgorithm(AudioTimePitchAlgorithm algorithm) = 0;

    /// Events for observers. Each start of playback that is not paused results in one of the last two.
    enum class Event {
        statusChanged,
        damageFound,  ///< part of the clip cannot be read; the rest can be played
        playedToEnd,
        failedToPlayToEnd,  ///< the clip cannot be read further; keeps the last frame with rate 0
    };
    /// Calls `observer` for every event until the returned token is destroyed.
    [[nodiscard]] virtual std::shared_ptr<void> observe(std::function<void(Event)> observer) = 0;
};

/// Plays one item. Main thread only; observers and completions are called in a later turn of the main queue.
class Player {
public:
    virtual ~Player() = default;

    virtual const std::shared_ptr<PlayerItem>& currentItem() const = 0;
    /// 0 is paused, 1 is normal speed.
    virtual float rate() const = 0;
    /// 0 pauses; other values are clamped to 0.1...8 and start playback.
    virtual void setRate(float rate) = 0;
    void play() { setRate(1.0F); }
    void pause() { setRate(0.0F); }

    /// The presentation time of the displayed frame or, during playback, the playback position.
    virtual Time currentTime() const = 0;
    /// Shows the frame at `time`, clamped to the clip. Zero tolerances request exactly that frame; wider ones accept any
    /// frame within them that is available sooner. A newer seek or step cancels it, which passes false to `completion` (may
    /// be empty).
    virtual void seek(const Time& time, const Time& toleranceBefore, const Time& toleranceAfter,
                      std::function<void(bool finished)> completion = {}) = 0;

    /// Limits playback, but not seeks and steps, to a part of the clip, from the frame shown at `start` to the last one that
    /// begins before `end`, where it ends as at the end of the clip. Frames outside are not shown during or when starting
    /// playback. An invalid time means the clip's start or end.
    virtual void setPlaybackRange(const Time& start, const Time& end) = 0;

    /// Calls `observer` with the current time about every `interval` of playback and after every step and seek. Returns an
    /// opaque token.
    [[nodiscard]] virtual std::shared_ptr<void> addPeriodicTimeObserver(const Time& interval,
                                                                        std::function<void(const Time&)> observer) = 0;
    /// Unregisters the observer of `token` and cancels its pending calls.
    virtual void removeTimeObserver(const std::shared_ptr<void>& token) = 0;
    /// Calls `observer` after every change of `rate` until the returned token is destroyed.
    [[nodiscard]] virtual std::shared_ptr<void> observeRate(std::function<void()> observer) = 0;

    /// The frame to display; null until the first one is available.
    virtual std::shared_ptr<const VideoFrame> currentFrame() const = 0;
    /// Calls `observer` on the main thread after every change of `currentFrame`, until the returned token is destroyed. For
    /// the screen.
    [[nodiscard]] virtual std::shared_ptr<void> observeFrame(std::function<void()> observer) = 0;
};

enum class VideoGravity { resizeAspect, resizeAspectFill, resize };

/// The placement of a player's picture in a view. Read by a screen to paint.
class PlayerLayer {
public:
    const std::shared_ptr<Player>& player() const { return player_; }
    VideoGravity videoGravity() const { return gravity_; }
    void setPlayer(std::shared_ptr<Player> player);
    void setVideoGravity(VideoGravity gravity);

    /// The centred rectangle of a picture of `videoSize` in `bounds`: inside for `resizeAspect`, covering for
    /// `resizeAspectFill`, `bounds` for `resize` or if the picture has no size yet.
    static Rect pictureRect(const Rect& bounds, Size videoSize, VideoGravity gravity);
    /// The rectangle for the current item.
    Rect videoRect(const Rect& bounds) const;

    /// Called after every change of player or gravity. One observer, the screen's.
    std::function<void()> changeObserver;

private:
    std::shared_ptr<Player> player_;
    VideoGravity gravity_ = VideoGravity::resizeAspect;
};

/// A thumbnail from an image generator.
struct GeneratedImage {
    Time requestedTime;
    Time actualTime;                       ///< of the frame
    bool isFinal = true;                   ///< false for a nearby placeholder frame
    std::shared_ptr<const Bitmap> bitmap;  ///< upright; null if the frame cannot be decoded
};

/// Makes thumbnails of a clip's frames in the background. Main thread only; handlers are called in later turns of the main
/// queue. Destroying it cancels pending requests.
class ImageGenerator {
public:
    virtual ~ImageGenerator() = default;

    enum class Order {
        exact,             ///< the frame at each time
        approximateFirst,  ///< first the nearest keyframe for each time whose exact frame takes longer
    };
    /// Requests the frames at `times`, clamped to the clip. `handler` receives each one when it is ready, in any order: one
    /// final thumbnail per time. Thumbnails keep the aspect ratio and are scaled down to fit into `maximumSize` pixels, never
    /// up. May be called while an earlier request is pending; the latest request is served first.
    virtual void generate(const std::vector<Time>& times, Size maximumSize, Order order,
                          std::function<void(const GeneratedImage&)> handler) = 0;
    /// Cancels all requests; no handler is called from now on.
    virtual void cancelAll() = 0;
};

/// The part of a clip to export, and the file.
struct ExportRequest {
    URL source;
    /// Starts with the frame shown at this time; an invalid time means the clip's first frame.
    Time start;
    /// Ends with the last frame that begins before this time; an invalid time means the clip's last frame.
    Time end;
    /// The crop rectangle, in fractions of the upright picture's sides.
    Rect crop{0, 0, 1, 1};
    /// The output file; its extension selects the container. An existing file is replaced when the export has succeeded.
    URL target;
};

struct ExportResult {
    enum class Status { finished, cancelled, failed };
    Status status = Status::finished;
    std::string error;  ///< one line if it failed
};

/// A running export. Main thread only. Destroying it cancels the export.
class ExportSession {
public:
    virtual ~ExportSession() = default;
    /// Monotonic, 0...1.
    virtual double progress() const = 0;
    /// Removes the partial file and completes with `cancelled`. No effect after the export has ended.
    virtual void cancel() = 0;
};

/// Creates items, players, image generators and exports. One per platform.
class Engine {
public:
    virtual ~Engine() = default;
    /// Does not block: the item's status reports later whether the clip can be played. Never null.
    virtual std::shared_ptr<PlayerItem> makePlayerItem(const URL& url) = 0;
    /// A paused player at time zero. `item` must be from this engine and in no other player.
    virtual std::shared_ptr<Player> makePlayer(std::shared_ptr<PlayerItem> item) = 0;
    /// Does not block. Never null; all thumbnails of an unreadable clip are null.
    virtual std::shared_ptr<ImageGenerator> makeImageGenerator(const URL& url) = 0;
    /// Writes a frame-exact part of a clip to a new file. `completion` is called once, in a later turn of the main queue,
    /// unless the export is destroyed first.
    virtual std::shared_ptr<ExportSession> startExport(const ExportRequest& request,
                                                       std::function<void(const ExportResult&)> completion) = 0;
};

}  // namespace videoanalysis::media
