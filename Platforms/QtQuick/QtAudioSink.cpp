#include "Platforms/QtQuick/QtAudioSink.h"

#include <QAudioDevice>
#include <QAudioFormat>
#include <QAudioSink>
#include <QCoreApplication>
#include <QIODevice>
#include <QMediaDevices>
#include <QMetaObject>
#include <QPointer>
#include <QThread>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <functional>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include <stdlib.h>
#include <unistd.h>

namespace videoanalysis {
namespace {

using Clock = std::chrono::steady_clock;

constexpr double bufferSeconds = 0.25;
constexpr auto timeout = std::chrono::milliseconds(500);  // of a sound server that does not answer
constexpr auto retryInterval = std::chrono::seconds(1);   // between attempts to open a device

/// The process ends at once when `exit` is called or `main` returns.
void exitWithoutCleaningUp() {
#ifdef __GLIBC__
    on_exit(
        [](int status, void*) {
            std::fflush(nullptr);
            _exit(status);
        },
        nullptr);
#endif
}

/// A device in push mode: the engine writes when there is room. Sound thread only.
class Device {
public:
    explicit Device(const QAudioFormat& format) : format_(format) {}

    bool open() {
        lastAttempt_ = Clock::now();
        close();
        const QAudioDevice device = QMediaDevices::defaultAudioOutput();
        if (device.isNull() || !device.isFormatSupported(format_)) return false;
        sink_ = std::make_unique<QAudioSink>(device, format_);
        sink_->setBufferSize(format_.bytesForDuration(static_cast<qint64>(bufferSeconds * 1e6)));
        stream_ = sink_->start();
        return stream_ != nullptr;
    }

    void close() {
        stream_ = nullptr;
        sink_ = nullptr;
        isReset_ = false;
    }

    /// The next write opens the device again.
    void reset() {
        if (!stream_) return;
        close();
        isReset_ = true;
    }

    std::size_t write(const std::vector<float>& samples) {
        const bool mayOpen = isReset_ || Clock::now() - lastAttempt_ >= retryInterval;
        if (!stream_ && !(mayOpen && open())) return 0;
        const qsizetype room = sink_->bytesFree();
        if (room < 0) {  // the server is gone, before Qt has noticed: a write would fail with Qt's lock held
            close();
            return 0;
        }
        const auto bytes = std::min(room, static_cast<qsizetype>(samples.size() * sizeof(float)));
        const auto whole = format_.bytesForFrames(format_.framesForBytes(static_cast<qint32>(bytes)));
        const qint64 written = stream_->write(reinterpret_cast<const char*>(samples.data()), whole);
        return static_cast<std::size_t>(format_.framesForBytes(static_cast<qint32>(std::max<qint64>(written, 0))));
    }

    /// Seconds.
    double latency() const {
        const qsizetype room = stream_ ? sink_->bytesFree() : -1;
        if (room < 0) return 0;
        const qsizetype waiting = std::max<qsizetype>(sink_->bufferSize() - room, 0);
        return static_cast<double>(format_.durationForBytes(static_cast<qint32>(waiting))) / 1e6;
    }

private:
    const QAudioFormat format_;
    std::unique_ptr<QAudioSink> sink_;
    QPointer<QIODevice> stream_;  // the sink's own, which deletes it when the server goes away
    Clock::time_point lastAttempt_;
    bool isReset_ = false;
};

/// The thread of all devices, from the first use to the end of the application object. Where the sound server hangs, Qt waits
/// for it without end: nothing here waits for the thread longer than `timeout`, and one that hangs to the end is left behind.
class SoundThread {
public:
    /// Null without an application object.
    static std::shared_ptr<SoundThread> shared() {
        const std::lock_guard lock(sharedMutex());
        if (!sharedThread() && QCoreApplication::instance() && !QCoreApplication::closingDown()) {
            sharedThread() = std::make_shared<SoundThread>();
            qAddPostRoutine([] {
                std::unique_lock ending(sharedMutex());
                const auto thread = std::exchange(sharedThread(), nullptr);
                ending.unlock();
                if (!thread || thread->end()) return;
                // It is inside Qt and never comes back; taking down Qt's sound system under it aborts.
                new std::shared_ptr<SoundThread>(thread);
                exitWithoutCleaningUp();
            });
        }
        return sharedThread();
    }

    SoundThread() {
        thread_->setObjectName(QStringLiteral("sound"));
        loop_->moveToThread(thread_);
        thread_->start();
    }
    SoundThread(const SoundThread&) = delete;
    SoundThread& operator=(const SoundThread&) = delete;

    /// Runs `work` on the thread, later. False after the last one. Any thread.
    bool post(std::function<void()> work, bool isLast = false) {
        const std::lock_guard lock(mutex_);
        if (std::exchange(hasEnded_, hasEnded_ || isLast)) return false;
        QMetaObject::invokeMethod(loop_, std::move(work), Qt::QueuedConnection);
        return true;
    }

    /// What `work` returns when it has run on the thread. Empty when that takes too long, or did before and still does; the
    /// work may run later then, so it owns what it uses. Any thread but that one.
    template <class Work>
    auto ask(Work work) -> std::optional<decltype(work())> {
        struct Question {
            std::mutex mutex;
            std::condition_variable answered;
            std::optional<decltype(work())> answer;
        };
        if (isHanging_) return {};
        const auto question = std::make_shared<Question>();
        const bool isPosted = post([this, question, work = std::move(work)] {
            const auto answer = work();
            const std::lock_guard lock(question->mutex);
            question->answer = answer;
            isHanging_ = false;
            question->answered.notify_all();
        });
        if (!isPosted) return {};
        std::unique_lock lock(question->mutex);
        question->answered.wait_for(lock, timeout, [&] { return question->answer.has_value(); });
        if (!question->answer) isHanging_ = true;
        return question->answer;
    }

    /// Both on the thread.
    void add(std::shared_ptr<Device> device) { devices_.push_back(std::move(device)); }
    void remove(const std::shared_ptr<Device>& device) {
        std::erase(devices_, device);
        device->close();
    }

private:
    static std::mutex& sharedMutex() {
        static std::mutex mutex;
        return mutex;
    }
    static std::shared_ptr<SoundThread>& sharedThread() {
        static std::shared_ptr<SoundThread> thread;
        return thread;
    }

    /// Closes what is open and ends the thread. False when it hangs. Main thread, while there is still an application object.
    bool end() {
        const auto closeAll = [this] {
            // Closing a device lets the event loop run.
            for (const auto& device : std::exchange(devices_, {})) device->close();
            thread_->quit();
        };
        post(closeAll, true);
        if (!thread_->wait(QDeadlineTimer(timeout))) return false;
        delete loop_;
        delete thread_;
        return true;
    }

    std::mutex mutex_;
    bool hasEnded_ = false;  // with the mutex
    std::atomic<bool> isHanging_ = false;
    QThread* const thread_ = new QThread;
    QObject* const loop_ = new QObject;             // lives on the thread; work is posted to it
    std::vector<std::shared_ptr<Device>> devices_;  // thread only
};

class QtAudioOutput final : public media::AudioOutput {
public:
    QtAudioOutput(std::shared_ptr<SoundThread> thread, const QAudioFormat& format)
        : thread_(std::move(thread)), device_(std::make_shared<Device>(format)), channels_(format.channelCount()),
          mostFrames_(static_cast<std::size_t>(bufferSeconds * format.sampleRate())) {
        thread_->post([thread = thread_.get(), device = device_] { thread->add(device); });
    }
    ~QtAudioOutput() override {
        thread_->post([thread = thread_.get(), device = device_] { thread->remove(device); });
    }

    /// False when there is no device. A server that does not answer may do so later.
    bool open() {
        return thread_->ask([device = device_] { return device->open(); }).value_or(true);
    }

    std::size_t write(const float* samples, std::size_t frameCount) override {
        const auto count = static_cast<std::ptrdiff_t>(std::min(frameCount, mostFrames_)) * channels_;
        const auto work = [device = device_, copy = std::vector<float>(samples, samples + count)] {
            return device->write(copy);
        };
        return thread_->ask(work).value_or(0);
    }

    double latency() const override {
        return thread_->ask([device = device_] { return device->latency(); }).value_or(0);
    }

    void reset() override {
        thread_->ask([device = device_] {
            device->reset();
            return true;
        });
    }

private:
    const std::shared_ptr<SoundThread> thread_;
    const std::shared_ptr<Device> device_;
    const std::ptrdiff_t channels_;
    const std::size_t mostFrames_;  // that a write can take
};

}  // namespace

std::unique_ptr<media::AudioOutput> QtAudioSink::open(int sampleRate, int channels) {
    auto thread = SoundThread::shared();
    if (!thread) return nullptr;
    QAudioFormat format;
    format.setSampleRate(sampleRate);
    format.setChannelCount(channels);
    format.setSampleFormat(QAudioFormat::Float);
    auto output = std::make_unique<QtAudioOutput>(std::move(thread), format);
    return output->open() ? std::move(output) : nullptr;
}

}  // namespace videoanalysis
