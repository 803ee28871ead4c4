#include "VideoAnalysis/Screen/OverlayViewController.h"

#include "VideoAnalysis/Analysis/Actions.h"
#include "VideoAnalysis/Analysis/HostCompletion.h"
#include "VideoAnalysis/Platform/Dispatch.h"
#include "VideoAnalysis/Platform/FatalError.h"
#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Platform/UI/Device.h"
#include "VideoAnalysis/Screen/CollectionViewFlowLayout.h"
#include "VideoAnalysis/Screen/MainViewController.h"

#include <algorithm>
#include <cstdio>
#include <limits>
#include <numbers>
#include <string>

namespace videoanalysis {
namespace {

constexpr int untouchedTag = 5;  // buttons with this tag keep the appearance of the layout

void layOutSuperview(const std::shared_ptr<ui::View>& view) {
    if (const std::shared_ptr<ui::View> above = view->superview()) above->layoutIfNeeded();
}

void chooseTool(SketchToolType tool) { mainStore().dispatch(SetDrawingToolTypeAction(tool, true)); }

/// Whether `overlay` belongs to the current analysis.
bool isOfTheAnalysis(const ui::ViewController& overlay) {
    const auto screen = std::dynamic_pointer_cast<MainViewController>(mainStore().state().existingMainViewController());
    return screen && screen->overlayViewController().get() == &overlay;
}

/// Hours, minutes and seconds, at least two digits each.
std::string clockText(std::int64_t seconds) {
    char text[40];
    std::snprintf(text, sizeof text, "%02lld:%02lld:%02lld", static_cast<long long>(seconds / 3600),
                  static_cast<long long>(seconds / 60 % 60), static_cast<long long>(seconds - seconds / 60 * 60));
    return text;
}

}  // namespace

OverlayViewController::~OverlayViewController() {
    if (recordingTimer) recordingTimer->invalidate();
}

void OverlayViewController::connectOutlets(ui::Outlets& layout) {
    ui::ViewController::connectOutlets(layout);
    layout.action("tapOnPen:", [this](ui::Control& sender) { tapOnPen(sender); });
    layout.action("tapOnLine:", [this](ui::Control& sender) { tapOnLine(sender); });
    layout.action("tapOnArrow:", [this](ui::Control& sender) { tapOnArrow(sender); });
    layout.action("tapOnRect:", [this](ui::Control& sender) { tapOnRect(sender); });
    layout.action("tapOnCircle:", [this](ui::Control& sender) { tapOnCircle(sender); });
    layout.action("tapOnColorPicker:", [this](ui::Control& sender) { tapOnColorPicker(sender); });
    layout.action("handleToolbarExpand:", [this](ui::Control& sender) { handleToolbarExpand(sender); });
    layout.action("handleToolbarCollapse:", [this](ui::Control&) { handleToolbarCollapse(); });
    layout.action("handleScreenRecording:", [this](ui::Control& sender) { handleScreenRecording(sender); });
    layout.action("handlePlaybackLockToggle:", [this](ui::Control& sender) { handlePlaybackLockToggle(sender); });
    layout.action("handleMediaAddition:", [this](ui::Control& sender) { handleMediaAddition(sender); });
    layout.action("handleDiscardAndClose:", [this](ui::Control& sender) { handleDiscardAndClose(sender); });
}

// ---- Lifecycle

void OverlayViewController::viewDidLoad() {
    applyTheme();
    const auto self = std::static_pointer_cast<OverlayViewController>(shared_from_this());
    const auto picker = colorPickerView.required();
    picker->setDelegate(self);
    picker->setLayoutDelegate(self);
    picker->setSelectionStyle(ColorPickerViewSelectStyle::check);
}

void OverlayViewController::viewWillAppear(bool) {
    applyTheme();  // the screen is loaded before the configuration is set
    mainStore().subscribe(std::static_pointer_cast<OverlayViewController>(shared_from_this()),
                          [](auto& whole) { return whole.select(&State::mainViewControllerState); });
}

void OverlayViewController::viewDidAppear(bool) {
    mainStore().dispatch(SetDrawingToolTypeAction(SketchToolType::pen, false));
}

void OverlayViewController::viewDidDisappear(bool) {
    mainStore().unsubscribe(*this);
    if (recordingTimer) recordingTimer->invalidate();  // restarted by the next appearance if the state requires it
}

void OverlayViewController::viewWillTransition(Size) {
    const auto collection = playersCollectionView.required();
    const auto layout = std::dynamic_pointer_cast<CollectionViewFlowLayout>(collection->collectionViewLayout());
    if (!layout) fatalError("The overlay's layout is not a CollectionViewFlowLayout");
    layout->setScrollDirection(ui::isLandscape(platform().device().orientation()) ? ui::ScrollDirection::horizontal
                                                                                  : ui::ScrollDirection::vertical);
    layout->invalidateLayout();
    handleToolbarCollapse();
}

/// Keeps the root itself transparent over the players.
void OverlayViewController::applyTheme() {
    const Theme& theme = mainStore().state().theme;
    addButton->setTitleColor(theme.buttonsTintColor);
    closeButton->setTitleColor(theme.buttonsTintColor);
    recordButton->setTitleColor(theme.buttonsTintColor);
    lockPlaybackButton->setTitleColor(theme.buttonsTintColor);
    const Color translucent = theme.secondaryColor.withAlpha(theme.translucentViewsOpacity);
    topBarView->setBackgroundColor(translucent);
    colorPickerView->setBackgroundColor(translucent);
    drawingShapeView->setBackgroundColor(translucent);
    topBarBackgroundView->setBackgroundColor(translucent);
}

// ---- Rendering

void OverlayViewController::newState(const MainViewControllerState& screen) {
    const State& analysis = mainStore().state();
    const VideoAnalysisIconsConfiguration& icons = *analysis.iconsConfiguration;
    const int selectedTool = static_cast<int>(analysis.mainViewControllerState.toolType);

    closeButton->setImage(icons.closeButtonIcon.value_or(Image::named("close")));
    const auto add = addButton.required();
    add->setImage(icons.comparisonButtonIcon.value_or(Image::named("Compare")));

    expandToolbarButton->setHidden(!screen.isDrawingToolsCollapsed);
    collapseToolbarButton->setHidden(screen.isDrawingToolsCollapsed);
    for (const std::shared_ptr<ui::Button>& button : drawingToolButtons.required()) {
        if (button->tag() == untouchedTag) continue;
        button->setHidden(screen.isDrawingToolsCollapsed && button->tag() != selectedTool);
        button->setTintColor(toolColor(button->tag(), screen.toolColorMap));
        button->setSelected(button->tag() == selectedTool);
        layOutSuperview(button);
    }
    const auto toolsStack = drawingToolsStackView.required();
    layOutSuperview(toolsStack);

    add->setHidden(!screen.shouldAllowAddingMedia);

    const auto lock = lockPlaybackButton.required();
    if (screen.isMediaPlaybackLocked) {
        lock->setTintColor(Color::systemRed());
        lock->setImage(icons.syncLockButtonIcon.value_or(Image::named("lock")));
    } else {
        lock->setTintColor(Color::white());
        lock->setImage(icons.syncUnlockButtonIcon.value_or(Image::named("unlock")));
    }
    lock->setHidden(!screen.shouldAllowMediaPlaybackLock);

    renderRecording(screen);
    recordButton->setEnabled(screen.shouldAllowRecording && !analysis.media->empty());
    closeButton->setEnabled(!screen.isScreenRecording);

    renderSelectedTool(screen, selectedTool);

    const auto picker = colorPickerView.required();
    picker->setHidden(!screen.isColorPickerOpened);
    layOutSuperview(picker);

    for (const std::shared_ptr<ui::View>& view : visibleViews.required()) {
        view->setHidden(!screen.isHUDVisible);
    }
    toolsStack->setHidden(screen.isHUDVisible && !screen.isDrawingToolsVisible);
}

/// The button and the timer follow the request first, then the recorder's answer: the timer starts with the answer, and the
/// idle appearance stops it only if the current state has a started recording.
void OverlayViewController::renderRecording(const MainViewControllerState& screen) {
    if (screen.isScreenRecording) {
        applyRecordingLook();
    } else {
        applyIdleLook();
    }
    if (screen.hasStartedRecording) {
        startTimerIfNeeded();
    } else {
        applyIdleLook();
    }
    const auto label = timerLabel.required();
    layOutSuperview(label);
    label->setHidden(!screen.isScreenRecording);
}

void OverlayViewController::applyRecordingLook() {
    const auto record = recordButton.required();
    record->setTintColor(Color::systemRed());
    record->setImage(
        mainStore().state().iconsConfiguration->stopRecordingButtonIcon.value_or(Image::named("stop_recording")));
}

void OverlayViewController::applyIdleLook() {
    const State& analysis = mainStore().state();
    if (analysis.mainViewControllerState.hasStartedRecording) {
        seconds = 0;
        if (recordingTimer) recordingTimer->invalidate();
    }
    const auto record = recordButton.required();
    record->setTintColor(Color::white());
    record->setImage(analysis.iconsConfiguration->recordButtonIcon.value_or(Image::named("start_recording")));
}

void OverlayViewController::startTimerIfNeeded() {
    if (recordingTimer && recordingTimer->isValid()) return;
    const std::weak_ptr<ui::ViewController> weak = weak_from_this();
    recordingTimer = platform().scheduleTimer(delayDuration, true, [weak] {
        if (const auto self = weak.lock()) static_cast<OverlayViewController&>(*self).recordingWithTimer();
    });
}

void OverlayViewController::recordingWithTimer() {
    if (seconds == std::numeric_limits<std::int64_t>::max()) fatalError("The recording clock has run over");
    ++seconds;
    timerLabel->setText(clockText(seconds));
}

/// Moves the marker beside the selected tool and preselects its colour in the picker.
void OverlayViewController::renderSelectedTool(const MainViewControllerState& screen, int selectedTool) {
    const auto arrow = arrowImage.required();
    arrow->setAlpha(0);
    arrow->setRotation(screen.isColorPickerOpened ? std::numbers::pi : 0);
    const std::vector<std::shared_ptr<ui::Button>> buttons = drawingToolButtons.required();
    const auto selected = std::find_if(buttons.begin(), buttons.end(),
                                       [&](const auto& candidate) { return candidate->tag() == selectedTool; });
    if (selected != buttons.end()) {
        const std::shared_ptr<ui::Button>& button = *selected;
        arrow->setTintColor(toolColor(button->tag(), screen.toolColorMap));
        arrow->setCenter({arrow->center().x, button->center().y});
        layOutSuperview(arrow);
        const auto picker = colorPickerView.required();
        const auto& colors = picker->colors();
        const std::optional<Color> color = screen.toolColorMap[static_cast<SketchToolType>(selectedTool)];
        const auto found = color ? std::find(colors.begin(), colors.end(), *color) : colors.end();
        if (found != colors.end()) picker->setPreselectedIndex(found - colors.begin());
    }
    arrow->setAlpha(1);
}

Color OverlayViewController::toolColor(int tool, const ToolColorMap& map) {
    if (tool < 0 || tool >= static_cast<int>(SketchToolType::ellipseFill)) return Color::white();
    const auto type = static_cast<SketchToolType>(tool);
    if (const std::optional<Color> color = map[type]) return *color;
    if (type == SketchToolType::rectangleFill) return Color::white();
    return ToolColorMap::standard()[type].value_or(Color::white());
}

// ---- Control actions

void OverlayViewController::tapOnPen(ui::Control&) { chooseTool(SketchToolType::pen); }
void OverlayViewController::tapOnLine(ui::Control&) { chooseTool(SketchToolType::line); }
void OverlayViewController::tapOnArrow(ui::Control&) { chooseTool(SketchToolType::arrow); }
void OverlayViewController::tapOnRect(ui::Control&) { chooseTool(SketchToolType::rectangleStroke); }
void OverlayViewController::tapOnCircle(ui::Control&) { chooseTool(SketchToolType::ellipseStroke); }

void OverlayViewController::tapOnColorPicker(ui::Control&) {
    mainStore().dispatch(
        SetColorPickerCollapseStateAction(!mainStore().state().mainViewControllerState.isColorPickerOpened));
}

void OverlayViewController::handleToolbarExpand(ui::Control&) {
    mainStore().dispatch(SetDrawingToolsCollapseStateAction(false));
}

void OverlayViewController::handleToolbarCollapse() { mainStore().dispatch(SetDrawingToolsCollapseStateAction(true)); }

void OverlayViewController::handleScreenRecording(ui::Control&) {
    mainStore().dispatch(SetScreenRecordingStateAction(!mainStore().state().mainViewControllerState.isScreenRecording));
}

void OverlayViewController::handlePlaybackLockToggle(ui::Control&) {
    mainStore().dispatch(
        SetPlaybackLockStateAction(!mainStore().state().mainViewControllerState.isMediaPlaybackLocked));
}

void OverlayViewController::handleMediaAddition(ui::Control&) {
    const State& analysis = mainStore().state();
    const auto index = static_cast<std::int64_t>(analysis.media->size());
    if (const auto delegate = analysis.delegate.lock()) {
        delegate->videoAnalysisControllerDidRequestMedia(
            shared_from_this(), index,
            hostCompletion<VideoAnalysisController::Object>(
                "add a clip",
                [self = shared_from_this()] {
                    return isOfTheAnalysis(*self) && mainStore().state().mainViewControllerState.shouldAllowAddingMedia;
                },
                [](VideoAnalysisController::Object media) { mainStore().dispatch(AddMediaAction(std::move(media))); }));
    }
}

void OverlayViewController::handleDiscardAndClose(ui::Control&) {
    if (const auto delegate = mainStore().state().delegate.lock()) {
        delegate->videoAnalysisControllerDidRequestDiscardAndClose(
            shared_from_this(),
            hostCompletion<>(
                "close the analysis", [self = shared_from_this()] { return isOfTheAnalysis(*self); },
                [] {
                    mainStore().dispatch(DismissAction(true, {}));
                    mainStore().dispatch(ClearStateAction());
                }));
    }
}

// ---- Colour picker

void OverlayViewController::didSelectItemAt(ColorPickerView& picker, const ui::IndexPath& indexPath) {
    if (indexPath.item < 0 || indexPath.item >= static_cast<std::int64_t>(picker.colors().size())) {
        fatalError("No colour at index " + std::to_string(indexPath.item));
    }
    mainStore().dispatch(SetDrawingToolColorAction(picker.colors()[static_cast<std::size_t>(indexPath.item)]));
}

Size OverlayViewController::sizeForItemAt(ColorPickerView&, const ui::IndexPath&) { return {30, 30}; }
double OverlayViewController::minimumLineSpacingForSectionAt(ColorPickerView&, std::int64_t) { return 5; }
double OverlayViewController::minimumInteritemSpacingForSectionAt(ColorPickerView&, std::int64_t) { return 5; }
EdgeInsets OverlayViewController::insetForSectionAt(ColorPickerView&, std::int64_t) { return {5, 5, 5, 5}; }

}  // namespace videoanalysis
