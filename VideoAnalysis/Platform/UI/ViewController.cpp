#include "VideoAnalysis/Platform/UI/ViewController.h"

#include "VideoAnalysis/Platform/Platform.h"

#include <utility>

namespace videoanalysis::ui {

const std::shared_ptr<View>& ViewController::view() {
    if (!view_) view_ = std::make_shared<View>();
    if (!isViewLoaded_) {
        isViewLoaded_ = true;
        viewDidLoad();
    }
    return view_;
}

void ViewController::present(const std::shared_ptr<ViewController>& viewController, bool animated,
                             Completion completion) {
    if (presented_ || viewController->presentingViewController()) {
        debugLog("A screen is presented already; the second presentation is ignored");
        return;
    }
    platform().presenter().present(shared_from_this(), viewController, animated, std::move(completion));
}

void ViewController::dismiss(bool animated, Completion completion) {
    platform().presenter().dismiss(shared_from_this(), animated, std::move(completion));
}

void ViewController::setPresentedViewController(const std::shared_ptr<ViewController>& presented) {
    if (presented_) presented_->presenting_.reset();
    presented_ = presented;
    if (presented_) presented_->presenting_ = weak_from_this();
}

Window::~Window() {
    if (!isHidden_ && root_) platform().presenter().hideOverlay(root_);
}

void Window::setRootViewController(std::shared_ptr<ViewController> root) {
    if (root_ == root) return;
    if (!isHidden_ && root_) platform().presenter().hideOverlay(root_);
    root_ = std::move(root);
    if (!isHidden_ && root_) platform().presenter().showOverlay(root_);
}

void Window::setHidden(bool hidden) {
    if (isHidden_ == hidden) return;
    isHidden_ = hidden;
    if (!root_) return;
    if (hidden) {
        platform().presenter().hideOverlay(root_);
    } else {
        platform().presenter().showOverlay(root_);
    }
}

}  // namespace videoanalysis::ui
