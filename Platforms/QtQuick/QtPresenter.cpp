#include "Platforms/QtQuick/QtPresenter.h"

#include "Platforms/QtQuick/Motion.h"
#include "Platforms/QtQuick/ViewItem.h"
#include "VideoAnalysis/Platform/Dispatch.h"
#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Platform/UI/Appearance.h"
#include "VideoAnalysis/Platform/UI/Device.h"

#include <QKeyEvent>
#include <QPropertyAnimation>
#include <QSGRectangleNode>
#include <QTimer>

#include <algorithm>
#include <functional>
#include <optional>
#include <utility>

namespace videoanalysis::qt {
namespace {

constexpr int fadeMilliseconds = 200;
/// Above whatever a host has put into its window.
constexpr double screenLayer = 1000;
constexpr double overlayLayer = 10000;

using Style = ui::ModalPresentationStyle;

/// Windows of less room than this show every screen in full.
constexpr QSizeF leastForCards(640, 600);
constexpr double margin = 32;
constexpr QSizeF formSize(760, 720);
constexpr QSizeF popoverSize(420, 640);

bool isCard(Style style, QSizeF window) {
    const bool fillsWindow = style == Style::fullScreen || style == Style::overFullScreen;
    return !fillsWindow && window.width() >= leastForCards.width() && window.height() >= leastForCards.height();
}

/// Where a screen stands in a window, on whole points.
QRect placeOf(Style style, QSizeF window) {
    const QRectF whole({}, window);
    if (!isCard(style, window)) return whole.toRect();
    const QRectF room = whole.adjusted(margin, margin, -margin, -margin);
    if (style == Style::pageSheet) return room.toRect();
    QRectF card({}, (style == Style::popover ? popoverSize : formSize).boundedTo(room.size()));
    card.moveCenter(whole.center());
    if (style == Style::popover) card.moveTopRight(room.topRight());
    return card.toRect();
}

/// Lies under a card: it darkens what is below or, where it does not, edges the card; and it takes the presses beside the card.
class Backdrop : public QQuickItem {
public:
    std::function<void()> pressed;

    Backdrop() {
        setFlag(ItemHasContents);
        setAcceptedMouseButtons(Qt::AllButtons);
        setAcceptTouchEvents(true);
        setAcceptHoverEvents(true);
    }
    void show(const QRectF& card, double darkness) {
        card_ = card;
        darkness_ = darkness;
        update();
    }

protected:
    QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData*) override {
        auto* ground = static_cast<QSGRectangleNode*>(old);
        if (!ground) {
            ground = window()->createRectangleNode();
            QSGRectangleNode* edge = window()->createRectangleNode();
            edge->setFlag(QSGNode::OwnedByParent);
            ground->appendChildNode(edge);
        }
        ground->setRect(boundingRect());
        ground->setColor(QColor::fromRgbF(0, 0, 0, static_cast<float>(darkness_)));
        auto* edge = static_cast<QSGRectangleNode*>(ground->firstChild());
        const double hairline = 1 / window()->effectiveDevicePixelRatio();
        edge->setRect(darkness_ > 0 ? QRectF() : card_.adjusted(-hairline, -hairline, hairline, hairline));
        edge->setColor(QColor(128, 128, 128));
        return ground;
    }
    void mousePressEvent(QMouseEvent*) override {
        if (pressed) pressed();
    }
    void touchEvent(QTouchEvent* event) override {
        if (event->type() == QEvent::TouchBegin && pressed) pressed();
    }
    void wheelEvent(QWheelEvent*) override {}

private:
    QRectF card_;
    double darkness_ = 0;
};

/// Ties a host's view to the item that shows it.
class HostPeer : public ui::Peer {
public:
    explicit HostPeer(QQuickItem& item) : item(&item) {}
    const QPointer<QQuickItem> item;
};

QQuickItem* itemOf(ui::ViewController& controller) {
    ui::View& view = *controller.view();
    if (const auto* host = dynamic_cast<const HostPeer*>(view.peer().get())) return host->item;
    return qt::itemOf(view);
}

/// A fade that is still running gives way.
void fade(QQuickItem& item, double opacity, bool animated) {
    qDeleteAll(item.findChildren<QPropertyAnimation*>(Qt::FindDirectChildrenOnly));
    if (!animated) {
        item.setOpacity(opacity);
        return;
    }
    auto* animation = new QPropertyAnimation(&item, "opacity", &item);
    animation->setDuration(Motion::shared().duration(fadeMilliseconds));
    animation->setEasingCurve(QEasingCurve::OutCubic);
    animation->setEndValue(opacity);
    animation->start(QAbstractAnimation::DeleteWhenStopped);
}

int fadeDuration(bool animated) { return animated ? Motion::shared().duration(fadeMilliseconds) : 0; }

/// Nothing for keys that no screen knows.
std::optional<ui::KeyPress> keyPress(const QKeyEvent& event) {
    const auto known = [&event]() -> std::optional<ui::Key> {
        switch (event.key()) {
            case Qt::Key_Space: return ui::Key::space;
            case Qt::Key_Left: return ui::Key::left;
            case Qt::Key_Right: return ui::Key::right;
            case Qt::Key_Home: return ui::Key::home;
            case Qt::Key_End: return ui::Key::end;
            case Qt::Key_Z: return ui::Key::z;
            case Qt::Key_F: return ui::Key::f;
            case Qt::Key_BracketLeft: return ui::Key::leftBracket;
            case Qt::Key_BracketRight: return ui::Key::rightBracket;
            case Qt::Key_Escape: return ui::Key::escape;
            default: return std::nullopt;
        }
    };
    const std::optional<ui::Key> key = known();
    if (!key || (event.modifiers() & (Qt::AltModifier | Qt::MetaModifier))) return std::nullopt;
    // Held down, a key steps on; what it switches, it switches once.
    const bool steps = *key == ui::Key::left || *key == ui::Key::right;
    if (event.isAutoRepeat() && !steps) return std::nullopt;
    return ui::KeyPress{*key, event.modifiers().testFlag(Qt::ShiftModifier),
                        event.modifiers().testFlag(Qt::ControlModifier)};
}

}  // namespace

struct QtPresenter::Screen {
    std::shared_ptr<ui::ViewController> controller;
    ui::Appearance appearance;
    std::weak_ptr<ui::ViewController> presenting;  ///< none for an overlay
    QPointer<QQuickItem> item;
    QPointer<Backdrop> backdrop;      ///< under a card
    QPointer<QQuickItem> itemBelow;   ///< that this one has hidden
    QPointer<QQuickItem> focusBelow;  ///< had the keyboard before this one covered it
    bool wasFocusVisible = false;
    bool isOverlay = false;
    bool isLandscape = false;  ///< how the device was held when the screen was laid out last
    bool isLeaving = false;

    /// A full screen leaves nothing to be seen of the one below.
    void hideBelow() {
        const auto below = presenting.lock();
        if (!below || controller->modalPresentationStyle() != Style::fullScreen) return;
        itemBelow = itemOf(*below);
        if (itemBelow) itemBelow->setVisible(false);
    }
    void showBelow() const {
        if (itemBelow) itemBelow->setVisible(true);
    }
};

QtPresenter::QtPresenter(QQuickWindow& window) : window_(&window) {
    connect(window.contentItem(), &QQuickItem::widthChanged, this, &QtPresenter::layOutLater);
    connect(window.contentItem(), &QQuickItem::heightChanged, this, &QtPresenter::layOutLater);
    connect(&window, &QQuickWindow::activeFocusItemChanged, this, &QtPresenter::keepFocusOnTop);
    window.contentItem()->installEventFilter(this);  // a key that no item has a use for ends there
    window.installEventFilter(this);
}

QtPresenter::~QtPresenter() = default;

bool QtPresenter::eventFilter(QObject* watched, QEvent* event) {
    if (watched == window_) {
        noteInput(*event);
    } else if (event->type() == QEvent::KeyPress) {
        const std::optional<ui::KeyPress> press = keyPress(static_cast<const QKeyEvent&>(*event));
        for (auto screen = screens_.rbegin(); press && screen != screens_.rend(); ++screen) {
            if ((*screen)->controller->keyPressed(*press)) return true;
            if (!(*screen)->isOverlay) break;  // what lies below does not hear
        }
    }
    return QObject::eventFilter(watched, event);
}

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
    presenting->setPresentedViewController(presented);
    auto screen =
        std::make_shared<Screen>(presented, ui::Appearance(presented, animated, std::move(completion)), presenting);
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
    auto screen = std::make_shared<Screen>(root, ui::Appearance(root, true, {}));
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

/// The user turns a desktop's window, not the program. A content orientation is no request either: a window system that is
/// told of one turns the content, and dialogs with it.
void QtPresenter::setPreferredOrientation(ui::DeviceOrientation) {}

void QtPresenter::appear(const std::shared_ptr<Screen>& screen, bool animated) {
    screens_.push_back(screen);
    dispatch::mainQueue().async([self = QPointer<QtPresenter>(this), screen, animated] {
        if (!self || screen->isLeaving) return;
        self->finishLeaving(*screen);
        self->takeFocus(*screen);
        screen->item = itemOf(*screen->controller);  // loads the view
        screen->isLandscape = ui::isLandscape(platform().device().orientation());
        screen->appearance.willAppear();
        if (screen->item && self->window_) {
            if (screen->item->parentItem() != self->window_->contentItem()) {
                screen->item->setOpacity(0);
                screen->item->setFlag(QQuickItem::ItemIsFocusScope);  // where keys go when no control has them
                screen->item->setParentItem(self->window_->contentItem());
            }
            const auto below = screen->isOverlay ? nullptr : self->find(screen->presenting.lock());
            screen->item->setZ(screen->isOverlay      ? overlayLayer
                               : below && below->item ? below->item->z() + 2
                                                      : screenLayer);
            self->place(*screen);
            screen->item->setVisible(true);
            fade(*screen->item, 1, animated);
            if (screen->backdrop) {
                screen->backdrop->setOpacity(animated ? 0 : 1);
                fade(*screen->backdrop, 1, animated);
            }
        }
        // By the clock, not by the animation, which may stand still while the window is not exposed.
        QTimer::singleShot(fadeDuration(animated), self, [screen] {
            dispatch::mainQueue().async([screen] {
                if (screen->isLeaving) return;
                screen->hideBelow();
                screen->appearance.didAppear();
            });
        });
    });
}

void QtPresenter::disappear(const std::shared_ptr<Screen>& screen, bool animated,
                            ui::ViewController::Completion completion) {
    std::erase(screens_, screen);
    leaving_.push_back(screen);
    screen->isLeaving = true;
    dispatch::mainQueue().async(
        [self = QPointer<QtPresenter>(this), screen, animated, completion = std::move(completion)] {
            if (self) self->finishLeaving(*screen);
            screen->showBelow();
            screen->appearance.willDisappear(animated, completion);
            if (!self) return;
            self->giveFocusBack(*screen);
            if (screen->item) fade(*screen->item, 0, animated);
            if (screen->backdrop) {
                screen->backdrop->pressed = nullptr;
                fade(*screen->backdrop, 0, animated);
            }
            QTimer::singleShot(fadeDuration(animated), self, [self, screen] {
                dispatch::mainQueue().async([self, screen] {
                    if (self) self->finish(screen);
                });
            });
        });
}

void QtPresenter::finish(const std::shared_ptr<Screen>& screen) {
    if (std::erase(leaving_, screen) == 0) return;
    if (screen->backdrop) screen->backdrop->deleteLater();
    if (screen->item && !find(screen->controller)) screen->item->setParentItem(nullptr);
    screen->appearance.didDisappear();
}

void QtPresenter::finishLeaving(const Screen& next) {
    const auto leaving = leaving_;
    for (const auto& earlier : leaving) {
        if (earlier.get() != &next && earlier->controller == next.controller) finish(earlier);
    }
}

// ---- The keyboard

QtPresenter::Screen* QtPresenter::topScreen() const {
    const auto top =
        std::find_if(screens_.rbegin(), screens_.rend(), [](const auto& screen) { return !screen->isOverlay; });
    return top == screens_.rend() ? nullptr : top->get();
}

/// The screen on top and its overlays may, and so may what a host shows beside its own screen, such as a sheet. What is covered
/// or on its way out may not.
bool QtPresenter::mayHaveFocus(const QQuickItem& item) const {
    const Screen* top = topScreen();
    for (const QQuickItem* ancestor = &item; ancestor && ancestor->parentItem(); ancestor = ancestor->parentItem()) {
        bool isAbove = false;  // of what `top` covers
        for (const auto& screen : screens_) {
            isAbove = isAbove || screen.get() == top;
            if (screen->item == ancestor) return isAbove || !top;
            const auto presenting = screen->presenting.lock();
            if (presenting && itemOf(*presenting) == ancestor) return false;
        }
        if (std::any_of(leaving_.begin(), leaving_.end(),
                        [&](const auto& screen) { return screen->item == ancestor; })) {
            return false;
        }
    }
    return true;
}

/// An item that is covered or hidden would still hear every key.
void QtPresenter::keepFocusOnTop() {
    QQuickItem* focused = window_ ? window_->activeFocusItem() : nullptr;
    if (!focused || mayHaveFocus(*focused)) return;
    if (tabDirection_ != 0) {
        constexpr int limit = 10000;  // items; the chain is a ring, though one that need not lead back here
        QQuickItem* next = focused;
        for (int i = 0; i < limit; ++i) {
            next = next->nextItemInFocusChain(tabDirection_ > 0);
            if (!next || next == focused) break;
            if (next == window_->contentItem() || !mayHaveFocus(*next)) continue;
            next->forceActiveFocus(tabDirection_ > 0 ? Qt::TabFocusReason : Qt::BacktabFocusReason);
            return;
        }
    }
    focused->setFocus(false, Qt::OtherFocusReason);
}

void QtPresenter::takeFocus(Screen& screen) {
    tabDirection_ = 0;
    QQuickItem* focused = window_ ? window_->activeFocusItem() : nullptr;
    if (screen.isOverlay || !focused || mayHaveFocus(*focused)) return;
    screen.focusBelow = focused;
    screen.wasFocusVisible = focused->property("focusVisible").toBool();
    keepFocusOnTop();
}

void QtPresenter::giveFocusBack(const Screen& screen) {
    tabDirection_ = 0;
    QQuickItem* focused = window_ ? window_->activeFocusItem() : nullptr;
    const bool isFree = !focused || focused == window_->contentItem() || !mayHaveFocus(*focused) ||
                        (screen.item && screen.item->isAncestorOf(focused));
    keepFocusOnTop();
    if (!isFree || !screen.focusBelow) return;
    if (mayHaveFocus(*screen.focusBelow)) {
        screen.focusBelow->forceActiveFocus(screen.wasFocusVisible ? Qt::TabFocusReason : Qt::OtherFocusReason);
        return;
    }
    // Another screen has come in the place of this one.
    Screen* top = topScreen();
    if (!top || top->focusBelow) return;
    top->focusBelow = screen.focusBelow;
    top->wasFocusVisible = screen.wasFocusVisible;
}

/// Tab has to find its way past what is covered. A press takes the keyboard from the control to which Tab has brought it, and so
/// does a key when that control has gone: the keys are the screen's again, which means the players'.
void QtPresenter::noteInput(const QEvent& event) {
    const bool isKey = event.type() == QEvent::KeyPress;
    if (!isKey && event.type() != QEvent::MouseButtonPress && event.type() != QEvent::TouchBegin) return;
    tabDirection_ = 0;
    if (isKey) {
        const auto& key = static_cast<const QKeyEvent&>(event);
        const bool isBackward = key.key() == Qt::Key_Backtab || key.modifiers().testFlag(Qt::ShiftModifier);
        if (key.key() == Qt::Key_Tab || key.key() == Qt::Key_Backtab) tabDirection_ = isBackward ? -1 : 1;
    }
    QQuickItem* focused = window_->activeFocusItem();
    const auto holds = [&](const auto& screen) { return screen->item && screen->item->isAncestorOf(focused); };
    if (!focused || !focused->activeFocusOnTab() || std::none_of(screens_.begin(), screens_.end(), holds)) return;
    if (!isKey) {
        focused->setFocus(false, Qt::MouseFocusReason);
    } else if (tabDirection_ == 0 && !focused->isVisible()) {
        focused->setFocus(false, Qt::OtherFocusReason);
    }
}

// ---- Layout

/// Both sides of a size change one after the other; the screens follow once.
void QtPresenter::layOutLater() {
    if (std::exchange(isLayoutDue_, true)) return;
    dispatch::mainQueue().async([self = QPointer<QtPresenter>(this)] {
        if (self) self->layOut();
    });
}

void QtPresenter::layOut() {
    isLayoutDue_ = false;
    if (!window_) return;
    const QSizeF size = window_->contentItem()->size();
    const bool isLandscape = ui::isLandscape(platform().device().orientation());
    const auto screens = screens_;
    for (const auto& screen : screens) {
        if (!screen->item) continue;  // still to be laid out
        const bool wasLandscape = std::exchange(screen->isLandscape, isLandscape);
        if (isLandscape != wasLandscape) screen->controller->viewWillTransition({size.width(), size.height()});
        place(*screen);
    }
}

/// An overlay stands where the screen below it does.
void QtPresenter::place(Screen& screen) const {
    Style style = screen.isOverlay ? Style::fullScreen : screen.controller->modalPresentationStyle();
    for (const auto& other : screens_) {
        if (!screen.isOverlay || other.get() == &screen) break;
        if (!other->isOverlay) style = other->controller->modalPresentationStyle();
    }
    const QSizeF window = window_->contentItem()->size();
    const QRectF rect = placeOf(style, window);
    screen.item->setPosition(rect.topLeft());
    screen.item->setSize(rect.size());
    screen.item->setClip(isCard(style, window));
    if (screen.isOverlay) return;

    if (!isCard(style, window)) {
        delete screen.backdrop.data();
        return;
    }
    if (!screen.backdrop) {
        screen.backdrop = new Backdrop;
        screen.backdrop->setParent(screen.item);
        screen.backdrop->setParentItem(window_->contentItem());
        screen.backdrop->setZ(screen.item->z() - 1);
        if (style == Style::popover) {
            screen.backdrop->pressed = [controller = std::weak_ptr<ui::ViewController>(screen.controller)] {
                if (const auto popover = controller.lock()) popover->dismiss(true, {});
            };
        }
    }
    screen.backdrop->setSize(window);
    screen.backdrop->show(rect, style == Style::popover ? 0 : 0.4);
}

}  // namespace videoanalysis::qt
