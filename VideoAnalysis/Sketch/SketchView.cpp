#include "VideoAnalysis/Sketch/SketchView.h"

#include "VideoAnalysis/Platform/BackgroundQueue.h"
#include "VideoAnalysis/Platform/DrawingCancellation.h"
#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Platform/UI/Device.h"
#include "VideoAnalysis/Sketch/DrawingCost.h"
#include "VideoAnalysis/Sketch/PenTool.h"
#include "VideoAnalysis/Sketch/SketchStackReader.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <optional>
#include <utility>

namespace videoanalysis {
namespace {

/// Estimated milliseconds that drawings may take on the main thread. Leaves room for a machine three times slower than the
/// estimates before the screen visibly stalls.
constexpr double mainThreadBudget = 30;

}  // namespace

struct SketchView::Filter {
    bool isTimeBased = false;
    double time = 0;

    bool shows(const SketchTool& tool) const { return !isTimeBased || tool.time() <= time; }
    bool showsAny(const Tools& tools) const {
        return std::any_of(tools.begin(), tools.end(), [this](const auto& tool) { return shows(*tool); });
    }
};

/// The drawings that the bitmap is to show. Stays valid during one call of `rebuild`.
struct SketchView::Selection {
    Filter filter;
    const SketchTool* inProgress = nullptr;    ///< left out: `draw` shows it
    const SketchTool* justFinished = nullptr;  ///< included at any time

    bool operator()(const std::shared_ptr<SketchTool>& tool) const {
        return tool.get() != inProgress && (filter.shows(*tool) || tool.get() == justFinished);
    }
};

/// Created and destroyed on the main thread; `draw` runs on the background queue.
struct SketchView::Rebuild {
    /// Null once cancelled. Main thread only.
    SketchView* view = nullptr;
    std::atomic<bool> isCancelled = false;
    Ground ground;
    /// Stamps of the drawings in the result, in order.
    std::vector<std::uint64_t> stamps;
    /// A bitmap that already contains the first of them; null to start from the background image.
    std::shared_ptr<const Bitmap> base;
    /// The drawings to add.
    std::vector<std::unique_ptr<const SketchTool>> tools;
    std::shared_ptr<Bitmap> result;

    /// Background queue only.
    void draw(graphics::Engine& engine) {
        const graphics::DrawingCancellationScope cancellation(isCancelled);
        if (isCancelled) return;
        result =
            base ? std::make_shared<Bitmap>(*base) : graphics::ImageRenderer(ground.size, ground.scale).makeBitmap();
        if (!result) return;
        const std::unique_ptr<graphics::Context> context = engine.makeContext(*result);
        const graphics::CurrentContextScope scope(*context);
        if (!base && !ground.background.isEmpty()) context->drawImage(ground.background, placeOf(ground.background));
        for (const auto& tool : tools) {
            if (isCancelled) return;
            tool->draw();
        }
        context->flush();
    }

    Rect placeOf(const Image& image) const {
        return {{}, ground.mode == ImageRenderingMode::original ? image.size() : ground.size};
    }
};

SketchView::SketchView(const Rect& frame) : View(frame) {
    if (!bounds().isEmpty()) lastKnownBounds = bounds();
}

SketchView::~SketchView() { cancelRebuild(); }

SketchView::Filter SketchView::filter() const {
    Filter result;
    if (const auto delegate = sketchViewDelegate.lock(); delegate && delegate->isTimeBasedDrawingsEnabled()) {
        result.isTimeBased = true;
        result.time = delegate->currentTime();
    }
    return result;
}

std::shared_ptr<SketchTool> SketchView::makeTool(SketchToolType type) const {
    std::shared_ptr<SketchTool> tool = SketchTool::make(type);
    tool->setLineColor(lineColor);
    tool->setLineWidth(lineWidth);
    tool->setLineAlpha(lineAlpha);
    return tool;
}

void SketchView::beginDrawing(Point point) {
    if (currentTool) endDrawing();
    previousPoint1 = point;
    currentPoint = point;
    const std::shared_ptr<SketchTool> tool = makeTool(drawTool);
    currentTool = tool;
    if (const auto delegate = sketchViewDelegate.lock()) delegate->drawViewWillBeginDraw(*this, *tool);
    pathArray.push_back(tool);
    if (auto* pen = dynamic_cast<PenTool*>(tool.get()))
        pen->setDrawingPenType(drawingPenType);
    else
        tool->setInitialPoint(point);
}

void SketchView::continueDrawing(Point from, Point to) {
    if (!currentTool) return;
    previousPoint2 = previousPoint1;
    previousPoint1 = from;
    currentPoint = to;
    if (auto* pen = dynamic_cast<PenTool*>(currentTool.get())) {
        setNeedsDisplay(pen->addSegment(previousPoint2.value_or(from), from, to));
    } else {
        currentTool->moveFromPoint(from, to);
        setNeedsDisplay();
    }
}

void SketchView::endDrawing() {
    const std::shared_ptr<SketchTool> tool = currentTool;
    const auto delegate = sketchViewDelegate.lock();
    if (tool) tool->setTime(moment());
    rebuild(nullptr, tool.get());
    setNeedsDisplay();
    if (tool && delegate) delegate->drawViewDidEndDraw(*this, *tool);
    // The delegate may have begun another one.
    if (currentTool == tool) currentTool.reset();
}

void SketchView::cancelDrawing() {
    const std::shared_ptr<SketchTool> tool = std::exchange(currentTool, nullptr);
    if (!tool) return;
    std::erase(pathArray, tool);
    updateCacheImage(true);
    setNeedsDisplay();
}

void SketchView::setContentScale(double scale) {
    if (contentScale_ == scale || !(scale >= 1)) return;
    contentScale_ = scale;
    updateCacheImage(true);
    notify(ui::Property::contentScale);
    setNeedsDisplay();
}

void SketchView::move(Tools& from, Tools& to) {
    const Filter visible = filter();
    const auto last = std::find_if(from.rbegin(), from.rend(), [&](const auto& tool) { return visible.shows(*tool); });
    if (last == from.rend()) return;
    const std::shared_ptr<SketchTool> tool = *last;
    currentTool.reset();
    to.push_back(tool);
    std::erase_if(from, [&](const auto& other) { return other->id() == tool->id(); });
    updateCacheImage(true);
    setNeedsDisplay();
}

void SketchView::undo() { move(pathArray, bufferArray); }

void SketchView::redo() { move(bufferArray, pathArray); }

bool SketchView::canUndo() const { return filter().showsAny(pathArray); }

bool SketchView::canRedo() const { return filter().showsAny(bufferArray); }

void SketchView::clear() {
    currentTool.reset();
    bufferArray.clear();
    pathArray.clear();
    updateCacheImage(true);
    setNeedsDisplay();
}

void SketchView::loadImage(const Image& image, ImageRenderingMode mode) {
    drawMode = mode;
    backgroundImage = image;
    clear();
}

bool SketchView::updateCacheImage(bool redraw) {
    if (redraw) return rebuild(currentTool.get(), nullptr);
    if (!currentTool || !bitmap_) return false;
    drawIntoBitmap([this] { currentTool->draw(); });
    isBitmapKnown_ = false;
    return true;
}

template <class Draw>
void SketchView::drawIntoBitmap(Draw&& draw) {
    // Images and rebuilds that share the bitmap keep its current content.
    if (isBitmapShared_ || bitmap_.use_count() > 1) bitmap_ = std::make_shared<Bitmap>(*bitmap_);
    isBitmapShared_ = false;
    const std::unique_ptr<graphics::Context> context = platform().graphics().makeContext(*bitmap_);
    const graphics::CurrentContextScope scope(*context);
    draw();
    context->flush();
}

auto SketchView::firstMissing(const std::vector<std::uint64_t>& stamps, const Selection& isShown) const
    -> std::optional<Position> {
    auto tool = pathArray.begin();
    for (std::size_t matched = 0; matched < stamps.size(); ++tool) {
        if (tool == pathArray.end()) return std::nullopt;
        if (!isShown(*tool)) continue;
        if ((*tool)->stamp() != stamps[matched]) return std::nullopt;
        ++matched;
    }
    return std::find_if(tool, pathArray.end(), isShown);
}

bool SketchView::updateOverlay(Position next, const Selection& isShown, const Ground& ground) {
    const bool isKnownGround = isBitmapKnown_ && ground == ground_;
    Tools overlay;
    double cost = 0;
    for (auto tool = pathArray.begin(); tool != pathArray.end(); ++tool) {
        const bool isKept =
            tool->get() == isShown.justFinished || std::find(overlay_.begin(), overlay_.end(), *tool) != overlay_.end();
        if ((!isKept && tool < next) || !isShown(*tool)) continue;
        if (isKnownGround && std::find(drawn_.begin(), drawn_.end(), (*tool)->stamp()) != drawn_.end()) continue;
        if (!isKept && cost <= mainThreadBudget) cost += drawingCost(**tool, ground.size, ground.scale);
        if (isKept || cost <= mainThreadBudget) overlay.push_back(*tool);
    }
    std::swap(overlay_, overlay);
    return overlay_ != overlay;
}

bool SketchView::rebuild(const SketchTool* inProgress, const SketchTool* justFinished) {
    const Selection isShown{filter(), inProgress, justFinished};
    const Ground ground{bounds().size, platform().mainScreen().scale() * contentScale_, backgroundImage, drawMode};
    const bool isKnownGround = isBitmapKnown_ && ground == ground_;
    const std::optional<Position> further = isKnownGround ? firstMissing(drawn_, isShown) : std::nullopt;
    if (further == pathArray.end()) {
        cancelRebuild();
        return !std::exchange(overlay_, {}).empty();
    }
    if (running_) {
        if (running_->ground == ground)
            if (const std::optional<Position> next = firstMissing(running_->stamps, isShown))
                return updateOverlay(*next, isShown, ground);
        cancelRebuild();
    }

    const Position end = pathArray.end();
    const Position first = further ? *further : std::find_if(pathArray.cbegin(), end, isShown);
    double cost = 0;
    for (auto tool = first; tool != end && cost <= mainThreadBudget; ++tool)
        if (isShown(*tool) && !(further && tool->get() == justFinished))
            cost += drawingCost(**tool, ground.size, ground.scale);
    if (cost > mainThreadBudget) {
        startRebuild(ground, first, further.has_value(), isShown);
        return updateOverlay(end, isShown, ground);
    }

    overlay_.clear();
    if (!further) {
        drawn_.clear();
        drawGround(ground);
    }
    if (first == end || !bitmap_) return !further;
    drawIntoBitmap([&] {
        for (auto tool = first; tool != end; ++tool) {
            if (!isShown(*tool)) continue;
            (*tool)->draw();
            drawn_.push_back((*tool)->stamp());
        }
    });
    return true;
}

void SketchView::startRebuild(const Ground& ground, Position first, bool isIncremental, const Selection& isShown) {
    auto rebuild = std::make_shared<Rebuild>();
    rebuild->view = this;
    rebuild->ground = ground;
    if (isIncremental) {
        rebuild->stamps = drawn_;
        rebuild->base = bitmap_;
    }
    for (auto tool = first; tool != pathArray.end(); ++tool) {
        if (!isShown(*tool)) continue;
        rebuild->stamps.push_back((*tool)->stamp());
        rebuild->tools.push_back((*tool)->snapshot());
    }
    running_ = rebuild;
    isBitmapShared_ = true;
    if (!background_) background_ = std::make_unique<dispatch::BackgroundQueue>();
    // Safe: the engine outlives the view, and destroying the view waits for the queue.
    background_->async(
        [rebuild = std::move(rebuild), &engine = platform().graphics(), inbox = dispatch::mainQueue().inbox()] {
            rebuild->draw(engine);
            inbox->post([rebuild] {
                if (rebuild->view) rebuild->view->finishRebuild();
            });
        });
}

void SketchView::cancelRebuild() {
    if (!running_) return;
    running_->view = nullptr;
    running_->isCancelled = true;
    running_.reset();
}

void SketchView::finishRebuild() {
    const std::shared_ptr<Rebuild> done = std::exchange(running_, nullptr);
    done->view = nullptr;
    bitmap_ = done->result;
    isBitmapShared_ = false;
    isBitmapKnown_ = true;
    ground_ = done->ground;
    drawn_ = std::move(done->stamps);
    rebuild(currentTool.get(), nullptr);
    setNeedsDisplay();
}

void SketchView::drawGround(const Ground& ground) {
    const bool isOwn = bitmap_ && bitmap_.use_count() == 1 && !isBitmapShared_;
    if (isOwn && ground.size == ground_.size && ground.scale == ground_.scale)
        std::fill(bitmap_->pixels.begin(), bitmap_->pixels.end(), 0);
    else
        bitmap_ = graphics::ImageRenderer(ground.size, ground.scale).makeBitmap();
    isBitmapShared_ = false;
    ground_ = ground;
    isBitmapKnown_ = true;
    if (!bitmap_) return;
    drawIntoBitmap([&] {
        if (!backgroundImage.isEmpty()) graphics::currentContext()->drawImage(backgroundImage, place(backgroundImage));
        for (const auto& tool : pathArray) tool->remove();
    });
}

Rect SketchView::place(const Image& image) const {
    return drawMode == ImageRenderingMode::original ? Rect{{}, image.size()} : bounds();
}

void SketchView::draw(const Rect& rect) {
    graphics::Context* context = graphics::currentContext();
    if (!context) return;
    context->saveState();
    context->clipToRect(rect);
    if (const Image picture = image(); !picture.isEmpty()) context->drawImage(picture, place(picture));
    for (const auto& tool : overlay_) tool->draw();
    if (currentTool) currentTool->draw();
    context->restoreState();
}

void SketchView::boundsDidChange(const Rect&) {
    if (!bounds().isEmpty()) {
        if (lastKnownBounds) {
            for (const Tools* tools : {&pathArray, &bufferArray})
                for (const auto& tool : *tools) tool->updatePath(*lastKnownBounds, bounds());
        }
        lastKnownBounds = bounds();
    }
    updateCacheImage(true);
    setNeedsDisplay();
    if (const auto delegate = sketchViewDelegate.lock()) delegate->drawViewDidChangeSize(*this);
}

void SketchView::reset() {
    const SketchView fresh;
    stampImage = fresh.stampImage;
    lineAlpha = fresh.lineAlpha;
    lineWidth = fresh.lineWidth;
    lineColor = fresh.lineColor;
    drawTool = fresh.drawTool;
    drawingPenType = fresh.drawingPenType;
    drawMode = fresh.drawMode;
    backgroundImage = fresh.backgroundImage;
    currentPoint = previousPoint1 = previousPoint2 = std::nullopt;
    clear();
}

double SketchView::moment() const {
    const auto delegate = sketchViewDelegate.lock();
    return delegate ? delegate->currentTime() : platform().wallClock();
}

JSON SketchView::storedList(const Tools& tools) const {
    const Size size = lastKnownBounds.value_or(Rect{}).size;
    JSON::Array drawings;
    drawings.reserve(tools.size());
    for (const auto& tool : tools) {
        JSON drawing = tool->jsonValue(size, true);
        if (tool == currentTool) drawing.set({"configuration", "time"}, storableNumber(moment(), StoredRange::times));
        drawings.push_back(std::move(drawing));
    }
    return JSON(std::move(drawings));
}

JSON SketchView::stackJSON() const {
    return JSON::dictionary({{"width", storableNumber(lineWidth, StoredRange::widths)},
                             {"color", hexadecimalColor(lineColor, "#000000")},
                             {"alpha", storableNumber(lineAlpha, StoredRange::alphas)},
                             {"activeTool", static_cast<int>(drawTool)},
                             {"ios", JSON::dictionary({{"drawMode", static_cast<int>(drawMode)}})},
                             {"drawnStack", storedList(pathArray)},
                             {"redoStack", storedList(bufferArray)}});
}

JSON SketchView::stackJSONOnTopOf(const JSON& stack) const {
    if (!stack.dictionary()) return stackJSON();
    JSON own = JSON::dictionary({});
    if (!pathArray.empty()) own.set("drawnStack", storedList(pathArray));
    if (!bufferArray.empty()) own.set("redoStack", storedList(bufferArray));
    JSON result = stack;
    result.merge(own);
    return result;
}

void SketchView::loadStack(const JSON& stack) {
    currentTool.reset();
    pathArray.clear();
    bufferArray.clear();
    loadStackBelow(stack);
}

void SketchView::loadStackBelow(const JSON& stack) {
    // Before the first bounds, percentages are kept as points of a 100 by 100 view, which the first bounds rescale.
    if (!lastKnownBounds) lastKnownBounds = Rect{0, 0, 100, 100};
    SketchStackReader reader(lastKnownBounds->size);
    reader.readNumber(stack, "width", StoredRange::widths, lineWidth);
    reader.readColor(stack, "color", lineColor);
    reader.readNumber(stack, "alpha", StoredRange::alphas, lineAlpha);
    reader.readEnumeration(stack, "activeTool", SketchToolType::ellipseFill, drawTool);
    reader.readSystemMembers(stack, [&](const JSON& system) {
        reader.readEnumeration(system, "drawMode", ImageRenderingMode::original, drawMode);
    });
    const auto make = [this](SketchToolType type) { return makeTool(type); };
    const auto readBelow = [&](std::string_view key, Tools& tools) {
        Tools stored = reader.readDrawings(stack, key, make);
        tools.insert(tools.begin(), std::make_move_iterator(stored.begin()), std::make_move_iterator(stored.end()));
    };
    readBelow("drawnStack", pathArray);
    readBelow("redoStack", bufferArray);
    reader.log();
    updateCacheImage(true);
    setNeedsDisplay();
}

}  // namespace videoanalysis
