#include "Platforms/QtQuick/QtAudioSink.h"

#include <QAudioDevice>
#include <QAudioFormat>
#include <QAudioSink>
#include <QIODevice>
#include <QMediaDevices>
#include <QMetaObject>

#include <algorithm>
#include <utility>

namespace videoanalysis {
namespace {

constexpr double bufferSeconds = 0.25;

/// Runs `work` on the thread of `loop` and waits for it.
template <class Work>
void runOn(QObject* loop, Work&& work) {
    QMetaObject::invokeMethod(loop, std::forward<Work>(work), Qt::BlockingQueuedConnection);
}

/// Push mode: the engine writes when there is room.
class QtAudioOutput final : public media::AudioOutput {
public:
    QtAudioOutput(QObject* loop, const QAudioFormat& format) : loop_(loop), format_(format) {}
    ~QtAudioOutput() override {
        runOn(loop_, [this] { sink_ = nullptr; });
    }

    /// False when the device cannot be opened. On the sink's thread.
    bool open(const QAudioDevice& device) {
        sink_ = std::make_unique<QAudioSink>(device, format_);
        sink_->setBufferSize(format_.bytesForDuration(static_cast<qint64>(bufferSeconds * 1e6)));
        stream_ = sink_->start();
        return stream_ != nullptr;
    }

    std::size_t write(const float* samples, std::size_t frameCount) override {
        std::size_t taken = 0;
        runOn(loop_, [&] {
            if (!stream_) stream_ = sink_->start();
            if (!stream_) return;
            const auto room = static_cast<std::size_t>(format_.framesForBytes(static_cast<qint32>(sink_->bytesFree())));
            const auto wanted = static_cast<qint32>(std::min(frameCount, room));
            const qint64 bytes = stream_->write(reinterpret_cast<const char*>(samples), format_.bytesForFrames(wanted));
            taken = static_cast<std::size_t>(format_.framesForBytes(static_cast<qint32>(std::max<qint64>(bytes, 0))));
        });
        return taken;
    }

    double latency() const override {
        qsizetype waiting = 0;
        runOn(loop_, [&] {
            if (stream_) waiting = std::max<qsizetype>(sink_->bufferSize() - sink_->bytesFree(), 0);
        });
        return static_cast<double>(format_.durationForBytes(static_cast<qint32>(waiting))) / 1e6;
    }

    void reset() override {
        runOn(loop_, [this] {
            if (std::exchange(stream_, nullptr)) sink_->reset();
        });
    }

private:
    QObject* const loop_;
    const QAudioFormat format_;
    std::unique_ptr<QAudioSink> sink_;  // lives on the loop's thread, as what follows
    QIODevice* stream_ = nullptr;       // the sink's own; null while it is stopped
};

}  // namespace

QtAudioSink::QtAudioSink() : loop_(new QObject) {
    thread_.setObjectName(QStringLiteral("sound"));
    loop_->moveToThread(&thread_);
    QObject::connect(&thread_, &QThread::finished, loop_, &QObject::deleteLater);
    thread_.start();
}

QtAudioSink::~QtAudioSink() {
    thread_.quit();
    thread_.wait();
}

std::unique_ptr<media::AudioOutput> QtAudioSink::open(int sampleRate, int channels) {
    QAudioFormat format;
    format.setSampleRate(sampleRate);
    format.setChannelCount(channels);
    format.setSampleFormat(QAudioFormat::Float);
    auto output = std::make_unique<QtAudioOutput>(loop_, format);
    bool isOpen = false;
    runOn(loop_, [&] {
        const QAudioDevice device = QMediaDevices::defaultAudioOutput();
        isOpen = !device.isNull() && device.isFormatSupported(format) && output->open(device);
    });
    return isOpen ? std::move(output) : nullptr;
}

}  // namespace videoanalysis
