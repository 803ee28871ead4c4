#pragma once
// The item of one presented screen: where it is in the window, how it fades, what lies under it, and who had the keyboard before
// it came. `QtPresenter` makes one for each presentation.

#include "VideoAnalysis/Platform/UI/PresentationStack.h"

#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>

#include <memory>

namespace videoanalysis::qt {

class Backdrop;
class KeyboardFocus;

/// The item that shows the controller's root view, which is loaded by this; null when it is gone.
QQuickItem* itemOf(ui::ViewController& controller);
/// A controller for a screen of the host's, which `item` fills.
std::shared_ptr<ui::ViewController> makeHostController(QQuickItem& item);

/// Main thread.
class QtScreen : public ui::ScreenPeer {
public:
    /// The presentation owns the screen; `focus` must outlive it.
    QtScreen(const ui::Presentation& presentation, QQuickWindow* window, KeyboardFocus& focus);
    ~QtScreen() override;

    /// Null before `load`.
    QQuickItem* item() const { return item_; }

    void willCover() override;
    void load() override;
    void place(const ui::Placement& placement) override;
    void show(double seconds) override;
    void hideBelow(ui::ViewController& below) override;
    void showBelow() override;
    void hide(double seconds) override;
    void remove(bool isShownAgain) override;

    /// Who had the keyboard before this screen covered it.
    struct FocusBelow {
        QPointer<QQuickItem> item;
        bool wasVisible = false;  ///< the focus was shown, because a key had brought it there
    };
    FocusBelow focusBelow;

private:
    void attach();
    void placeBackdrop(const ui::Placement& placement);

    const ui::Presentation& presentation_;
    const QPointer<QQuickWindow> window_;
    KeyboardFocus& focus_;
    QPointer<QQuickItem> item_;
    QPointer<Backdrop> backdrop_;     // under a card
    QPointer<QQuickItem> itemBelow_;  // that this one has hidden
    bool isAttached_ = false;
};

}  // namespace videoanalysis::qt
