#pragma once
// The environment of the component. A host creates one platform (a real one, or the headless one in tests) and installs it
// before the first use of the component, which accesses everything external through it.

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace videoanalysis {

namespace dispatch {
class MainQueue;
class Timer;
}  // namespace dispatch
namespace graphics {
class Engine;
}
namespace media {
class Engine;
}
namespace recording {
class ScreenRecorder;
}
namespace ui {
class Bundle;
class Device;
class Presenter;
class Screen;
}  // namespace ui

/// Main thread only unless stated otherwise. A platform never calls back into the component from inside one of these calls,
/// except for data-source and layout queries; results are delivered in a later turn of the main queue.
class Platform {
public:
    virtual ~Platform() = default;

    /// Any thread.
    virtual dispatch::MainQueue& mainQueue() = 0;
    /// Calls `fire` on the main thread every `interval` seconds, or once. The platform keeps the timer until it is
    /// invalidated or, unless it repeats, has fired.
    virtual std::shared_ptr<dispatch::Timer> scheduleTimer(double interval, bool repeats,
                                                           std::function<void()> fire) = 0;
    /// Seconds since 1 January 2001 00:00 UTC. Any thread.
    virtual double wallClock() const = 0;

    virtual const ui::Device& device() const = 0;
    virtual const ui::Screen& mainScreen() const = 0;
    /// The component's resources.
    virtual ui::Bundle& bundle() = 0;
    virtual ui::Presenter& presenter() = 0;
    virtual media::Engine& media() = 0;
    virtual graphics::Engine& graphics() = 0;
    virtual recording::ScreenRecorder& screenRecorder() = 0;

    /// An existing, writable directory without a trailing slash; empty if there is none.
    virtual std::string temporaryDirectory() const = 0;
    /// Writes one line for developers. Any thread.
    virtual void debugLog(std::string_view line) = 0;
};

/// Makes `platform` the result of `platform()`. Main thread only, before the first use of the component; each test installs a
/// new one.
void installPlatform(std::shared_ptr<Platform> platform);

/// The installed platform; fatal if there is none.
Platform& platform();

/// Writes one line to the platform's debug log.
void debugLog(std::string_view line);

}  // namespace videoanalysis
