#include "Platforms/Headless/HeadlessBundle.h"

#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Platform/UI/CollectionView.h"
#include "VideoAnalysis/Platform/UI/Device.h"
#include "VideoAnalysis/Platform/UI/ViewController.h"
#include "VideoAnalysis/Views.h"

#include <algorithm>
#include <array>
#include <type_traits>

namespace videoanalysis {
namespace {

constexpr std::array tools = {SketchToolType::pen, SketchToolType::line, SketchToolType::arrow,
                              SketchToolType::rectangleStroke, SketchToolType::ellipseStroke};

Rect screenBounds() { return {{}, platform().mainScreen().size()}; }

/// Views of a scene that do more than their defaults: where they are and what their tags mean.
void setUp(const HeadlessOutlets& outlets) {
    for (const std::shared_ptr<ui::View>& view : outlets.viewsNamed("playersCollectionView")) {
        view->setFrame(screenBounds());
        std::dynamic_pointer_cast<ui::CollectionView>(view)->setCollectionViewLayout(
            std::make_shared<CollectionViewFlowLayout>());
    }
    const auto toolButtons = outlets.viewsNamed("drawingToolButtons");
    for (std::size_t i = 0; i < toolButtons.size(); ++i) {
        toolButtons[i]->setTag(static_cast<int>(tools[i]));
        toolButtons[i]->setFrame({4, 100.0 + 52.0 * static_cast<double>(i), 44, 44});
    }
    const auto aspectButtons = outlets.viewsNamed("aspectButtons");
    for (std::size_t i = 0; i < aspectButtons.size(); ++i) {
        aspectButtons[i]->setTag(static_cast<int>(CropView::allAspects[i]));
    }
    for (const auto& view : outlets.viewsNamed("cropView")) view->setFrame({0, 0, 360, 400});
    for (const auto& view : outlets.viewsNamed("trimmerView")) view->setFrame({0, 440, 360, 48});
}

class HeadlessStoryboard final : public ui::Storyboard {
public:
    explicit HeadlessStoryboard(const HeadlessBundle& bundle) : bundle_(bundle) {}

    std::shared_ptr<ui::ViewController> instantiateInitialViewController() override {
        return instantiateViewController("MainViewController");
    }

    std::shared_ptr<ui::ViewController> instantiateViewController(std::string_view identifier) override {
        if (std::find(bundle_.missing.begin(), bundle_.missing.end(), identifier) != bundle_.missing.end()) {
            return nullptr;
        }
        std::shared_ptr<ui::ViewController> controller = makeViewController(identifier);
        if (!controller) return nullptr;
        const auto root = std::make_shared<ui::View>(screenBounds());
        HeadlessOutlets outlets(root);
        outlets.collectionSizes = {{"drawingToolButtons", tools.size()},
                                   {"aspectButtons", CropView::allAspects.size()}};
        controller->setView(root);
        outlets.load(*controller);
        setUp(outlets);
        return controller;
    }

private:
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

std::vector<std::shared_ptr<ui::View>> HeadlessOutlets::viewsNamed(std::string_view name) const {
    const auto found = views_.find(name);
    return found == views_.end() ? std::vector<std::shared_ptr<ui::View>>() : found->second;
}

std::shared_ptr<ui::View> HeadlessOutlets::find(std::string_view name, const Make& make) {
    std::shared_ptr<ui::View> view = make();
    root_->addSubview(view);
    views_[std::string(name)].push_back(view);
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
