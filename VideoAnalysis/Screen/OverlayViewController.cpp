#include "VideoAnalysis/Screen/OverlayViewController.h"

#include "VideoAnalysis/Analysis/Actions.h"
#include "VideoAnalysis/Platform/FatalError.h"
#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Platform/UI/Device.h"
#include "VideoAnalysis/Screen/CollectionViewFlowLayout.h"

#include <numbers>
#include <string>

namespace videoanalysis {
namespace {

constexpr int untouchedTag = 5;  // buttons of this tag are left as the layout has them

void layOutSuperview(const std::shared_ptr<ui::View>& view) {
    if (const std::shared_ptr<ui::View> above = view->superview()) above->layoutIfNeeded();
}

void chooseTool(SketchToolType tool) { mainStore().dispatch(SetDrawingToolTypeAction(tool, true)); }

}  // namespace

void OverlayViewController::connectOutlets(ui::Outlets& outlets) {
    outlets.connect("visibleViews", visibleViews);
    outlets.connect("topBarView", topBarView);
    outlets.connect("addButton", addButton);
    outlets.connect("closeButton", closeButton);
    outlets.connect("arrowImage", arrowImage);
    outlets.connect("drawingShapeView", drawingShapeView);
    outlets.connect("drawingToolButtons", drawingToolButtons);
    outlets.connect("topBarBackgroundView", topBarBackgroundView);
    outlets.connect("lockPlaybackButton", lockPlaybackButton);
    outlets.connect("expandToolbarButton", expandToolbarButton);
    outlets.connect("collapseToolbarButton", collapseToolbarButton);
    outlets.connect("drawingToolsStackView", drawingToolsStackView);
    outlets.connect("playersCollectionView", playersCollectionView);

    outlets.action("tapOnPen:", [this](ui::Control& sender) { tapOnPen(sender); });
    outlets.action("tapOnLine:", [this](ui::Control& sender) { tapOnLine(sender); });
    outlets.action("tapOnArrow:", [this](ui::Control& sender) { tapOnArrow(sender); });
    outlets.action("tapOnRect:", [this](ui::Control& sender) { tapOnRect(sender); });
    outlets.action("tapOnCircle:", [this](ui::Control& sender) { tapOnCircle(sender); });
    outlets.action("handleToolbarExpand:", [this](ui::Control& sender) { handleToolbarExpand(sender); });
    outlets.action("handleToolbarCollapse:", [this](ui::Control&) { handleToolbarCollapse(); });
    outlets.action("handlePlaybackLockToggle:", [this](ui::Control& sender) { handlePlaybackLockToggle(sender); });
    outlets.action("handleMediaAddition:", [this](ui::Control& sender) { handleMediaAddition(sender); });
    outlets.action("handleDiscardAndClose:", [this](ui::Control& sender) { handleDiscardAndClose(sender); });
}

// ---- Life cycle

void OverlayViewController::viewDidLoad() { applyTheme(); }

void OverlayViewController::viewWillAppear(bool) {
    applyTheme();  // the screen is loaded before the configuration arrives
    mainStore().subscribe(std::static_pointer_cast<OverlayViewController>(shared_from_this()),
                          [](auto& whole) { return whole.select(&State::mainViewControllerState); });
}

void OverlayViewController::viewDidAppear(bool) {
    mainStore().dispatch(SetDrawingToolTypeAction(SketchToolType::pen, false));
}

void OverlayViewController::viewDidDisappear(bool) { mainStore().unsubscribe(*this); }

void OverlayViewController::viewWillTransition(Size) {
    const auto collection = ui::required(playersCollectionView, "playersCollectionView");
    const auto layout = std::dynamic_pointer_cast<CollectionViewFlowLayout>(collection->collectionViewLayout());
    if (!layout) fatalError("The overlay's layout is not a CollectionViewFlowLayout");
    layout->setScrollDirection(ui::isLandscape(platform().device().orientation()) ? ui::ScrollDirection::horizontal
                                                                                  : ui::ScrollDirection::vertical);
    layout->invalidateLayout();
    handleToolbarCollapse();
}

/// The root itself stays clear over the players, whatever the theme.
void OverlayViewController::applyTheme() {
    const Theme& theme = mainStore().state().theme;
    ui::required(addButton, "addButton")->setTitleColor(theme.buttonsTintColor);
    ui::required(closeButton, "closeButton")->setTitleColor(theme.buttonsTintColor);
    ui::required(lockPlaybackButton, "lockPlaybackButton")->setTitleColor(theme.buttonsTintColor);
    const Color translucent = theme.secondaryColor.withAlpha(theme.translucentViewsOpacity);
    ui::required(topBarView, "topBarView")->setBackgroundColor(translucent);
    ui::required(drawingShapeView, "drawingShapeView")->setBackgroundColor(translucent);
    ui::required(topBarBackgroundView, "topBarBackgroundView")->setBackgroundColor(translucent);
}

// ---- Rendering

void OverlayViewController::newState(const MainViewControllerState& screen) {
    const State& analysis = mainStore().state();
    const VideoAnalysisIconsConfiguration& icons = *analysis.iconsConfiguration;
    const int selectedTool = static_cast<int>(analysis.mainViewControllerState.toolType);

    ui::required(closeButton, "closeButton")->setImage(icons.closeButtonIcon.value_or(Image::named("close")));
    const auto add = ui::required(addButton, "addButton");
    add->setImage(icons.comparisonButtonIcon.value_or(Image::named("Compare")));

    ui::required(expandToolbarButton, "expandToolbarButton")->setHidden(!screen.isDrawingToolsCollapsed);
    ui::required(collapseToolbarButton, "collapseToolbarButton")->setHidden(screen.isDrawingToolsCollapsed);
    std::shared_ptr<ui::Button> selectedButton;
    for (const std::weak_ptr<ui::Button>& outlet : drawingToolButtons) {
        const auto button = ui::required(outlet, "drawingToolButtons");
        if (button->tag() == selectedTool && !selectedButton) selectedButton = button;
        if (button->tag() == untouchedTag) continue;
        button->setHidden(screen.isDrawingToolsCollapsed && button->tag() != selectedTool);
        button->setTintColor(toolColor(button->tag(), screen.toolColorMap));
        button->setSelected(button->tag() == selectedTool);
        layOutSuperview(button);
    }
    const auto toolsStack = ui::required(drawingToolsStackView, "drawingToolsStackView");
    layOutSuperview(toolsStack);

    add->setHidden(!screen.shouldAllowAddingMedia);

    const auto lock = ui::required(lockPlaybackButton, "lockPlaybackButton");
    if (screen.isMediaPlaybackLocked) {
        lock->setTintColor(Color::systemRed());
        lock->setImage(icons.syncLockButtonIcon.value_or(Image::named("lock")));
    } else {
        lock->setTintColor(Color::white());
        lock->setImage(icons.syncUnlockButtonIcon.value_or(Image::named("unlock")));
    }
    lock->setHidden(!screen.shouldAllowMediaPlaybackLock);

    ui::required(closeButton, "closeButton")->setEnabled(!screen.isScreenRecording);

    const auto arrow = ui::required(arrowImage, "arrowImage");
    arrow->setAlpha(0);
    arrow->setRotation(screen.isColorPickerOpened ? std::numbers::pi : 0);
    if (selectedButton) {
        arrow->setTintColor(toolColor(selectedButton->tag(), screen.toolColorMap));
        arrow->setCenter({arrow->center().x, selectedButton->center().y});
        layOutSuperview(arrow);
    }
    arrow->setAlpha(1);

    for (const std::weak_ptr<ui::View>& outlet : visibleViews) {
        ui::required(outlet, "visibleViews")->setHidden(!screen.isHUDVisible);
    }
    toolsStack->setHidden(screen.isHUDVisible && !screen.isDrawingToolsVisible);
}

Color OverlayViewController::toolColor(int tool, const ToolColorMap& map) {
    if (tool < 0 || tool >= static_cast<int>(SketchToolType::ellipseFill)) return Color::white();
    const auto type = static_cast<SketchToolType>(tool);
    if (const std::optional<Color> color = map[type]) return *color;
    if (type == SketchToolType::rectangleFill) return Color::white();
    return ToolColorMap::standard()[type].value_or(Color::white());
}

// ---- What the controls do

void OverlayViewController::tapOnPen(ui::Control&) { chooseTool(SketchToolType::pen); }
void OverlayViewController::tapOnLine(ui::Control&) { chooseTool(SketchToolType::line); }
void OverlayViewController::tapOnArrow(ui::Control&) { chooseTool(SketchToolType::arrow); }
void OverlayViewController::tapOnRect(ui::Control&) { chooseTool(SketchToolType::rectangleStroke); }
void OverlayViewController::tapOnCircle(ui::Control&) { chooseTool(SketchToolType::ellipseStroke); }

void OverlayViewController::handleToolbarExpand(ui::Control&) {
    mainStore().dispatch(SetDrawingToolsCollapseStateAction(false));
}

void OverlayViewController::handleToolbarCollapse() { mainStore().dispatch(SetDrawingToolsCollapseStateAction(true)); }

void OverlayViewController::handlePlaybackLockToggle(ui::Control&) {
    mainStore().dispatch(SetPlaybackLockStateAction(!mainStore().state().mainViewControllerState.isMediaPlaybackLocked));
}

void OverlayViewController::handleMediaAddition(ui::Control&) {
    const State& analysis = mainStore().state();
    const auto index = static_cast<std::int64_t>(analysis.media->size());
    if (const auto delegate = analysis.delegate.lock()) {
        delegate->videoAnalysisControllerDidRequestMedia(
            shared_from_this(), index,
            [](VideoAnalysisController::Object media) { mainStore().dispatch(AddMediaAction(std::move(media))); });
    }
}

void OverlayViewController::handleDiscardAndClose(ui::Control&) {
    if (const auto delegate = mainStore().state().delegate.lock()) {
        delegate->videoAnalysisControllerDidRequestDiscardAndClose(shared_from_this(), [] {
            mainStore().dispatch(DismissAction(true, {}));
            mainStore().dispatch(ClearStateAction());
        });
    }
}

}  // namespace videoanalysis
