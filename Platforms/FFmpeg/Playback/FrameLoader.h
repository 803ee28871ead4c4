#pragma once
// Loads one clip's frames on its own threads: opens the clip, scans its index, decodes requested frames and, when there is no
// request, prefetches those that are likely to be requested next. Playback tells it where the playhead is and takes its events.

#include "Platforms/FFmpeg/Clips/ClipDecoder.h"
#include "Platforms/FFmpeg/Clips/ClipIndex.h"
#include "Platforms/FFmpeg/Playback/FrameCache.h"
#include "Platforms/FFmpeg/Playback/ReadAheadPolicy.h"
#include "VideoAnalysis/Platform/URL.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>

namespace videoanalysis::media::ffmpeg {

struct LoaderOptions {
    int decoderThreads = 0;                              ///< per clip; 0 for as many as the machine has cores
    std::int64_t maxPixels = std::int64_t{8192} * 4608;  ///< larger pictures are refused
    double prefetchDelay =
        0.12;  ///< seconds without a request after which the neighbours of a sought frame are decoded
    ReadAheadOptions readAhead{};

    friend bool operator==(const LoaderOptions&, const LoaderOptions&) = default;
};

class FrameLoader {
public:
    using Clock = std::chrono::steady_clock;

    /// What happened since events were last taken.
    struct Events {
        /// A longer index; null when there is none.
        std::shared_ptr<const ClipIndex> index;
        /// The frame that was asked for by the request with number `request`; null when there is none.
        std::shared_ptr<const DecodedFrame> frame;
        std::int64_t request = 0;
        /// A frame decoded on the way to the requested one, to be shown until that is decoded.
        std::shared_ptr<const DecodedFrame> preview;
        /// Why the clip cannot be played at all; empty when it can.
        std::string openingError;
        /// Why the clip cannot be read further, reported once; empty otherwise. Unreadable placeholder frames follow.
        std::string readingError;
        /// What is damaged in a clip that plays nevertheless, reported once; empty otherwise.
        std::string damage;
    };

    /// `notify` is called on the loader's threads, without a lock, when there are events to take.
    FrameLoader(URL url, LoaderOptions options, std::shared_ptr<FrameCache> cache, std::shared_ptr<PicturePool> pool,
                std::function<void()> notify);
    FrameLoader(const FrameLoader&) = delete;
    FrameLoader& operator=(const FrameLoader&) = delete;
    ~FrameLoader();

    /// The loader thread's work, until `stop` or until the clip turns out to be unplayable.
    void run();
    /// Any thread. Does not wait; `notify` may still be called once.
    void stop();

    FrameCache::ClipNumber clip() const { return clip_; }
    /// Any thread.
    Events takeEvents();

    /// Any thread. Moves the playhead to `frame` of the index and replaces the request before. Unless `isCached`, the frame is
    /// sent as the event of `request`; with `allowsPreviews`, frames on the way are sent too.
    void moveTo(std::int64_t frame, bool isCached, std::int64_t request, Travel travel, bool allowsPreviews);
    /// Any thread. Playback has reached `frame`. Unless `isCached`, frames are sent as previews up to that one.
    void playTo(std::int64_t frame, bool isCached);

private:
    using Goal = ReadAheadPolicy::Goal;

    /// Changes in `enter` only.
    enum class Phase {
        opening,      ///< no playhead yet
        seeking,      ///< decoding the requested frame
        prefetching,  ///< no request: filling the window around the playhead
        playing,      ///< decoding ahead of playback
        late,         ///< the same, and the frame that is due is not decoded yet
        closed,       ///< stopped, or the clip is unplayable; final
    };
    /// Guarded by `mutex`.
    struct Shared {
        std::mutex mutex;
        std::condition_variable changed;
        std::int64_t version = 0;  // of everything below but the events
        Phase phase = Phase::opening;
        std::int64_t playhead = 0;
        Travel travel = Travel::none;
        std::int64_t request = 0;
        bool allowsPreviews = false;
        Clock::time_point requestTime;
        std::shared_ptr<const ClipIndex> index;
        Events events;
    };
    /// A copy of the shared state to work from without the lock.
    struct Demand {
        std::int64_t version;
        Phase phase;
        std::int64_t playhead;
        Travel travel;
        Clock::time_point requestTime;
        std::shared_ptr<const ClipIndex> index;
    };
    /// Owned by the loader thread.
    struct Loader {
        std::unique_ptr<ClipDecoder> decoder;
        std::shared_ptr<const ClipIndex> index;
        FrameHandle picture;

        // The decoder's run.
        std::int64_t runKeepFrom = 0;
        bool isJump = false;
        std::shared_ptr<const DecodedFrame> lastFrame;

        // Attempts at one goal.
        std::int64_t goalFrame = -1;
        int startCount = 0;
        std::int64_t retriedFrame = -1;
        std::set<std::int64_t> unreachablePackets;  // keyframes that could not be read

        // The clip.
        std::shared_ptr<const DecodedFrame> newestFrame;
        std::size_t frameBytes = 0;   // 0 until the first frame
        std::size_t bufferBytes = 0;  // of the pool's buffer that holds a frame; 0 when it is not the pool's
        std::int64_t packetsWithoutPicture = 0;
        Clock::time_point firstPacketTime;
        bool hasReportedUnreadable = false;
        bool hasReportedDamage = false;
        Clock::time_point lastPreviewTime;
    };
    class PolicyClip;

    static bool isLegal(Phase from, Phase to);
    /// With the lock held: the only place where the phase changes. Does nothing once closed.
    void enter(Phase next);

    // The scanner thread.
    void scan();
    void publishIndex(std::shared_ptr<const ClipIndex> index);
    void report(std::string Events::*what, std::string text);

    // The loader thread.
    Result<void> open();
    /// Nothing once closed.
    std::optional<Demand> currentDemand();
    /// Delivers a frame, decodes a packet, prepares memory or waits for the next demand.
    void serve(const Demand& demand);
    /// What to decode now; nothing when all is cached, or before `wakeAt` when that is set.
    std::optional<Goal> nextGoal(const Demand& demand, std::optional<Clock::time_point>& wakeAt) const;
    void waitForChange(std::int64_t version, const std::optional<Clock::time_point>& wakeAt);
    /// Delivers the requested frame if it has been cached since. False when it is not cached.
    bool deliverFromCache(const Demand& demand);
    /// One step towards the goal: a new run, or one packet.
    void pursue(const Goal& goal);
    /// Makes sure that the decoder's run leads to the goal. False when no run does, and placeholders were made.
    bool prepareRun(const Goal& goal);
    /// Starts a run that gives `goal`. False when the clip cannot be read there.
    bool startRun(const Goal& goal, bool isRetry);
    /// Whether so many packets were decoded without a picture that the clip is given up.
    bool isHopeless();
    std::shared_ptr<const DecodedFrame> makeFrame(FrameHandle picture, std::int64_t number);
    /// Caches a decoded frame and sends it if it is due.
    void accept(const std::shared_ptr<const DecodedFrame>& frame);
    void send(const std::shared_ptr<const DecodedFrame>& frame);
    /// The goal's frame is missing from this run, which has given `upTo` or ended before it: retries from one group earlier,
    /// then caches copies of `placeholder` (of the newest frame when null) for the missing frames up to there.
    void handleMissing(const Goal& goal, std::shared_ptr<const DecodedFrame> placeholder, std::int64_t upTo,
                       bool isUnreadable);
    /// Makes memory for one more frame resident. False when there is enough.
    bool prepareMemory();

    const URL url_;
    const LoaderOptions options_;
    const std::shared_ptr<FrameCache> cache_;
    const std::shared_ptr<PicturePool> pool_;
    const FrameCache::ClipNumber clip_;
    const std::function<void()> notify_;
    const ReadAheadPolicy policy_;
    std::atomic<bool> isStopping_{false};  // interrupts blocking reads
    Shared shared_;
    Loader loader_;
};

}  // namespace videoanalysis::media::ffmpeg
