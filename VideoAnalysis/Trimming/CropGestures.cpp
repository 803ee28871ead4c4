#include "VideoAnalysis/Trimming/CropGestures.h"

#include "VideoAnalysis/Trimming/CropView.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace videoanalysis {
namespace {

constexpr double cornerReach = 28;  // points

double distance(Point a, Point b) { return std::hypot(a.x - b.x, a.y - b.y); }
Point middle(Point a, Point b) { return {(a.x + b.x) / 2, (a.y + b.y) / 2}; }

}  // namespace

void CropGestures::handle(std::span<const ui::PointerEvent> events) {
    for (const ui::PointerEvent& event : events) note(event);
    follow();
}

void CropGestures::note(const ui::PointerEvent& event) {
    const auto known = std::find_if(pointers_.begin(), pointers_.end(),
                                    [&](const Pointer& pointer) { return pointer.id == event.pointer; });
    const bool isLeft = event.button == ui::PointerButton::left;
    switch (event.phase) {
        case ui::PointerPhase::began:
            if (isLeft && known == pointers_.end() && view_.isCropping()) {
                pointers_.push_back({event.pointer, event.kind, event.position});
            }
            break;
        case ui::PointerPhase::moved:
            if (known != pointers_.end()) known->position = event.position;
            break;
        case ui::PointerPhase::ended:
            if (isLeft && known != pointers_.end()) pointers_.erase(known);
            break;
        case ui::PointerPhase::cancelled: pointers_.clear(); break;
    }
}

void CropGestures::follow() {
    if (pointers_.empty()) {
        release();
    } else if (pointers_.size() == 1) {
        followOne(pointers_[0]);
    } else {
        followPair(pointers_[0], pointers_[1]);
    }
}

void CropGestures::followOne(const Pointer& pointer) {
    const bool isNew = single_ != pointer.id;
    if (isNew) {
        release();
        single_ = pointer.id;
        latest_ = pointer.position;
        corner_ = cornerAt(pointer.position);
    }
    // The corner jumps under a finger at once, under the mouse with the first movement.
    if (!isNew || pointer.kind == ui::PointerKind::touch) move(pointer.position);
}

void CropGestures::followPair(const Pointer& first, const Pointer& second) {
    const Point centre = middle(first.position, second.position);
    const double spread = distance(first.position, second.position);
    const std::pair pair(first.id, second.id);
    if (pair_ != pair) {
        release();
        pair_ = pair;
        latest_ = centre;
    } else if (spread_ > 0 && spread > 0) {
        view_.zoom(spread / spread_, centre);
        move(centre);
    }
    spread_ = spread;
}

std::optional<CropCorner> CropGestures::cornerAt(Point position) const {
    if (view_.aspect() != CropView::Aspect::free) return std::nullopt;
    const Rect mask = view_.maskRect();
    const std::array corners = {std::pair(CropCorner::topLeft, Point{mask.minX(), mask.minY()}),
                                std::pair(CropCorner::topRight, Point{mask.maxX(), mask.minY()}),
                                std::pair(CropCorner::bottomLeft, Point{mask.minX(), mask.maxY()}),
                                std::pair(CropCorner::bottomRight, Point{mask.maxX(), mask.maxY()})};
    std::optional<CropCorner> nearest;
    double nearestDistance = cornerReach;
    for (const auto& [corner, point] : corners) {
        const double away = distance(point, position);
        if (!(away < nearestDistance)) continue;
        nearestDistance = away;
        nearest = corner;
    }
    return nearest;
}

void CropGestures::move(Point position) {
    if (corner_) {
        view_.moveCorner(*corner_, position);
    } else {
        view_.pan(position.x - latest_.x, position.y - latest_.y);
    }
    latest_ = position;
}

void CropGestures::release() {
    single_.reset();
    pair_.reset();
    corner_.reset();
    spread_ = 0;
    view_.endMovingCorner();
}

}  // namespace videoanalysis
