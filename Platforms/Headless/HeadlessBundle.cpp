#include "Platforms/Headless/HeadlessBundle.h"

#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Platform/UI/CollectionView.h"
#include "VideoAnalysis/Platform/UI/Device.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCell.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCellHUDView.h"
#include "VideoAnalysis/Screen/CollectionViewFlowLayout.h"
#include "VideoAnalysis/Screen/MainViewController.h"
#include "VideoAnalysis/Screen/OverlayViewController.h"
#include "VideoAnalysis/Sketch/SketchView.h"
#include "VideoAnalysis/Trimming/CropView.h"
#include "VideoAnalysis/Trimming/TrimmerView.h"
#include "VideoAnalysis/Trimming/VideoTrimmerController.h"
#include "VideoAnalysis/Video/GesturedScrollView.h"
#include "VideoAnalysis/Video/VideoView.h"

#include <algorithm>
#include <array>

namespace videoanalysis {
namespace {

Rect screenBounds() { return {{}, platform().mainScreen().size()}; }

void fillScreen(ui::CollectionView& collection) {
    collection.setFrame(screenBounds());
    collection.setCollectionViewLayout(std::make_shared<CollectionViewFlowLayout>());
}

/// Gives `controller` a root view of the screen's size and connects its outlets.
template <class Controller>
std::shared_ptr<Controller> loaded(std::map<std::string, std::size_t, std::less<>> collectionSizes = {}) {
    auto controller = std::make_shared<Controller>();
    auto root = std::make_shared<ui::View>(screenBounds());
    HeadlessOutlets outlets(root);
    outlets.collectionSizes = std::move(collectionSizes);
    controller->setView(root);
    outlets.load(*controller);
    return controller;
}

class HeadlessStoryboard final : public ui::Storyboard {
public:
    explicit HeadlessStoryboard(const HeadlessBundle& bundle) : bundle_(bundle) {}

    std::shared_ptr<ui::ViewController> instantiateInitialViewController() override {
        if (isMissing("MainViewController")) return nullptr;
        auto screen = loaded<MainViewController>();
        fillScreen(*screen->playersCollectionView.lock());
        return screen;
    }

    std::shared_ptr<ui::ViewController> instantiateViewController(std::string_view identifier) override {
        if (isMissing(identifier)) return nullptr;
        if (identifier == "VideoTrimmerController") return trimmer();
        if (identifier != "OverlayViewController") return nullptr;
        static constexpr std::array tools = {SketchToolType::pen, SketchToolType::line, SketchToolType::arrow,
                                             SketchToolType::rectangleStroke, SketchToolType::ellipseStroke};
        auto overlay = loaded<OverlayViewController>({{"drawingToolButtons", tools.size()}});
        fillScreen(*overlay->playersCollectionView.lock());
        for (std::size_t i = 0; i < tools.size(); ++i) {
            const auto button = overlay->drawingToolButtons[i].lock();
            button->setTag(static_cast<int>(tools[i]));
            button->setFrame({4, 100.0 + 52.0 * static_cast<double>(i), 44, 44});
        }
        return overlay;
    }

private:
    static std::shared_ptr<VideoTrimmerController> trimmer() {
        auto trimmer = loaded<VideoTrimmerController>({{"aspectButtons", CropView::allAspects.size()}});
        for (std::size_t i = 0; i < CropView::allAspects.size(); ++i) {
            trimmer->aspectButtons[i].lock()->setTag(static_cast<int>(CropView::allAspects[i]));
        }
        trimmer->cropView.lock()->setFrame({0, 0, 360, 400});
        trimmer->trimmerView.lock()->setFrame({0, 440, 360, 48});
        return trimmer;
    }
    bool isMissing(std::string_view name) const {
        return std::find(bundle_.missing.begin(), bundle_.missing.end(), name) != bundle_.missing.end();
    }
    const HeadlessBundle& bundle_;
};

/// Its video and scroll view always fill it.
class HeadlessPlayerCell final : public PlayerCollectionViewCell {
protected:
    void boundsDidChange(const Rect& old) override {
        PlayerCollectionViewCell::boundsDidChange(old);
        playerScrollView.lock()->setFrame(bounds());
        playerView.lock()->setFrame(bounds());
    }
};

template <class Cell>
class HeadlessTemplate final : public ui::CellTemplate {
public:
    std::shared_ptr<ui::CollectionViewCell> instantiate() override {
        auto cell = std::make_shared<Cell>();
        HeadlessOutlets outlets(cell);
        static constexpr std::array rates = {"0.1x", "0.25x", "0.5x", "0.75x", "1x", "1.5x", "2x"};
        outlets.collectionSizes = {{"videoPlaybackSpeedButtons", rates.size()}};
        outlets.load(*cell);
        if constexpr (std::is_same_v<Cell, OverlayCollectionViewCell>) {
            const auto hud = cell->hudView.lock();
            hud->playbackRateSelectorContainerView.lock()->setAlpha(0);
            for (std::size_t i = 0; i < rates.size(); ++i) hud->videoPlaybackSpeedButtons[i].lock()->setTitle(rates[i]);
        }
        cell->awakeFromNib();
        return cell;
    }
};

}  // namespace

void HeadlessOutlets::bind(std::string_view selector, ui::Control::Action action) {
    actions_.insert_or_assign(std::string(selector), std::move(action));
}

std::shared_ptr<ui::View> HeadlessOutlets::find(std::string_view, const Make& make) {
    std::shared_ptr<ui::View> view = make();
    root_->addSubview(view);
    return view;
}

std::vector<std::shared_ptr<ui::View>> HeadlessOutlets::findAll(std::string_view name, const Make& make) {
    const auto size = collectionSizes.find(name);
    std::vector<std::shared_ptr<ui::View>> views(size == collectionSizes.end() ? 1 : size->second);
    for (auto& view : views) view = find(name, make);
    return views;
}

std::shared_ptr<ui::Storyboard> HeadlessBundle::storyboard(std::string_view name) {
    if (name != "Main" || std::find(missing.begin(), missing.end(), name) != missing.end()) return nullptr;
    return std::make_shared<HeadlessStoryboard>(*this);
}

std::shared_ptr<ui::CellTemplate> HeadlessBundle::cellTemplate(std::string_view name) {
    if (std::find(missing.begin(), missing.end(), name) != missing.end()) return nullptr;
    if (name == "PlayerCollectionViewCell") return std::make_shared<HeadlessTemplate<HeadlessPlayerCell>>();
    if (name == "OverlayCollectionViewCell") return std::make_shared<HeadlessTemplate<OverlayCollectionViewCell>>();
    return nullptr;
}

}  // namespace videoanalysis
