#pragma once
// Shows screens in a window, over the item of the host's screen, and the overlay over those. `QtQuickPlatform` owns it;
// the component's controllers reach it through `present`, `dismiss` and the overlay window.

#include "VideoAnalysis/Platform/UI/ViewController.h"

#include <QObject>
#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>

#include <memory>
#include <vector>

namespace videoanalysis {

/// Main thread. Every presentation style fills the window; `fullScreen` hides the presenting screen's item as well.
class QtPresenter : public QObject, public ui::Presenter {
public:
    explicit QtPresenter(QQuickWindow& window);
    ~QtPresenter() override;

    /// A controller for a screen of the host's, which `item` fills. Presenting over it hides the item.
    static std::shared_ptr<ui::ViewController> makeViewController(QQuickItem& item);

    void present(std::shared_ptr<ui::ViewController> presenting, std::shared_ptr<ui::ViewController> presented,
                 bool animated, ui::ViewController::Completion completion) override;
    void dismiss(std::shared_ptr<ui::ViewController> viewController, bool animated,
                 ui::ViewController::Completion completion) override;
    void showOverlay(std::shared_ptr<ui::ViewController> root) override;
    void hideOverlay(std::shared_ptr<ui::ViewController> root) override;

private:
    /// One controller on the screen and how far its appearance has come.
    struct Screen;

    /// A screen takes along what is presented over it.
    void dismissAbove(ui::ViewController& viewController, bool animated);
    void appear(const std::shared_ptr<Screen>& screen, bool animated);
    void disappear(const std::shared_ptr<Screen>& screen, bool animated, ui::ViewController::Completion completion);
    std::shared_ptr<Screen> find(const std::shared_ptr<ui::ViewController>& controller) const;
    void windowDidResize();

    QPointer<QQuickWindow> window_;
    /// Those on the screen, from below; the ones that are on their way out are not among them.
    std::vector<std::shared_ptr<Screen>> screens_;
    bool isWide_ = false;
    bool isResizeDue_ = false;
};

}  // namespace videoanalysis
