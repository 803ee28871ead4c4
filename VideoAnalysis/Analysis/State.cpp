#include "VideoAnalysis/Analysis/State.h"

#include "VideoAnalysis/Analysis/ActionLog.h"
#include "VideoAnalysis/Analysis/AnalysisScreen.h"
#include "VideoAnalysis/Analysis/Reducers.h"
#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Platform/Recording.h"
#include "VideoAnalysis/Platform/UI/Bundle.h"

namespace videoanalysis {

ToolColorMap ToolColorMap::standard() {
    ToolColorMap map;
    map.set(SketchToolType::arrow, Color::rgb255(255, 23, 68));
    map.set(SketchToolType::line, Color::rgb255(0, 230, 118));
    map.set(SketchToolType::pen, Color::rgb255(0, 229, 255));
    map.set(SketchToolType::ellipseStroke, Color::rgb255(255, 234, 0));
    map.set(SketchToolType::ellipseFill, Color::rgb255(255, 234, 0));
    map.set(SketchToolType::rectangleStroke, Color::rgb255(0, 176, 255));
    map.set(SketchToolType::rectangleFill, Color::rgb255(0, 176, 255));
    return map;
}

MainViewControllerState::MainViewControllerState() {
    const recording::ScreenRecorder& recorder = platform().screenRecorder();
    isScreenRecording = recorder.isRecording();
    shouldAllowRecording = recorder.isAvailable();
    isMicrophoneEnabled = recorder.isMicrophoneEnabled();
}

const std::shared_ptr<AnalysisScreen>& State::mainViewController() const {
    if (!screen_->isMade) {
        screen_->isMade = true;
        const std::shared_ptr<ui::Storyboard> storyboard = platform().bundle().storyboard("Main");
        const auto initial = storyboard ? storyboard->instantiateInitialViewController() : nullptr;
        screen_->controller = std::dynamic_pointer_cast<AnalysisScreen>(initial);
        if (screen_->controller) initial->view();
    }
    return screen_->controller;
}

bool State::hasPlayer(const Store<player::LocalState>& localStore) const {
    const std::shared_ptr<AnalysisPlayers> players = screen_->controller ? screen_->controller->players() : nullptr;
    return players && players->contains(localStore);
}

Store<State>& mainStore() {
    // Never destroyed: its content must not be destroyed after the platform's statics.
    static const auto* store = new std::shared_ptr<Store<State>>(
        Store<State>::make(reduceMain, State(), debuggingMiddleware<State>("analysis"), true));
    return **store;
}

}  // namespace videoanalysis
