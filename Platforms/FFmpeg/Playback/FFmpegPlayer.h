#pragma once
// Adapts `Playback` to the `Player` interface. The engine creates it.

#include "Platforms/FFmpeg/Playback/FFmpegPlayerItem.h"
#include "VideoAnalysis/Platform/Media.h"

#include <memory>
#include <utility>

namespace videoanalysis::media::ffmpeg {

class FFmpegPlayer : public Player {
public:
    explicit FFmpegPlayer(const std::shared_ptr<FFmpegPlayerItem>& item) : item_(item), playback_(item->playback()) {
        playback_->attachPlayer();
    }
    /// Pauses; none of this player's observers and completions is called afterwards.
    ~FFmpegPlayer() override { playback_->detachPlayer(); }

    const std::shared_ptr<PlayerItem>& currentItem() const override { return item_; }
    float rate() const override { return playback_->rate(); }
    void setRate(float rate) override { playback_->setRate(rate); }
    Time currentTime() const override { return playback_->currentTime(); }
    void seek(const Time& time, const Time& toleranceBefore, const Time& toleranceAfter,
              std::function<void(bool finished)> completion) override {
        playback_->seek(time, toleranceBefore, toleranceAfter, std::move(completion));
    }
    void setPlaybackRange(const Time& start, const Time& end) override { playback_->setPlaybackRange(start, end); }
    std::shared_ptr<void> addPeriodicTimeObserver(const Time& interval,
                                                  std::function<void(const Time&)> observer) override {
        return playback_->addPeriodicTimeObserver(interval, std::move(observer));
    }
    void removeTimeObserver(const std::shared_ptr<void>& token) override { playback_->removeTimeObserver(token); }
    std::shared_ptr<void> observeRate(std::function<void()> observer) override {
        return playback_->rateChanges.add(std::move(observer));
    }
    std::shared_ptr<const VideoFrame> currentFrame() const override { return playback_->currentFrame(); }
    std::shared_ptr<void> observeFrame(std::function<void()> observer) override {
        return playback_->frameChanges.add(std::move(observer));
    }

private:
    const std::shared_ptr<PlayerItem> item_;
    const std::shared_ptr<Playback> playback_;
};

}  // namespace videoanalysis::media::ffmpeg
