#include "Platforms/QtQuick/QtQuickPlatform.h"

#include "Platforms/QtQuick/DebugLog.h"
#include "Platforms/QtQuick/Motion.h"
#include "Platforms/QtQuick/QmlBundle.h"
#include "Platforms/QtQuick/QtMainQueue.h"
#include "Platforms/QtQuick/QtPresenter.h"
#include "Platforms/QtQuick/QtScreen.h"
#include "Platforms/QtQuick/QtScreenRecorder.h"
#include "Platforms/QtQuick/TemporaryFolder.h"
#include "VideoAnalysis/Platform/Graphics.h"
#include "VideoAnalysis/Platform/Media.h"
#include "VideoAnalysis/Platform/UI/Device.h"

#include <QCoreApplication>
#include <QPointer>
#include <QScreen>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <utility>

namespace videoanalysis {
namespace {

constexpr double secondsTo2001 = 978307200;  // from 1970

class QtTimer : public dispatch::Timer, public std::enable_shared_from_this<QtTimer> {
public:
    QtTimer(double interval, bool repeats, std::function<void()> fire) : fire_(std::move(fire)) {
        timer_.setTimerType(Qt::PreciseTimer);
        timer_.setSingleShot(!repeats);
        timer_.setInterval(static_cast<int>(std::clamp(interval, 0.0, 1e6) * 1000));
        timer_.callOnTimeout([this] {
            const std::shared_ptr<QtTimer> keepAlive = shared_from_this();
            if (timer_.isSingleShot()) self_.reset();
            fire_();
        });
    }

    void start() {
        self_ = shared_from_this();
        timer_.start();
    }
    bool isValid() const override { return self_ != nullptr; }
    void invalidate() override {
        timer_.stop();
        self_.reset();
    }

private:
    QTimer timer_;
    std::function<void()> fire_;
    std::shared_ptr<QtTimer> self_;  ///< keeps a valid timer alive
};

/// Answers for the device and its screen with the window.
class WindowDevice : public ui::Device, public ui::Screen {
public:
    explicit WindowDevice(QQuickWindow& window) : window_(&window) {}

    /// What a sensor says; `unknown` where there is none.
    ui::DeviceOrientation sensed = ui::DeviceOrientation::unknown;

    ui::DeviceOrientation orientation() const override {
        if (sensed != ui::DeviceOrientation::unknown) return sensed;
        const Size size = this->size();
        return size.width > size.height ? ui::DeviceOrientation::landscapeLeft : ui::DeviceOrientation::portrait;
    }
    ui::InterfaceIdiom userInterfaceIdiom() const override { return ui::InterfaceIdiom::desktop; }
    /// Recordings end in a file, not in a preview.
    int systemVersion() const override { return 14; }

    Size size() const override {
        return window_ ? Size{static_cast<double>(window_->width()), static_cast<double>(window_->height())} : Size{};
    }
    double scale() const override { return window_ ? window_->effectiveDevicePixelRatio() : 1; }

private:
    QPointer<QQuickWindow> window_;
};

ui::DeviceOrientation deviceOrientation(Qt::ScreenOrientation orientation) {
    switch (orientation) {
        case Qt::PortraitOrientation: return ui::DeviceOrientation::portrait;
        case Qt::InvertedPortraitOrientation: return ui::DeviceOrientation::portraitUpsideDown;
        case Qt::LandscapeOrientation: return ui::DeviceOrientation::landscapeLeft;
        case Qt::InvertedLandscapeOrientation: return ui::DeviceOrientation::landscapeRight;
        default: return ui::DeviceOrientation::unknown;
    }
}

}  // namespace

struct QtQuickPlatform::Parts {
    Parts(QQuickWindow& window, std::unique_ptr<media::Engine> media, std::unique_ptr<graphics::Engine> graphics,
          QQmlEngine* engine)
        : media(std::move(media)), graphics(std::move(graphics)), device(window), recorder(window),
          ownEngine(engine ? nullptr : std::make_unique<QQmlEngine>()), bundle(engine ? *engine : *ownEngine),
          presenter(std::make_unique<qt::QtPresenter>(window)) {
        followSensor(window);
        QObject::connect(qApp, &QCoreApplication::aboutToQuit, &mainQueue, [this] { close(); });
    }

    /// Screens that know how they are held say so; those of a desktop do not, and the window's shape counts.
    void followSensor(const QQuickWindow& window) {
        QScreen* screen = window.screen();
        if (!screen || screen->nativeOrientation() == Qt::PrimaryOrientation) return;
        const auto follow = [this](Qt::ScreenOrientation orientation) {
            device.sensed = deviceOrientation(orientation);
            presenter->layOutLater();
        };
        QObject::connect(screen, &QScreen::orientationChanged, presenter.get(), follow);
        device.sensed = deviceOrientation(screen->orientation());
    }

    /// Everything of Qt that must not outlive the application.
    void close() {
        recorder.close();
        bundle.close();
        ownEngine.reset();
    }

    qt::QtMainQueue mainQueue;
    std::unique_ptr<media::Engine> media;
    std::unique_ptr<graphics::Engine> graphics;
    WindowDevice device;
    qt::QtScreenRecorder recorder;
    std::unique_ptr<QQmlEngine> ownEngine;
    qt::QmlBundle bundle;
    std::unique_ptr<qt::QtPresenter> presenter;
    qt::TemporaryFolder temporaryFolder;
};

QtQuickPlatform::QtQuickPlatform(QQuickWindow& window, std::unique_ptr<media::Engine> media,
                                 std::unique_ptr<graphics::Engine> graphics, QQmlEngine* engine)
    : parts_(std::make_unique<Parts>(window, std::move(media), std::move(graphics), engine)) {}

QtQuickPlatform::~QtQuickPlatform() = default;

std::shared_ptr<ui::ViewController> QtQuickPlatform::viewController(QQuickItem& item) {
    return qt::makeHostController(item);
}

void QtQuickPlatform::setDeviceOrientation(ui::DeviceOrientation orientation) {
    parts_->device.sensed = orientation;
    parts_->presenter->layOutLater();
}

void QtQuickPlatform::setReducesMotion(bool reduces) { qt::Motion::shared().setReduced(reduces); }

void QtQuickPlatform::setMovieMaker(std::unique_ptr<recording::MovieMaker> maker, const RecordingOptions& options) {
    parts_->recorder.setMovieMaker(std::move(maker), options);
}

RecordingStatistics QtQuickPlatform::recordingStatistics() const { return parts_->recorder.statistics(); }

dispatch::MainQueue& QtQuickPlatform::mainQueue() { return parts_->mainQueue; }

std::shared_ptr<dispatch::Timer> QtQuickPlatform::scheduleTimer(double interval, bool repeats,
                                                                std::function<void()> fire) {
    const auto timer = std::make_shared<QtTimer>(interval, repeats, std::move(fire));
    timer->start();
    return timer;
}

double QtQuickPlatform::wallClock() const {
    const std::chrono::duration<double> since1970 = std::chrono::system_clock::now().time_since_epoch();
    return since1970.count() - secondsTo2001;
}

const ui::Device& QtQuickPlatform::device() const { return parts_->device; }
const ui::Screen& QtQuickPlatform::mainScreen() const { return parts_->device; }
ui::Bundle& QtQuickPlatform::bundle() { return parts_->bundle; }
ui::Presenter& QtQuickPlatform::presenter() { return *parts_->presenter; }
media::Engine& QtQuickPlatform::media() { return *parts_->media; }
graphics::Engine& QtQuickPlatform::graphics() { return *parts_->graphics; }
recording::ScreenRecorder& QtQuickPlatform::screenRecorder() { return parts_->recorder; }

std::string QtQuickPlatform::temporaryDirectory() const { return parts_->temporaryFolder.path(); }

void QtQuickPlatform::debugLog(std::string_view line) {
    qCDebug(qt::videoAnalysisLog).noquote() << QString::fromUtf8(line.data(), static_cast<qsizetype>(line.size()));
}

}  // namespace videoanalysis
