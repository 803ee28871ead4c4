#include "Platforms/QtQuick/TimelineViewItem.h"

#include "Platforms/QtQuick/Motion.h"

#include <QAbstractAnimation>
#include <QQuickWindow>
#include <QSGRectangleNode>

#include <algorithm>
#include <cmath>

namespace videoanalysis::qt {
namespace {

constexpr double fadeShare = 0.3;  // of the width, at each end
constexpr double longTick = 20;    // points
constexpr double shortTick = 10;   // points
constexpr double markHeight = 28;  // points

}  // namespace

/// The strip has no item: its changes are painted here.
class TimelineViewItem::StripObserver : public ui::ViewObserver {
public:
    explicit StripObserver(TimelineViewItem& item) : item_(item) {}
    void viewDidChange(ui::View&, ui::Property property) override {
        if (property == ui::Property::contentOffset || property == ui::Property::visibleCells) item_.update();
    }

private:
    TimelineViewItem& item_;
};

/// Hands the frames of the display to a throw: animations run on the clock of the window's render loop.
class TimelineViewItem::ThrowAnimation : public QAbstractAnimation {
public:
    explicit ThrowAnimation(TimelineViewItem& item) : item_(item) {}
    int duration() const override { return -1; }

protected:
    void updateCurrentTime(int milliseconds) override {
        StripScroller* const scroller = item_.scroller();
        if (scroller) scroller->continueThrow(milliseconds / 1000.0);
        if (!scroller || !scroller->isThrown()) stop();
    }

private:
    TimelineViewItem& item_;
};

TimelineViewItem::TimelineViewItem(QQuickItem* parent)
    : ViewItem(std::make_shared<TimelineView>(), parent), stripObserver_(std::make_unique<StripObserver>(*this)),
      throwAnimation_(std::make_unique<ThrowAnimation>(*this)) {
    setFlag(ItemHasContents);
    setAcceptedMouseButtons(Qt::LeftButton);
    setAcceptTouchEvents(true);
    setKeepMouseGrab(true);
    setKeepTouchGrab(true);
    setClip(true);
    strip()->setObserver(stripObserver_.get());
    connect(&Motion::shared(), &Motion::changed, this, &TimelineViewItem::followMotion);
    followMotion();
    connect(this, &TimelineViewItem::markColorChanged, this, [this] { update(); });
}

TimelineViewItem::~TimelineViewItem() {
    if (auto* collection = strip()) collection->setObserver(nullptr);
}

InfiniteCollectionView* TimelineViewItem::strip() const { return ruler() ? ruler()->collectionView().get() : nullptr; }

StripScroller* TimelineViewItem::scroller() const { return ruler() ? &ruler()->scroller() : nullptr; }

void TimelineViewItem::viewDidChange(ui::View& view, ui::Property property) {
    if (property == ui::Property::isDecelerating) {
        throwAnimation_->start();
    } else {
        ViewItem::viewDidChange(view, property);
    }
}

void TimelineViewItem::followMotion() {
    if (!scroller()) return;
    scroller()->isMotionReduced = Motion::shared().isReduced();
    if (scroller()->isMotionReduced && scroller()->isThrown()) stop();
}

void TimelineViewItem::stop() {
    throwAnimation_->stop();
    if (scroller()) scroller()->stop();
}

void TimelineViewItem::itemChange(ItemChange change, const ItemChangeData& data) {
    ViewItem::itemChange(change, data);
    if (change == ItemVisibleHasChanged && !data.boolValue) stop();
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
    const auto paint = [&](QSGRectangleNode& node, const QRectF& rect, QColor color) {
        // Never quite opaque. Where an opaque rectangle covers a pixel in part, and the sum of the item's place and the
        // tick's is rarely a whole number, the software renderer neither paints nor erases what lies beneath.
        color.setAlpha(std::min(color.alpha(), 254));
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

}  // namespace videoanalysis::qt
