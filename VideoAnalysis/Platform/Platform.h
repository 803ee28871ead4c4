#pragma once
// What the component runs on. A host makes one platform (a real one, or the headless one in tests) and installs it before
// it first uses the component; everything the component needs from the outside it asks for here.

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

/// All of it is called on the main thread unless said otherwise. A platform never calls back into the component from inside
/// one of these calls, except for data-source and layout questions; answers come in a later turn of the main queue.
class Platform {
public:
    virtual ~Platform() = default;

    /// Any thread.
    virtual dispatch::MainQueue& mainQueue() = 0;
    /// Calls `fire` on the main thread every `interval` seconds, or once. The timer lives until it is invalidated or has
    /// fired its only time.
    virtual std::shared_ptr<dispatch::Timer> scheduleTimer(double interval, bool repeats,
                                                           std::function<void()> fire) = 0;
    /// Seconds since 1 January 2001 00:00 UTC. Any thread.
    virtual double wallClock() const = 0;

    virtual const ui::Device& device() const = 0;
    virtual const ui::Screen& mainScreen() const = 0;
    /// The component's own resources.
    virtual ui::Bundle& bundle() = 0;
    virtual ui::Presenter& presenter() = 0;
    virtual media::Engine& media() = 0;
    virtual graphics::Engine& graphics() = 0;
    virtual recording::ScreenRecorder& screenRecorder() = 0;

    /// An existing, writable directory without a trailing slash; empty when there is none.
    virtual std::string temporaryDirectory() const = 0;
    /// One line for developers. Any thread.
    virtual void debugLog(std::string_view line) = 0;
};

/// Makes `platform` the one that `platform()` returns. Main thread, before the first use of the component; a test installs a
/// fresh one for each case.
void installPlatform(std::shared_ptr<Platform> platform);

/// The installed platform; fatal when there is none.
Platform& platform();

/// One line to the platform's debug log.
void debugLog(std::string_view line);

}  // namespace videoanalysis
