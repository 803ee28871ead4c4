#include "VideoAnalysis/Analysis/VideoAnalysisController.h"

#include "VideoAnalysis/Analysis/Actions.h"
#include "VideoAnalysis/Analysis/AnalysisScreen.h"
#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Platform/Recording.h"

namespace videoanalysis {
namespace {

std::shared_ptr<AnalysisPlayers> currentPlayers() {
    const auto& screen = mainStore().state().mainViewController();
    return screen ? screen->players() : nullptr;
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

bool VideoAnalysisController::isOpen() const {
    const auto& screen = mainStore().state().existingMainViewController();
    return screen && screen->isPresented();
}

std::int64_t VideoAnalysisController::mediaCount() const {
    return static_cast<std::int64_t>(mainStore().state().media->size());
}

bool VideoAnalysisController::addMedia(const Object& media) {
    if (!mainStore().state().mainViewControllerState.shouldAllowAddingMedia) return false;
    mainStore().dispatch(AddMediaAction(media));
    return true;
}

bool VideoAnalysisController::replaceMedia(std::int64_t index, const Object& media) {
    if (index == mediaCount()) return addMedia(media);
    if (index < 0 || index > mediaCount()) return false;
    mainStore().dispatch(UpdateMediaAction(index, media));
    return true;
}

bool VideoAnalysisController::removeMedia(std::int64_t index) {
    if (index < 0 || index >= mediaCount()) return false;
    mainStore().dispatch(RemoveMediaAction(index));
    return true;
}

bool VideoAnalysisController::isRecording() const {
    return mainStore().state().mainViewControllerState.isScreenRecording;
}

void VideoAnalysisController::stopRecording() {
    if (isRecording()) mainStore().dispatch(SetScreenRecordingStateAction(false));
}

void VideoAnalysisController::editMedia(std::int64_t index) {
    const std::shared_ptr<AnalysisPlayers> players = currentPlayers();
    if (!players || index < 0 || index >= static_cast<std::int64_t>(players->count())) return;
    players->edit(static_cast<std::size_t>(index));
}

std::vector<VideoAnalysisController::Object> VideoAnalysisController::currentMedia() const {
    const std::shared_ptr<AnalysisPlayers> players = currentPlayers();
    return players ? players->currentMedia() : *mainStore().state().media;
}

void VideoAnalysisController::recordingTaken(const URL& recording) {
    platform().screenRecorder().recordingTaken(recording);
}

}  // namespace videoanalysis
