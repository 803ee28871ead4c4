#pragma once
// The base fixture of tests that run the component without a screen: installs a new headless platform, and clears the analysis
// afterwards.

#include "Platforms/Headless/HeadlessPlatform.h"
#include "VideoAnalysis/Analysis/Actions.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCell.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCellController.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCellHUDView.h"
#include "VideoAnalysis/Screen/MainViewController.h"
#include "VideoAnalysis/Screen/OverlayViewController.h"
#include "VideoAnalysis/Screen/PlayersManager.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace videoanalysis {

class ComponentTest : public testing::Test {
protected:
    /// `graphics` may be null; then nothing is drawn.
    explicit ComponentTest(std::unique_ptr<graphics::Engine> graphics = nullptr)
        : platform(std::make_shared<HeadlessPlatform>(std::move(graphics))) {
        installPlatform(platform);
    }
    ~ComponentTest() override {
        if (!usesMainStore_) return;
        mainStore().dispatch(ClearStateAction());
        platform->drainMainQueue();
    }

    const std::shared_ptr<HeadlessPlatform> platform;

    /// Starts a new analysis.
    Store<State>& store() {
        if (!std::exchange(usesMainStore_, true)) {
            mainStore().dispatch(ClearStateAction());
            platform->drainMainQueue();
        }
        return mainStore();
    }
    const MainViewControllerState& screenState() { return store().state().mainViewControllerState; }

    /// A playable clip.
    VideoAnalysisController::Object clip(const std::string& name, const HeadlessClip& clip = {}) {
        const URL url("file:///" + name);
        platform->mediaEngine.addClip(url, clip);
        return {url, {}};
    }

    std::shared_ptr<MainViewController> screen() { return MainViewController::of(store().state()); }
    std::vector<std::shared_ptr<PlayerCollectionViewCellController>>& players() {
        return screen()->playersManager()->cellControllers;
    }
    /// Presents the analysis and waits until it is idle: cells bound, clips ready, first loads done.
    void show() {
        store().dispatch(SetPresentationConfigurationAction(host, ui::ModalPresentationStyle::fullScreen));
        platform->advance(1);
    }
    HeadlessPlayer& playerOf(std::size_t index) {
        return dynamic_cast<HeadlessPlayer&>(*players().at(index)->cell()->playerView.lock()->player());
    }
    std::int64_t frameOf(std::size_t index) { return playerOf(index).currentFrame()->index(); }
    PlayerCollectionViewCellHUDView& hudOf(std::size_t index) {
        return *players().at(index)->overlayCell()->hudView.lock();
    }
    SketchView& sketchOf(std::size_t index) { return *players().at(index)->cell()->sketchView.lock(); }
    static void tap(const std::weak_ptr<ui::Button>& button) {
        button.lock()->sendActions(ui::ControlEvent::touchUpInside);
    }

    const std::shared_ptr<ui::ViewController> host = std::make_shared<ui::ViewController>();

private:
    bool usesMainStore_ = false;
};

/// A delegate that records requests, for a test to answer.
class RecordingDelegate : public VideoAnalysisControllerDelegate {
public:
    std::vector<std::string> calls;
    std::function<void()> deleteCompletion;
    std::function<void()> closeCompletion;
    std::function<void(Object)> mediaCompletion;

    ui::DeviceOrientation preferredOrientation() const override { return ui::DeviceOrientation::portrait; }
    void videoAnalysisDidFinish(const std::optional<std::vector<Object>>&) override { calls.push_back("finish"); }
    void videoAnalysisControllerDidRequestToDeleteMedia(const std::shared_ptr<ui::ViewController>&,
                                                        std::function<void()> completion) override {
        calls.push_back("delete");
        deleteCompletion = std::move(completion);
    }
    void videoAnalysisControllerDidRequestDiscardAndClose(const std::shared_ptr<ui::ViewController>&,
                                                          std::function<void()> completion) override {
        calls.push_back("close");
        closeCompletion = std::move(completion);
    }
    void videoAnalysisControllerDidRequestMedia(const std::shared_ptr<ui::ViewController>&, std::int64_t index,
                                                std::function<void(Object)> completion) override {
        calls.push_back("media " + std::to_string(index));
        mediaCompletion = std::move(completion);
    }
};

}  // namespace videoanalysis
