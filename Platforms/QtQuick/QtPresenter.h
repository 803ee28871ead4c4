#pragma once
// Shows the component's screens in one window: a presented screen over the item of the host's screen, as its presentation
// style wants it, and the overlay over those. `QtQuickPlatform` owns it; the component's controllers reach it through
// `present`, `dismiss` and the overlay window.

#include "VideoAnalysis/Platform/UI/ViewController.h"

#include <QObject>
#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>

#include <memory>
#include <vector>

namespace videoanalysis::qt {

/// Main thread.
class QtPresenter : public QObject, public ui::Presenter {
public:
    explicit QtPresenter(QQuickWindow& window);
    ~QtPresenter() override;

    /// A controller for a screen of the host's, which `item` fills. Presenting over it in full screen hides the item.
    static std::shared_ptr<ui::ViewController> makeViewController(QQuickItem& item);

    void present(std::shared_ptr<ui::ViewController> presenting, std::shared_ptr<ui::ViewController> presented,
                 bool animated, ui::ViewController::Completion completion) override;
    void dismiss(std::shared_ptr<ui::ViewController> viewController, bool animated,
                 ui::ViewController::Completion completion) override;
    void showOverlay(std::shared_ptr<ui::ViewController> root) override;
    void hideOverlay(std::shared_ptr<ui::ViewController> root) override;
    void setPreferredOrientation(ui::DeviceOrientation orientation) override;

    /// The window has another size, or the device is held in another way: the screens follow in the next turn.
    void layOutLater();

    /// Keys that no focused item has taken, and what the window hears.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    /// One controller on the screen and how far its appearance has come.
    struct Screen;

    /// A screen takes along what is presented over it.
    void dismissAbove(ui::ViewController& viewController, bool animated);
    void appear(const std::shared_ptr<Screen>& screen, bool animated);
    void disappear(const std::shared_ptr<Screen>& screen, bool animated, ui::ViewController::Completion completion);
    void finish(const std::shared_ptr<Screen>& screen);
    /// A controller that is shown again while it is fading out has left first.
    void finishLeaving(const Screen& next);
    /// The one that nothing covers, without its overlays; null when there is none.
    Screen* topScreen() const;
    bool mayHaveFocus(const QQuickItem& item) const;
    void keepFocusOnTop();
    void takeFocus(Screen& screen);
    void giveFocusBack(const Screen& screen);
    void noteInput(const QEvent& event);
    std::shared_ptr<Screen> find(const std::shared_ptr<ui::ViewController>& controller) const;
    void layOut();
    void place(Screen& screen) const;

    QPointer<QQuickWindow> window_;
    /// Those on the screen, from below; the ones that are on their way out are not among them.
    std::vector<std::shared_ptr<Screen>> screens_;
    std::vector<std::shared_ptr<Screen>> leaving_;
    int tabDirection_ = 0;  ///< 1 or -1 while Tab or Backtab was the latest input
    bool isLayoutDue_ = false;
};

}  // namespace videoanalysis::qt
