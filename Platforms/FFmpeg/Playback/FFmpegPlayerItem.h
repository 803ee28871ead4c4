#pragma once
// Adapts `Playback` to the `PlayerItem` interface. The engine creates it.

#include "Platforms/FFmpeg/Playback/Playback.h"
#include "VideoAnalysis/Platform/Media.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace videoanalysis::media::ffmpeg {

class FFmpegPlayerItem : public PlayerItem {
public:
    explicit FFmpegPlayerItem(std::shared_ptr<Playback> playback) : playback_(std::move(playback)) {}
    const std::shared_ptr<Playback>& playback() const { return playback_; }

    const URL& url() const override { return playback_->url(); }
    ItemStatus status() const override { return playback_->status(); }
    std::string errorDescription() const override { return playback_->errorDescription(); }
    Time duration() const override { return playback_->duration(); }
    std::vector<VideoTrack> videoTracks() const override { return playback_->videoTracks(); }
    Size presentationSize() const override { return playback_->presentationSize(); }
    Time currentTime() const override { return playback_->currentTime(); }
    bool isPlaybackBufferEmpty() const override { return playback_->isBufferEmpty(); }

    bool canStepForward() const override { return playback_->canStepForward(); }
    bool canStepBackward() const override { return playback_->canStepBackward(); }
    void step(std::int64_t count) override { playback_->step(count); }
    Time frameTime(const Time& time, std::int64_t count) const override { return playback_->frameTime(time, count); }

    void setAudioTimePitchAlgorithm(AudioTimePitchAlgorithm algorithm) override {
        playback_->setAudioTimePitchAlgorithm(algorithm);
    }
    std::shared_ptr<void> observe(std::function<void(Event)> observer) override {
        return playback_->events.add(std::move(observer));
    }

private:
    const std::shared_ptr<Playback> playback_;
};

}  // namespace videoanalysis::media::ffmpeg
