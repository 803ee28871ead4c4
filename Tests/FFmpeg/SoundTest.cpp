// A clip's sound: in sync with the picture, at its own pitch at any rate, and silent where it should be.

#include "FFmpeg/MediaTest.h"
#include "Platforms/FFmpeg/Playback/SoundPlayer.h"

#include <atomic>
#include <chrono>
#include <cmath>
#include <mutex>
#include <vector>

namespace videoanalysis::media::ffmpeg {
namespace {

/// An audio device that consumes samples in real time and records them.
class RecordingSink : public AudioSink {
public:
    using Clock = std::chrono::steady_clock;

    struct Heard {
        Clock::time_point start;  ///< when the first sample was heard
        std::vector<float> left;
    };

    std::unique_ptr<AudioOutput> open(int sampleRate, int channels) override {
        EXPECT_EQ(sampleRate, SoundPlayer::sampleRate);
        EXPECT_EQ(channels, 2);
        ++outputs;
        return hasDevice ? std::make_unique<Output>(*this) : nullptr;
    }
    Heard heard() {
        const std::lock_guard lock(mutex_);
        return heard_;
    }

    bool hasDevice = true;
    std::atomic<int> outputs{0};

private:
    class Output : public AudioOutput {
    public:
        explicit Output(RecordingSink& sink) : sink_(sink) {}
        std::size_t write(const float* samples, std::size_t frameCount) override {
            const std::lock_guard lock(sink_.mutex_);
            Heard& heard = sink_.heard_;
            const double room = 0.3 - secondsBuffered();
            if (secondsBuffered() <= 0) heard = {Clock::now(), {}};
            const auto taken =
                std::min(frameCount, static_cast<std::size_t>(std::max(room, 0.0) * SoundPlayer::sampleRate));
            for (std::size_t i = 0; i < taken; ++i) heard.left.push_back(samples[2 * i]);
            return taken;
        }
        double latency() const override {
            const std::lock_guard lock(sink_.mutex_);
            return std::max(secondsBuffered(), 0.0);
        }
        void reset() override {
            const std::lock_guard lock(sink_.mutex_);
            sink_.heard_ = {};
        }

    private:
        double secondsBuffered() const {
            const double written = static_cast<double>(sink_.heard_.left.size()) / SoundPlayer::sampleRate;
            return written - std::chrono::duration<double>(Clock::now() - sink_.heard_.start).count();
        }
        RecordingSink& sink_;
    };

    std::mutex mutex_;
    Heard heard_;
};

double loudnessAt(const std::vector<float>& samples, std::size_t first, std::size_t count) {
    double sum = 0;
    for (std::size_t i = first; i < std::min(first + count, samples.size()); ++i) {
        sum += static_cast<double>(samples[i]) * static_cast<double>(samples[i]);
    }
    return std::sqrt(sum / static_cast<double>(count));
}

constexpr double toneOfTheClip = 440;

class SoundTest : public MediaTest {
protected:
    SoundTest() { engine = std::make_unique<FFmpegEngine>(FFmpegOptions{}, sink); }
    std::shared_ptr<RecordingSink> sink = std::make_shared<RecordingSink>();
};

TEST_F(SoundTest, FollowsThePictureAtItsOriginalPitch) {
    const auto player = openReady("h264.mp4");
    for (const double rate : {1.0, 0.5, 2.0}) {
        ASSERT_TRUE(seekTo(*player, Time(5, 4)));
        const auto start = std::chrono::steady_clock::now();
        player->setRate(static_cast<float>(rate));
        turnFor(rate < 1 ? 1.5 : 1.0);
        const RecordingSink::Heard heard = sink->heard();
        player->pause();
        ASSERT_GT(heard.left.size(), 30000U) << rate;

        // The clip has a plucked tone every half second; the one at 1.5 s is due after another quarter of a second of the clip.
        const double due = 0.25 / rate;
        const double offset = std::chrono::duration<double>(heard.start - start).count();
        constexpr std::size_t window = 240;
        double onset = -1;
        for (auto i = static_cast<std::size_t>(std::max(due - 0.1 - offset, 0.01) * 48000);
             i + 2 * window < heard.left.size(); i += window) {
            if (loudnessAt(heard.left, i + window, window) > 3 * loudnessAt(heard.left, i, window) + 0.02) {
                onset = offset + static_cast<double>(i + window) / 48000;
                break;
            }
        }
        EXPECT_NEAR(onset, due, 0.12) << rate;  // the machine may be busy; another tone would be further off

        const auto from = static_cast<std::size_t>((onset - offset + 0.03) * 48000);
        int crossings = 0;
        constexpr std::size_t stretch = 4800;
        for (std::size_t i = from; i + 1 < std::min(from + stretch, heard.left.size()); ++i) {
            crossings += heard.left[i] < 0 && heard.left[i + 1] >= 0 ? 1 : 0;
        }
        EXPECT_NEAR(crossings * 10.0, toneOfTheClip, toneOfTheClip * 0.1) << rate;
    }
}

TEST_F(SoundTest, IsSilentAboveDoubleRateAndWithoutADevice) {
    const auto player = openReady("h264.mp4");
    player->setRate(4);
    turnFor(0.3);
    EXPECT_TRUE(sink->heard().left.empty());
    player->pause();

    sink->hasDevice = false;
    const auto other = openReady("h264.mp4");
    const auto soundless = openReady("h264.mkv");
    const int before = sink->outputs;
    other->setRate(1);
    soundless->setRate(1);
    turnFor(0.3);
    EXPECT_EQ(sink->outputs, before + 1);
    EXPECT_GT(other->currentTime().seconds(), 0.2);
    EXPECT_GT(soundless->currentTime().seconds(), 0.2);
    EXPECT_TRUE(platform->log.empty());
}

}  // namespace
}  // namespace videoanalysis::media::ffmpeg
