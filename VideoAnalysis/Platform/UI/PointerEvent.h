#pragma once
// Input as a screen passes it to a view: what pointers, the wheel and a touch pad do. The views and the component's recognizers
// decide what it means.

#include "VideoAnalysis/Platform/Geometry.h"

#include <cstdint>

namespace videoanalysis::ui {

enum class PointerPhase {
    began,
    moved,
    ended,
    /// Something else takes over the input. All pointers that are down on the view are released without effect; position,
    /// pointer and button are not used.
    cancelled,
};
enum class PointerKind { touch, mouse, pen };
enum class PointerButton { none, left, middle, right };

/// One finger, mouse or pen.
struct PointerEvent {
    /// Unique among the pointers that are down; the mouse keeps its number for all its buttons.
    std::int64_t pointer = 0;
    PointerPhase phase = PointerPhase::began;
    PointerKind kind = PointerKind::touch;
    /// The button that has changed, `none` while moving. Fingers and the tip of a pen are `left`.
    PointerButton button = PointerButton::left;
    /// In the view's points.
    Point position;
    /// The same place in points of the view's axes and scale from an origin that does not move with the view, such as the
    /// window's: it stays when a layout moves the view under a resting pointer.
    Point windowPosition;
    /// Seconds on any clock, the same one for all events of a view.
    double time = 0;
};

/// A turn of the wheel or two fingers scrolling on a touch pad.
struct WheelEvent {
    /// In the view's points.
    Point position;
    /// Notches of a wheel, positive away from the person and to the left.
    Point notches;
    /// What a touch pad asks the content to move by, in points; zero for a wheel.
    Point points;
    bool isControlDown = false;
};

/// Two fingers spread or close on a touch pad.
struct MagnifyEvent {
    /// In the view's points.
    Point position;
    /// Since the previous event; 1 for no change.
    double factor = 1;
};

}  // namespace videoanalysis::ui
