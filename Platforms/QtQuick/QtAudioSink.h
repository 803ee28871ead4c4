#pragma once
// The sound device of the desktop, through Qt Multimedia. A host hands one to its media engine; where there is no device, or
// none that can be opened, clips are silent.
//
//     media::FFmpegEngine engine({}, std::make_shared<QtAudioSink>());

#include "VideoAnalysis/Platform/AudioSink.h"

#include <memory>

namespace videoanalysis {

/// Any thread; needs the application object, and may outlive it together with its outputs, which are silent then. All sinks
/// share one thread, on which Qt's devices live and find an event loop. Calls wait for it at most 0.5 s. While the sound
/// server is gone or hangs, outputs accept nothing; they resume when it is back.
class QtAudioSink final : public media::AudioSink {
public:
    /// An output to the system's default device; it follows a change of the default when it begins again.
    std::unique_ptr<media::AudioOutput> open(int sampleRate, int channels) override;
};

}  // namespace videoanalysis
