#pragma once
// Decides what fingers and the mouse mean on the crop view: moving the picture, moving a corner of the mask, or zooming. The
// crop view owns it and carries out what it recognizes.

#include "VideoAnalysis/Platform/UI/PointerEvent.h"

#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace videoanalysis {

class CropView;

/// A corner of the mask.
enum class CropCorner { topLeft, topRight, bottomLeft, bottomRight };

/// One finger or the left button moves the corner of a free mask that is within reach, or else the picture; two fingers zoom and
/// move the picture, further ones are ignored. Main thread.
class CropGestures {
public:
    /// `view` must outlive the gestures.
    explicit CropGestures(CropView& view) : view_(view) {}

    /// Pointers that change together come in one call.
    void handle(std::span<const ui::PointerEvent> events);

private:
    struct Pointer {
        std::int64_t id;
        ui::PointerKind kind;
        Point position;
    };

    /// Keeps `pointers_` up to date.
    void note(const ui::PointerEvent& event);
    void follow();
    void followOne(const Pointer& pointer);
    void followPair(const Pointer& first, const Pointer& second);
    std::optional<CropCorner> cornerAt(Point position) const;
    void move(Point position);
    void release();

    CropView& view_;
    std::vector<Pointer> pointers_;                              // that are down, in the order in which they came
    std::optional<std::int64_t> single_;                         // the pointer that moves something alone
    std::optional<std::pair<std::int64_t, std::int64_t>> pair_;  // the fingers that zoom
    std::optional<CropCorner> corner_;                           // that `single_` holds
    Point latest_;                                               // of the pointer, or of the middle of the pair
    double spread_ = 0;                                          // between the pair, points
};

}  // namespace videoanalysis
