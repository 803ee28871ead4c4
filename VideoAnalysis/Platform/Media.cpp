#include "VideoAnalysis/Platform/Media.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace videoanalysis::media {

Time Time::fromSeconds(double seconds, std::int32_t timescale) {
    const double value = std::round(seconds * timescale);
    constexpr double limit = 9.2e18;
    if (timescale <= 0 || !(std::abs(value) < limit)) return {};
    return {static_cast<std::int64_t>(value), timescale};
}

int compare(const Time& a, const Time& b) {
    // Compares whole seconds first, then the cross products of the remainders, which are below 2^62.
    const auto floorDivide = [](std::int64_t value, std::int64_t scale) {
        const std::int64_t quotient = value / scale;
        return value % scale < 0 ? quotient - 1 : quotient;
    };
    const std::int64_t scaleA = std::max(a.timescale, 1);
    const std::int64_t scaleB = std::max(b.timescale, 1);
    const std::int64_t wholeA = floorDivide(a.value, scaleA);
    const std::int64_t wholeB = floorDivide(b.value, scaleB);
    if (wholeA != wholeB) return wholeA < wholeB ? -1 : 1;
    const std::int64_t restA = (a.value - wholeA * scaleA) * scaleB;
    const std::int64_t restB = (b.value - wholeB * scaleB) * scaleA;
    return restA < restB ? -1 : restA > restB ? 1 : 0;
}

void PlayerLayer::setPlayer(std::shared_ptr<Player> player) {
    player_ = std::move(player);
    if (changeObserver) changeObserver();
}

void PlayerLayer::setVideoGravity(VideoGravity gravity) {
    if (gravity_ == gravity) return;
    gravity_ = gravity;
    if (changeObserver) changeObserver();
}

Rect PlayerLayer::pictureRect(const Rect& bounds, Size videoSize, VideoGravity gravity) {
    if (gravity == VideoGravity::resize || videoSize.isEmpty() || bounds.isEmpty()) return bounds;
    const double scaleX = bounds.size.width / videoSize.width;
    const double scaleY = bounds.size.height / videoSize.height;
    const double scale = gravity == VideoGravity::resizeAspect ? std::min(scaleX, scaleY) : std::max(scaleX, scaleY);
    const Size size{videoSize.width * scale, videoSize.height * scale};
    return {bounds.midX() - size.width * 0.5, bounds.midY() - size.height * 0.5, size.width, size.height};
}

Rect PlayerLayer::videoRect(const Rect& bounds) const {
    const std::shared_ptr<PlayerItem> item = player_ ? player_->currentItem() : nullptr;
    return pictureRect(bounds, item ? item->presentationSize() : Size{}, gravity_);
}

}  // namespace videoanalysis::media
