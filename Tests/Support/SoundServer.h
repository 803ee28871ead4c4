#pragma once
// A sound server of a test's own: PulseAudio with one device that plays into nothing, whose sound can be listened to. Programs
// and libraries started after it find it through the environment.

#include <sys/types.h>

#include <string>
#include <vector>

namespace videoanalysis {

class SoundServer {
public:
    /// Starts the server and waits until it answers. `isRunning` is false where that fails.
    SoundServer();
    SoundServer(const SoundServer&) = delete;
    SoundServer& operator=(const SoundServer&) = delete;
    ~SoundServer();

    bool isRunning() const { return server_ > 0; }
    /// For signals to it; the server may be stopped or ended before this object.
    pid_t process() const { return server_; }

    /// Begins to listen to what the device plays.
    void startListening();
    /// What has been heard since, mono, 48,000 samples a second, -1 to 1.
    std::vector<float> heard() const;
    void stopListening() { end(listener_); }

private:
    static void end(pid_t& child);

    std::string folder_;
    pid_t server_ = -1;
    pid_t listener_ = -1;
};

}  // namespace videoanalysis
