#pragma once
// Which item of a window may have the keyboard: one of the screen on top and its overlays, none of what they cover. `QtPresenter`
// owns it.

#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>

class QEvent;

namespace videoanalysis::ui {
class PresentationStack;
struct Presentation;
}  // namespace videoanalysis::ui

namespace videoanalysis::qt {

class QtScreen;

/// Main thread.
class KeyboardFocus {
public:
    /// `stack`, whose peers are `QtScreen`s, must outlive it.
    KeyboardFocus(QQuickWindow& window, const ui::PresentationStack& stack) : window_(&window), stack_(stack) {}

    /// `screen` is going to cover the item in focus: it remembers it.
    void take(QtScreen& screen, const ui::Presentation& presentation);
    /// `screen` is leaving: what it has covered has the keyboard again.
    void giveBack(const QtScreen& screen);
    /// The window's focus has moved. An item that is covered or hidden would still receive every key.
    void keepOnTop();
    /// The window's events, before its items receive them.
    void noteInput(const QEvent& event);

private:
    QQuickItem* focused() const { return window_ ? window_->activeFocusItem() : nullptr; }
    bool mayHave(const QQuickItem& item) const;

    const QPointer<QQuickWindow> window_;
    const ui::PresentationStack& stack_;
    int tabDirection_ = 0;  // 1 or -1 while Tab or Backtab was the latest input
};

}  // namespace videoanalysis::qt
