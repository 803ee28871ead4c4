#pragma once
// A private sound server for a test: PulseAudio with one null device whose output can be captured. Programs and libraries
// started after it find it through the environment.

#include <sys/types.h>

#include <string>
#include <vector>

namespace videoanalysis {

class SoundServer {
public:
    /// Starts the server and waits until it responds. On failure `isRunning` is false.
    SoundServer();
    SoundServer(const SoundServer&) = delete;
    SoundServer& operator=(const SoundServer&) = delete;
    ~SoundServer();

    bool isRunning() const { return server_ > 0; }
    /// Process id, to send it signals. The server may be stopped or terminated before this object is destroyed.
    pid_t process() const { return server_; }

    /// Starts capturing the device's output.
    void startListening();
    /// The audio captured since then: mono, 48 kHz, -1...1.
    std::vector<float> heard() const;
    void stopListening() { end(listener_); }

private:
    static void end(pid_t& child);

    std::string folder_;
    pid_t server_ = -1;
    pid_t listener_ = -1;
};

}  // namespace videoanalysis
