#include "Platforms/QtQuick/SceneCapture.h"

#include <QCoreApplication>
#include <QImage>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QPainter>
#include <QQuickWindow>
#include <QSGRectangleNode>
#include <QSGRenderNode>
#include <QSGRendererInterface>

#include <algorithm>
#include <ctime>
#include <utility>
#include <vector>

namespace videoanalysis::qt {
namespace {

constexpr double topLayer = 1e6;  // above everything a host has put into its window

bool isPlain(const QImage& image) {
    return image.format() == QImage::Format_RGB32 || image.format() == QImage::Format_ARGB32_Premultiplied ||
           image.format() == QImage::Format_ARGB32;
}

/// Not from inside its own signal.
void releaseLater(QSharedPointer<QQuickItemGrabResult> layer) {
    QMetaObject::invokeMethod(
        qApp, [layer = std::move(layer)] {}, Qt::QueuedConnection);
}

/// Of the calling thread.
double computedMilliseconds() {
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

}  // namespace

/// Covers the window and paints nothing: the software renderer calls it, after everything below, whenever something of the
/// window has been repainted, and at that moment its painter's image is what the window shows.
class SceneCapture::Node : public QSGRenderNode {
public:
    explicit Node(SceneCapture& capture) : capture_(capture) {}

    StateFlags changedStates() const override { return {}; }
    RenderingFlags flags() const override { return BoundedRectRendering; }
    QRectF rect() const override { return rect_; }
    void setRect(const QRectF& rect) { rect_ = rect; }
    void render(const RenderState*) override { capture_.takeRendered(); }

private:
    SceneCapture& capture_;
    QRectF rect_;
};

/// An invisible point that can be repainted, so that the software renderer calls the capture.
class SceneCapture::Spot : public QQuickItem {
public:
    explicit Spot(QQuickItem& parent) : QQuickItem(&parent) {
        setFlag(ItemHasContents);
        setSize({1, 1});
        setZ(-1);
    }

protected:
    QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData*) override {
        auto* node = old ? static_cast<QSGRectangleNode*>(old) : window()->createRectangleNode();
        node->setRect(boundingRect());
        node->setColor(Qt::transparent);
        node->markDirty(QSGNode::DirtyMaterial);
        return node;
    }
};

/// The thread that renders may be about to call a capture that is being deleted.
struct SceneCapture::Guard {
    std::mutex mutex;
    SceneCapture* capture;
};

SceneCapture::Method SceneCapture::methodFor(const QQuickWindow& window) {
    const auto api = window.rendererInterface()->graphicsApi();
    if (api == QSGRendererInterface::Software) return Method::painter;
    const bool isDesktopGL =
        api == QSGRendererInterface::OpenGL && QOpenGLContext::openGLModuleType() == QOpenGLContext::LibGL;
    return isDesktopGL ? Method::framebuffer : Method::layer;
}

SceneCapture::SceneCapture(QQuickWindow& window, int framesPerSecond, Receiver receiver)
    : SceneCapture(window, framesPerSecond, std::move(receiver), methodFor(window)) {}

SceneCapture::SceneCapture(QQuickWindow& window, int framesPerSecond, Receiver receiver, Method method)
    : window_(&window),
      period_(std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(1.0 / framesPerSecond))),
      receiver_(std::move(receiver)) {
    rest_.setSingleShot(true);
    rest_.setTimerType(Qt::PreciseTimer);
    if (method == Method::painter) {
        setFlag(ItemHasContents);
        spot_ = new Spot(*this);
        rest_.callOnTimeout(this, [this] {
            isResting_ = true;
            spot_->update();
        });
    } else if (method == Method::framebuffer) {
        guard_ = std::make_shared<Guard>();
        guard_->capture = this;
        const auto read = [guard = guard_] {
            const std::lock_guard lock(guard->mutex);
            if (guard->capture) guard->capture->readFramebuffer();
        };
        connect(&window, &QQuickWindow::afterRenderPassRecording, this, read, Qt::DirectConnection);
        rest_.callOnTimeout(this, [this] {
            if (window_) window_->update();
        });
        window.update();
    } else {
        connect(&window, &QQuickWindow::frameSwapped, this, &SceneCapture::frameWasShown, Qt::QueuedConnection);
        rest_.callOnTimeout(this, &SceneCapture::renderLayer);
        window.update();
    }
    setParentItem(window.contentItem());
    setZ(topLayer);
    connect(window.contentItem(), &QQuickItem::widthChanged, this, &SceneCapture::followWindow);
    connect(window.contentItem(), &QQuickItem::heightChanged, this, &SceneCapture::followWindow);
    followWindow();
}

SceneCapture::~SceneCapture() {
    // The thread that renders may be using it.
    if (layer_ && window_) {
        connect(layer_.data(), &QQuickItemGrabResult::ready, window_,
                [layer = layer_]() mutable { releaseLater(std::exchange(layer, nullptr)); });
    }
    if (!guard_) return;
    const std::lock_guard lock(guard_->mutex);
    guard_->capture = nullptr;
}

void SceneCapture::followWindow() {
    if (window_) setSize(window_->contentItem()->size());
}

CaptureStatistics SceneCapture::statistics() const {
    const std::lock_guard lock(mutex_);
    return statistics_;
}

QSGNode* SceneCapture::updatePaintNode(QSGNode* old, UpdatePaintNodeData*) {
    auto* node = old ? static_cast<Node*>(old) : new Node(*this);
    node->setRect(boundingRect());
    node->markDirty(QSGNode::DirtyGeometry);
    return node;
}

bool SceneCapture::isDue(Clock::time_point now) {
    // A quarter early is as good as in time: clips and screens do not keep step with one another.
    if (now < due_ - period_ / 4) return false;
    due_ = std::max(due_ + period_, now + period_ * 3 / 4);
    return true;
}

void SceneCapture::takeRendered() {
    const Clock::time_point now = Clock::now();
    const bool isRest = std::exchange(isResting_, false);
    if (!isDue(now)) {
        changed_ = now;
        const auto wait = std::chrono::ceil<std::chrono::milliseconds>(due_ + period_ / 2 - now);
        if (!rest_.isActive()) rest_.start(static_cast<int>(wait.count()));
        return;
    }
    const Clock::time_point moment = isRest ? changed_ : now;
    const double computed = computedMilliseconds();
    rest_.stop();
    const auto* painter = static_cast<QPainter*>(
        window_->rendererInterface()->getResource(window_, QSGRendererInterface::PainterResource));
    const QPaintDevice* device = painter ? painter->device() : nullptr;
    if (!device || device->devType() != QInternal::Image) return;
    const auto& image = *static_cast<const QImage*>(device);
    if (isPlain(image)) {
        give(image.constBits(), image.size(), image.bytesPerLine(), moment);
    } else {
        const QImage converted = image.convertToFormat(QImage::Format_RGB32);
        give(converted.constBits(), converted.size(), converted.bytesPerLine(), moment);
    }
    count(now, computed);
}

// Rendering a layer takes a frame, which must not count as a change, or there would be no end to it. What the main thread hears
// is in order: frames shown before the layer's own, the finished layer, the layer's own frame.

void SceneCapture::frameWasShown() {
    if (layer_ || std::exchange(isFrameOfLayer_, false)) return;  // the layer has it too
    changed_ = Clock::now();
    renderLayer();
}

void SceneCapture::renderLayer() {
    if (!window_ || layer_) return;
    const Clock::time_point now = Clock::now();
    if (!isDue(now)) {
        const auto wait = std::chrono::ceil<std::chrono::milliseconds>(due_ - now);
        if (!rest_.isActive()) rest_.start(static_cast<int>(wait.count()));
        return;
    }
    rest_.stop();
    layer_ = window_->contentItem()->grabToImage();
    if (!layer_) return;
    connect(layer_.data(), &QQuickItemGrabResult::ready, this, [this, moment = changed_] {
        isFrameOfLayer_ = true;
        const auto layer = std::exchange(layer_, nullptr);
        takeLayer(layer->image(), moment);
        releaseLater(layer);
    });
}

void SceneCapture::takeLayer(const QImage& layer, Clock::time_point moment) {
    if (layer.isNull()) return;
    const Clock::time_point now = Clock::now();
    const double computed = computedMilliseconds();
    const QImage image = isPlain(layer) ? layer : layer.convertToFormat(QImage::Format_RGB32);
    give(image.constBits(), image.size(), image.bytesPerLine(), moment);
    count(now, computed);
}

void SceneCapture::readFramebuffer() {
    const Clock::time_point now = Clock::now();
    if (!isDue(now)) {
        const auto wait = std::chrono::ceil<std::chrono::milliseconds>(due_ - now);
        QMetaObject::invokeMethod(
            this, [this, wait] { rest_.start(static_cast<int>(wait.count())); }, Qt::QueuedConnection);
        return;
    }
    const double computed = computedMilliseconds();
    QOpenGLContext* context = QOpenGLContext::currentContext();
    if (!context) return;
    const QSize size = window_->size() * window_->effectiveDevicePixelRatio();
    const std::ptrdiff_t bytesPerRow = std::ptrdiff_t{4} * size.width();
    static thread_local std::vector<std::uint8_t> pixels;
    pixels.resize(static_cast<std::size_t>(bytesPerRow) * static_cast<std::size_t>(size.height()));
    window_->beginExternalCommands();
    constexpr unsigned bgra = 0x80E1;
    context->functions()->glReadPixels(0, 0, size.width(), size.height(), bgra, GL_UNSIGNED_BYTE, pixels.data());
    window_->endExternalCommands();
    // The framebuffer's first row is the lowest.
    give(pixels.data() + bytesPerRow * (size.height() - 1), size, -bytesPerRow, now);
    count(now, computed);
}

void SceneCapture::give(const std::uint8_t* pixels, QSize size, std::ptrdiff_t bytesPerRow, Clock::time_point moment) {
    receiver_(pixels, size, bytesPerRow, moment);
}

void SceneCapture::count(Clock::time_point start, double startComputed) {
    const double milliseconds = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    const double computed = computedMilliseconds() - startComputed;
    constexpr std::array limits{0.5, 1.0, 2.0, 4.0};
    const std::lock_guard lock(mutex_);
    ++statistics_.count;
    statistics_.max = std::max(statistics_.max, milliseconds);
    statistics_.maxComputed = std::max(statistics_.maxComputed, computed);
    const auto place = std::upper_bound(limits.begin(), limits.end(), milliseconds) - limits.begin();
    ++statistics_.histogram[static_cast<std::size_t>(place)];
}

}  // namespace videoanalysis::qt
