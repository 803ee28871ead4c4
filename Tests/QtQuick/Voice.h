#pragma once
// Somebody who speaks into the microphone: tones on a sound server of the test's own, whose only microphone hears what its
// only loudspeaker plays. Made before the program first looks for sound devices.

#include "Support/SoundServer.h"

#include <QProcess>

#include <chrono>

namespace videoanalysis {

class Voice {
public:
    using Clock = std::chrono::steady_clock;

    Voice();
    ~Voice();

    bool isReady() const { return isReady_; }
    /// Plays a short tone at about now, and says when it was really heard, by the word of a listener beside the program's
    /// microphone. Runs the event loop while it waits. A time of zero when it was not heard.
    Clock::time_point beep();
    /// Takes the microphone and all other devices away.
    static void unplug();
    /// How many programs listen to a microphone, the one that answers `beep` among them.
    static int listeners();

private:
    void listen();

    SoundServer server_;
    QProcess player_;
    QProcess listener_;
    bool isReady_ = false;
    Clock::time_point heard_;
};

}  // namespace videoanalysis
