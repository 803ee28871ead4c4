#pragma once
// The appearance callbacks of one stay of a controller on the screen, in their order and each once, however its presentation
// and its dismissal overlap. A platform's presenter makes one each time it shows a controller.

#include "VideoAnalysis/Platform/UI/ViewController.h"

#include <memory>
#include <utility>

namespace videoanalysis::ui {

/// Each step first catches up on those before it and does nothing the second time. Main thread, never from inside a call of
/// the component.
class Appearance {
public:
    /// `presented` (may be empty) runs after `viewDidAppear`.
    Appearance(std::shared_ptr<ViewController> controller, bool isAnimated, ViewController::Completion presented)
        : controller_(std::move(controller)), isAnimated_(isAnimated), presented_(std::move(presented)) {}

    const std::shared_ptr<ViewController>& controller() const { return controller_; }

    void willAppear() {
        if (!advance(Stage::none)) return;
        controller_->view();  // loaded, also when the presentation is dismissed before it has begun
        controller_->viewWillAppear(isAnimated_);
    }
    void didAppear() {
        willAppear();
        if (!advance(Stage::willAppear)) return;
        controller_->viewDidAppear(isAnimated_);
        if (presented_) std::exchange(presented_, nullptr)();
    }
    /// `dismissed` (may be empty) runs after `viewDidDisappear`.
    void willDisappear(bool isAnimated, ViewController::Completion dismissed) {
        didAppear();
        if (!advance(Stage::didAppear)) return;
        isAnimated_ = isAnimated;
        dismissed_ = std::move(dismissed);
        controller_->viewWillDisappear(isAnimated_);
    }
    /// Only after `willDisappear`.
    void didDisappear() {
        if (!advance(Stage::willDisappear)) return;
        controller_->viewDidDisappear(isAnimated_);
        if (dismissed_) std::exchange(dismissed_, nullptr)();
    }

private:
    enum class Stage { none, willAppear, didAppear, willDisappear, didDisappear };

    bool advance(Stage from) {
        if (stage_ != from) return false;
        stage_ = static_cast<Stage>(static_cast<int>(from) + 1);
        return true;
    }

    std::shared_ptr<ViewController> controller_;
    bool isAnimated_;
    ViewController::Completion presented_;
    ViewController::Completion dismissed_;
    Stage stage_ = Stage::none;
};

}  // namespace videoanalysis::ui
