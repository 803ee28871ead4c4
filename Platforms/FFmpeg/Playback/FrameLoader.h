#pragma once
// Loads one clip's frames on threads of its own: opens the clip, scans its index, decodes what is asked for and, when
// nothing is, what will be asked for next. Playback tells it where the playhead stands and is told when there is news.

#include "Platforms/FFmpeg/Clips/ClipDecoder.h"
#include "Platforms/FFmpeg/Clips/ClipIndex.h"
#include "Platforms/FFmpeg/Playback/FrameCache.h"
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
#include <thread>

namespace videoanalysis::media::ffmpeg {

struct LoaderOptions {
    int decoderThreads = 0;                              ///< of each clip; 0 for as many as the machine has cores
    std::int64_t maxPixels = std::int64_t{8192} * 4608;  ///< larger pictures are refused
    double prefetchDelay = 0.12;  ///< seconds without a request after which a seek's neighbours are decoded

    friend bool operator==(const LoaderOptions&, const LoaderOptions&) = default;
};

class FrameLoader {
public:
    using Clock = std::chrono::steady_clock;

    /// What has happened since it was taken last.
    struct News {
        /// A longer index; null when there is nothing new.
        std::shared_ptr<const ClipIndex> index;
        /// The answer to the request with number `request`.
        std::shared_ptr<const DecodedFrame> frame;
        std::int64_t request = 0;
        /// A picture on the way to the one asked for, to be shown meanwhile.
        std::shared_ptr<const DecodedFrame> preview;
        /// Why the clip cannot be played at all; empty when it can.
        std::string openingError;
        /// Why the clip cannot be read on, reported once; empty otherwise. Placeholders follow that are marked as unreadable.
        std::string readingError;
        /// What is wrong with a clip that is played nevertheless, told once; empty otherwise.
        std::string damage;
    };

    /// `notify` is called on the loader's threads, without a lock, when there is news that has not been taken.
    FrameLoader(URL url, LoaderOptions options, std::shared_ptr<FrameCache> cache, std::shared_ptr<PicturePool> pool,
                std::function<void()> notify);
    FrameLoader(const FrameLoader&) = delete;
    FrameLoader& operator=(const FrameLoader&) = delete;
    ~FrameLoader();

    /// The loader's work, until `stop`; for a thread that somebody keeps.
    void run();
    /// Any thread. Returns at once; `notify` may still be called once.
    void stop();

    FrameCache::ClipNumber clip() const { return clip_; }
    News takeNews();

    /// The playhead is at `frame` of the index now. When `isThere` is false its picture is wanted as news, under the number
    /// `request`; what was wanted before is not any more. `showsPreviews` allows pictures on the way.
    void moveTo(std::int64_t frame, bool isThere, std::int64_t request, Travel travel, bool showsPreviews);
    /// Playback has reached `frame`. When it is not there, whatever picture comes next is sent as a preview.
    void playTo(std::int64_t frame, bool isThere);

private:
    struct Goal {
        std::int64_t frame;     // to be decoded next
        std::int64_t keepFrom;  // frames before this one are only decoded where others refer to them
        bool isJump;            // nobody wants the frames between here and there
    };

    Result<void> open();
    void scan();
    void publishIndex(std::shared_ptr<const ClipIndex> index);
    /// With the lock held: what to decode now; nothing when all is there, until `wakeAt` when that is set.
    std::optional<Goal> nextGoal(std::optional<Clock::time_point>& wakeAt);
    Goal backwardGoal(std::int64_t missing, std::int64_t lowest) const;
    /// One step towards the goal: a new start, or one packet.
    void pursue(const Goal& goal);
    /// Begins a run that gives `goal`. False when the clip cannot be read there.
    bool startFor(const Goal& goal, bool isRetry);
    /// Whether so much was decoded without a picture that none will come.
    bool isHopeless();
    void take(FrameHandle picture, std::int64_t number);
    /// The goal's frame does not come out of this run, which has given `upTo` or ended before it: another attempt from a group
    /// earlier, and then `standIn`, if not null, in its place and in that of the others that are missing up to there.
    void handleMissing(const Goal& goal, std::shared_ptr<const DecodedFrame> standIn, std::int64_t upTo,
                       bool isUnreadable);
    /// While there is nothing to decode: makes memory ready for what will be. False when there is enough.
    bool prepareMemory();
    /// Sends the frame that is wanted, when it is in the cache by now. True when it was.
    bool deliverFromCache();
    void tell(std::string News::*what, std::string text);

    const URL url_;
    const LoaderOptions options_;
    const std::shared_ptr<FrameCache> cache_;
    const std::shared_ptr<PicturePool> pool_;
    const FrameCache::ClipNumber clip_;
    const std::function<void()> notify_;
    std::atomic<bool> isStopping_{false};

    std::mutex mutex_;
    std::condition_variable changed_;
    News news_;
    std::shared_ptr<const ClipIndex> index_;
    std::int64_t playhead_ = 0;
    Travel travel_ = Travel::none;
    bool isWanted_ = false;
    std::int64_t request_ = 0;
    bool showsPreviews_ = false;
    bool isPlaying_ = false;
    bool isLate_ = false;
    Clock::time_point requestTime_;

    // The loading thread's own.
    std::unique_ptr<ClipDecoder> decoder_;
    std::shared_ptr<const ClipIndex> decodedIndex_;
    FrameHandle picture_;
    std::int64_t runKeepFrom_ = 0;
    bool isJumping_ = false;
    std::size_t frameBytes_ = 0;   // 0 until the first picture
    std::size_t bufferBytes_ = 0;  // of the memory that it is in
    std::int64_t packetsWithoutPicture_ = 0;
    Clock::time_point firstPacketTime_;
    std::set<std::int64_t> unreachable_;                 // packets at which decoding should have begun, and could not
    std::shared_ptr<const DecodedFrame> lastPicture_;    // of this run
    std::shared_ptr<const DecodedFrame> newestPicture_;  // of any run
    std::int64_t retriedFrame_ = -1;
    std::int64_t startedFor_ = -1;
    int startsForGoal_ = 0;
    bool hasToldOfUnreadable_ = false;
    bool hasToldOfDamage_ = false;
    Clock::time_point lastPreview_;
};

}  // namespace videoanalysis::media::ffmpeg
