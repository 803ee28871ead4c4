#pragma once
// The microphone of a recording: opens the system's default one and hands over its samples, on a separate thread, so that
// the main thread never waits for a device. The screen recorder uses it.

#include <QString>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>

class QThread;

namespace videoanalysis::qt {

/// Main thread; the callbacks come on the microphone's thread. May be opened again and again.
class Microphone {
public:
    using Clock = std::chrono::steady_clock;

    struct Format {
        int channels = 0;  ///< 1 or 2; 0 for no microphone
        int sampleRate = 0;
    };
    struct Callbacks {
        /// The answer to `open`; for a format without channels `reason` says why, in one line.
        std::function<void(Format format, const QString& reason)> opened;
        /// `count` sample frames, interleaved, -1...1, the last heard no later than `moment`.
        std::function<void(const float* samples, std::size_t count, Clock::time_point moment)> heard;
        /// Nothing more will be heard; why, in one line.
        std::function<void(const QString& reason)> lost;
    };

    Microphone();
    /// Closes it. Nothing is called back afterwards.
    ~Microphone();
    Microphone(const Microphone&) = delete;
    Microphone& operator=(const Microphone&) = delete;

    /// Returns at once.
    void open(Callbacks callbacks);
    /// Returns at once; pending blocks may still be handed over.
    void close();

private:
    class Listener;

    QThread* thread_;
    std::shared_ptr<Listener> listener_;
};

}  // namespace videoanalysis::qt
