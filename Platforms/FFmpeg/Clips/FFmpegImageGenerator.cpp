#include "Platforms/FFmpeg/Clips/FFmpegImageGenerator.h"

#include "Platforms/FFmpeg/Clips/ClipDecoder.h"
#include "Platforms/FFmpeg/Clips/ClipScan.h"
#include "Platforms/FFmpeg/Clips/PictureShape.h"
#include "Platforms/FFmpeg/EngineCore.h"
#include "Platforms/FFmpeg/MainPoster.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <utility>

namespace videoanalysis::media::ffmpeg {

/// Decodes on its own thread; shared by that thread and the generator. Never owns the engine.
class FFmpegImageGenerator::Worker : public std::enable_shared_from_this<Worker> {
public:
    Worker(URL url, const FFmpegOptions& options, std::shared_ptr<PicturePool> pool)
        : url_(std::move(url)), options_(options), pool_(std::move(pool)) {}

    /// Main thread.
    void add(const std::vector<Time>& times, Size maximumSize, Order order, Handler handler) {
        if (times.empty()) return;
        auto request = std::make_shared<Request>();
        request->number = main_.nextRequest++;
        request->maximumSize = maximumSize;
        for (const Time& time : times) {
            request->pending.push_back({time});
            if (order == Order::approximateFirst) request->pending.push_back({time, true});
        }
        main_.handlers.emplace(request->number, std::make_shared<const Handler>(std::move(handler)));
        {
            const std::lock_guard lock(shared_.mutex);
            shared_.requests.push_back(std::move(request));
        }
        shared_.changed.notify_all();
    }
    /// Main thread. Destroys the handlers.
    void cancelAll() {
        const auto cancelled = std::exchange(main_.handlers, {});  // destroyed last: they may own anything
        const std::lock_guard lock(shared_.mutex);
        shared_.requests.clear();
    }
    /// Main thread. The last call of the generator.
    void stop() {
        poster_.close();
        isStopping_ = true;
        cancelAll();
        shared_.changed.notify_all();
    }

    /// The worker's thread, until `stop`.
    void run() {
        // Lowers the priority of this thread and of the decoder's threads, which inherit it: on Linux it is per thread.
        [[maybe_unused]] const int priority = nice(10);
        static_cast<void>(open());  // of a clip that cannot be opened every picture is null
        while (const auto job = nextJob()) {
            GeneratedImage image{job->wanted.time, job->wanted.time, !job->wanted.isApproximate, nullptr};
            if (!thread_.decoder || make(*job, image)) deliver(*job, std::move(image));
        }
        thread_ = {};
    }

private:
    struct Wanted {
        Time time;
        bool isApproximate = false;
        std::int64_t frame = 0;
    };
    struct Request {
        std::int64_t number = 0;
        Size maximumSize;
        std::vector<Wanted> pending;  // guarded by the worker's mutex
        bool isSorted = false;
    };
    struct Job {
        std::shared_ptr<Request> request;
        Wanted wanted;
    };
    /// Owned by the main thread, so that handlers are never copied or destroyed on another one.
    struct Main {
        std::map<std::int64_t, std::shared_ptr<const Handler>> handlers;  // by request, until its last picture
        std::int64_t nextRequest = 0;
    };
    struct Shared {
        std::mutex mutex;
        std::condition_variable changed;
        std::vector<std::shared_ptr<Request>> requests;  // the newest last
    };
    /// Owned by the worker's thread.
    struct Thread {
        std::shared_ptr<const ClipIndex> index;
        std::unique_ptr<ClipDecoder> decoder;  // null when the clip cannot be opened
        FrameHandle last;                      // of the decoder's run
        std::int64_t lastNumber = 0;
    };

    Result<void> open() {
        auto file = ClipFile::open(url_, ClipFile::Content::video, isStopping_);
        if (!file) return file.failure();
        auto index = scanClip(**file, isStopping_);
        if (!index) return index.failure();
        auto decoder = ClipDecoder::make(*std::move(file), pool_, options_.decoderThreads, options_.maxPixels);
        if (!decoder) return decoder.failure();
        thread_.index = *std::move(index);
        thread_.decoder = *std::move(decoder);
        thread_.decoder->setIndex(thread_.index);
        return {};
    }

    /// Waits for the next picture of the newest request; nothing once stopping.
    std::optional<Job> nextJob() {
        std::unique_lock lock(shared_.mutex);
        auto& requests = shared_.requests;
        while (!isStopping_) {
            while (!requests.empty() && requests.back()->pending.empty()) requests.pop_back();
            if (requests.empty()) {
                shared_.changed.wait(lock);
                continue;
            }
            Request& newest = *requests.back();
            if (!std::exchange(newest.isSorted, true)) sort(newest.pending);
            return Job{requests.back(), newest.pending.front()};
        }
        return std::nullopt;
    }

    /// Approximate pictures first, then in decoding order, so that each group of pictures is decoded once.
    void sort(std::vector<Wanted>& pending) const {
        if (!thread_.index) return;
        const ClipIndex& index = *thread_.index;
        std::erase_if(pending, [&index](Wanted& wanted) {
            wanted.frame = index.frameAtTicks(index.ticksAtTime(wanted.time));
            if (!wanted.isApproximate) return false;
            const std::int64_t exact =
                std::exchange(wanted.frame, index.firstFrameFrom(index.startPacketFor(wanted.frame)));
            return wanted.frame == exact;
        });
        std::stable_sort(pending.begin(), pending.end(), [](const Wanted& a, const Wanted& b) {
            return a.isApproximate != b.isApproximate ? a.isApproximate : a.frame < b.frame;
        });
    }

    /// Whether the request was cancelled, or a newer one goes first.
    bool isPreempted(const Request& request) {
        const std::lock_guard lock(shared_.mutex);
        return isStopping_ || shared_.requests.empty() || shared_.requests.back().get() != &request;
    }

    /// False when it was preempted.
    bool make(const Job& job, GeneratedImage& image) {
        const std::int64_t frame = job.wanted.frame;
        if (!thread_.last || thread_.lastNumber != frame) {
            if (!thread_.decoder->canContinueTo(frame, frame)) {
                thread_.last = nullptr;
                if (!thread_.decoder->start(thread_.index->startPacketFor(frame))) return true;
            }
            if (!decodeTo(job)) return false;
        }
        if (thread_.last) convertLast(job.request->maximumSize, image);
        return true;
    }

    /// Decodes up to the frame, the first one after it, or the end of the run. False when it was preempted.
    bool decodeTo(const Job& job) {
        while (!isPreempted(*job.request)) {
            FrameHandle picture;
            std::int64_t number = 0;
            const Result<ClipDecoder::Status> status = thread_.decoder->next(job.wanted.frame, picture, number);
            if (!status || *status == ClipDecoder::Status::endOfStream) return true;
            if (*status == ClipDecoder::Status::pending) continue;
            thread_.last = std::move(picture);
            thread_.lastNumber = number;
            if (number >= job.wanted.frame) return true;
        }
        return false;
    }

    /// Converts the picture decoded last, upright and no larger than `maximumSize`.
    void convertLast(Size maximumSize, GeneratedImage& image) {
        const AVFrame& picture = *thread_.last;
        AVStream* stream = thread_.decoder->file().stream();
        const Orientation orientation = orientationOf(*stream, picture);
        Size size{picture.width * pixelAspectOf(thread_.decoder->file().format(), stream, thread_.last.get()),
                  static_cast<double>(picture.height)};
        if (orientation.swapsSides()) std::swap(size.width, size.height);
        double scale = 1;
        if (!maximumSize.isEmpty()) {
            scale = std::min({maximumSize.width / size.width, maximumSize.height / size.height, 1.0});
        }
        const auto pixels = [scale](double side) { return std::max(static_cast<int>(std::lround(side * scale)), 1); };
        image.actualTime = thread_.index->timeOfTicks(thread_.index->ticksOf(thread_.lastNumber));
        image.bitmap = std::make_shared<const Bitmap>(
            convertPicture(picture, orientation, pixels(size.width), pixels(size.height)));
    }

    void deliver(const Job& job, GeneratedImage image) {
        bool isLast = false;
        {
            const std::lock_guard lock(shared_.mutex);
            auto& pending = job.request->pending;
            pending.erase(pending.begin());
            isLast = pending.empty();
        }
        poster_.post([weak = weak_from_this(), number = job.request->number, isLast, image = std::move(image)] {
            if (const auto worker = weak.lock()) worker->callHandler(number, image, isLast);
        });
    }

    /// Main thread.
    void callHandler(std::int64_t request, const GeneratedImage& image, bool isLast) {
        const auto found = main_.handlers.find(request);
        if (found == main_.handlers.end()) return;                     // cancelled
        const std::shared_ptr<const Handler> handler = found->second;  // it may cancel, or destroy the generator
        if (isLast) main_.handlers.erase(found);
        if (*handler) (*handler)(image);
    }

    const URL url_;
    const FFmpegOptions options_;
    const std::shared_ptr<PicturePool> pool_;
    MainPoster poster_;
    std::atomic<bool> isStopping_ = false;
    Main main_;
    Shared shared_;
    Thread thread_;
};

FFmpegImageGenerator::FFmpegImageGenerator(std::shared_ptr<EngineCore> core, URL url)
    : core_(std::move(core)), worker_(std::make_shared<Worker>(std::move(url), core_->options, core_->pictures)) {}

FFmpegImageGenerator::~FFmpegImageGenerator() { worker_->stop(); }

void FFmpegImageGenerator::generate(const std::vector<Time>& times, Size maximumSize, Order order, Handler handler) {
    worker_->add(times, maximumSize, order, std::move(handler));
    if (std::exchange(isStarted_, true)) return;
    core_->threads.start([worker = worker_] { worker->run(); });
}

void FFmpegImageGenerator::cancelAll() { worker_->cancelAll(); }

}  // namespace videoanalysis::media::ffmpeg
