#pragma once
// The view that shows one video: it owns the player for a URL, plays it once or in a loop and tells its delegate, the player's
// controller, when the clip is ready and when it has ended. The screen's peer paints what its layer's player shows.

#include "VideoAnalysis/Platform/Media.h"
#include "VideoAnalysis/Platform/UI/View.h"

#include <memory>
#include <optional>
#include <string>

namespace videoanalysis {

class VideoView;

class VideoViewDelegate {
public:
    virtual ~VideoViewDelegate() = default;
    virtual void playerReadyToPlayFor(VideoView&) {}
    virtual void playbackDidFinishFor(VideoView&) {}
    /// Playback has stopped where the clip cannot be read any further. The picture stays.
    virtual void playbackDidBreakOffFor(VideoView&) {}
    /// The clip cannot be read at all.
    virtual void playerDidFailFor(VideoView&) {}
};

class VideoView : public ui::View {
public:
    enum class Repeat { once, loop };

    using ui::View::View;
    ~VideoView() override;

    std::weak_ptr<VideoViewDelegate> delegate;

    Repeat repeat() const { return repeat_; }
    /// Takes effect with the next URL.
    void setRepeat(Repeat repeat) { repeat_ = repeat; }

    const std::optional<URL>& url() const { return url_; }
    /// Stops the clip so far and opens another one; absent for none.
    void setURL(const std::optional<URL>& url);

    /// Null while no URL is set.
    const std::shared_ptr<media::Player>& player() const { return playerLayer_.player(); }
    /// Starts playback at `rate`, more than 0; nothing without a player.
    void play(float rate);
    /// Limits playback of the current clip as `media::Player` describes; its end then rewinds to `start`. Nothing without a
    /// player.
    void setPlaybackRange(const media::Time& start, const media::Time& end);
    /// The file's name without its folder, for a person to read; empty without a clip.
    std::string clipName() const;
    /// Why the clip cannot be read, one line; empty for one that can.
    std::string failureReason() const;

    media::PlayerLayer& playerLayer() { return playerLayer_; }
    /// Where the picture is, in the view's points; the bounds before the clip is ready.
    Rect pictureRect() const { return playerLayer_.videoRect(bounds()); }

    /// Also sets the layer's gravity.
    void setContentMode(ui::ContentMode mode) override;

    /// Pauses and stops observing until playback starts again. The last picture stays.
    void tearDown();

private:
    void observe();
    void itemDidChange(media::PlayerItem::Event event);
    void rateDidChange();
    void itemDidPlayToEndTime();

    media::PlayerLayer playerLayer_;
    Repeat repeat_ = Repeat::once;
    std::optional<URL> url_;
    media::Time rangeStart_;  // of playback; invalid for the clip's own start
    std::shared_ptr<void> itemObservation_;
    std::shared_ptr<void> rateObservation_;
};

}  // namespace videoanalysis
