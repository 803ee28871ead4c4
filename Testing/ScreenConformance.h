#pragma once
// What every screen platform must do, as tests: queues and timers, layouts by name, presentation, input and what is seen. A program
// that links `TestingConformance` runs them against a platform by deriving from `ScreenSubject`, or from
// `InteractiveScreenSubject` for one that has a picture and input, and one line for each suite:
//
//     const ScreenBackend backend{"QtQuick", [] { return std::make_unique<QtQuickSubject>(); }};
//     INSTANTIATE_TEST_SUITE_P(QtQuick, ScreenConformance, testing::Values(backend));

#include "VideoAnalysis/Platform/Image.h"
#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Platform/UI/Bundle.h"
#include "VideoAnalysis/Platform/UI/ViewController.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <ostream>
#include <span>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace videoanalysis::conformance {

/// A platform and what a test needs around it. Main thread. Its constructor makes the platform and installs it.
class ScreenSubject {
public:
    virtual ~ScreenSubject() = default;

    virtual Platform& platform() = 0;
    /// Lets time pass and the main queue run until `isDone`; false when that takes too long.
    virtual bool wait(const std::function<bool()>& isDone) = 0;
    /// A controller for one of the host's own screens.
    virtual std::shared_ptr<ui::ViewController> startScreen() = 0;
};

/// A platform that shows a picture and takes input. Positions are points of the screen; input has been delivered when a call
/// returns.
class InteractiveScreenSubject : public ScreenSubject {
public:
    virtual void resize(Size size) = 0;
    /// Shows a plain view at `frame`, over those shown before, and passes it the pointers over it.
    virtual void show(const std::shared_ptr<ui::View>& view, const Rect& frame) = 0;

    /// Fingers that change together: of each event the pointer, the phase and the position count.
    virtual void touch(std::span<const ui::PointerEvent> fingers) = 0;
    /// Something else, such as the window system, takes over the fingers that are down.
    virtual void cancelTouches() = 0;
    virtual void mouse(ui::PointerPhase phase, ui::PointerButton button, Point position) = 0;
    virtual void wheel(Point position, int notches, bool isControlDown) = 0;
    virtual void press(const ui::KeyPress& key) = 0;
    /// The next input comes `seconds` later, by its own time.
    virtual void rest(double seconds) = 0;
    /// Waits until nothing moves, then takes the picture, one pixel for each point.
    virtual Bitmap picture() = 0;
};

template <class Subject>
struct Backend {
    std::string name;
    std::function<std::unique_ptr<Subject>()> make;  ///< a fresh one for each test

    friend void PrintTo(const Backend& backend, std::ostream* stream) { *stream << backend.name; }
};
using ScreenBackend = Backend<ScreenSubject>;
using InteractiveScreenBackend = Backend<InteractiveScreenSubject>;

class ScreenConformance : public testing::TestWithParam<ScreenBackend> {
protected:
    bool wait(const std::function<bool()>& isDone) { return subject->wait(isDone); }
    /// Presents a screen over `below` and dismisses it again: everything that was asked for before has happened then.
    void presentAnother(ui::ViewController& below);

    const std::unique_ptr<ScreenSubject> subject = GetParam().make();
};

class ScreenInputConformance : public testing::TestWithParam<InteractiveScreenBackend> {
protected:
    ~ScreenInputConformance() override;

    bool wait(const std::function<bool()>& isDone) { return subject->wait(isDone); }
    void finger(std::int64_t pointer, ui::PointerPhase phase, Point position);
    void click(Point position);
    /// Two consecutive pictures are the same.
    Bitmap stillPicture();
    /// The overlay of the storyboard, shown.
    std::shared_ptr<ui::ViewController> showOverlay();

    const std::unique_ptr<InteractiveScreenSubject> subject = GetParam().make();

private:
    std::shared_ptr<ui::ViewController> overlay_;
};

}  // namespace videoanalysis::conformance
