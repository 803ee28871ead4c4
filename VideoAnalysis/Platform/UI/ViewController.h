#pragma once
// Screens: a view controller with its life cycle and its presentation over another one, and the window that lies over a
// screen. The platform's presenter shows and removes them and calls the appearance callbacks in later turns.

#include "VideoAnalysis/Platform/Geometry.h"
#include "VideoAnalysis/Platform/UI/Device.h"
#include "VideoAnalysis/Platform/UI/KeyPress.h"
#include "VideoAnalysis/Platform/UI/Outlets.h"
#include "VideoAnalysis/Platform/UI/View.h"

#include <functional>
#include <memory>

namespace videoanalysis::ui {

/// `fullScreen` hides the screen below, `overFullScreen` lets it be seen where the new one is translucent. A page sheet leaves a
/// margin, a form sheet is a smaller card in the middle, and a press beside a popover takes it away. Where there is little
/// room the last three fill the screen.
enum class ModalPresentationStyle { fullScreen, pageSheet, formSheet, overFullScreen, popover };

/// Always made with `std::make_shared`. Main thread.
class ViewController : public std::enable_shared_from_this<ViewController> {
public:
    using Completion = std::function<void()>;

    ViewController() = default;
    virtual ~ViewController() = default;
    ViewController(const ViewController&) = delete;
    ViewController& operator=(const ViewController&) = delete;

    /// The root view. The first read calls `viewDidLoad`.
    const std::shared_ptr<View>& view();
    /// For storyboards and hosts, before the first read of `view`.
    void setView(std::shared_ptr<View> view) { view_ = std::move(view); }
    bool isViewLoaded() const { return isViewLoaded_; }

    /// Connects the declared outlets to the views of `layout`; a controller with actions offers them here too.
    virtual void connectOutlets(Outlets& layout) { outlets.connect(layout); }
    virtual void viewDidLoad() {}
    virtual void viewWillAppear(bool /*animated*/) {}
    virtual void viewDidAppear(bool /*animated*/) {}
    virtual void viewWillDisappear(bool /*animated*/) {}
    virtual void viewDidDisappear(bool /*animated*/) {}
    /// The screen is about to change to `size` (a rotation).
    virtual void viewWillTransition(Size /*size*/) {}

    /// A key was pressed that no control has taken. Returns whether this screen has a use for it.
    virtual bool keyPressed(const KeyPress&) { return false; }

    ModalPresentationStyle modalPresentationStyle() const { return modalPresentationStyle_; }
    void setModalPresentationStyle(ModalPresentationStyle style) { modalPresentationStyle_ = style; }

    /// Shows `viewController` over this one; `completion` (may be empty) runs when it is on the screen. Ignored with a line in
    /// the debug log while this one presents another one already, or `viewController` is presented.
    void present(const std::shared_ptr<ViewController>& viewController, bool animated, Completion completion);
    /// Removes this controller from over the one that presented it; `completion` (may be empty) runs when it is gone,
    /// or in the next turn when it was not presented. What is presented over this one goes with it.
    virtual void dismiss(bool animated, Completion completion);

    std::shared_ptr<ViewController> presentingViewController() const { return presenting_.lock(); }
    const std::shared_ptr<ViewController>& presentedViewController() const { return presented_; }
    /// For the presenter: `presented` (null for none) now lies over this controller.
    void setPresentedViewController(const std::shared_ptr<ViewController>& presented);

protected:
    OutletSet outlets;

private:
    std::shared_ptr<View> view_;
    bool isViewLoaded_ = false;
    ModalPresentationStyle modalPresentationStyle_ = ModalPresentationStyle::fullScreen;
    std::weak_ptr<ViewController> presenting_;
    std::shared_ptr<ViewController> presented_;
};

/// A layer over a screen, with its own root controller. Hidden at first.
class Window {
public:
    int tag = 0;
    Color backgroundColor = Color::clear();

    ~Window();

    const std::shared_ptr<ViewController>& rootViewController() const { return root_; }
    void setRootViewController(std::shared_ptr<ViewController> root);
    bool isHidden() const { return isHidden_; }
    /// The platform shows or hides it; the root controller's appearance callbacks come in a later turn.
    void setHidden(bool hidden);

private:
    std::shared_ptr<ViewController> root_;
    bool isHidden_ = true;
};

/// The platform's side of presentation. The calls return at once; what they bring about, appearance callbacks and completions
/// included, comes in later turns of the main queue.
class Presenter {
public:
    virtual ~Presenter() = default;
    /// Shows `presented` over `presenting` in its presentation style; then calls `viewWillAppear`, `viewDidAppear` and
    /// `completion`.
    virtual void present(std::shared_ptr<ViewController> presenting, std::shared_ptr<ViewController> presented,
                         bool animated, ViewController::Completion completion) = 0;
    /// Removes `viewController`; calls `viewWillDisappear`, `viewDidDisappear` and `completion`.
    virtual void dismiss(std::shared_ptr<ViewController> viewController, bool animated,
                         ViewController::Completion completion) = 0;
    /// Shows the root view of an overlay window over everything that is presented, with the bounds of the screen on top.
    virtual void showOverlay(std::shared_ptr<ViewController> root) = 0;
    virtual void hideOverlay(std::shared_ptr<ViewController> root) = 0;
    /// How the screens want to be held; the platform follows it where it can. `unknown` for no preference.
    virtual void setPreferredOrientation(DeviceOrientation orientation) = 0;
};

}  // namespace videoanalysis::ui
