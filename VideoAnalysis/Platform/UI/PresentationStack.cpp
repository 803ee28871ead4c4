#include "VideoAnalysis/Platform/UI/PresentationStack.h"

#include "VideoAnalysis/Platform/Dispatch.h"
#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Platform/UI/Device.h"

#include <algorithm>
#include <utility>

namespace videoanalysis::ui {
namespace {

constexpr int overlayLevel = 1000;

}  // namespace

std::shared_ptr<Presentation> PresentationStack::find(const std::shared_ptr<ViewController>& controller) const {
    const auto found = std::find_if(presentations_.begin(), presentations_.end(),
                                    [&](const auto& presentation) { return presentation->controller == controller; });
    return found == presentations_.end() ? nullptr : *found;
}

const Presentation* PresentationStack::top() const {
    const auto found = std::find_if(presentations_.rbegin(), presentations_.rend(),
                                    [](const auto& presentation) { return !presentation->isOverlay; });
    return found == presentations_.rend() ? nullptr : found->get();
}

// ---- Presenter

void PresentationStack::present(std::shared_ptr<ViewController> presenting, std::shared_ptr<ViewController> presented,
                                bool animated, ViewController::Completion completion) {
    presenting->setPresentedViewController(presented);
    appear(std::make_shared<Presentation>(
               Presentation{.controller = presented,
                            .presenting = presenting,
                            .isOverlay = false,
                            .appearance = Appearance(presented, animated, std::move(completion)),
                            .peer = nullptr}),
           animated);
}

void PresentationStack::dismiss(std::shared_ptr<ViewController> viewController, bool animated,
                                ViewController::Completion completion) {
    if (const std::shared_ptr<Presentation> presentation = find(viewController)) {
        dismissAbove(*viewController, animated);
        if (const auto presenting = presentation->presenting.lock()) presenting->setPresentedViewController(nullptr);
        disappear(presentation, animated, std::move(completion));
    } else if (completion) {
        dispatch::mainQueue().async(std::move(completion));
    }
}

void PresentationStack::showOverlay(std::shared_ptr<ViewController> root) {
    if (find(root)) return;
    appear(std::make_shared<Presentation>(Presentation{.controller = root,
                                                       .presenting = {},
                                                       .isOverlay = true,
                                                       .appearance = Appearance(root, true, {}),
                                                       .peer = nullptr}),
           true);
}

void PresentationStack::hideOverlay(std::shared_ptr<ViewController> root) {
    if (const std::shared_ptr<Presentation> presentation = find(root)) {
        dismissAbove(*root, true);
        disappear(presentation, true, {});
    }
}

void PresentationStack::dismissAbove(const ViewController& viewController, bool animated) {
    if (const auto& above = viewController.presentedViewController()) dismiss(above, animated, {});
}

// ---- Coming and leaving

void PresentationStack::appear(std::shared_ptr<Presentation> presentation, bool animated) {
    presentation->peer = makePeer(*presentation);
    presentations_.push_back(presentation);
    dispatch::mainQueue().async(
        [this, alive = std::weak_ptr(alive_), presentation = std::move(presentation), animated] {
            if (alive.expired() || presentation->isLeaving) return;
            bringIn(*presentation, animated);
            afterFade(animated, [presentation] {
                if (presentation->isLeaving) return;
                const auto below = presentation->presenting.lock();
                if (below && presentation->controller->modalPresentationStyle() == ModalPresentationStyle::fullScreen) {
                    presentation->peer->hideBelow(*below);
                }
                presentation->appearance.didAppear();
            });
        });
}

void PresentationStack::bringIn(Presentation& presentation, bool animated) {
    finishLeaving(presentation);
    // What is presented over an overlay is in front of it.
    const auto below = find(presentation.presenting.lock());
    presentation.level = presentation.isOverlay ? overlayLevel : below ? below->level + 1 : 0;
    presentation.peer->willCover();
    presentation.peer->load();
    presentation.isLoaded = true;
    presentation.isLandscape = ui::isLandscape(platform().device().orientation());
    presentation.appearance.willAppear();
    place(presentation);
    presentation.peer->show(animated ? fadeDuration() : 0);
}

void PresentationStack::disappear(const std::shared_ptr<Presentation>& presentation, bool animated,
                                  ViewController::Completion completion) {
    std::erase(presentations_, presentation);
    leaving_.push_back(presentation);
    presentation->isLeaving = true;
    dispatch::mainQueue().async(
        [this, alive = std::weak_ptr(alive_), presentation, animated, completion = std::move(completion)] {
            if (!alive.expired()) finishLeaving(*presentation);
            presentation->peer->showBelow();
            presentation->appearance.willDisappear(animated, completion);
            if (alive.expired()) return;
            presentation->peer->hide(animated ? fadeDuration() : 0);
            afterFade(animated, [this, presentation] { finish(presentation); });
        });
}

void PresentationStack::finish(const std::shared_ptr<Presentation>& presentation) {
    if (std::erase(leaving_, presentation) == 0) return;
    presentation->peer->remove(find(presentation->controller) != nullptr);
    presentation->appearance.didDisappear();
}

void PresentationStack::finishLeaving(const Presentation& next) {
    const Presentations leaving = leaving_;
    for (const auto& earlier : leaving) {
        if (earlier.get() != &next && earlier->controller == next.controller) finish(earlier);
    }
}

void PresentationStack::afterFade(bool animated, std::function<void()> work) {
    const double seconds = animated ? fadeDuration() : 0;
    auto step = [alive = std::weak_ptr(alive_), work = std::move(work)] {
        if (!alive.expired()) work();
    };
    // By the clock, not by an animation, which may stand still while the window is not exposed.
    if (seconds > 0) {
        dispatch::mainQueue().asyncAfter(seconds, std::move(step));
    } else {
        dispatch::mainQueue().async(std::move(step));
    }
}

// ---- Keys and layout

bool PresentationStack::keyPressed(const KeyPress& press) {
    const Presentations presentations = presentations_;
    for (auto presentation = presentations.rbegin(); presentation != presentations.rend(); ++presentation) {
        if ((*presentation)->controller->keyPressed(press)) return true;
        if (!(*presentation)->isOverlay) break;
    }
    return false;
}

void PresentationStack::layOutLater() {
    if (std::exchange(isLayoutDue_, true)) return;
    dispatch::mainQueue().async([this, alive = std::weak_ptr(alive_)] {
        if (!alive.expired()) layOut();
    });
}

void PresentationStack::layOut() {
    isLayoutDue_ = false;
    const bool isLandscape = ui::isLandscape(platform().device().orientation());
    const Presentations presentations = presentations_;
    for (const auto& presentation : presentations) {
        if (!presentation->isLoaded) continue;
        const bool wasLandscape = std::exchange(presentation->isLandscape, isLandscape);
        if (isLandscape != wasLandscape) presentation->controller->viewWillTransition(windowSize());
        place(*presentation);
    }
}

/// An overlay is placed like the screen below it.
void PresentationStack::place(const Presentation& presentation) {
    auto style =
        presentation.isOverlay ? ModalPresentationStyle::fullScreen : presentation.controller->modalPresentationStyle();
    for (const auto& other : presentations_) {
        if (!presentation.isOverlay || other.get() == &presentation) break;
        if (!other->isOverlay) style = other->controller->modalPresentationStyle();
    }
    presentation.peer->place(placementOf(style, windowSize()));
}

}  // namespace videoanalysis::ui
