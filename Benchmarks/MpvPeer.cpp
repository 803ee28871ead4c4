#include "Benchmarks/MpvPeer.h"

#ifdef VIDEOANALYSIS_HAS_MPV

#include "Benchmarks/Benchmark.h"

#include <mpv/client.h>

#include <limits>

namespace videoanalysis::bench {
namespace {

constexpr double failed = std::numeric_limits<double>::quiet_NaN();
constexpr double longestWait = 20;  // seconds

}  // namespace

std::unique_ptr<MpvPeer> MpvPeer::make() {
    mpv_handle* handle = mpv_create();
    if (!handle) return nullptr;
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
        return nullptr;
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
        const mpv_event* event = mpv_wait_event(handle_, longestWait);
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

double MpvPeer::stepForward() {
    double before = 0;
    mpv_get_property(handle_, "time-pos", MPV_FORMAT_DOUBLE, &before);
    const double start = now(Clock::wall);
    const char* command[] = {"frame-step", nullptr};
    if (mpv_command(handle_, command) < 0) return failed;
    while (now(Clock::wall) - start < longestWait * 1000) {
        double position = before;
        mpv_get_property(handle_, "time-pos", MPV_FORMAT_DOUBLE, &position);
        if (position != before) return now(Clock::wall) - start;
    }
    return failed;
}

}  // namespace videoanalysis::bench

#else

namespace videoanalysis::bench {

std::unique_ptr<MpvPeer> MpvPeer::make() { return nullptr; }
MpvPeer::~MpvPeer() = default;
double MpvPeer::open(const std::string&) { return 0; }
double MpvPeer::seekExactly(double) { return 0; }
double MpvPeer::stepBack() { return 0; }
double MpvPeer::stepForward() { return 0; }

}  // namespace videoanalysis::bench

#endif
