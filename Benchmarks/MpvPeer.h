#pragma once
// A player to compare with: mpv through libmpv, paused, without a window or sound, decoding with as many threads as ours.
// The media benchmarks measure both in the same run; where libmpv is not installed they show their own figures only.

#include <memory>
#include <string>

struct mpv_handle;

namespace videoanalysis::bench {

class MpvPeer {
public:
    /// Null without libmpv.
    static std::unique_ptr<MpvPeer> make();
    ~MpvPeer();

    /// Opens `path` and waits for the first picture. Each returns milliseconds, or not a number when it fails.
    double open(const std::string& path);
    double seekExactly(double seconds);
    double stepBack();
    double stepForward();

private:
    explicit MpvPeer(mpv_handle* handle) : handle_(handle) {}
    /// Runs a command and waits for the picture that it leads to.
    double run(const char* const* command);

    mpv_handle* handle_;
};

}  // namespace videoanalysis::bench
