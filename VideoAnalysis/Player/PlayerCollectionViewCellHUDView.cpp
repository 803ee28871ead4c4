#include "VideoAnalysis/Player/PlayerCollectionViewCellHUDView.h"

#include "VideoAnalysis/Timeline/TimelineView.h"

#include <sstream>

namespace videoanalysis {
namespace {

constexpr double selectorAnimation = 0.33;  // seconds

}  // namespace

void PlayerCollectionViewCellHUDView::removeAllActions() {
    outlets.forEach<ui::Control>([](ui::Control& control) { control.removeAllActions(); });
    outlets.forEach<ui::Button>([](ui::Button& button) { button.longPressGestureRecognizer.reset(); });
    if (const auto ruler = timelineView.lock()) {
        ruler->stopScrolling();
        ruler->delegate.reset();
    }
    didTouchBesideRates = nullptr;
}

void PlayerCollectionViewCellHUDView::toggleRates() {
    const auto container = playbackRateSelectorContainerView.lock();
    if (container) container->animateAlpha(container->alpha() == 0 ? 1 : 0, selectorAnimation);
}

bool PlayerCollectionViewCellHUDView::closeRates() {
    const auto container = playbackRateSelectorContainerView.lock();
    if (!container || container->alpha() == 0) return false;
    container->animateAlpha(0, selectorAnimation);
    return true;
}

std::string OverlayCollectionViewCell::description() const {
    std::ostringstream text;
    text << "OverlayCollectionViewCell " << static_cast<const void*>(this);
    return text.str();
}

void OverlayCollectionViewCell::connectOutlets(ui::Outlets& layout) {
    ui::CollectionViewCell::connectOutlets(layout);
    hudView->outlets.connect(layout);
}

}  // namespace videoanalysis
