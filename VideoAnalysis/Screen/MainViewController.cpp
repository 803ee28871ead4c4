#include "VideoAnalysis/Screen/MainViewController.h"

#include "VideoAnalysis/Platform/FatalError.h"
#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Platform/UI/Bundle.h"
#include "VideoAnalysis/Platform/UI/Device.h"
#include "VideoAnalysis/Screen/CollectionViewFlowLayout.h"
#include "VideoAnalysis/Screen/OverlayViewController.h"
#include "VideoAnalysis/Screen/PlayersManager.h"

#include <utility>

namespace videoanalysis {
namespace {

constexpr int overlayWindowTag = 99;

}  // namespace

MainViewController::~MainViewController() = default;

ui::Window* MainViewController::overlayWindow() {
    if (!overlayWindow_) {
        const auto storyboard = platform().bundle().storyboard("Main");
        const auto overlay = std::dynamic_pointer_cast<OverlayViewController>(
            storyboard ? storyboard->instantiateViewController("OverlayViewController") : nullptr);
        if (!overlay) return nullptr;
        overlay->view()->setBackgroundColor(Color::clear());
        overlayWindow_ = std::make_unique<ui::Window>();
        overlayWindow_->tag = overlayWindowTag;
        overlayWindow_->backgroundColor = Color::clear();
        overlayWindow_->setRootViewController(overlay);
    }
    return overlayWindow_.get();
}

std::shared_ptr<OverlayViewController> MainViewController::overlayViewController() {
    ui::Window* window = overlayWindow();
    return window ? std::dynamic_pointer_cast<OverlayViewController>(window->rootViewController()) : nullptr;
}

std::shared_ptr<PlayersManager> MainViewController::playersManager() {
    if (!playersManager_) {
        const auto players = playersCollectionView.lock();
        const auto overlay = players ? overlayViewController() : nullptr;
        const auto overlays = overlay ? overlay->playersCollectionView.lock() : nullptr;
        if (!overlays) return nullptr;
        playersManager_ = PlayersManager::make(players, overlays);
        playersManager_->presenteeViewController = overlay;
    }
    return playersManager_;
}

void MainViewController::connectOutlets(ui::Outlets& outlets) {
    outlets.connect("playersCollectionView", playersCollectionView);
}

void MainViewController::viewDidLoad() {
    view()->setBackgroundColor(mainStore().state().theme.secondaryColor);
    if (ui::Window* window = overlayWindow()) window->setRootViewController(overlayViewController());
}

void MainViewController::viewWillAppear(bool) {
    view()->setBackgroundColor(mainStore().state().theme.secondaryColor);  // loaded before the configuration arrived
    if (const auto delegate = mainStore().state().delegate.lock()) {
        platform().presenter().setPreferredOrientation(delegate->preferredOrientation());
    }
    if (ui::Window* window = overlayWindow()) window->setHidden(false);
    mainStore().subscribe(std::static_pointer_cast<MainViewController>(shared_from_this()),
                          [](auto& whole) { return whole.select(&State::mainViewControllerState); });
}

void MainViewController::viewWillDisappear(bool) {
    if (ui::Window* window = overlayWindow()) window->setHidden(true);
}

void MainViewController::viewDidDisappear(bool) { mainStore().unsubscribe(*this); }

void MainViewController::viewWillTransition(Size) {
    const auto collection = ui::required(playersCollectionView, "playersCollectionView");
    const auto layout = std::dynamic_pointer_cast<CollectionViewFlowLayout>(collection->collectionViewLayout());
    if (!layout) fatalError("The players' layout is not a CollectionViewFlowLayout");
    layout->setScrollDirection(ui::isLandscape(platform().device().orientation()) ? ui::ScrollDirection::horizontal
                                                                                  : ui::ScrollDirection::vertical);
    layout->invalidateLayout();
}

bool MainViewController::keyPressed(const ui::KeyPress& press) {
    const std::shared_ptr<PlayersManager> manager = playersManager();
    return manager && manager->keyPressed(press);
}

void MainViewController::dismiss(bool animated, Completion completion) {
    if (ui::Window* window = overlayWindow()) window->setHidden(true);
    ui::ViewController::dismiss(animated, std::move(completion));
}

void MainViewController::newState(const MainViewControllerState&) {}

}  // namespace videoanalysis
