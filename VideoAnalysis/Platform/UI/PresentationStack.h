#pragma once
// The screens that are presented in one window: their order, their appearance callbacks, where they are placed and which of them
// receives a key. A platform's presenter derives from it and supplies a peer for each screen, which shows it.

#include "VideoAnalysis/Platform/UI/Appearance.h"
#include "VideoAnalysis/Platform/UI/Placement.h"
#include "VideoAnalysis/Platform/UI/ViewController.h"

#include <functional>
#include <memory>
#include <vector>

namespace videoanalysis::ui {

/// Shows one screen. The stack makes each call once, in this order, except for `place`, and none from inside a call of the
/// component. A screen that is dismissed before it has appeared receives the last three only.
class ScreenPeer {
public:
    virtual ~ScreenPeer() = default;
    /// The screen is about to cover those below; its view is not loaded yet.
    virtual void willCover() {}
    /// Loads the controller's view.
    virtual void load() = 0;
    /// Adds the view to the window, invisible, and again when the window changes: moves it.
    virtual void place(const Placement&) {}
    /// Fades in over `seconds`.
    virtual void show(double /*seconds*/) {}
    /// The screen is shown and covers `below`, which has presented it, completely.
    virtual void hideBelow(ViewController& /*below*/) {}
    /// The screen is about to leave: what `hideBelow` has hidden is visible again. This may still come once the stack is gone.
    virtual void showBelow() {}
    /// Takes no more presses, and fades out over `seconds`.
    virtual void hide(double /*seconds*/) {}
    /// Faded out. `isShownAgain`: the controller has been presented again, with another peer.
    virtual void remove(bool /*isShownAgain*/) {}
};

/// One controller from the call that presents it until it has left the screen.
struct Presentation {
    const std::shared_ptr<ViewController> controller;
    const std::weak_ptr<ViewController> presenting;  ///< none for an overlay
    const bool isOverlay = false;
    Appearance appearance;
    std::unique_ptr<ScreenPeer> peer;
    /// Of two screens, the one with the higher level is in front; overlays are in front of all screens.
    int level = 0;
    bool isLoaded = false;     ///< and placed
    bool isLandscape = false;  ///< how the device was held when the screen was placed last
    bool isLeaving = false;
};

/// Main thread. The main queue may outlive it.
class PresentationStack : public Presenter {
public:
    using Presentations = std::vector<std::shared_ptr<Presentation>>;

    void present(std::shared_ptr<ViewController> presenting, std::shared_ptr<ViewController> presented, bool animated,
                 ViewController::Completion completion) override;
    void dismiss(std::shared_ptr<ViewController> viewController, bool animated,
                 ViewController::Completion completion) override;
    void showOverlay(std::shared_ptr<ViewController> root) override;
    void hideOverlay(std::shared_ptr<ViewController> root) override;

    /// A key that no control has handled: passes it to the overlays and the screen on top, the latest first. Returns whether
    /// one of them handled it.
    bool keyPressed(const KeyPress& press);
    /// The window has another size, or the device is held in another way: the screens follow in the next turn, once for
    /// several calls.
    void layOutLater();

    /// Presented screens, bottom first; excludes those being dismissed.
    const Presentations& presentations() const { return presentations_; }
    /// Those being dismissed.
    const Presentations& leaving() const { return leaving_; }
    /// The screen that nothing but overlays covers; null when there is none.
    const Presentation* top() const;

protected:
    virtual std::unique_ptr<ScreenPeer> makePeer(const Presentation& presentation) = 0;  // which owns it
    /// In points.
    virtual Size windowSize() const = 0;
    /// Of an animated presentation or dismissal, in seconds.
    virtual double fadeDuration() const { return 0; }

private:
    std::shared_ptr<Presentation> find(const std::shared_ptr<ViewController>& controller) const;
    /// Dismisses what is presented over a screen.
    void dismissAbove(const ViewController& viewController, bool animated);
    void appear(std::shared_ptr<Presentation> presentation, bool animated);
    void bringIn(Presentation& presentation, bool animated);
    void disappear(const std::shared_ptr<Presentation>& presentation, bool animated,
                   ViewController::Completion completion);
    void finish(const std::shared_ptr<Presentation>& presentation);
    /// A controller that is shown again while it is leaving has left first.
    void finishLeaving(const Presentation& next);
    void layOut();
    void place(const Presentation& presentation);
    /// Runs `work` in a later turn, after a fade if `animated`, unless the stack is gone by then.
    void afterFade(bool animated, std::function<void()> work);

    Presentations presentations_;
    Presentations leaving_;
    bool isLayoutDue_ = false;
    const std::shared_ptr<char> alive_ = std::make_shared<char>();
};

}  // namespace videoanalysis::ui
