#pragma once
// The analysis screen that is presented over the host's: it holds the players' collection and the overlay window above it, owns
// the players manager, and starts and stops the screen recorder when the state asks for it.

#include "VideoAnalysis/Analysis/State.h"
#include "VideoAnalysis/Platform/UI/CollectionView.h"
#include "VideoAnalysis/Platform/UI/ViewController.h"

#include <memory>

namespace videoanalysis {

class OverlayViewController;
class PlayersManager;

class MainViewController : public ui::ViewController, public StoreSubscriber<MainViewControllerState> {
public:
    ~MainViewController() override;

    std::weak_ptr<ui::CollectionView> playersCollectionView;

    /// Made on first use; null when the overlay cannot be loaded.
    ui::Window* overlayWindow();
    /// The overlay window's root; null when there is none.
    std::shared_ptr<OverlayViewController> overlayViewController();
    /// Made on first use; null while the players' or the overlay's collection is missing.
    std::shared_ptr<PlayersManager> playersManager();

    void connectOutlets(ui::Outlets& outlets) override;
    void viewDidLoad() override;
    void viewWillAppear(bool animated) override;
    void viewWillDisappear(bool animated) override;
    void viewDidDisappear(bool animated) override;
    void viewWillTransition(Size size) override;
    bool keyPressed(const ui::KeyPress& press) override;
    void dismiss(bool animated, Completion completion) override;

    void newState(const MainViewControllerState& state) override;

private:
    std::unique_ptr<ui::Window> overlayWindow_;
    std::shared_ptr<PlayersManager> playersManager_;
};

}  // namespace videoanalysis
