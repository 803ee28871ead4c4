#pragma once
// What every media engine must do, as tests that play, step, seek and cut clips whose frames are known. A program that links
// `TestingConformance` runs them against an engine by deriving from `MediaSubject` and one line:
//
//     INSTANTIATE_TEST_SUITE_P(FFmpeg, MediaConformance,
//                              testing::Values(MediaBackend{"FFmpeg", [] { return std::make_unique<FFmpegSubject>(); }}));

#include "VideoAnalysis/Platform/Media.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

namespace videoanalysis::conformance {

/// A clip and what is known of it.
struct MediaClip {
    URL url;
    std::int64_t frames = 0;      ///< at least 60
    media::Time frameDuration;    ///< invalid for a variable rate
    Size size;                    ///< pixels, upright
    double timeTolerance = 1e-9;  ///< seconds; more for a container that rounds times
};

/// An engine and what a test needs around it. Main thread. Its constructor installs a platform whose main queue `wait` drains.
class MediaSubject {
public:
    virtual ~MediaSubject() = default;

    virtual media::Engine& engine() = 0;
    /// Lets time pass and the main queue run until `isDone`; false when that takes too long.
    virtual bool wait(const std::function<bool()>& isDone) = 0;

    /// One or more; the first has a constant rate and the exact times of its frames.
    virtual std::vector<MediaClip> clips() const = 0;
    /// Clips that do not exist or are none.
    virtual std::vector<URL> unplayable() const = 0;
    /// Whether each frame's pixels carry its number, as `readFrameNumber` reads it.
    virtual bool hasNumberedFrames() const { return true; }
};

/// Makes a fresh subject for each test.
struct MediaBackend {
    std::string name;
    std::function<std::unique_ptr<MediaSubject>()> make;

    friend void PrintTo(const MediaBackend& backend, std::ostream* stream) { *stream << backend.name; }
};

class MediaConformance : public testing::TestWithParam<MediaBackend> {
protected:
    /// Makes a call to the engine, during which it must not call back.
    template <class Call>
    void call(Call&& make) {
        isCalling_ = true;
        make();
        isCalling_ = false;
    }
    /// Called first by every observer and completion: they come on the main thread, and never from inside a call.
    void expectLaterTurn() const {
        EXPECT_EQ(std::this_thread::get_id(), mainThread_);
        EXPECT_FALSE(isCalling_) << "called back from inside a call";
    }

    bool wait(const std::function<bool()>& isDone) { return subject->wait(isDone); }
    /// Opens a clip and waits until it is ready and shows its first frame, or has failed, and its observers have been called.
    std::shared_ptr<media::Player> open(const URL& url);
    /// Seeks exactly; nothing when the completion does not come.
    std::optional<bool> seek(media::Player& player, const media::Time& time);
    bool isShown(const media::Player& player, std::int64_t frame);
    /// Everything posted before has run once a seek that is asked for now has been answered.
    void settle(media::Player& player);
    /// Whether the frame shown is number `frame`, by its index, its time and its pixels.
    testing::AssertionResult shows(const media::Player& player, std::int64_t frame) const;
    /// The number in the pixels; -1 when there is none.
    static int numberOf(const Bitmap& bitmap);
    MediaClip firstClip() const { return subject->clips().front(); }

    const std::unique_ptr<MediaSubject> subject = GetParam().make();

private:
    const std::thread::id mainThread_ = std::this_thread::get_id();
    bool isCalling_ = false;
};

/// For engines whose exports write files that they can play.
class MediaExportConformance : public MediaConformance {};

}  // namespace videoanalysis::conformance
