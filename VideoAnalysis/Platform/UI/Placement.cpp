#include "VideoAnalysis/Platform/UI/Placement.h"

#include <algorithm>
#include <cmath>

namespace videoanalysis::ui {
namespace {

constexpr Size minSizeForCards{640, 600};
constexpr double margin = 32;
constexpr Size formSize{760, 720};
constexpr Size popoverSize{420, 640};
constexpr double cardDimming = 0.4;

/// The origin on the nearest whole point, the size such that neither edge is off by more than 0.75.
Rect onWholePoints(const Rect& rect) {
    const double x = std::round(rect.origin.x);
    const double y = std::round(rect.origin.y);
    return {x, y, std::round(rect.size.width + (rect.origin.x - x) / 2),
            std::round(rect.size.height + (rect.origin.y - y) / 2)};
}

Rect cardFrame(ModalPresentationStyle style, Size window) {
    const Rect room = Rect({}, window).insetBy(margin, margin);
    if (style == ModalPresentationStyle::pageSheet) return room;
    const bool isPopover = style == ModalPresentationStyle::popover;
    const Size wanted = isPopover ? popoverSize : formSize;
    const Size size{std::min(wanted.width, room.size.width), std::min(wanted.height, room.size.height)};
    if (isPopover) return {{room.maxX() - size.width, room.minY()}, size};
    return {{(window.width - size.width) / 2, (window.height - size.height) / 2}, size};
}

}  // namespace

Placement placementOf(ModalPresentationStyle style, Size window) {
    const bool fillsWindow =
        style == ModalPresentationStyle::fullScreen || style == ModalPresentationStyle::overFullScreen;
    if (fillsWindow || window.width < minSizeForCards.width || window.height < minSizeForCards.height) {
        return {.frame = onWholePoints({{}, window}), .isCard = false, .dimming = 0, .isDismissedBeside = false};
    }
    const bool isPopover = style == ModalPresentationStyle::popover;
    return {.frame = onWholePoints(cardFrame(style, window)),
            .isCard = true,
            .dimming = isPopover ? 0 : cardDimming,
            .isDismissedBeside = isPopover};
}

}  // namespace videoanalysis::ui
