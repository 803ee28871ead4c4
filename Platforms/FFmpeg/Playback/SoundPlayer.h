#pragma once
// Plays a clip's sound beside its pictures: it follows the clock of the playback and never leads it, so that two players
// started together stay together whatever their devices do. Playback starts and stops it.

#include "VideoAnalysis/Platform/AudioSink.h"
#include "VideoAnalysis/Platform/Media.h"
#include "VideoAnalysis/Platform/URL.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

namespace videoanalysis::media::ffmpeg {

class SoundPlayer {
public:
    using Clock = std::chrono::steady_clock;

    static constexpr int sampleRate = 48000;
    static constexpr int channels = 2;
    static constexpr float highestRate = 2.0F;  ///< silent above

    /// `zero` is the moment of the file, in seconds, at which the first picture is shown.
    SoundPlayer(URL url, double zero, std::shared_ptr<AudioSink> sink);
    SoundPlayer(const SoundPlayer&) = delete;
    SoundPlayer& operator=(const SoundPlayer&) = delete;

    /// The sound's work, until `close`; for a thread that somebody keeps. Ends at once when there is no sound or no device.
    void run();
    /// Any thread.
    void close();
    /// Any thread. The clip is at `seconds` from its first picture at `start`, and goes on at `rate` from there.
    void play(Clock::time_point start, double seconds, float rate, AudioTimePitchAlgorithm algorithm);
    /// Any thread.
    void stop();

private:
    struct Order {
        bool isPlaying = false;
        Clock::time_point start;
        double seconds = 0;
        float rate = 1;
        AudioTimePitchAlgorithm algorithm = AudioTimePitchAlgorithm::spectral;
        std::int64_t number = 0;
    };

    void give(Order order);
    bool isOver(const Order& order);

    const URL url_;
    const double zero_;
    const std::shared_ptr<AudioSink> sink_;
    std::atomic<bool> isClosing_{false};
    std::mutex mutex_;
    std::condition_variable changed_;
    Order order_;
};

}  // namespace videoanalysis::media::ffmpeg
