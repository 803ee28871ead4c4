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

/// Milliseconds, estimated, that drawings may take on the main thread. The estimates may be three times too low on a slow
/// machine before anyone sees the screen stop.
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

/// Made and destroyed on the main thread; in between the background draws `result`.
struct SketchView::Rebuild {
    /// Null once cancelled. Main thread.
    SketchView* view = nullptr;
    std::atomic<bool> isCancelled = false;
    Ground ground;
    /// What the result shows, in order.
    std::vector<std::uint64_t> stamps;
    /// The picture that holds the first of them already; null for none.
    std::shared_ptr<const Bitmap> base;
    /// The others.
    std::vector<std::unique_ptr<const SketchTool>> tools;
    std::shared_ptr<Bitmap> result;

    /// Background.
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
    // Unless the delegate has begun another.
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
    // Whoever still holds the picture keeps what it shows.
    if (isBitmapShared_ || bitmap_.use_count() > 1) bitmap_ = std::make_shared<Bitmap>(*bitmap_);
    isBitmapShared_ = false;
    const std::unique_ptr<graphics::Context> context = platform().graphics().makeContext(*bitmap_);
    const graphics::CurrentContextScope scope(*context);
    draw();
    context->flush();
}

bool SketchView::rebuild(const SketchTool* inProgress, const SketchTool* justFinished) {
    const Filter visible = filter();
    const auto isShown = [&](const std::shared_ptr<SketchTool>& tool) {
        return tool.get() != inProgress && (visible.shows(*tool) || tool.get() == justFinished);
    };
    const Ground ground{bounds().size, platform().mainScreen().scale() * contentScale_, backgroundImage, drawMode};

    // The first drawing to be shown that a picture of the drawings `stamps` lacks; nothing when it is not what all of the
    // others are to be drawn on, in this order and as they are now.
    using Position = Tools::const_iterator;
    const Tools& tools = pathArray;
    const auto after = [&](const std::vector<std::uint64_t>& stamps) -> std::optional<Position> {
        auto tool = tools.begin();
        for (std::size_t held = 0; held < stamps.size(); ++tool) {
            if (tool == tools.end()) return std::nullopt;
            if (!isShown(*tool)) continue;
            if ((*tool)->stamp() != stamps[held]) return std::nullopt;
            ++held;
        }
        return std::find_if(tool, tools.end(), isShown);
    };
    const bool isKnownGround = isBitmapKnown_ && ground == ground_;
    const std::optional<Position> further = isKnownGround ? after(drawn_) : std::nullopt;
    if (further == tools.end()) {
        cancelRebuild();
        return !std::exchange(ahead_, {}).empty();
    }

    // Draws over the old picture what need not wait for the running rebuild.
    const auto showAhead = [&](Position next) {
        Tools ahead;
        double cost = 0;
        for (auto tool = tools.begin(); tool != tools.end(); ++tool) {
            const bool isAhead =
                tool->get() == justFinished || std::find(ahead_.begin(), ahead_.end(), *tool) != ahead_.end();
            if ((!isAhead && tool < next) || !isShown(*tool)) continue;
            if (isKnownGround && std::find(drawn_.begin(), drawn_.end(), (*tool)->stamp()) != drawn_.end()) continue;
            if (!isAhead && cost <= mainThreadBudget) cost += drawingCost(**tool, ground.size, ground.scale);
            if (isAhead || cost <= mainThreadBudget) ahead.push_back(*tool);
        }
        std::swap(ahead_, ahead);
        return ahead_ != ahead;
    };
    if (running_) {
        if (running_->ground == ground)
            if (const std::optional<Position> next = after(running_->stamps)) return showAhead(*next);
        cancelRebuild();
    }

    const auto first = further ? *further : std::find_if(tools.begin(), tools.end(), isShown);
    double cost = 0;
    for (auto tool = first; tool != tools.end() && cost <= mainThreadBudget; ++tool)
        if (isShown(*tool) && !(further && tool->get() == justFinished))
            cost += drawingCost(**tool, ground.size, ground.scale);
    if (cost > mainThreadBudget) {
        const auto rebuild = std::make_shared<Rebuild>();
        rebuild->ground = ground;
        if (further) {
            rebuild->stamps = drawn_;
            rebuild->base = bitmap_;
        }
        for (auto tool = first; tool != tools.end(); ++tool) {
            if (!isShown(*tool)) continue;
            rebuild->stamps.push_back((*tool)->stamp());
            rebuild->tools.push_back((*tool)->snapshot());
        }
        startRebuild(rebuild);
        return showAhead(tools.end());
    }

    ahead_.clear();
    if (!further) {
        drawn_.clear();
        drawGround(ground);
    }
    if (first == tools.end() || !bitmap_) return !further;
    drawIntoBitmap([&] {
        for (auto tool = first; tool != tools.end(); ++tool) {
            if (!isShown(*tool)) continue;
            (*tool)->draw();
            drawn_.push_back((*tool)->stamp());
        }
    });
    return true;
}

void SketchView::startRebuild(std::shared_ptr<Rebuild> rebuild) {
    rebuild->view = this;
    running_ = rebuild;
    isBitmapShared_ = true;
    if (!background_) background_ = std::make_unique<dispatch::BackgroundQueue>();
    // The engine outlives the view, and the view waits for its queue.
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
    for (const auto& tool : ahead_) tool->draw();
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
    // Without a size of its own the view keeps the percentages as points, until its first bounds rescale them.
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
