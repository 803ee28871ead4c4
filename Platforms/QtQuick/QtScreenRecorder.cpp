#include "Platforms/QtQuick/QtScreenRecorder.h"

#include "VideoAnalysis/Platform/Platform.h"

#include <QSize>
#include <QTimer>

#include <algorithm>
#include <mutex>
#include <string>
#include <utility>

namespace videoanalysis::qt {
namespace {

constexpr int microphonePatience = 2000;  // milliseconds; then the recording begins without it
constexpr int maxSide = 8192;

int even(int length) { return std::clamp(length & ~1, 2, maxSide); }

}  // namespace

/// Where pictures and sound go from their threads; nowhere before the movie has opened and after it was stopped.
struct QtScreenRecorder::Target {
    std::mutex mutex;
    recording::MovieWriter* movie = nullptr;

    void set(recording::MovieWriter* newMovie) {
        const std::lock_guard lock(mutex);
        movie = newMovie;
    }
};

QtScreenRecorder::QtScreenRecorder(QQuickWindow& window) : window_(&window) {}

QtScreenRecorder::~QtScreenRecorder() { close(); }

void QtScreenRecorder::setMovieMaker(std::unique_ptr<recording::MovieMaker> maker, const RecordingOptions& options) {
    maker_ = std::move(maker);
    options_ = options;
    options_.framesPerSecond = std::clamp(options_.framesPerSecond, 1, 120);
}

void QtScreenRecorder::later(int number, std::function<void()> work) {
    QMetaObject::invokeMethod(
        this,
        [this, number, work = std::move(work)] {
            if (number == number_) work();
        },
        Qt::QueuedConnection);
}

void QtScreenRecorder::answer(const recording::Error& error) {
    if (const auto handler = std::exchange(handler_, nullptr)) handler(error);
}

// ---- Start: the microphone first, because a movie has a sound track from its beginning or never.

void QtScreenRecorder::startRecording(std::function<void(recording::Error)> handler) {
    if (phase_ == Phase::starting || phase_ == Phase::stopping) return;
    const bool isPossible = isAvailable() && phase_ == Phase::idle;
    const int number = phase_ == Phase::idle ? ++number_ : number_;
    if (!isPossible) {
        const char* reason = isAvailable() ? "the screen is being recorded already" : "the screen cannot be recorded";
        later(number, [handler = std::move(handler), reason] { handler(reason); });
        return;
    }
    phase_ = Phase::starting;
    handler_ = std::move(handler);
    hasBrokenOff_ = false;
    last_ = {};
    target_ = std::make_shared<Target>();
    if (!isMicrophoneEnabled_) {
        later(number, [this] { microphoneDidOpen({}, {}); });
        return;
    }
    if (!microphone_) microphone_ = std::make_unique<Microphone>();
    microphone_->open({
        [this, number](const Microphone::Format& format, const QString& reason) {
            later(number, [this, format, reason] { microphoneDidOpen(format, reason); });
        },
        [target = target_](const float* samples, std::size_t count, Microphone::Clock::time_point moment) {
            const std::lock_guard lock(target->mutex);
            if (target->movie) target->movie->addSound(samples, count, moment);
        },
        [this, number](const QString& reason) {
            later(number, [reason] { debugLog("The recording goes on without sound: " + reason.toStdString()); });
        },
    });
    QTimer::singleShot(microphonePatience, this, [this, number] {
        if (number == number_) microphoneDidOpen({}, QStringLiteral("the sound system does not answer"));
    });
}

void QtScreenRecorder::microphoneDidOpen(const Microphone::Format& format, const QString& reason) {
    if (phase_ != Phase::starting || movie_) return;
    if (!reason.isEmpty()) debugLog("The recording is silent: " + reason.toStdString());
    if (format.channels == 0 && microphone_) microphone_->close();
    const QSize size = window_ ? window_->size() * window_->effectiveDevicePixelRatio() : QSize();
    recording::MovieFormat movie;
    movie.width = even(size.width());
    movie.height = even(size.height());
    movie.framesPerSecond = options_.framesPerSecond;
    movie.channels = format.channels;
    if (format.channels > 0) movie.sampleRate = format.sampleRate;
    movie_ = maker_->makeMovie(
        movie,
        [this, number = number_](const recording::Error& error) {
            later(number, [this, error] { movieDidOpen(error); });
        },
        [this, number = number_](const std::string& line) { later(number, [this, line] { movieDidBreakOff(line); }); });
}

void QtScreenRecorder::movieDidOpen(const recording::Error& error) {
    if (error || !window_) {
        phase_ = Phase::idle;
        endMovie();
        answer(error ? error : recording::Error("the window is gone"));
        return;
    }
    target_->set(movie_.get());
    capture_ = new SceneCapture(*window_, options_.framesPerSecond,
                                [target = target_](const std::uint8_t* pixels, QSize size, std::ptrdiff_t bytesPerRow,
                                                   SceneCapture::Clock::time_point moment) {
                                    const std::lock_guard lock(target->mutex);
                                    if (!target->movie) return;
                                    target->movie->addPicture(pixels, size.width(), size.height(), bytesPerRow, moment);
                                });
    phase_ = Phase::recording;
    answer({});
}

// ---- Stop

void QtScreenRecorder::stopRecording(const URL& output, std::function<void(recording::Error)> handler) {
    if (phase_ == Phase::starting || phase_ == Phase::stopping) return;
    if (phase_ == Phase::idle) {
        later(number_, [handler = std::move(handler)] { handler("nothing is being recorded"); });
        return;
    }
    phase_ = Phase::stopping;
    handler_ = std::move(handler);
    stopCapturing();
    movie_->finish(output, [this, number = number_](const recording::Error& error) {
        later(number, [this, error] { movieDidFinish(error); });
    });
}

void QtScreenRecorder::stopRecording(
    std::function<void(std::shared_ptr<recording::PreviewViewController>, recording::Error)> handler) {
    if (phase_ == Phase::starting || phase_ == Phase::stopping) return;
    const char* reason = phase_ == Phase::idle ? "nothing is being recorded" : "there is no preview of recordings here";
    phase_ = Phase::idle;
    stopCapturing();
    endMovie();
    later(number_, [handler = std::move(handler), reason] { handler(nullptr, reason); });
}

void QtScreenRecorder::movieDidBreakOff(const std::string& reason) {
    if (phase_ != Phase::recording || !breakOffHandler_) return;
    hasBrokenOff_ = true;
    stopCapturing();
    const auto handler = breakOffHandler_;
    handler(reason);
}

void QtScreenRecorder::movieDidFinish(const recording::Error& error) {
    const std::string failure = movie_->statistics().failure;
    phase_ = Phase::idle;
    endMovie();
    if (!error && !failure.empty() && !hasBrokenOff_) debugLog(failure);  // it was saved as far as it went
    answer(error);
}

void QtScreenRecorder::stopCapturing() {
    if (target_) target_->set(nullptr);
    if (microphone_) microphone_->close();
    if (!capture_) return;
    last_.capture = capture_->statistics();
    delete capture_;
}

void QtScreenRecorder::endMovie() {
    stopCapturing();
    if (!movie_) return;
    last_.movie = movie_->statistics();
    movie_.reset();
}

void QtScreenRecorder::close() {
    ++number_;
    phase_ = Phase::idle;
    handler_ = nullptr;
    endMovie();
    microphone_.reset();
}

RecordingStatistics QtScreenRecorder::statistics() const {
    return {movie_ ? movie_->statistics() : last_.movie, capture_ ? capture_->statistics() : last_.capture};
}

}  // namespace videoanalysis::qt
