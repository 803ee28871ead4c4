#pragma once
// Pointer events for tests of touch and mouse input.

#include "VideoAnalysis/Platform/UI/PointerEvent.h"
#include "VideoAnalysis/Platform/UI/View.h"

#include <cstdint>
#include <memory>
#include <utility>

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

/// One finger on a view, which it does not keep.
class Finger {
public:
    explicit Finger(std::weak_ptr<ui::View> view, std::int64_t pointer = 0)
        : view_(std::move(view)), pointer_(pointer) {}

    /// Whether the view has a use for it.
    bool press(Point position) { return pass(ui::PointerPhase::began, position); }
    void moveTo(Point position) { pass(ui::PointerPhase::moved, position); }
    void release() { pass(ui::PointerPhase::ended, position_); }
    void cancel() { pass(ui::PointerPhase::cancelled, position_); }
    void drag(Point from, Point to) {
        press(from);
        moveTo(to);
        release();
    }

private:
    bool pass(ui::PointerPhase phase, Point position) {
        position_ = position;
        const ui::PointerEvent event = finger(pointer_, phase, position);
        const std::shared_ptr<ui::View> view = view_.lock();
        return view && view->handlePointers({&event, 1});
    }

    std::weak_ptr<ui::View> view_;
    std::int64_t pointer_;
    Point position_;
};

}  // namespace videoanalysis
