#pragma once
// A player for comparison: mpv through libmpv, paused, without window or audio, with as many decoder threads as ours. The
// media benchmarks measure both in the same run and fail if libmpv is not installed.

#include <memory>
#include <optional>
#include <string>

struct mpv_handle;

namespace videoanalysis::bench {

class MpvPeer {
public:
    /// Never null. Throws std::runtime_error, with the command to run, if libmpv is missing or does not start.
    static std::unique_ptr<MpvPeer> make();
    ~MpvPeer();

    /// Opens `path` and waits for the first frame. Each returns milliseconds, or NaN on failure.
    double open(const std::string& path);
    double seekExactly(double seconds);
    double stepBack();

    /// Plays `path` in a child process for `seconds`, rendered in software at `width` x `height` without audio. Returns the
    /// process id for `waitFor`. The program's main() must call `playerMain`.
    static int playInProcess(const std::string& path, int width, int height, double seconds);
    /// Waits for the process to exit. False if it did not play.
    static bool waitFor(int process);
    /// Runs the child process of `playInProcess` and returns its exit status; empty for any other arguments.
    static std::optional<int> playerMain(int count, char** arguments);

private:
    explicit MpvPeer(mpv_handle* handle) : handle_(handle) {}
    /// Runs a command and waits for the resulting frame.
    double run(const char* const* command);

    mpv_handle* handle_;
};

}  // namespace videoanalysis::bench
