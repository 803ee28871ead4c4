#include "Platforms/FFmpeg/Clips/FFmpegImageGenerator.h"

#include "Platforms/FFmpeg/Clips/ClipDecoder.h"
#include "Platforms/FFmpeg/Clips/ClipScan.h"
#include "Platforms/FFmpeg/Clips/PictureShape.h"
#include "Platforms/FFmpeg/EngineCore.h"
#include "Platforms/FFmpeg/MainPoster.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

namespace videoanalysis::media::ffmpeg {

/// What the thread and the generator share. The thread never owns the engine.
class FFmpegImageGenerator::Worker : public std::enable_shared_from_this<Worker> {
public:
    Worker(URL url, const FFmpegOptions& options, std::shared_ptr<PicturePool> pool)
        : url_(std::move(url)), options_(options), pool_(std::move(pool)) {}

    /// Main thread.
    void add(const std::vector<Time>& times, Size maximumSize, Order order,
             std::function<void(const GeneratedImage&)> handler) {
        auto request = std::make_shared<Request>();
        request->maximumSize = maximumSize;
        request->handler = std::move(handler);
        for (const Time& time : times) {
            request->wanted.push_back({time});
            if (order == Order::approximateFirst) request->wanted.push_back({time, true});
        }
        const std::lock_guard lock(mutex_);
        requests_.push_back(std::move(request));
        changed_.notify_all();
    }
    /// Main thread.
    void cancelAll() {
        const std::lock_guard lock(mutex_);
        for (const auto& request : requests_) request->handler = {};
        for (const auto& request : delivered_) request->handler = {};
        requests_.clear();
        delivered_.clear();
    }
    /// Main thread.
    void stop() {
        cancelAll();
        poster_.close();
        const std::lock_guard lock(mutex_);
        isStopping_ = true;
        changed_.notify_all();
    }

    /// The thread.
    void run() {
        // Of this thread only, and of the decoder's, which it starts: that is what the system does with it.
        [[maybe_unused]] const int priority = nice(10);
        static_cast<void>(open());  // of a clip that cannot be opened every picture is null

        std::unique_lock lock(mutex_);
        while (!isStopping_) {
            while (!requests_.empty() && requests_.back()->wanted.empty()) requests_.pop_back();
            if (requests_.empty()) {
                changed_.wait(lock);
                continue;
            }
            const std::shared_ptr<Request> request = requests_.back();
            if (!request->isSorted) sort(*request);
            const Wanted wanted = request->wanted.front();
            lock.unlock();
            GeneratedImage image{wanted.time, wanted.time, !wanted.isApproximate, nullptr};
            const bool isDone = !decoder_ || make(*request, wanted, image);
            lock.lock();
            if (!isDone) continue;  // something newer is wanted first, or nothing any more
            if (!request->wanted.empty()) request->wanted.erase(request->wanted.begin());
            deliver(request, std::move(image));
        }
        decoder_ = nullptr;
    }

private:
    struct Wanted {
        Time time;
        bool isApproximate = false;
        std::int64_t frame = 0;
    };
    struct Request {
        std::vector<Wanted> wanted;  // under the lock
        bool isSorted = false;
        Size maximumSize;
        std::function<void(const GeneratedImage&)> handler;  // main thread; empty once cancelled
    };

    /// Approximate pictures first, then in the order of decoding, so that a group is gone through once.
    void sort(Request& request) const {
        request.isSorted = true;
        if (!index_) return;
        std::erase_if(request.wanted, [this](Wanted& wanted) {
            wanted.frame = index_->frameAtTicks(index_->ticksAtTime(wanted.time));
            if (!wanted.isApproximate) return false;
            const std::int64_t exact =
                std::exchange(wanted.frame, index_->firstFrameFrom(index_->startPacketFor(wanted.frame)));
            return wanted.frame == exact;
        });
        std::stable_sort(request.wanted.begin(), request.wanted.end(), [](const Wanted& a, const Wanted& b) {
            return a.isApproximate != b.isApproximate ? a.isApproximate : a.frame < b.frame;
        });
    }

    Result<void> open() {
        auto file = ClipFile::open(url_, ClipFile::Content::video, isStopping_);
        if (!file) return file.failure();
        auto index = scanClip(**file, isStopping_);
        if (!index) return index.failure();
        auto decoder = ClipDecoder::make(*std::move(file), pool_, options_.decoderThreads, options_.maxPixels);
        if (!decoder) return decoder.failure();
        index_ = *std::move(index);
        decoder_ = *std::move(decoder);
        decoder_->setIndex(index_);
        return {};
    }

    bool isOvertaken(const Request& request) {
        const std::lock_guard lock(mutex_);
        return isStopping_ || requests_.empty() || requests_.back().get() != &request;
    }

    /// False when it gave up because something else matters more.
    bool make(const Request& request, const Wanted& wanted, GeneratedImage& image) {
        if (last_ && lastNumber_ == wanted.frame) return finish(request, image);
        if (!decoder_->canContinueTo(wanted.frame, wanted.frame)) {
            last_ = nullptr;
            if (!decoder_->start(index_->startPacketFor(wanted.frame))) return true;
        }
        while (true) {
            if (isOvertaken(request)) return false;
            FrameHandle picture;
            std::int64_t number = 0;
            const Result<ClipDecoder::Status> status = decoder_->next(wanted.frame, picture, number);
            if (!status || *status == ClipDecoder::Status::endOfStream) return finish(request, image);
            if (*status == ClipDecoder::Status::pending) continue;
            last_ = std::move(picture);
            lastNumber_ = number;
            if (number >= wanted.frame) return finish(request, image);
        }
    }

    bool finish(const Request& request, GeneratedImage& image) {
        if (!last_) return true;
        AVStream* stream = decoder_->file().stream();
        const Orientation orientation = orientationOf(*stream, *last_);
        Size size{last_->width * pixelAspectOf(decoder_->file().format(), stream, last_.get()),
                  static_cast<double>(last_->height)};
        if (orientation.swapsSides()) std::swap(size.width, size.height);
        double scale = 1;
        if (!request.maximumSize.isEmpty()) {
            scale = std::min({request.maximumSize.width / size.width, request.maximumSize.height / size.height, 1.0});
        }
        const auto pixels = [scale](double side) { return std::max(static_cast<int>(std::lround(side * scale)), 1); };
        image.actualTime = index_->timeOfTicks(index_->ticksOf(lastNumber_));
        image.bitmap = std::make_shared<const Bitmap>(
            convertPicture(*last_, orientation, pixels(size.width), pixels(size.height)));
        return true;
    }

    /// With the lock held.
    void deliver(const std::shared_ptr<Request>& request, GeneratedImage image) {
        std::erase_if(delivered_, [](const auto& entry) { return entry.use_count() == 1; });
        if (std::find(delivered_.begin(), delivered_.end(), request) == delivered_.end()) delivered_.push_back(request);
        poster_.post([request, image = std::move(image)] {
            const auto handler = request->handler;  // it may cancel, or end this generator
            if (handler) handler(image);
        });
    }

    const URL url_;
    const FFmpegOptions options_;
    const std::shared_ptr<PicturePool> pool_;
    MainPoster poster_;

    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::shared_ptr<Request>> requests_;   // the newest last
    std::vector<std::shared_ptr<Request>> delivered_;  // some of whose pictures may still be on their way
    std::atomic<bool> isStopping_ = false;

    // The thread's own.
    std::shared_ptr<const ClipIndex> index_;
    std::unique_ptr<ClipDecoder> decoder_;
    FrameHandle last_;  // of the decoder's run
    std::int64_t lastNumber_ = 0;
};

FFmpegImageGenerator::FFmpegImageGenerator(std::shared_ptr<EngineCore> core, URL url)
    : core_(std::move(core)), worker_(std::make_shared<Worker>(std::move(url), core_->options, core_->pictures)) {}

FFmpegImageGenerator::~FFmpegImageGenerator() { worker_->stop(); }

void FFmpegImageGenerator::generate(const std::vector<Time>& times, Size maximumSize, Order order,
                                    std::function<void(const GeneratedImage&)> handler) {
    worker_->add(times, maximumSize, order, std::move(handler));
    if (std::exchange(isStarted_, true)) return;
    core_->threads.start([worker = worker_] { worker->run(); });
}

void FFmpegImageGenerator::cancelAll() { worker_->cancelAll(); }

}  // namespace videoanalysis::media::ffmpeg
