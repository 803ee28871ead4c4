#include "Benchmarks/MpvPeer.h"

#ifdef VIDEOANALYSIS_HAS_MPV

#include "Benchmarks/Benchmark.h"

#include <mpv/client.h>
#include <mpv/render.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <limits>
#include <mutex>
#include <stdexcept>
#include <vector>

namespace videoanalysis::bench {
namespace {

constexpr double failed = std::numeric_limits<double>::quiet_NaN();
constexpr double maxWait = 20;  // seconds

constexpr const char* playerArgument = "--play-with-mpv";

/// Set by mpv, on one of its threads, when there is a new frame.
struct Wake {
    std::mutex mutex;
    std::condition_variable changed;
    bool isDue = false;

    void set() {
        const std::lock_guard lock(mutex);
        isDue = true;
        changed.notify_one();
    }
    void wait() {
        std::unique_lock lock(mutex);
        changed.wait_for(lock, std::chrono::milliseconds(100), [this] { return isDue; });
        isDue = false;
    }
};

/// Draws in software for `seconds`; returns the count of frames.
int drawFrames(mpv_handle* handle, mpv_render_context* context, Wake& wake, int width, int height, double seconds) {
    int size[] = {width, height};
    std::size_t stride = static_cast<std::size_t>(width) * 4;
    std::vector<unsigned char> pixels(stride * static_cast<std::size_t>(height));
    int drawn = 0;
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (std::chrono::steady_clock::now() < end) {
        wake.wait();
        while (mpv_wait_event(handle, 0)->event_id != MPV_EVENT_NONE) {
        }
        if ((mpv_render_context_update(context) & MPV_RENDER_UPDATE_FRAME) == 0) continue;
        mpv_render_param draw[] = {{MPV_RENDER_PARAM_SW_SIZE, size},
                                   {MPV_RENDER_PARAM_SW_FORMAT, const_cast<char*>("bgr0")},
                                   {MPV_RENDER_PARAM_SW_STRIDE, &stride},
                                   {MPV_RENDER_PARAM_SW_POINTER, pixels.data()},
                                   {}};
        if (mpv_render_context_render(context, draw) >= 0) ++drawn;
    }
    return drawn;
}

int play(const std::string& path, int width, int height, double seconds) {
    mpv_handle* handle = mpv_create();
    if (!handle) return 1;
    for (const auto& [name, value] : {std::pair{"vo", "libmpv"},
                                      {"ao", "null"},
                                      {"audio", "no"},
                                      {"hwdec", "no"},
                                      {"config", "no"},
                                      {"loop-file", "inf"},
                                      {"vd-lavc-threads", "0"}}) {
        mpv_set_option_string(handle, name, value);
    }
    if (mpv_initialize(handle) < 0) return 1;
    mpv_render_param create[] = {{MPV_RENDER_PARAM_API_TYPE, const_cast<char*>(MPV_RENDER_API_TYPE_SW)}, {}};
    mpv_render_context* context = nullptr;
    if (mpv_render_context_create(&context, handle, create) < 0) return 1;
    Wake wake;
    mpv_render_context_set_update_callback(
        context, [](void* opaque) { static_cast<Wake*>(opaque)->set(); }, &wake);
    const char* load[] = {"loadfile", path.c_str(), nullptr};
    mpv_command(handle, load);
    const int drawn = drawFrames(handle, context, wake, width, height, seconds);
    mpv_render_context_free(context);
    mpv_terminate_destroy(handle);
    return drawn > seconds ? 0 : 1;
}

}  // namespace

int MpvPeer::playInProcess(const std::string& path, int width, int height, double seconds) {
    const std::string numbers[] = {std::to_string(width), std::to_string(height), std::to_string(seconds)};
    const char* const arguments[] = {
        "bench", playerArgument, path.c_str(), numbers[0].c_str(), numbers[1].c_str(), numbers[2].c_str(), nullptr};
    pid_t process = -1;
    const int error =
        posix_spawn(&process, "/proc/self/exe", nullptr, nullptr, const_cast<char* const*>(arguments), environ);
    return error == 0 ? process : -1;
}

bool MpvPeer::waitFor(int process) {
    int status = 1;
    return process > 0 && waitpid(process, &status, 0) == process && status == 0;
}

std::optional<int> MpvPeer::playerMain(int count, char** arguments) {
    if (count != 6 || std::string(arguments[1]) != playerArgument) return std::nullopt;
    return play(arguments[2], std::stoi(arguments[3]), std::stoi(arguments[4]), std::stod(arguments[5]));
}

std::unique_ptr<MpvPeer> MpvPeer::make() {
    mpv_handle* handle = mpv_create();
    if (!handle) throw std::runtime_error("mpv does not start; libmpv needs LC_NUMERIC=C");
    for (const auto& [name, value] : {std::pair{"vo", "null"},
                                      {"ao", "null"},
                                      {"hwdec", "no"},
                                      {"pause", "yes"},
                                      {"hr-seek", "yes"},
                                      {"keep-open", "yes"},
                                      {"config", "no"},
                                      {"untimed", "yes"},
                                      {"vd-lavc-threads", "0"},
                                      {"audio", "no"}}) {
        mpv_set_option_string(handle, name, value);
    }
    if (mpv_initialize(handle) < 0) {
        mpv_terminate_destroy(handle);
        throw std::runtime_error("mpv does not start");
    }
    return std::unique_ptr<MpvPeer>(new MpvPeer(handle));
}

MpvPeer::~MpvPeer() { mpv_terminate_destroy(handle_); }

double MpvPeer::run(const char* const* command) {
    while (mpv_wait_event(handle_, 0)->event_id != MPV_EVENT_NONE) {
    }
    const double start = now(Clock::wall);
    auto** arguments = const_cast<const char**>(command);
    if (mpv_command(handle_, arguments) < 0) return failed;
    while (true) {
        const mpv_event* event = mpv_wait_event(handle_, maxWait);
        if (event->event_id == MPV_EVENT_PLAYBACK_RESTART) return now(Clock::wall) - start;
        if (event->event_id == MPV_EVENT_NONE) return failed;
    }
}

double MpvPeer::open(const std::string& path) {
    const char* command[] = {"loadfile", path.c_str(), nullptr};
    return run(command);
}

double MpvPeer::seekExactly(double seconds) {
    const std::string position = std::to_string(seconds);
    const char* command[] = {"seek", position.c_str(), "absolute+exact", nullptr};
    return run(command);
}

double MpvPeer::stepBack() {
    const char* command[] = {"frame-back-step", nullptr};
    return run(command);
}

}  // namespace videoanalysis::bench

#else

#include <stdexcept>

namespace videoanalysis::bench {

std::unique_ptr<MpvPeer> MpvPeer::make() {
    throw std::runtime_error(
        "libmpv is missing. Run: sudo apt-get install --no-install-recommends libmpv-dev && ./bench");
}
MpvPeer::~MpvPeer() = default;
double MpvPeer::open(const std::string&) { return 0; }
double MpvPeer::seekExactly(double) { return 0; }
double MpvPeer::stepBack() { return 0; }
int MpvPeer::playInProcess(const std::string&, int, int, double) { return -1; }
bool MpvPeer::waitFor(int) { return false; }
std::optional<int> MpvPeer::playerMain(int, char**) { return std::nullopt; }

}  // namespace videoanalysis::bench

#endif
