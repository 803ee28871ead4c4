#include "Platforms/QtQuick/KeyboardFocus.h"

#include "Platforms/QtQuick/QtScreen.h"
#include "VideoAnalysis/Platform/UI/PresentationStack.h"

#include <QKeyEvent>

#include <algorithm>
#include <memory>

namespace videoanalysis::qt {
namespace {

/// Null for none.
QtScreen* screenOf(const ui::Presentation* presentation) {
    return presentation ? static_cast<QtScreen*>(presentation->peer.get()) : nullptr;
}

bool isItemOf(const std::shared_ptr<ui::Presentation>& presentation, const QQuickItem* item) {
    return screenOf(presentation.get())->item() == item;
}

}  // namespace

/// The screen on top and its overlays may, and so may what a host shows beside its own screen, such as a sheet. What is covered
/// or leaving may not.
bool KeyboardFocus::mayHave(const QQuickItem& item) const {
    const ui::Presentation* top = stack_.top();
    for (const QQuickItem* ancestor = &item; ancestor && ancestor->parentItem(); ancestor = ancestor->parentItem()) {
        bool isAbove = false;  // of what `top` covers
        for (const auto& presentation : stack_.presentations()) {
            isAbove = isAbove || presentation.get() == top;
            if (isItemOf(presentation, ancestor)) return isAbove || !top;
            const auto presenting = presentation->presenting.lock();
            if (presenting && itemOf(*presenting) == ancestor) return false;
        }
        const auto& leaving = stack_.leaving();
        if (std::any_of(leaving.begin(), leaving.end(), [&](const auto& left) { return isItemOf(left, ancestor); })) {
            return false;
        }
    }
    return true;
}

void KeyboardFocus::keepOnTop() {
    QQuickItem* item = focused();
    if (!item || mayHave(*item)) return;
    if (tabDirection_ != 0) {
        constexpr int limit = 10000;  // items; the chain is a ring, though one that need not lead back here
        QQuickItem* next = item;
        for (int i = 0; i < limit; ++i) {
            next = next->nextItemInFocusChain(tabDirection_ > 0);
            if (!next || next == item) break;
            if (next == window_->contentItem() || !mayHave(*next)) continue;
            next->forceActiveFocus(tabDirection_ > 0 ? Qt::TabFocusReason : Qt::BacktabFocusReason);
            return;
        }
    }
    item->setFocus(false, Qt::OtherFocusReason);
}

void KeyboardFocus::take(QtScreen& screen, const ui::Presentation& presentation) {
    tabDirection_ = 0;
    QQuickItem* item = focused();
    if (presentation.isOverlay || !item || mayHave(*item)) return;
    screen.focusBelow = {item, item->property("focusVisible").toBool()};
    keepOnTop();
}

void KeyboardFocus::giveBack(const QtScreen& screen) {
    tabDirection_ = 0;
    const QQuickItem* item = focused();
    const bool isFree = !item || item == window_->contentItem() || !mayHave(*item) ||
                        (screen.item() && screen.item()->isAncestorOf(item));
    keepOnTop();
    const QtScreen::FocusBelow& below = screen.focusBelow;
    if (!isFree || !below.item) return;
    if (mayHave(*below.item)) {
        below.item->forceActiveFocus(below.wasVisible ? Qt::TabFocusReason : Qt::OtherFocusReason);
        return;
    }
    // Another screen has taken the place of this one.
    QtScreen* top = screenOf(stack_.top());
    if (top && !top->focusBelow.item) top->focusBelow = below;
}

/// Tab has to find its way past what is covered. A press takes the keyboard from the control to which Tab has brought it, and so
/// does a key when that control has gone: the keys are the screen's again, which means the players'.
void KeyboardFocus::noteInput(const QEvent& event) {
    const bool isKey = event.type() == QEvent::KeyPress;
    if (!isKey && event.type() != QEvent::MouseButtonPress && event.type() != QEvent::TouchBegin) return;
    tabDirection_ = 0;
    if (isKey) {
        const auto& key = static_cast<const QKeyEvent&>(event);
        const bool isBackward = key.key() == Qt::Key_Backtab || key.modifiers().testFlag(Qt::ShiftModifier);
        if (key.key() == Qt::Key_Tab || key.key() == Qt::Key_Backtab) tabDirection_ = isBackward ? -1 : 1;
    }
    QQuickItem* item = focused();
    const auto holds = [&](const auto& presentation) {
        const QtScreen* screen = screenOf(presentation.get());
        return screen->item() && screen->item()->isAncestorOf(item);
    };
    const auto& screens = stack_.presentations();
    if (!item || !item->activeFocusOnTab() || std::none_of(screens.begin(), screens.end(), holds)) return;
    if (!isKey) {
        item->setFocus(false, Qt::MouseFocusReason);
    } else if (tabDirection_ == 0 && !item->isVisible()) {
        item->setFocus(false, Qt::OtherFocusReason);
    }
}

}  // namespace videoanalysis::qt
