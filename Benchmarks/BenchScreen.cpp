#include "Benchmarks/BenchScreen.h"

#include "Platforms/Cairo/CairoEngine.h"
#include "Platforms/FFmpeg/FFmpegEngine.h"
#include "VideoAnalysis/Analysis/State.h"
#include "VideoAnalysis/Platform/Media.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCell.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCellController.h"
#include "VideoAnalysis/Screen/MainViewController.h"
#include "VideoAnalysis/Screen/PlayersManager.h"
#include "VideoAnalysis/Video/VideoView.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <stdexcept>

namespace videoanalysis::bench {
namespace {

int& withoutDisplay(int& argumentCount) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    return argumentCount;
}

std::shared_ptr<const media::VideoFrame> frameOf(const PlayerCollectionViewCellController& controller) {
    const auto cell = controller.cell();
    const auto view = cell ? cell->playerView.lock() : nullptr;
    return view && view->player() ? view->player()->currentFrame() : nullptr;
}

}  // namespace

BenchScreen::BenchScreen(const std::string& clip)
    : application_(withoutDisplay(argumentCount_), arguments_), start_(window_.contentItem()) {
    window_.resize(1280, 800);
    window_.show();
    platform_ = std::make_shared<QtQuickPlatform>(window_, std::make_unique<media::FFmpegEngine>(),
                                                  std::make_unique<graphics::CairoEngine>());
    installPlatform(platform_);
    const URL url = URL::fileURL(clip);
    analysis_.emplace(std::vector<VideoAnalysisController::Object>{{url, {}}, {url, {}}},
                      VideoAnalysisConfiguration(true, true, {}, {}, nullptr));
    analysis_->present(platform_->viewController(start_), ui::ModalPresentationStyle::fullScreen);
    waitUntil([this] { return isReady(); });
    runFor(2000);  // fades, delayed loads, frames decoded ahead
    QObject::connect(&window_, &QQuickWindow::frameSwapped, &window_, [this] { ++frames_; });
}

BenchScreen::~BenchScreen() {
    analysis_->dismiss(false, {});
    runFor(500);
    QTimer::singleShot(0, &application_, &QCoreApplication::quit);
    QGuiApplication::exec();  // lets the platform shut down before the application
}

bool BenchScreen::isReady() const {
    const auto screen = MainViewController::of(mainStore().state());
    if (!screen->isViewLoaded()) return false;
    const auto& controllers = screen->playersManager()->cellControllers;
    return std::all_of(controllers.begin(), controllers.end(),
                       [](const auto& each) { return frameOf(*each) != nullptr; });
}

std::int64_t BenchScreen::shownFrame(std::size_t player) const {
    return frameOf(*MainViewController::of(mainStore().state())->playersManager()->cellControllers.at(player))->index();
}

void BenchScreen::runFor(int milliseconds) {
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

void BenchScreen::waitUntil(const std::function<bool()>& condition) {
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.hasExpired(30000)) throw std::runtime_error("timeout waiting for the screen");
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 20);
    }
}

}  // namespace videoanalysis::bench
