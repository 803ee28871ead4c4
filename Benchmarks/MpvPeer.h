#pragma once
// A player to compare with: mpv through libmpv, paused, without a window or sound, decoding with as many threads as ours.
// The media benchmarks measure both in the same run and fail where libmpv is not installed.

#include <memory>
#include <optional>
#include <string>

struct mpv_handle;

namespace videoanalysis::bench {

class MpvPeer {
public:
    /// Never null. Throws std::runtime_error, with the line to type, when libmpv is missing or does not start.
    static std::unique_ptr<MpvPeer> make();
    ~MpvPeer();

    /// Opens `path` and waits for the first picture. Each returns milliseconds, or not a number when it fails.
    double open(const std::string& path);
    double seekExactly(double seconds);
    double stepBack();

    /// Plays `path` in a process of its own for `seconds`, drawn in software at `width` x `height` without sound, and returns
    /// that process's number; `waitFor` waits for its end. This program must pass what it is started with to `playerMain`.
    static int playInProcess(const std::string& path, int width, int height, double seconds);
    /// False when it did not play.
    static bool waitFor(int process);
    /// What a process started by `playInProcess` runs; nothing when the arguments are others. Its exit status.
    static std::optional<int> playerMain(int count, char** arguments);

private:
    explicit MpvPeer(mpv_handle* handle) : handle_(handle) {}
    /// Runs a command and waits for the picture that it leads to.
    double run(const char* const* command);

    mpv_handle* handle_;
};

}  // namespace videoanalysis::bench
