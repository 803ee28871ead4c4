#pragma once
// Plays a clip's sound in sync with its pictures: it follows the clock of playback and never drives it, so that two players
// started together stay together independently of their audio devices. Playback starts and stops it.

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
    static constexpr float maxRate = 2.0F;  ///< silent above

    /// `zero` is the file's time, in seconds, of the first picture.
    SoundPlayer(URL url, double zero, std::shared_ptr<AudioSink> sink);
    SoundPlayer(const SoundPlayer&) = delete;
    SoundPlayer& operator=(const SoundPlayer&) = delete;

    /// The sound thread's work, until `close`. Returns at once when there is no sound or no device.
    void run();
    /// Any thread.
    void close();
    /// Any thread. At `start` the clip is `seconds` past its first picture, and it plays at `rate` from there on.
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

    struct Shared {
        std::mutex mutex;
        std::condition_variable changed;
        Order order;
    };
    class Stretch;

    void give(Order order);
    /// Waits for another order than the one with number `served`.
    Order nextOrder(std::int64_t served);
    /// Waits for a poll interval; true when there is a newer order or the player is closing.
    bool isReplaced(const Order& order);

    const URL url_;
    const double zero_;
    const std::shared_ptr<AudioSink> sink_;
    std::atomic<bool> isClosing_{false};
    Shared shared_;
};

}  // namespace videoanalysis::media::ffmpeg
