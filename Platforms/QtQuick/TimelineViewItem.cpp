#include "Platforms/QtQuick/TimelineViewItem.h"

#include <QMouseEvent>
#include <QQuickWindow>
#include <QSGRectangleNode>
#include <QTouchEvent>
#include <QWheelEvent>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace videoanalysis {
namespace {

constexpr int frameMilliseconds = 16;
constexpr int wheelPause = 150;         // milliseconds after which the wheel has come to rest
constexpr double velocityWindow = 0.1;  // seconds of a drag that decide about its throw
constexpr double smallestThrow = 60;    // points per second; slower releases stand still
constexpr double fadeShare = 0.3;       // of the width, at each end
constexpr double longTick = 20;         // points
constexpr double shortTick = 10;        // points
constexpr double markHeight = 28;       // points
constexpr double wheelNotch = 120;      // eighths of a degree

double steadySeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

double secondsOf(const QPointerEvent& event) { return static_cast<double>(event.timestamp()) / 1000; }

}  // namespace

/// The strip has no item of its own: what changes about it is painted here.
class TimelineViewItem::StripObserver : public ui::ViewObserver {
public:
    explicit StripObserver(TimelineViewItem& item) : item_(item) {}
    void viewDidChange(ui::View&, ui::Property property) override {
        if (property == ui::Property::contentOffset || property == ui::Property::visibleCells) item_.update();
    }

private:
    TimelineViewItem& item_;
};

TimelineViewItem::TimelineViewItem(QQuickItem* parent)
    : ViewItem(std::make_shared<TimelineView>(), parent), clock(steadySeconds),
      stripObserver_(std::make_unique<StripObserver>(*this)) {
    setFlag(ItemHasContents);
    setAcceptedMouseButtons(Qt::LeftButton);
    setAcceptTouchEvents(true);
    setKeepMouseGrab(true);
    setKeepTouchGrab(true);
    setClip(true);
    strip()->setObserver(stripObserver_.get());
    throwTimer_.setTimerType(Qt::PreciseTimer);
    throwTimer_.setInterval(frameMilliseconds);
    throwTimer_.callOnTimeout(this, [this] { continueThrow(); });
    wheelEnd_.setSingleShot(true);
    wheelEnd_.setInterval(wheelPause);
    wheelEnd_.callOnTimeout(this, [this] { stop(); });
    connect(this, &TimelineViewItem::markColorChanged, this, [this] { update(); });
}

TimelineViewItem::~TimelineViewItem() {
    if (auto* collection = strip()) collection->setObserver(nullptr);
}

InfiniteCollectionView* TimelineViewItem::strip() const {
    const auto* ruler = static_cast<const TimelineView*>(view());
    return ruler ? ruler->collectionView().get() : nullptr;
}

void TimelineViewItem::scrollBy(double points) {
    const Point offset = strip()->contentOffset();
    strip()->setContentOffset({offset.x + points, offset.y});
}

// ---- Drags and throws

void TimelineViewItem::press(double x, double seconds) {
    if (!strip()) return;
    stop();
    samples_ = {{x, seconds}};
    strip()->beginDragging();
}

void TimelineViewItem::drag(double x, double seconds) {
    if (samples_.empty() || !strip()) return;
    scrollBy(samples_.back().x - x);
    samples_.push_back({x, seconds});
    while (samples_.size() > 2 && seconds - samples_.front().seconds > velocityWindow) samples_.pop_front();
}

/// Points per second of the content, over the end of the drag; 0 when the finger rested before it left.
double TimelineViewItem::velocity(double seconds) const {
    const auto recent = std::find_if(samples_.begin(), samples_.end(),
                                     [&](const Sample& sample) { return seconds - sample.seconds <= velocityWindow; });
    if (recent == samples_.end()) return 0;
    const double passed = samples_.back().seconds - recent->seconds;
    return passed > 0 ? (recent->x - samples_.back().x) / passed : 0;
}

void TimelineViewItem::release(double seconds) {
    if (samples_.empty() || !strip()) return;
    const Deceleration deceleration{velocity(seconds)};
    samples_.clear();
    const bool willDecelerate = std::abs(deceleration.velocity) >= smallestThrow;
    const Point offset = strip()->contentOffset();
    const Point rest{offset.x + deceleration.distance(deceleration.duration()), offset.y};
    strip()->endDragging({deceleration.velocity, 0}, rest, willDecelerate);
    if (!willDecelerate) return;
    throw_ = Throw{deceleration, clock(), 0};
    throwTimer_.start();
}

void TimelineViewItem::continueThrow() {
    if (!throw_ || !strip()) return;
    const double passed = clock() - throw_->start;
    const double duration = throw_->deceleration.duration();
    const double distance = throw_->deceleration.distance(std::min(passed, duration));
    scrollBy(distance - std::exchange(throw_->travelled, distance));
    if (passed >= duration) stop();
}

/// Ends whatever moves the strip.
void TimelineViewItem::stop() {
    throwTimer_.stop();
    wheelEnd_.stop();
    throw_.reset();
    samples_.clear();
    if (!strip()) return;
    if (strip()->isDragging()) strip()->endDragging({}, strip()->contentOffset(), false);
    strip()->endDecelerating();
}

// ---- Input

void TimelineViewItem::mousePressEvent(QMouseEvent* event) { press(event->position().x(), secondsOf(*event)); }

void TimelineViewItem::mouseMoveEvent(QMouseEvent* event) { drag(event->position().x(), secondsOf(*event)); }

void TimelineViewItem::mouseReleaseEvent(QMouseEvent* event) { release(secondsOf(*event)); }

void TimelineViewItem::mouseUngrabEvent() {
    if (!samples_.empty()) stop();
}

void TimelineViewItem::touchEvent(QTouchEvent* event) {
    for (const QEventPoint& point : event->points()) {
        const bool isMine = point.id() == touchId_;
        if (point.state() == QEventPoint::Pressed && touchId_ < 0) {
            touchId_ = point.id();
            press(point.position().x(), secondsOf(*event));
        } else if (point.state() == QEventPoint::Updated && isMine) {
            drag(point.position().x(), secondsOf(*event));
        } else if (point.state() == QEventPoint::Released && isMine) {
            touchId_ = -1;
            release(secondsOf(*event));
        }
    }
    if (event->type() == QEvent::TouchCancel) {
        touchId_ = -1;
        stop();
    }
    event->accept();
}

void TimelineViewItem::touchUngrabEvent() {
    if (std::exchange(touchId_, -1) >= 0) stop();
}

/// A drag like any other: one notch of a wheel is one tick, a trackpad moves the strip by its own points.
void TimelineViewItem::wheelEvent(QWheelEvent* event) {
    if (!strip() || !samples_.empty()) return;
    const bool hasPixels = !event->pixelDelta().isNull();
    const QPointF delta = hasPixels ? QPointF(event->pixelDelta())
                                    : QPointF(event->angleDelta()) * (TimelineView::cellWidth / wheelNotch);
    const double along = std::abs(delta.x()) > std::abs(delta.y()) ? delta.x() : delta.y();
    if (throw_) stop();
    if (!strip()->isDragging()) strip()->beginDragging();
    scrollBy(-along);
    wheelEnd_.start();
    event->accept();
}

// ---- Painting

void TimelineViewItem::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
    ViewItem::geometryChange(newGeometry, oldGeometry);
    update();
}

QSGNode* TimelineViewItem::updatePaintNode(QSGNode* old, UpdatePaintNodeData*) {
    // As many lines as can ever be in sight, and the mark above them. Their number stays: the software renderer puts a node
    // that joins a tree later at the window's corner.
    const int count = static_cast<int>(std::ceil(width() / TimelineView::cellWidth)) + 3;
    QSGNode* root = old;
    if (!root || root->childCount() != count) {
        delete old;
        root = new QSGNode;
        for (int i = 0; i < count; ++i) root->appendChildNode(window()->createRectangleNode());
    }
    const double scale = window()->effectiveDevicePixelRatio();
    const double pixel = 1 / scale;
    const double left = mapToScene({}).x();
    const auto onGrid = [&](double x) { return std::round((left + x) * scale) / scale - left; };
    auto* line = static_cast<QSGRectangleNode*>(root->firstChild());
    auto* const mark = static_cast<QSGRectangleNode*>(root->lastChild());
    const auto paint = [](QSGRectangleNode& node, const QRectF& rect, const QColor& color) {
        if (node.rect() != rect) node.setRect(rect);
        if (node.color() != color) node.setColor(color);
    };
    if (strip()) {
        // Relative to what is in sight: the strip is far longer than a float is exact.
        const double offset = strip()->contentOffset().x;
        const double fade = width() * fadeShare;
        for (const auto& [indexPath, cell] : strip()->visibleCells()) {
            if (line == mark) break;
            const auto& tick = static_cast<const TimelineCollectionViewCell&>(*cell);
            const double x = cell->frame().midX() - offset;
            QColor color = toQColor(tick.color());
            const double nearness = std::clamp(std::min(x, width() - x) / fade, 0.0, 1.0);
            color.setAlphaF(color.alphaF() * static_cast<float>(nearness));
            const double length = tick.isLong() ? longTick : shortTick;
            paint(*line, {onGrid(x), (height() - length) / 2, pixel, length}, color);
            line = static_cast<QSGRectangleNode*>(line->nextSibling());
        }
    }
    for (; line != mark; line = static_cast<QSGRectangleNode*>(line->nextSibling())) paint(*line, {}, Qt::transparent);
    paint(*mark, {onGrid(width() / 2 - 1), (height() - markHeight) / 2, 2, markHeight}, markColor_);
    return root;
}

}  // namespace videoanalysis
