#pragma once
// Decides what fingers, the mouse and the wheel mean on a player's picture: a stroke, a tap, zooming or moving the picture. The
// scroll view over the picture owns it and carries out what it recognizes.

#include "VideoAnalysis/Platform/OneShotTimer.h"
#include "VideoAnalysis/Platform/UI/GestureRecognizer.h"
#include "VideoAnalysis/Platform/UI/PointerEvent.h"

#include <cstdint>
#include <span>
#include <vector>

namespace videoanalysis {

class GesturedScrollView;

/// One finger, the pen or the left button draws, and taps when it does not move; two fingers and the middle button zoom and move
/// the picture, a double tap shows all of it. Main thread.
class PictureGestures {
public:
    /// `view` must outlive the gestures.
    explicit PictureGestures(GesturedScrollView& view) : view_(view) {}

    /// Pointers that change together come in one call.
    void handle(std::span<const ui::PointerEvent> events);
    /// The wheel or a touch pad zooms by `factor` around `anchor`, in the view's points.
    void zoom(double factor, Point anchor);

private:
    enum class Phase {
        idle,
        stroke,   ///< one pointer, which may still turn out to be a tap
        pinch,    ///< two fingers
        drag,     ///< the middle button
        ignored,  ///< a finger of a pinch has left or a third one has come: until all have left
    };
    struct Finger {
        std::int64_t pointer;
        Point position;
    };
    struct Stroke {
        std::int64_t pointer = 0;
        Point start;
        Point latest;
        double slop = 0;  ///< how far the pointer may stray before it counts as moving, in points
        bool hasMoved = false;
    };
    struct Pinch {
        std::int64_t pointers[2] = {0, 0};
        Point centre;
        double distance = 1;
    };
    struct Drag {
        std::int64_t pointer = 0;
        Point latest;
    };

    void handleFingers(std::span<const ui::PointerEvent> events);
    void handleOne(const ui::PointerEvent& event);
    /// Keeps `fingers_` up to date.
    void note(const ui::PointerEvent& event);
    void beginStroke(const ui::PointerEvent& event);
    void moveStroke(Point position);
    void endStroke();
    /// Something else takes over: a fresh or short stroke is taken back, another one stays.
    void interruptStroke();
    void beginPinch();
    void followPinch();
    void endPinch();
    void cancel();
    void tap();
    void pan(ui::GestureState state, Point position);

    GesturedScrollView& view_;
    Phase phase_ = Phase::idle;
    Stroke stroke_;
    Pinch pinch_;
    Drag drag_;
    std::vector<Finger> fingers_;       // that are down
    dispatch::OneShotTimer freshness_;  // pending while the stroke may be taken back for its age
    dispatch::OneShotTimer secondTap_;  // pending while a second tap makes a double tap
    dispatch::OneShotTimer zoomRest_;   // pending until the wheel has come to rest
};

}  // namespace videoanalysis
