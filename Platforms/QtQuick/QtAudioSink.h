#pragma once
// The sound device of the desktop, through Qt Multimedia. A host hands one to its media engine; where there is no device, or
// none that can be opened, clips are silent.
//
//     media::FFmpegEngine engine({}, std::make_shared<QtAudioSink>());

#include "VideoAnalysis/Platform/AudioSink.h"

#include <QObject>
#include <QThread>

#include <memory>

namespace videoanalysis {

/// Any thread. It has a thread of its own, on which Qt's devices live and find an event loop: the main thread never waits
/// for a sound server. Outputs must be gone before the sink is.
class QtAudioSink final : public media::AudioSink {
public:
    QtAudioSink();
    ~QtAudioSink() override;

    /// An output to the device that is the system's default at that moment.
    std::unique_ptr<media::AudioOutput> open(int sampleRate, int channels) override;

private:
    QThread thread_;
    QObject* loop_ = nullptr;  // lives on the thread; work is run in its name
};

}  // namespace videoanalysis
