#include "Platforms/QtQuick/Microphone.h"

#include <QAudioDevice>
#include <QAudioFormat>
#include <QAudioSource>
#include <QIODevice>
#include <QMediaDevices>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <utility>
#include <vector>

namespace videoanalysis::qt {
namespace {

constexpr int sampleRate = 48000;
constexpr int maxChannels = 2;
constexpr int blocksPerSecond = 25;
constexpr int watchInterval = 250;                               // milliseconds
constexpr auto firstPatience = std::chrono::milliseconds(5000);  // until the first block
constexpr auto minTimeout = std::chrono::milliseconds(1000);     // between later ones
constexpr unsigned long maxWait = 2000;                          // milliseconds, for a sound system that hangs

}  // namespace

/// Lives on the microphone's thread.
class Microphone::Listener : public QObject {
public:
    void open(Callbacks callbacks) {
        close();
        callbacks_ = std::move(callbacks);
        const QAudioDevice device = QMediaDevices::defaultAudioInput();
        if (device.isNull()) {
            callbacks_.opened({}, QStringLiteral("there is no microphone"));
            return;
        }
        const QAudioFormat preferred = device.preferredFormat();
        format_ = QAudioFormat();
        format_.setSampleRate(sampleRate);
        format_.setChannelCount(std::clamp(preferred.channelCount(), 1, maxChannels));
        format_.setSampleFormat(QAudioFormat::Float);
        if (!device.isFormatSupported(format_)) format_ = preferred;
        source_ = std::make_unique<QAudioSource>(device, format_);
        source_->setBufferSize(format_.bytesForDuration(2 * 1000000 / blocksPerSecond));
        QIODevice* input = source_->start();
        if (!input || source_->error() != QAudio::NoError || format_.channelCount() > maxChannels) {
            source_.reset();
            callbacks_.opened({}, QStringLiteral("the microphone cannot be opened"));
            return;
        }
        connect(input, &QIODevice::readyRead, this, [this, input] { read(*input); });
        lastHeard_ = Clock::now();
        timeout_ = firstPatience;
        watch_ = std::make_unique<QTimer>();
        watch_->callOnTimeout(this, [this] { check(); });
        watch_->start(watchInterval);
        callbacks_.opened({format_.channelCount(), format_.sampleRate()}, {});
    }

    void close() {
        watch_.reset();
        source_.reset();
    }

private:
    void read(QIODevice& input) {
        const QByteArray bytes = input.readAll();
        const auto now = Clock::now();
        const int frames = format_.framesForBytes(static_cast<qint32>(bytes.size()));
        if (frames == 0) return;
        timeout_ = std::max<Clock::duration>(minTimeout, 2 * (now - lastHeard_));
        lastHeard_ = now;
        const auto count = static_cast<std::size_t>(frames) * static_cast<std::size_t>(format_.channelCount());
        samples_.resize(count);
        const int size = format_.bytesPerSample();
        for (std::size_t i = 0; i < count; ++i) {
            samples_[i] = format_.normalizedSampleValue(bytes.constData() + static_cast<qsizetype>(i) * size);
        }
        callbacks_.heard(samples_.data(), static_cast<std::size_t>(frames), now);
    }

    /// Not every sound system says that a device is gone.
    void check() {
        const bool isStopped = source_->state() == QAudio::StoppedState;
        if (!isStopped && Clock::now() - lastHeard_ < timeout_) return;
        watch_->deleteLater();
        watch_->stop();
        (void)watch_.release();
        source_.reset();
        callbacks_.lost(QStringLiteral("the microphone is gone"));
    }

    Callbacks callbacks_;
    QAudioFormat format_;
    std::unique_ptr<QAudioSource> source_;
    std::unique_ptr<QTimer> watch_;
    std::vector<float> samples_;
    Clock::time_point lastHeard_;
    Clock::duration timeout_{};
};

Microphone::Microphone() : thread_(new QThread), listener_(std::make_shared<Listener>()) {
    thread_->setObjectName(QStringLiteral("microphone"));
    listener_->moveToThread(thread_);
    thread_->start();
}

Microphone::~Microphone() {
    // The thread deletes what lives on it, unless it hangs in the sound system; then it is left behind.
    QMetaObject::invokeMethod(listener_.get(), [listener = listener_, thread = thread_] {
        listener->close();
        thread->quit();
    });
    if (thread_->wait(maxWait)) delete thread_;
}

void Microphone::open(Callbacks callbacks) {
    QMetaObject::invokeMethod(listener_.get(),
                              [listener = listener_.get(), callbacks = std::move(callbacks)]() mutable {
                                  listener->open(std::move(callbacks));
                              });
}

void Microphone::close() {
    QMetaObject::invokeMethod(listener_.get(), [listener = listener_.get()] { listener->close(); });
}

}  // namespace videoanalysis::qt
