#include "VideoAnalysis/Analysis/VideoAnalysisController.h"

#include "VideoAnalysis/Analysis/Actions.h"
#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Platform/Recording.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCellController.h"
#include "VideoAnalysis/Screen/MainViewController.h"
#include "VideoAnalysis/Screen/PlayersManager.h"

namespace videoanalysis {
namespace {

std::shared_ptr<PlayersManager> playersManager() {
    const State& state = mainStore().state();
    return state.mainViewController() ? state.mainViewController()->playersManager() : nullptr;
}

}  // namespace

std::string describeValue(const VideoAnalysisController::Object& media) {
    return "Object(url: " + media.url.absoluteString() + ", stack: " + (media.stack ? "JSON" : "none") + ")";
}

VideoAnalysisController::VideoAnalysisController(const std::vector<Object>& media,
                                                 const std::optional<VideoAnalysisConfiguration>& configuration) {
    mainStore().dispatch(ClearStateAction());
    if (configuration) mainStore().dispatch(SetConfigurationAction(*configuration));
    for (const Object& object : media) mainStore().dispatch(AddMediaAction(object));
}

void VideoAnalysisController::present(const std::shared_ptr<ui::ViewController>& viewController,
                                      ui::ModalPresentationStyle presentationStyle) {
    mainStore().dispatch(SetPresentationConfigurationAction(viewController, presentationStyle));
}

void VideoAnalysisController::dismiss(bool animated, std::function<void()> completion) {
    mainStore().dispatch(DismissAction(animated, std::move(completion)));
    mainStore().dispatch(ClearStateAction());
}

void VideoAnalysisController::editMedia(std::int64_t index) {
    const std::shared_ptr<PlayersManager> manager = playersManager();
    if (!manager || index < 0 || index >= static_cast<std::int64_t>(manager->cellControllers.size())) return;
    // As if the player's own button had been pressed; it need not be there.
    ui::Control sender;
    manager->cellControllers[static_cast<std::size_t>(index)]->edit(sender);
}

std::vector<VideoAnalysisController::Object> VideoAnalysisController::currentMedia() const {
    const std::shared_ptr<PlayersManager> manager = playersManager();
    if (!manager) return *mainStore().state().media;
    std::vector<Object> media;
    for (const auto& controller : manager->cellControllers) media.push_back(controller->media());
    return media;
}

void VideoAnalysisController::recordingTaken(const URL& recording) {
    platform().screenRecorder().recordingTaken(recording);
}

}  // namespace videoanalysis
