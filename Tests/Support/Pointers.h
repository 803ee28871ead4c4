#pragma once
// Pointer events for tests of touch and mouse input.

#include "VideoAnalysis/Platform/UI/PointerEvent.h"

#include <cstdint>

namespace videoanalysis {

inline ui::PointerEvent finger(std::int64_t pointer, ui::PointerPhase phase, Point position, double time = 0) {
    return {.pointer = pointer, .phase = phase, .position = position, .windowPosition = position, .time = time};
}

inline ui::PointerEvent mouse(ui::PointerButton button, ui::PointerPhase phase, Point position) {
    return {.pointer = -1,
            .phase = phase,
            .kind = ui::PointerKind::mouse,
            .button = phase == ui::PointerPhase::moved ? ui::PointerButton::none : button,
            .position = position,
            .windowPosition = position};
}

/// Sends the events of one finger that moves along the x axis.
template <class Receiver>
void press(Receiver& receiver, std::int64_t pointer, double x, double time) {
    const ui::PointerEvent event = finger(pointer, ui::PointerPhase::began, {x, 0}, time);
    receiver.handle({&event, 1});
}
template <class Receiver>
void move(Receiver& receiver, std::int64_t pointer, double x, double time) {
    const ui::PointerEvent event = finger(pointer, ui::PointerPhase::moved, {x, 0}, time);
    receiver.handle({&event, 1});
}
template <class Receiver>
void release(Receiver& receiver, std::int64_t pointer, double x, double time) {
    const ui::PointerEvent event = finger(pointer, ui::PointerPhase::ended, {x, 0}, time);
    receiver.handle({&event, 1});
}

}  // namespace videoanalysis
