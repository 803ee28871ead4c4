#include "Platforms/QtQuick/QtPresenter.h"

#include "Platforms/QtQuick/ViewItem.h"
#include "VideoAnalysis/Platform/Dispatch.h"
#include "VideoAnalysis/Platform/Platform.h"

#include <QPropertyAnimation>
#include <QTimer>

#include <algorithm>
#include <utility>

namespace videoanalysis {
namespace {

constexpr int fadeMilliseconds = 200;
/// Above whatever a host has put into its window.
constexpr double screenLayer = 1000;
constexpr double overlayLayer = 10000;
/// What is presented over an overlay's controller.
constexpr double sheetLayer = 20000;

/// Ties a host's view to the item that shows it.
class HostPeer : public ui::Peer {
public:
    explicit HostPeer(QQuickItem& item) : item(&item) {}
    const QPointer<QQuickItem> item;
};

QQuickItem* itemOf(ui::ViewController& controller) {
    ui::View& view = *controller.view();
    if (const auto* host = dynamic_cast<const HostPeer*>(view.peer().get())) return host->item;
    return videoanalysis::itemOf(view);
}

void fade(QQuickItem& item, double opacity, bool animated) {
    if (!animated) {
        item.setOpacity(opacity);
        return;
    }
    auto* animation = new QPropertyAnimation(&item, "opacity", &item);
    animation->setDuration(fadeMilliseconds);
    animation->setEasingCurve(QEasingCurve::OutCubic);
    animation->setEndValue(opacity);
    animation->start(QAbstractAnimation::DeleteWhenStopped);
}

}  // namespace

struct QtPresenter::Screen {
    std::shared_ptr<ui::ViewController> controller;
    std::weak_ptr<ui::ViewController> presenting;  ///< none for an overlay
    QPointer<QQuickItem> item;
    ui::ViewController::Completion completion;
    bool isOverlay = false;
    bool isAnimated = false;
    bool willAppearIsDone = false;
    bool didAppearIsDone = false;
    bool isLeaving = false;

    void willAppear() {
        if (!std::exchange(willAppearIsDone, true)) controller->viewWillAppear(isAnimated);
    }
    void didAppear() {
        willAppear();
        if (std::exchange(didAppearIsDone, true)) return;
        controller->viewDidAppear(isAnimated);
        if (completion) std::exchange(completion, nullptr)();
    }
    /// A full screen leaves nothing to be seen of the one below.
    void hideBelow(bool hidden) const {
        const auto below = presenting.lock();
        if (!below || controller->modalPresentationStyle() != ui::ModalPresentationStyle::fullScreen) return;
        if (QQuickItem* itemBelow = itemOf(*below)) itemBelow->setVisible(!hidden);
    }
};

QtPresenter::QtPresenter(QQuickWindow& window) : window_(&window), isWide_(window.width() > window.height()) {
    // Both sides of a size change one after the other; the screens follow once.
    const auto resize = [this] {
        if (std::exchange(isResizeDue_, true)) return;
        dispatch::mainQueue().async([self = QPointer<QtPresenter>(this)] {
            if (self) self->windowDidResize();
        });
    };
    connect(window.contentItem(), &QQuickItem::widthChanged, this, resize);
    connect(window.contentItem(), &QQuickItem::heightChanged, this, resize);
}

QtPresenter::~QtPresenter() = default;

std::shared_ptr<ui::ViewController> QtPresenter::makeViewController(QQuickItem& item) {
    auto view = std::make_shared<ui::View>(Rect(0, 0, item.width(), item.height()));
    view->setPeer(std::make_shared<HostPeer>(item));
    auto controller = std::make_shared<ui::ViewController>();
    controller->setView(std::move(view));
    return controller;
}

std::shared_ptr<QtPresenter::Screen> QtPresenter::find(const std::shared_ptr<ui::ViewController>& controller) const {
    const auto found = std::find_if(screens_.begin(), screens_.end(),
                                    [&](const auto& screen) { return screen->controller == controller; });
    return found == screens_.end() ? nullptr : *found;
}

void QtPresenter::present(std::shared_ptr<ui::ViewController> presenting, std::shared_ptr<ui::ViewController> presented,
                          bool animated, ui::ViewController::Completion completion) {
    if (presenting->presentedViewController() || find(presented)) {
        debugLog("A screen is presented already; the second presentation is ignored");
        return;
    }
    presenting->setPresentedViewController(presented);
    auto screen = std::make_shared<Screen>();
    screen->controller = std::move(presented);
    screen->presenting = presenting;
    screen->completion = std::move(completion);
    appear(screen, animated);
}

void QtPresenter::dismiss(std::shared_ptr<ui::ViewController> viewController, bool animated,
                          ui::ViewController::Completion completion) {
    const std::shared_ptr<Screen> screen = find(viewController);
    if (screen) {
        dismissAbove(*viewController, animated);
        if (const auto presenting = screen->presenting.lock()) presenting->setPresentedViewController(nullptr);
        disappear(screen, animated, std::move(completion));
    } else if (completion) {
        dispatch::mainQueue().async(std::move(completion));
    }
}

void QtPresenter::showOverlay(std::shared_ptr<ui::ViewController> root) {
    if (find(root)) return;
    auto screen = std::make_shared<Screen>();
    screen->controller = std::move(root);
    screen->isOverlay = true;
    appear(screen, true);
}

void QtPresenter::hideOverlay(std::shared_ptr<ui::ViewController> root) {
    if (const std::shared_ptr<Screen> screen = find(root)) {
        dismissAbove(*root, true);
        disappear(screen, true, {});
    }
}

void QtPresenter::dismissAbove(ui::ViewController& viewController, bool animated) {
    if (const auto above = viewController.presentedViewController()) dismiss(above, animated, {});
}

void QtPresenter::appear(const std::shared_ptr<Screen>& screen, bool animated) {
    screen->isAnimated = animated;
    screens_.push_back(screen);
    dispatch::mainQueue().async([self = QPointer<QtPresenter>(this), screen, animated] {
        if (!self || screen->isLeaving) return;
        screen->item = itemOf(*screen->controller);  // loads the view
        screen->willAppear();
        if (screen->item && self->window_) {
            screen->item->setParentItem(self->window_->contentItem());
            screen->item->setSize(self->window_->contentItem()->size());
            const auto below = self->find(screen->presenting.lock());
            const bool isSheet = below && (below->isOverlay || (below->item && below->item->z() >= sheetLayer));
            screen->item->setZ(screen->isOverlay ? overlayLayer : isSheet ? sheetLayer : screenLayer);
            screen->item->setOpacity(animated ? 0 : 1);
            screen->item->setVisible(true);
            fade(*screen->item, 1, animated);
        }
        // By the clock, not by the animation, which may stand still while the window is not exposed.
        QTimer::singleShot(animated ? fadeMilliseconds : 0, self, [screen] {
            dispatch::mainQueue().async([screen] {
                if (screen->isLeaving) return;
                screen->hideBelow(true);
                screen->didAppear();
            });
        });
    });
}

void QtPresenter::disappear(const std::shared_ptr<Screen>& screen, bool animated,
                            ui::ViewController::Completion completion) {
    std::erase(screens_, screen);
    screen->isLeaving = true;
    dispatch::mainQueue().async(
        [self = QPointer<QtPresenter>(this), screen, animated, completion = std::move(completion)] {
            screen->didAppear();
            screen->hideBelow(false);
            screen->controller->viewWillDisappear(animated);
            if (!self) return;
            if (screen->item) fade(*screen->item, 0, animated);
            QTimer::singleShot(animated ? fadeMilliseconds : 0, self, [self, screen, animated, completion] {
                dispatch::mainQueue().async([self, screen, animated, completion] {
                    // Unless it has been shown again meanwhile.
                    if (screen->item && self && !self->find(screen->controller)) screen->item->setParentItem(nullptr);
                    screen->controller->viewDidDisappear(animated);
                    if (completion) completion();
                });
            });
        });
}

void QtPresenter::windowDidResize() {
    isResizeDue_ = false;
    if (!window_) return;
    const QSizeF size = window_->contentItem()->size();
    const bool wasWide = std::exchange(isWide_, size.width() > size.height());
    const auto screens = screens_;
    for (const auto& screen : screens) {
        if (isWide_ != wasWide) screen->controller->viewWillTransition({size.width(), size.height()});
        if (screen->item) screen->item->setSize(size);
    }
}

}  // namespace videoanalysis
