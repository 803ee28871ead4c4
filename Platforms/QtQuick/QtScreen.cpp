#include "Platforms/QtQuick/QtScreen.h"

#include "Platforms/QtQuick/Backdrop.h"
#include "Platforms/QtQuick/KeyboardFocus.h"
#include "Platforms/QtQuick/ViewItem.h"

#include <QPropertyAnimation>

namespace videoanalysis::qt {
namespace {

constexpr double baseLayer = 1000;    // above everything a host has put into its window
constexpr double layersPerLevel = 2;  // for the screen and for the backdrop under it

/// Ties a host's view to the item that shows it.
class HostPeer : public ui::Peer {
public:
    explicit HostPeer(QQuickItem& item) : item(&item) {}
    const QPointer<QQuickItem> item;
};

/// A fade that is still running gives way.
void fade(QQuickItem& item, double opacity, double seconds) {
    qDeleteAll(item.findChildren<QPropertyAnimation*>(Qt::FindDirectChildrenOnly));
    if (!(seconds > 0)) {
        item.setOpacity(opacity);
        return;
    }
    auto* animation = new QPropertyAnimation(&item, "opacity", &item);
    animation->setDuration(qRound(seconds * 1000));
    animation->setEasingCurve(QEasingCurve::OutCubic);
    animation->setEndValue(opacity);
    animation->start(QAbstractAnimation::DeleteWhenStopped);
}

}  // namespace

QQuickItem* itemOf(ui::ViewController& controller) {
    ui::View& view = *controller.view();
    if (const auto* host = dynamic_cast<const HostPeer*>(view.peer().get())) return host->item;
    return itemOf(view);
}

std::shared_ptr<ui::ViewController> makeHostController(QQuickItem& item) {
    auto view = std::make_shared<ui::View>(Rect(0, 0, item.width(), item.height()));
    view->setPeer(std::make_shared<HostPeer>(item));
    auto controller = std::make_shared<ui::ViewController>();
    controller->setView(std::move(view));
    return controller;
}

QtScreen::QtScreen(const ui::Presentation& presentation, QQuickWindow* window, KeyboardFocus& focus)
    : presentation_(presentation), window_(window), focus_(focus) {}

QtScreen::~QtScreen() = default;

void QtScreen::willCover() { focus_.take(*this, presentation_); }

void QtScreen::load() { item_ = itemOf(*presentation_.controller); }

void QtScreen::attach() {
    if (item_->parentItem() != window_->contentItem()) {
        item_->setOpacity(0);
        item_->setFlag(QQuickItem::ItemIsFocusScope);  // where keys go when no control has them
        item_->setParentItem(window_->contentItem());
    }
    item_->setZ(baseLayer + layersPerLevel * presentation_.level);
    isAttached_ = true;
}

void QtScreen::place(const ui::Placement& placement) {
    if (!item_ || !window_) return;
    if (!isAttached_) attach();
    const Rect& frame = placement.frame;
    item_->setPosition({frame.origin.x, frame.origin.y});
    item_->setSize({frame.size.width, frame.size.height});
    item_->setClip(placement.isCard);
    if (!presentation_.isOverlay) placeBackdrop(placement);
}

void QtScreen::placeBackdrop(const ui::Placement& placement) {
    if (!placement.isCard) {
        delete backdrop_.data();
        return;
    }
    if (!backdrop_) {
        backdrop_ = new Backdrop;
        backdrop_->setParent(item_);
        backdrop_->setParentItem(window_->contentItem());
        backdrop_->setZ(item_->z() - 1);
        if (placement.isDismissedBeside) {
            backdrop_->pressed = [controller = std::weak_ptr<ui::ViewController>(presentation_.controller)] {
                if (const auto popover = controller.lock()) popover->dismiss(true, {});
            };
        }
    }
    backdrop_->setSize(window_->contentItem()->size());
    backdrop_->show({item_->position(), item_->size()}, placement.dimming);
}

void QtScreen::show(double seconds) {
    if (!item_ || !isAttached_) return;
    item_->setVisible(true);
    fade(*item_, 1, seconds);
    if (!backdrop_) return;
    backdrop_->setOpacity(seconds > 0 ? 0 : 1);
    fade(*backdrop_, 1, seconds);
}

void QtScreen::hideBelow(ui::ViewController& below) {
    itemBelow_ = itemOf(below);
    if (itemBelow_) itemBelow_->setVisible(false);
}

void QtScreen::showBelow() {
    if (itemBelow_) itemBelow_->setVisible(true);
}

void QtScreen::hide(double seconds) {
    focus_.giveBack(*this);
    if (item_) fade(*item_, 0, seconds);
    if (!backdrop_) return;
    backdrop_->pressed = nullptr;
    fade(*backdrop_, 0, seconds);
}

void QtScreen::remove(bool isShownAgain) {
    if (backdrop_) backdrop_->deleteLater();
    if (item_ && !isShownAgain) item_->setParentItem(nullptr);
}

}  // namespace videoanalysis::qt
